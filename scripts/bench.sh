#!/usr/bin/env bash
# Installs what the benchmarks need, builds and runs them. Options go to the program, for instance
#
#     ./scripts/bench.sh --benchmark_filter='setImage|warpAffine'
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

qv_install "${QV_BUILD_PACKAGES[@]}" "${QV_BENCH_PACKAGES[@]}"
cmake --preset bench >/dev/null
cmake --build --preset bench -- --quiet
exec build/bench/bench/qvstreet_bench --benchmark_min_time=0.2 --benchmark_enable_random_interleaving=true "$@"
