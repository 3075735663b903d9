#!/usr/bin/env bash
# Whatever comes in, the library answers or throws what it promises, loses nothing and gives the same bits: the checks that
# take longer than a test may. Each prints a line with its figures; the last line sums up. Ends with 1 if any failed.
#
#     ./scripts/soak.sh                     everything: each program of tests/soak/ in full, then the results of other
#                                           compilers, optimisations and processors, the sanitizers, and fuzzing
#     ./scripts/soak.sh --fuzz-minutes N    N minutes of processor time for each fuzz target; 20 by default, 0 for none
#     ./scripts/soak.sh --only PART...      of these parts alone: programs, compilers, valgrind, aarch64, threads, asan,
#                                           fuzz
#     ./scripts/soak.sh --short             each program for a few seconds, from build/dev
#
# Logs stay in build/soak/.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

short=false
minutes=20
parts=(programs compilers valgrind aarch64 threads asan fuzz)
while [ $# -gt 0 ]; do
    case $1 in
        --short) short=true; parts=(programs); shift ;;
        --fuzz-minutes) minutes=${2:?--fuzz-minutes wants a number}; shift 2 ;;
        --only) shift; parts=("$@"); break ;;
        *) sed -n '2,13s/^# \{0,1\}//p' scripts/soak.sh; [[ $1 = -h || $1 = --help ]]; exit ;;
    esac
done

build=$PWD/build/soak
logs=$build/logs
$short && logs=$build/logs-short
jobs=$(nproc)
begin=$SECONDS
rm -rf "$logs"
mkdir -p "$logs"

# The programs that a build folder can make: each file tests/soak/*.cmake adds one.
soak_targets() { cmake --build "$1" --target help | sed -n 's/^\(soak_[a-z_0-9]*\): .*/\1/p' | sort; }

launcher=()
command -v ccache >/dev/null 2>&1 && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
# Of these programs the others are not built.
few=(-DQVSTREET_BUILD_TOOLS=OFF -DQVSTREET_BUILD_EXAMPLES=OFF -DQVSTREET_BUILD_PYTHON=OFF -DQVSTREET_BUILD_BENCH=OFF
    -DQVSTREET_INSTALL=OFF)

# build NAME TARGET CMAKE-OPTION...: what it compiles stands in build/soak/NAME; "all" stands for all these programs.
build() {
    local name=$1 targets=("$2")
    shift 2
    if cmake -G Ninja -S . -B "$build/$name" "${launcher[@]}" "${few[@]}" "$@" >"$logs/$name-build.log" 2>&1; then
        [ "${targets[0]}" != all ] || mapfile -t targets < <(soak_targets "$build/$name")
        cmake --build "$build/$name" -j "$jobs" --target "${targets[@]}" >>"$logs/$name-build.log" 2>&1 && return 0
    fi
    tail -20 "$logs/$name-build.log"
    fail "$name does not build"
    return 1
}

failures=()
checks=0
fail() { failures+=("$1"); echo "FAILED: $1"; }

# check NAME COMMAND...: runs it and shows its last line.
check() {
    local name=$1 status=0
    shift
    checks=$((checks + 1))
    "$@" >"$logs/$name.log" 2>&1 || status=$?
    tail -1 "$logs/$name.log"
    [ $status -eq 0 ] || fail "$name (exit status $status, $logs/$name.log)"
}

# The hash of the results in the line of a determinism run, and how the images came out.
hashes() { sed -n 's/.*\(images [0-9a-f]*, results [0-9a-f]*\).*/\1/p' "$logs/$1.log"; }

