#!/usr/bin/env bash
# The linker keeps one copy of an inline function, whichever file it comes from. From a kernel file, which is compiled for
# larger vectors than every machine has, that copy would stop the process on an older one; so such files define none.
#
#     check_kernel_symbols.sh OBJECT...
set -euo pipefail
[ $# -gt 0 ] || { echo "no objects" >&2; exit 1; }
weak=$(nm -C --defined-only "$@" | grep -E '^[0-9a-f]+ [WVu] ' || true)
# What a sanitizer adds to every file is its own.
weak=$(grep -vE '__asan|__ubsan|__odr_asan|DW\.ref\.|__gxx_personality' <<<"$weak" || true)
if [ -n "$weak" ]; then
    printf 'inline functions of other headers in kernel objects:\n%s\n' "$weak" >&2
    exit 1
fi
echo "$# kernel objects define no shared inline function"
