# Sourced by the scripts of this folder.
set -euo pipefail
export LC_ALL=C

# fail TEXT... ends the test; the text says what was expected.
fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# skip TEXT... ends the test as one that could not be run.
skip() {
    echo "skipped: $*"
    exit 77
}

# expect NAME WANTED FOUND
expect() {
    [ "$2" = "$3" ] || fail "$1: expected '$2', found '$3'"
}

# A folder that goes away with the script.
scratch() {
    SCRATCH=$(mktemp -d)
    trap 'rm -rf "$SCRATCH"' EXIT
}

# run LOG COMMAND... shows what the command said only if it fails.
run() {
    local log=$1
    shift
    "$@" >"$log" 2>&1 || { cat "$log" >&2; fail "expected to succeed: $*"; }
}

# options_of COMMAND SUBCOMMAND: those that its help names, sorted, one on each line
options_of() {
    "$1" "$2" --help | grep -oE -- '^ +(-h,)?--[a-z][a-z-]+' | grep -oE -- '--[a-z-]+' | sort -u
}
