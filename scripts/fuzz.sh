#!/usr/bin/env bash
# Builds the fuzz targets and runs them, one on each processor at a time, each for so many minutes of processor time;
# prints what each did. What a target learns stays in build/fuzz/learned/<target>, where the next run goes on. Ends with
# 1 if a target found something: the input is in build/fuzz/findings/<target> then. Once mended it belongs into
# tests/fuzz/corpus/<target>, where every test run replays it.
#
#     ./scripts/fuzz.sh                          all targets, 20 minutes each
#     ./scripts/fuzz.sh --minutes 1 png tiff     these, a minute each
#     ./scripts/fuzz.sh --build FOLDER ...       in another build folder than build/fuzz
#     ./scripts/fuzz.sh --built ...              the programs as they stand there
#     ./scripts/fuzz.sh --go-on ...              the minutes of earlier runs count
#     ./scripts/fuzz.sh --jobs 1 ...             one after the other
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

minutes=20
build=build/fuzz
built=false
go_on=false
jobs=$(nproc)
targets=()
while [ $# -gt 0 ]; do
    case "$1" in
        --minutes) minutes=$2; shift 2 ;;
        --build) build=$2; shift 2 ;;
        --jobs) jobs=$2; shift 2 ;;
        --built) built=true; shift ;;
        --go-on) go_on=true; shift ;;
        -*)
            echo "usage: scripts/fuzz.sh [--minutes N] [--build FOLDER] [--built] [--go-on] [--jobs N] [TARGET...]" >&2
            exit 2 ;;
        *) targets+=("$1"); shift ;;
    esac
done
if [ ${#targets[@]} -eq 0 ]; then
    targets=(finder blank parameters archive command_line png tiff jpeg bmp pnm)
fi

if ! $built; then
    cmake --preset fuzz -B "$build" >/dev/null
    cmake --build "$build" --target "${targets[@]/#/fuzz_}" -- --quiet
fi

# Bytes of an input: enough for what the target reads, and no more.
longest() {
    case "$1" in
        command_line | archive) echo 1024 ;;
        finder | blank | parameters) echo 512 ;;
        *) echo 4096 ;;
    esac
}

# run TARGET: slices of time until the processor time is reached, since libFuzzer counts by the clock on the wall.
run() {
    local target=$1 learned=$build/learned/$1 findings=$build/findings/$1 log=$build/$1.log
    local cpu=0 executions=0 edges=0 status=0 slice
    local spent=$build/$1.spent
    mkdir -p "$learned" "$findings"
    if $go_on && [ -f "$spent" ]; then read -r cpu executions <"$spent"; fi
    while [ $status -eq 0 ] && [ "$(awk "BEGIN { print ($cpu < $minutes * 60) }")" = 1 ]; do
        slice=$(awk "BEGIN { left = int($minutes * 60 - $cpu) + 1; print (left > 300 ? 300 : left < 30 ? 30 : left) }")
        TIMEFORMAT='%U %S'
        { time "$build/tests/fuzz/fuzz_$target" -max_total_time="$slice" -timeout=20 -rss_limit_mb=2560 -print_final_stats=1 \
            -max_len="$(longest "$target")" -artifact_prefix="$findings/" "$learned" "tests/fuzz/corpus/$target" \
            >"$log" 2>&1; } 2>"$log.time" || status=$?
        cpu=$(awk -v before="$cpu" '{ print before + $1 + $2 }' <(tail -1 "$log.time"))
        executions=$((executions + $(awk '/stat::number_of_executed_units/ { n = $2 } END { print n + 0 }' "$log")))
        echo "$cpu $executions" >"$spent"
        edges=$(grep -ao 'cov: [0-9]*' "$log" | tail -1 | cut -d' ' -f2 || true)
    done
    printf '%-14s %10d executions %7s edges %7.1f CPU minutes   %s\n' "$target" "$executions" "${edges:-?}" \
        "$(awk "BEGIN { print $cpu / 60 }")" "$([ $status -eq 0 ] && echo "nothing found" || echo "FOUND: $log")"
    return $status
}

# Each runs in a process group of its own, for what runs in the background does not hear Ctrl-C.
set -m
trap 'for job in $(jobs -p); do kill -- "-$job" 2>/dev/null || true; done; exit 130' INT TERM
failed=0
running=0
for target in "${targets[@]}"; do
    if [ $running -ge "$jobs" ]; then
        wait -n || failed=1
        running=$((running - 1))
    fi
    run "$target" &
    running=$((running + 1))
done
while [ $running -gt 0 ]; do
    wait -n || failed=1
    running=$((running - 1))
done
exit $failed
