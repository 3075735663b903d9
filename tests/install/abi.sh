#!/usr/bin/env bash
# abi.sh LIBRARY INCLUDE STORED: the binary interface is the stored one.
source "$(dirname "$0")/say.sh"
here=$(cd "$(dirname "$0")" && pwd)
library=$1 include=$2 stored=$3
command -v abidiff >/dev/null || skip "abidiff is not installed"
readelf -SW "$library" | grep '\.debug_info' >/dev/null || skip "$library has no debug information"
scratch

"$here/../../packaging/abi/dump.sh" "$library" "$include" "$SCRATCH/now.abi"
grep -q "<class-decl" "$SCRATCH/now.abi" || skip "the debug information of $library has no types"
status=0
abidiff --no-added-syms "$stored" "$SCRATCH/now.abi" >"$SCRATCH/report" || status=$?
refresh="packaging/abi/dump.sh LIBRARY INCLUDE packaging/abi/libqvstreet.abi"
if [ $((status & 3)) -ne 0 ]; then
    fail "abidiff could not compare $stored with $library: $(cat "$SCRATCH/report")"
elif [ "$status" -ne 0 ]; then
    cat "$SCRATCH/report" >&2
    fail "the binary interface has changed as shown above; a host that was built before may not run with this library.
Take the change back, or raise QVSTREET_SOVERSION and the version as docs/versioning.md says, and refresh the dump:
    $refresh"
fi
if ! abidiff "$stored" "$SCRATCH/now.abi" >"$SCRATCH/report"; then
    cat "$SCRATCH/report" >&2
    fail "the interface has grown as shown above; hosts that were built before run on. Raise the minor version and
refresh the dump:
    $refresh"
fi
