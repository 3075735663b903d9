#!/usr/bin/env bash
# Draws the pictures of the documents but report.png anew, with the programs of a build tree, build/dev unless given. Each
# picture has the number of crossings, or blank regions, that the pages say it shows.
#
#     docs/images/make_pictures.sh [BUILD]
#     docs/images/make_pictures.sh --check BUILD    draws nothing, and fails where a number is another
set -euo pipefail
check=false
if [ "${1:-}" = --check ]; then
    check=true
    shift
fi
build=$(realpath "${1:-build/dev}")
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
$check || cmake --build "$build" --target qvstreet_tool picture_scenes
qvstreet=$build/tools/qvstreet
scenes=$(mktemp -d)
trap 'rm -rf "$scenes"' EXIT
"$build/tests/docs/picture_scenes" "$scenes"
status=0

# picture NAME COUNT SUBCOMMAND SCENE OPTION...
picture() {
    local command=("$3" "$scenes/$4.png" "${@:5}" --json "$scenes/found.json") count
    $check || command+=(--overlay "docs/images/$1.png")
    "$qvstreet" "${command[@]}"
    count=$(grep -c '"score"' "$scenes/found.json" || true)
    echo "$1: $count by qvstreet $3 $4.png ${*:5}"
    if [ "$count" != "$2" ]; then
        echo "$1: the pages say $2"
        status=1
    fi
}

picture broad 4 find broad --mode edge --width 26,20 --polarity dark --max 12
picture broad_any_polarity 6 find broad --mode edge --width 26,20 --max 12
picture broad_width_too_small 16 find broad --mode coarse --width 5 --max 30
picture light 9 find light --mode ridge --width 10 --polarity light --max 12
picture thin 9 find thin --mode ridge --width 4 --polarity dark --max 12
picture dense 35 find dense --mode coarse --width 9 --max 60
picture dense_dark 15 find dense --mode coarse --width 9 --polarity dark --max 60
picture dense_width_too_large 21 find dense --mode coarse --width 27 --max 60
picture blank 2 blank strip --street-width 64 --min-length 110
exit $status
