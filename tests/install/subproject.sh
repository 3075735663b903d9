#!/usr/bin/env bash
# subproject.sh SOURCE COMPILER: qvstreet inside another project builds the library alone, installs nothing, brings no
# test, and hands its flags to nobody.
source "$(dirname "$0")/say.sh"
here=$(cd "$(dirname "$0")" && pwd)
source=$1 compiler=$2
scratch

# configure FOLDER OPTION...
configure() {
    run "$SCRATCH/log" cmake -S "$here/subproject" -B "$SCRATCH/$1" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
        -DQVSTREET_SOURCE="$source" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON "${@:2}"
    ! grep -q "CMake Warning" "$SCRATCH/log" || { cat "$SCRATCH/log" >&2; fail "expected no warning of CMake"; }
}

# Fetched it is the same project, and it can install where that is asked for.
configure fetched -DOUTER_FETCHES=ON -DQVSTREET_INSTALL=ON
grep -q "qvstreetTargets" "$SCRATCH"/fetched/_deps/qvstreet-build/cmake_install.cmake ||
    fail "expected install rules of qvstreet behind QVSTREET_INSTALL=ON"
run "$SCRATCH/log" ninja -C "$SCRATCH/fetched" -n stranger

configure build -DCMAKE_CXX_FLAGS="-O0 -g0"
cd "$SCRATCH/build"
built=$(ninja -n -d explain all 2>/dev/null | grep -v "Building CXX object qvstreet/qvstreet/" || true)
for foreign in tools tests bench examples python qvstreet_static qvstreet_internal; do
    ! grep -qE "[ /]$foreign(/|\.)|lib$foreign" <<<"$built" || fail "expected the library alone to be built, found $foreign: $built"
done
flags=$(grep -o '"command": .*stranger.cpp' compile_commands.json)
for ours in -Wconversion -Wshadow -Werror -ffp-contract -march= -fvisibility QVSTREET_ -O3; do
    [[ $flags != *"$ours"* ]] || fail "expected none of our flags in a host's compilation, found $ours: $flags"
done
grep -q '"command": .*-ffp-contract=off.*qvstreet/.*\.cpp' compile_commands.json || fail "expected our own flags in our own compilation"
tests=$(ctest -N | grep "Total Tests")
expect "the tests of a project that has none" "Total Tests: 0" "$tests"

run "$SCRATCH/log" ninja -j 2 stranger
! grep -q "warning:" "$SCRATCH/log" || { cat "$SCRATCH/log" >&2; fail "expected no warning of the compiler"; }
expect "what the stranger's host finds" "4 crossings" "$(./stranger)"

run "$SCRATCH/log" cmake --install . --prefix "$SCRATCH/prefix"
expect "what is installed of a project with qvstreet inside" "bin/stranger" "$(cd "$SCRATCH/prefix" && find . -type f -printf '%P\n')"
