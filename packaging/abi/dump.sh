#!/usr/bin/env bash
# packaging/abi/dump.sh LIBRARY INCLUDE OUT: writes what the library shows a host (functions, classes, layouts, tables of
# virtual functions) as a text for abidiff. The library needs debug information. INCLUDE is the folder of the installed
# headers: what they do not show is no interface.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
abidw --exported-interfaces-only --headers-dir "$2" --drop-private-types --drop-undefined-syms \
    --suppressions "$here/suppressions.txt" --type-id-style hash \
    --no-corpus-path --no-comp-dir-path --no-show-locs --no-parameter-names --no-elf-needed --no-write-default-sizes \
    --out-file "$3" "$1"
# Sources are named as this tree names them, wherever it lies.
sed -i -E "s#path='[^']*/(qvstreet/[a-z_]+/)#path='\1#" "$3"
