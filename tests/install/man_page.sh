#!/usr/bin/env bash
# man_page.sh PAGE COMMAND: each subcommand has exactly the options that the page gives it.
source "$(dirname "$0")/say.sh"
page=$1 command=$2

# The headings of the page name the subcommands that the options below them belong to.
documented() {
    awk -v wanted="$1" '
        /^\.SH/ { in_options = ($0 == ".SH OPTIONS"); applies = 0 }
        /^\.SS/ && in_options {
            gsub(/^\.SS |,/, ""); gsub(/ and /, " ")
            applies = ($0 == "Every subcommand") || index(" " $0 " ", " " wanted " ")
        }
        applies && previous == ".TP" { print }
        { previous = $0 }' "$page" |
        sed 's/\\//g' | grep -oE -- '--[a-z][a-z-]+' | sort -u
}

subcommands=$("$command" --help | sed -nE '/^Subcommands:/,/^$/s/^  ([a-z]+) .*/\1/p')
[ -n "$subcommands" ] || fail "expected subcommands in the help, found: $("$command" --help)"
for subcommand in $subcommands; do
    grep -q "^.B qvstreet $subcommand" "$page" || fail "expected '$subcommand' in the synopsis of the page"
    offered=$(options_of "$command" "$subcommand")
    [ "$(wc -l <<<"$offered")" -gt 4 ] || fail "expected options in the help of $subcommand, found: $offered"
    # --version stands among the options of every subcommand, but is one of the command alone.
    difference=$(diff <(echo "$offered") <(documented "$subcommand" | grep -vx -- --version) || true)
    [ -z "$difference" ] || fail "expected the options of '$subcommand --help' (<) in the manual page (>):
$difference"
done
for status in 0 1 2 3 4; do
    "$command" --help | tr '\n;:' '   ' | grep -E " $status [a-z]" >/dev/null || fail "expected status $status in the help"
    grep -qx "\.B $status" "$page" || fail "expected exit status $status in the page"
done
grep -q "\"qvstreet $("$command" --version | cut -d ' ' -f 2)\"" "$page" || fail "expected the version of the command in the page"

if command -v man >/dev/null && command -v groff >/dev/null; then
    warnings=$(MANROFFSEQ=t man --warnings -E UTF-8 -Tutf8 -Z -l "$page" 2>&1 >/dev/null)
    [ -z "$warnings" ] || fail "expected a page without warnings: $warnings"
fi
