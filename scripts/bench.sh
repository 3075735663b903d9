#!/usr/bin/env bash
# Installs what the benchmarks need, builds them, and times the library beside OpenCV and FFTW.
#
#     ./scripts/bench.sh                   the table of all ratios, whole searches, and the heap memory of a finder
#     ./scripts/bench.sh --list            the names of the ratios, and of the whole searches: pipelines_...
#     ./scripts/bench.sh --ratio NAME      one ratio; the last line is the number alone
#     ./scripts/bench.sh --only TEXT       what has a name that contains TEXT; --only pipelines for the whole searches
#     ./scripts/bench.sh --kernels SET     with the kernels plain, baseline, v3 or v4; goes with the others
#     ./scripts/bench.sh --rounds N        rounds, 41 unless given, for whole searches 15 at most; likewise
#     ./scripts/bench.sh --profile [NAME]  where the time of our side of a ratio goes, setImage_find_1024 unless given
#     ./scripts/bench.sh --markdown        all of it, written into README.md and docs/performance.md; with --only TEXT
#                                          no more than that, and tables of which a part is missing are shortened
#     ./scripts/bench.sh --stages [OPTION...]  every stage alone; options go to Google Benchmark
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

if [ "${1:-}" = -h ] || [ "${1:-}" = --help ]; then
    sed -n '2,14s/^# \{0,1\}//p' scripts/bench.sh
    exit 0
fi

programs=build/bench/bench

# The time of each function as a table, for a run of a second or two; drawing the image is left out.
# print_profile NAME TIMES
print_profile() {
    local record
    record=$(mktemp)
    perf record -q -o "$record" -e cpu-clock -F 4000 -- "$programs/peers/qvstreet_peers" --repeat "$1" "$2" >&2
    echo "| of the time of \`$1\` | function |"
    echo "|---|---|"
    perf report -i "$record" --stdio --no-children -q --percent-limit 1 -F overhead,symbol 2>/dev/null |
        sed -nE '/qvtest::/d; s/\(anonymous namespace\):://g; s/<.*//; s/^ *([0-9.]+%) +\[.\] (.*[^ ]) *$/| \1 | `\2` |/p'
    rm -f "$record"
}

# Puts what stands between two lines of comment in $tables into the same place of a page.
# A page keeps what was not measured.
# fill_in FILE NAME
fill_in() {
    grep -qxF "<!-- bench: $2 -->" "$tables" || return 0
    local page
    page=$(mktemp)
    awk -v begin="<!-- bench: $2 -->" -v end="<!-- bench: end -->" '
        FNR == NR { if ($0 == begin) inside = 1; if (inside) text = text $0 "\n"; if ($0 == end) inside = 0; next }
        $0 == begin { printf "%s", text; skip = 1 }
        !skip { print }
        $0 == end { skip = 0 }' "$tables" "$1" >"$page"
    cat "$page" >"$1"
    rm -f "$page"
}

write_pages() {
    tables=$(mktemp)
    "$programs/peers/qvstreet_peers" --markdown "$@" >"$tables"
    case " $* " in
        *" --only "*) ;;
        *) measure_beside_the_ratios >>"$tables" ;;
    esac
    fill_in README.md pipelines
    fill_in README.md "short table"
    local table
    for table in "full table" "pipelines in full" "kernels table" memory profile; do
        fill_in docs/performance.md "$table"
    done
    cat "$tables"
    rm -f "$tables"
}

# The memory and the profile, as they stand in the pages.
measure_beside_the_ratios() {
    "$programs/peers/qvstreet_memory"
    if ! command -v perf >/dev/null 2>&1; then
        echo "perf is not installed; the profile in docs/performance.md stays as it is" >&2
        return 0
    fi
    echo "<!-- bench: profile -->"
    print_profile setImage_find_1024 1000
    echo
    print_profile setImage_find_4096 150
    echo "<!-- bench: end -->"
}

qv_install "${QV_BUILD_PACKAGES[@]}" "${QV_BENCH_PACKAGES[@]}" >&2
cmake --preset bench >/dev/null
cmake --build --preset bench -- --quiet >&2

case "${1:-}" in
    --stages)
        exec "$programs/qvstreet_bench" --benchmark_min_time=0.2 --benchmark_enable_random_interleaving=true "${@:2}"
        ;;
    --profile) print_profile "${2:-setImage_find_1024}" 500 ;;
    --markdown) write_pages "${@:2}" ;;
    "")
        "$programs/peers/qvstreet_peers"
        echo
        "$programs/peers/qvstreet_memory" | grep '^|'
        ;;
    *) exec "$programs/peers/qvstreet_peers" "$@" ;;
esac
