#!/usr/bin/env bash
# find_package.sh PREFIX TARGET COMPILER: a stranger's project finds the package, links TARGET and runs.
source "$(dirname "$0")/say.sh"
here=$(cd "$(dirname "$0")" && pwd)
prefix=$1 target=$2 compiler=$3
scratch

run "$SCRATCH/log" cmake -S "$here/stranger" -B "$SCRATCH/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$prefix" -DSTRANGER_TARGET="$target" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
grep -q "^qvstreet_DIR:PATH=$prefix/" "$SCRATCH/build/CMakeCache.txt" ||
    fail "expected the package of $prefix to be found, not that of $(grep ^qvstreet_DIR "$SCRATCH/build/CMakeCache.txt")"
run "$SCRATCH/log" cmake --build "$SCRATCH/build" -j 2

expect "what the stranger's host finds" "4 crossings" "$("$SCRATCH/build/stranger")"
libraries=$(ldd "$SCRATCH/build/stranger")
case $target in
    *_static) [[ $libraries != *libqvstreet* ]] || fail "expected no shared qvstreet behind $target, found: $libraries" ;;
    *) [[ $libraries == *"libqvstreet.so."*"$prefix"* ]] || fail "expected libqvstreet.so of $prefix, found: $libraries" ;;
esac

# Before 1.0 the next minor version may be another interface.
compatible() {
    cat >"$SCRATCH/version.cmake" <<END
set(PACKAGE_FIND_VERSION $1)
string(REPLACE "." ";" PARTS $1)
list(GET PARTS 0 PACKAGE_FIND_VERSION_MAJOR)
list(GET PARTS 1 PACKAGE_FIND_VERSION_MINOR)
set(CMAKE_SIZEOF_VOID_P 8)
include($(find "$prefix" -name qvstreetConfigVersion.cmake))
message("compatible: \${PACKAGE_VERSION_COMPATIBLE}")
END
    cmake -P "$SCRATCH/version.cmake" 2>&1
}
expect "version 0.2 asked for" "compatible: TRUE" "$(compatible 0.2)"
expect "version 0.1 asked for" "compatible: FALSE" "$(compatible 0.1)"
expect "version 0.3 asked for" "compatible: FALSE" "$(compatible 0.3)"

# Every exception class of the headers, found by following the bases from the root.
classes=$(cat "$prefix"/include/qvstreet/*/*.h |
    sed -nE 's/^class QV_EXPORT ([A-Za-z_0-9:]+) : public ([A-Za-z_0-9:]+).*/\1 \2/p' |
    awk '{ base[$1] = $2 }
         END {
             for (name in base) {
                 for (up = name; up in base && up != "qvException"; up = base[up]) ;
                 if (up == "qvException") print name
             }
         }' | sort)
[ "$(wc -l <<<"$classes")" -gt 15 ] || fail "expected the exception classes in the headers, found only: $classes"
"$SCRATCH/build/catches" >"$SCRATCH/caught" || fail "expected every exception to be caught by its classes"
missing=$(comm -23 <(echo "$classes") <(sort -u "$SCRATCH/caught"))
[ -z "$missing" ] || fail "expected tests/install/stranger/catches.cpp to catch these public exceptions too: $missing"
