#!/usr/bin/env bash
# completion.sh COMPLETION COMMAND: what bash offers behind the words of a call.
source "$(dirname "$0")/say.sh"
completion=$1 command=$2
scratch
cd "$SCRATCH"
mkdir lot
touch -- -dark.png wafer.png Wafer.TIF "two words.png" notes.txt old.html found.svg weights.dat
set +u
source "$completion"
complete -p qvstreet >/dev/null || fail "expected a completion for qvstreet"

# offered WORD... : what is offered for the last word, sorted, in one line
offered() {
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=()
    _qvstreet 2>/dev/null
    printf '%s\n' "${COMPREPLY[@]}" | sort | paste -sd '|'
}

expect "qvstreet _" "angles|blank|find|inspect|streets" "$(offered qvstreet "")"
expect "qvstreet s_" "streets" "$(offered qvstreet s)"
expect "qvstreet --_" "--help|--version" "$(offered qvstreet --)"
expect "--mode _" "coarse|edge|ridge" "$(offered qvstreet find --mode "")"
expect "--mode=r_" "ridge" "$(offered qvstreet find --mode = r)"
expect "--mode=_" "coarse|edge|ridge" "$(offered qvstreet find --mode =)"
expect "--polarity _" "any|dark|light" "$(offered qvstreet streets --polarity "")"
expect "--direction _" "h|v" "$(offered qvstreet blank --direction "")"
expect "--width _" "" "$(offered qvstreet find --width "")"
expect "--overlay _" "-dark.png|found.svg|lot|two words.png|wafer.png" "$(offered qvstreet find --overlay "")"
expect "--report _" "lot|old.html" "$(offered qvstreet inspect --report "")"
expect "--files-from n_" "notes.txt" "$(offered qvstreet find --files-from n)"
expect "--grey-weights w_" "wafer.png|weights.dat" "$(offered qvstreet blank --grey-weights w)"
expect "images" "-dark.png|Wafer.TIF|lot|two words.png|wafer.png" "$(offered qvstreet find "")"
expect "images that begin with tw" "two words.png" "$(offered qvstreet find --mode edge tw)"
expect "an image behind --" "-dark.png" "$(offered qvstreet find -- -)"
expect "--json t_, any file" "two words.png" "$(offered qvstreet find --json t)"
expect "an option after an image" "--street-width" "$(offered qvstreet blank wafer.png --st)"

# Each subcommand is offered exactly the options that it has, and each value that an option allows is offered.
for subcommand in find streets angles inspect blank; do
    expect "options of $subcommand" "$(options_of "$command" "$subcommand" | paste -sd '|')" "$(offered qvstreet "$subcommand" --)"
done
for option in mode polarity; do
    allowed=$({ "$command" find --$option nonsense wafer.png 2>&1 || true; } |
        sed -E "s/.*allowed is //; s/ or /, /; s/, /\n/g" | sort | paste -sd '|')
    expect "values of --$option" "$allowed" "$(offered qvstreet find --$option "")"
done
