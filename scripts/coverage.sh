#!/usr/bin/env bash
# Which lines and branches of the library its tests run: builds the test programs with counters, runs them, and shows a
# figure for each file. Ends with 1 if a test fails, or below 98 % of the lines or 90 % of the branches.
#
#     ./scripts/coverage.sh             everything
#     ./scripts/coverage.sh --report    the report alone, of the last run
#
# What no test reaches stands line by line in build/coverage/uncovered.txt, and as pages in build/coverage/html/.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

least_lines=98
least_branches=90

counting=true
case "${1:-}" in
    "") ;;
    --report) counting=false ;;
    *) sed -n '2,8s/^# \{0,1\}//p' scripts/coverage.sh; [[ $1 = -h || $1 = --help ]]; exit ;;
esac

build=build/coverage
programs=(tests/{platform,frontend,projection,candidates,streetfinder,blankregion}_tests tests/endtoend/endtoend_tests)
jobs=$(nproc)
begin=$SECONDS
# Where scripts/test.sh keeps the locale of the tests that must not notice a decimal comma.
export LOCPATH=${LOCPATH:-$PWD/build/locales}

# A run adds to what its object files counted before, and so do the runs that list the tests at the end of the build.
forget_counts() { find "$build" -name '*.gcda' -delete 2>/dev/null || true; }

# Not inlined, a function of a header has the branches of its own lines, and not those of the tests that call it.
build_programs() {
    local launcher=()
    command -v ccache >/dev/null 2>&1 && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    cmake --preset coverage "${launcher[@]}" -DCMAKE_CXX_FLAGS_DEBUG="-g1 -fno-inline" -DQVSTREET_BUILD_TOOLS=OFF \
        -DQVSTREET_BUILD_EXAMPLES=OFF -DQVSTREET_BUILD_PYTHON=OFF -DQVSTREET_INSTALL=OFF >/dev/null
    cmake --build "$build" -j "$jobs" --target "${programs[@]##*/}" -- --quiet
}

run_programs() {
    printf '%s\n' "${programs[@]}" | xargs -P "$jobs" -I{} bash -c '
        log=$1/$(basename "$2").log
        "$1/$2" --gtest_brief=1 >"$log" 2>&1 || { tail -40 "$log"; exit 1; }' run "$build" {}
}

# The kernels are compiled several times: what one version of them ran is counted for the line.
report() {
    gcovr --root . --filter qvstreet/ --exclude-throw-branches --exclude-unreachable-branches -j "$jobs" \
        --json "$build/coverage.json" "$build" 2>"$build/gcovr.log" || { cat "$build/gcovr.log" >&2; return 1; }
    mkdir -p "$build/html"
    gcovr --root . --add-tracefile "$build/coverage.json" --html-details "$build/html/index.html"
    python3 - "$build/coverage.json" "$build/uncovered.txt" "$least_lines" "$least_branches" <<'PYTHON'
import json
import sys

data, list_name, least_lines, least_branches = sys.argv[1:]
total = [0, 0, 0, 0]  # lines, those that ran, branches, those that were taken
print(f"{'lines':>7}{'ran':>8}{'branches':>10}{'taken':>8}")
with open(data) as file, open(list_name, "w") as left:
    for source in sorted(json.load(file)["files"], key=lambda source: source["file"]):
        name = source["file"]
        with open(name) as text:
            code = text.read().split("\n")
        counts = [0, 0, 0, 0]
        for line in source["lines"]:
            if line.get("gcovr/noncode"):
                continue
            branches = line["branches"]
            taken = sum(branch["count"] > 0 for branch in branches)
            for i, more in enumerate((1, line["count"] > 0, len(branches), taken)):
                counts[i] += more
            what = "never runs" if line["count"] == 0 else f"{len(branches) - taken} of {len(branches)} branches"
            if line["count"] == 0 or taken < len(branches):
                number = line["line_number"]
                left.write(f"{name}:{number}: {what}: {code[number - 1].strip()}\n")
        lines, ran, branches, taken = counts
        if lines:
            share = f"{100 * taken / branches:7.1f}%" if branches else f"{'':8}"
            print(f"{lines:7}{100 * ran / lines:7.1f}%{branches:10}{share}  {name}")
        total = [a + b for a, b in zip(total, counts)]
lines, ran, branches, taken = total
shares = 100 * ran / max(lines, 1), 100 * taken / max(branches, 1)
enough = shares[0] >= float(least_lines) and shares[1] >= float(least_branches)
print(f"coverage: {shares[0]:.1f} % of {lines} lines, {shares[1]:.1f} % of {branches} branches"
      + ("" if enough else f"; wanted {least_lines} % and {least_branches} %"))
sys.exit(0 if enough else 1)
PYTHON
}

qv_install g++ cmake ninja-build libgtest-dev gcovr python3
if $counting; then
    forget_counts
    echo "== coverage: build"
    build_programs
    forget_counts
    echo "== coverage: test"
    run_programs || { echo "coverage: a test failed, after $((SECONDS - begin)) s"; exit 1; }
fi
report
