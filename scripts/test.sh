#!/usr/bin/env bash
# Installs what is missing, builds, and runs all tests; then builds and runs them again under the sanitizers.
#
#     ./scripts/test.sh            everything
#     ./scripts/test.sh --quick    without the sanitizers
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

quick=false
case "${1:-}" in
    "") ;;
    --quick) quick=true ;;
    *) echo "usage: scripts/test.sh [--quick]" >&2; exit 2 ;;
esac

qv_install "${QV_BUILD_PACKAGES[@]}" "${QV_TEST_PACKAGES[@]}"
jobs=$(nproc)

# A locale with a decimal comma, for the tests that must not notice it; the machine's own locales stay as they are.
export LOCPATH=$PWD/build/locales
if [ ! -d "$LOCPATH/de_DE.UTF-8" ]; then
    mkdir -p "$LOCPATH"
    localedef -i de_DE -f UTF-8 "$LOCPATH/de_DE.UTF-8"
fi

# run PRESET [CMAKE OPTION...]
run() {
    local preset=$1
    echo "== $preset: build"
    cmake --preset "$preset" "${@:2}" >/dev/null
    cmake --build --preset "$preset" -j "$jobs" -- --quiet
    echo "== $preset: test"
    local log=build/$preset/ctest.log skipped
    ctest --preset "$preset" -j "$jobs" --output-on-failure | tee "$log"
    skipped=$(grep -c '^[[:space:]].*(Skipped)$' "$log" || true)
    passed_all=$((passed_all + $(sed -n 's/.* tests failed out of \([0-9]*\)$/\1/p' "$log") - skipped))
    skipped_all=$((skipped_all + skipped))
}
passed_all=0
skipped_all=0

# The benchmarks are built as well, though not run, so that they keep compiling; what they stand beside is not needed.
run dev -DQVSTREET_BUILD_BENCH=ON -DQVSTREET_BENCH_PEERS=OFF
echo "== soak: a few seconds of each of the long checks"
./scripts/soak.sh --short
$quick || run asan
# Whoever failed has ended the script by now.
echo "$passed_all passed, 0 failed, $skipped_all skipped"
