#!/usr/bin/env bash
# pkg_config.sh PREFIX COMPILER: a stranger without CMake, with the shared library and with nothing but static ones.
source "$(dirname "$0")/say.sh"
here=$(cd "$(dirname "$0")" && pwd)
prefix=$1 compiler=$2
command -v pkg-config >/dev/null || skip "pkg-config is not installed"
scratch
pc=$(find "$prefix" -name qvstreet.pc)
PKG_CONFIG_PATH=$(dirname "$pc")
export PKG_CONFIG_PATH
unset PKG_CONFIG_LIBDIR

shared=$(pkg-config --cflags --libs qvstreet)
for word in $shared; do
    case $word in
        -I* | -L*) [ -d "$(realpath -m "${word:2}")" ] || fail "expected a folder of $prefix in '$word' of qvstreet.pc" ;;
    esac
done
read -ra shared <<<"$shared"
read -ra static <<<"$(pkg-config --static --cflags --libs qvstreet)"

run "$SCRATCH/log" "$compiler" -std=c++17 "$here/stranger/stranger.cpp" "${shared[@]}" -o "$SCRATCH/shared"
expect "what the host of the shared library finds" "4 crossings" \
    "$(LD_LIBRARY_PATH=$(pkg-config --variable=libdir qvstreet) "$SCRATCH/shared")"
run "$SCRATCH/log" "$compiler" -std=c++17 -static "$here/stranger/stranger.cpp" "${static[@]}" -o "$SCRATCH/static"
expect "what the host of the static library finds" "4 crossings" "$("$SCRATCH/static")"
expect "the version in qvstreet.pc" "$("$prefix/bin/qvstreet" --version)" "qvstreet $(pkg-config --modversion qvstreet)"
