#!/usr/bin/env bash
# A formula that looks wrong but is right carries `// deliberate: <what looks odd>; pinned by <Suite.Test>` above it. This
# check fails unless each names a test that exists, so that nobody can "repair" such a formula unnoticed.
#
#     check_deliberate.sh SOURCE_FOLDER TEST_FOLDER
#
# The comment may run over several lines and name several tests: `pinned by A.B and C.D`, `pinned by A.B, C.D`.
set -euo pipefail

if [[ $# -ne 2 || ! -d $1 || ! -d $2 ]]; then
    echo "usage: $0 SOURCE_FOLDER TEST_FOLDER" >&2
    exit 2
fi

# Suite.Test of every test, one per line. Comments go first, then the text becomes one line, because a long TEST line is
# broken behind its comma.
existing_tests() {
    find "$1" -name '*.cpp' -exec sed 's,//.*,,' {} + | tr '\n' ' ' |
        { grep -oE '\b(TYPED_)?TEST(_F|_P)?\( *[A-Za-z0-9_]+ *, *[A-Za-z0-9_]+ *\)' || true; } |
        sed -E 's/^[^(]*\( *([A-Za-z0-9_]+) *, *([A-Za-z0-9_]+) *\)$/\1.\2/' | sort -u
}

# `file:line Suite.Test` for every test that a comment names, `file:line -` for a comment that names none.
deliberate_comments() {
    find "$1" \( -name '*.cpp' -o -name '*.h' \) -print0 | sort -z | xargs -0 awk '
        function report(    names, count, i) {
            if (text == "") return
            if (match(text, /pinned by [A-Za-z0-9_]+\.[A-Za-z0-9_]+((,| and|, and) [A-Za-z0-9_]+\.[A-Za-z0-9_]+)*/)) {
                names = substr(text, RSTART + 10, RLENGTH - 10)
                gsub(/, and |,| and /, " ", names)
                count = split(names, list, " ")
                for (i = 1; i <= count; ++i) print place, list[i]
            } else print place, "-"
            text = ""
        }
        FNR == 1 { report() }
        /\/\/+ *[Dd]eliberate:/ {
            report()
            place = FILENAME ":" FNR
            text = substr($0, match($0, /[Dd]eliberate:/))
            next
        }
        text != "" && /^[ \t]*\/\// {
            line = $0
            sub(/^[ \t]*\/+[ \t]*/, " ", line)
            text = text line
            next
        }
        { report() }
        END { report() }'
}

tests=$(existing_tests "$2")
comments=$(deliberate_comments "$1")
if [[ -z $comments ]]; then
    echo "no '// deliberate:' comment under $1: wrong folder?" >&2
    exit 1
fi

failures=0
count=0
while read -r place name; do
    count=$((count + 1))
    if [[ $name == - ]]; then
        echo "$place: the comment names no test ('; pinned by <Suite.Test>')" >&2
        failures=$((failures + 1))
    elif ! grep -qxF -- "$name" <<<"$tests"; then
        echo "$place: there is no test $name" >&2
        failures=$((failures + 1))
    fi
done <<<"$comments"

echo "$count pinned, $failures without a test"
[[ $failures -eq 0 ]]