# all_programs BUILD-FOLDER LABEL OPTION...: some at a time; each shows its line when it is done.
all_programs() {
    local list
    mapfile -t list < <(soak_targets "$1")
    [ ${#list[@]} -gt 0 ] || { fail "no program in $1"; return 0; }
    checks=$((checks + ${#list[@]}))
    # A hang must not hold up the others for ever; the longest of them takes 20 minutes on a busy machine.
    export logs folder=$1/tests/soak label=$2 patience=2h
    printf '%s\n' "${list[@]}" | xargs -P "$jobs" -I{} bash -c '
        status=0
        log=$logs/{}$label.log
        timeout "$patience" "$folder/{}" "$@" >"$log" 2>&1 || status=$?
        tail -1 "$log"
        [ $status -eq 0 ] || echo "{}$label (exit status $status, $log)" >>"$logs/failed"' program "${@:3}"
    if [ -f "$logs/failed" ]; then
        while read -r line; do fail "$line"; done <"$logs/failed"
        rm "$logs/failed"
    fi
}

programs() {
    local targets
    [ -f build/dev/CMakeCache.txt ] || cmake --preset dev >/dev/null
    mapfile -t targets < <(soak_targets build/dev)
    cmake --build --preset dev -j "$jobs" --target "${targets[@]}" -- --quiet
    if $short; then all_programs build/dev "" --short; else all_programs build/dev ""; fi
    if [ -x build/dev/tools/qvstreet ]; then check outputs tests/soak/outputs.py build/dev/tools/qvstreet; fi
}

# Every compiler at every optimisation.
compilers() {
    local compiler level first="" name
    for compiler in g++ clang++; do
        for level in O0 O1 O2 O3; do
            name=$compiler-$level
            build "$name" soak_determinism -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
                -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-$level" || continue
            check "$name" "$build/$name/tests/soak/soak_determinism" --short
            [ -n "$first" ] || first=$(hashes "$name")
            [ "$(hashes "$name")" = "$first" ] || fail "$name gives $(hashes "$name") instead of $first"
        done
    done
    echo "compilers: g++ and clang++, -O0 to -O3: ${first:-no results}"
}

# On a processor of valgrind's making. Its memory check takes the lanes beyond the end of a row, which vectors work out
# and mask, for uninitialised numbers that matter, so it is asked about the plain kernels.
valgrind() {
    local program=$build/g++-O1/tests/soak/soak_determinism cases=(--short)
    build g++-O1 soak_determinism -DCMAKE_CXX_COMPILER=g++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 || return 0
    check no-valgrind "$program" "${cases[@]}"
    check valgrind-kernels command valgrind -q --tool=none "$program" "${cases[@]}"
    check valgrind-memory command valgrind -q --leak-check=full --error-exitcode=9 "$program" "${cases[@]}" --plain
    local name
    for name in valgrind-kernels valgrind-memory; do
        [ "$(hashes $name)" = "$(hashes no-valgrind)" ] || fail "$name gives other results than without valgrind"
    done
}

# Another architecture: equal bits, or numbers that differ by 1e-9 at most.
aarch64() {
    local gtest
    gtest=$(dirname "$(find /usr/lib -name GTestConfig.cmake 2>/dev/null | head -1)")
    build aarch64 soak_determinism -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=aarch64 \
        -DCMAKE_CXX_COMPILER=aarch64-linux-gnu-g++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O2 -DGTest_DIR="$gtest" || return 0
    build g++-O2 soak_determinism -DCMAKE_CXX_COMPILER=g++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O2 || return 0
    check aarch64 qemu-aarch64 -L /usr/aarch64-linux-gnu "$build/aarch64/tests/soak/soak_determinism" --short \
        --output "$build/aarch64.txt"
    check x86-64 "$build/g++-O2/tests/soak/soak_determinism" --short --output "$build/x86-64.txt"
    check aarch64-compared tests/soak/compare_results.py "$build/x86-64.txt" "$build/aarch64.txt" 1e-9
}

# The thread sanitizer.
threads() {
    build tsan soak_threads -DCMAKE_CXX_COMPILER=g++ -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQVSTREET_SANITIZE=thread \
        -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1" || return 0
    check threads-tsan "$build/tsan/tests/soak/soak_threads" --cases 250
}

# The short forms under the other sanitizers.
asan() {
    few+=(-DQVSTREET_BUILD_TOOLS=ON)
    build asan all -DCMAKE_CXX_COMPILER=g++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1" -DQVSTREET_SANITIZE=address,undefined,float-cast-overflow || return 0
    all_programs "$build/asan" -asan --short
}

fuzz() {
    [ "$minutes" -eq 0 ] && return 0
    checks=$((checks + 1))
    scripts/fuzz.sh --minutes "$minutes" || fail "fuzzing"
}

if ! $short; then
    qv_install "${QV_BUILD_PACKAGES[@]}" libgtest-dev clang valgrind g++-aarch64-linux-gnu qemu-user python3
fi
for part in "${parts[@]}"; do
    $short || echo "== $part"
    case $part in
        programs | compilers | valgrind | aarch64 | threads | asan | fuzz) $part ;;
        *) echo "there is no part $part" >&2; exit 2 ;;
    esac
done

took=$((SECONDS - begin))
if [ ${#failures[@]} -gt 0 ]; then
    echo "soak: ${#failures[@]} of $checks checks failed in $took s: ${failures[*]}"
    exit 1
fi
echo "soak: $checks checks ok in $took s"
