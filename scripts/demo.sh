#!/usr/bin/env bash
# From a bare Debian machine to a picture of a wafer with its streets drawn in.
#
#     ./scripts/demo.sh                    the sample image
#     ./scripts/demo.sh IMAGE [OPTION...]  your own image; options go to `qvstreet find`, see docs/command.md. The mode
#                                          is coarse unless --mode says otherwise; --json and --overlay are taken
set -euo pipefail

here=$(pwd)
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/packages.sh"

if [ "${1:-}" = -h ] || [ "${1:-}" = --help ]; then
    sed -n '2,7s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"
    exit 0
fi

mode=(--mode coarse)
width=
if [ $# -gt 0 ]; then
    case $1 in
        -*) echo "demo.sh: the image comes first: ./scripts/demo.sh IMAGE [OPTION...], not '$1'" >&2; exit 2 ;;
        /*) image=$1 ;;
        *) image=$here/$1 ;;
    esac
    shift
    if [ ! -f "$image" ]; then
        echo "demo.sh: '$image' is not a file; give an image: PNG, TIFF, BMP, PGM/PPM or JPEG" >&2
        exit 3
    fi
    for option in "$@"; do
        case $option in
            --mode | --mode=*) mode=() ;;
            --width | --width=*) width=given ;;
            --json | --json=* | --overlay | --overlay=*)
                echo "demo.sh: $option is taken: the demo writes both itself; run build/demo/tools/qvstreet instead" >&2
                exit 2
                ;;
        esac
    done
    options=("${mode[@]}" "$@")
else
    image=$root/examples/images/wafer_coarse.png
    options=(--mode coarse --width 20 --max 20)
    width=given
fi

qv_install "${QV_BUILD_PACKAGES[@]}"

echo "Building, which takes about two minutes the first time ..."
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { cmake -S "$root" -B "$root/build/demo" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQVSTREET_BUILD_TESTS=OFF &&
       cmake --build "$root/build/demo" --target qvstreet_tool; } >"$log" 2>&1; then
    cat "$log" >&2
    echo "The build failed." >&2
    exit 1
fi

out=$root/demo-out
mkdir -p "$out"
name=$(basename "$image")
picture=$out/${name%.*}_streets.png
json=$out/${name%.*}_streets.json

echo "Finding the streets of $image"
echo "    qvstreet find ${options[*]}"
"$root/build/demo/tools/qvstreet" find "${options[@]}" --overlay "$out/{name}_streets.png" --json "$json" -- "$image"

found=$(grep -c '"horizontalAngle"' "$json" || true)
echo
echo "Found $found crossings."
echo "Picture: $picture"
echo "JSON:    $json"
echo "Command: $root/build/demo/tools/qvstreet"
if [ -z "$width" ]; then
    echo "The streets were taken to be 10 pels wide. Tell their width and, if you know it, whether they are darker or"
    echo "lighter than what they part: ./scripts/demo.sh IMAGE --width 20 --polarity dark"
elif [ "$found" -eq 0 ]; then
    echo "Nothing was found. Is the width right, in pels? Leave --polarity out, or try another --mode."
fi
