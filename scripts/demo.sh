#!/usr/bin/env bash
# From a bare Debian machine to a picture of a wafer with its streets drawn in.
#
#     ./scripts/demo.sh                    the sample image
#     ./scripts/demo.sh IMAGE [OPTION...]  your own image; options go to `qvstreet find`, see `qvstreet find --help`
set -euo pipefail

here=$(pwd)
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/packages.sh"

if [ "${1:-}" = -h ] || [ "${1:-}" = --help ]; then
    sed -n '2,6s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"
    exit 0
fi

options=(--mode coarse)
if [ $# -gt 0 ]; then
    image=$1
    shift
    case $image in /*) ;; *) image=$here/$image ;; esac
    [ $# -gt 0 ] && options=("$@")
else
    image=$root/examples/images/wafer_coarse.png
    options=(--mode coarse --width 20 --max 20)
fi

qv_install "${QV_BUILD_PACKAGES[@]}"

echo "Building ..."
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { cmake -S "$root" -B "$root/build/demo" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQVSTREET_BUILD_TESTS=OFF &&
       cmake --build "$root/build/demo"; } >"$log" 2>&1; then
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
"$root/build/demo/tools/qvstreet" find "$image" "${options[@]}" --overlay "$picture" --json "$json"

found=$(grep -c '"horizontalAngle"' "$json" || true)
echo
echo "Found $found crossings."
echo "Picture: $picture"
echo "JSON:    $json"
if [ "$found" -eq 0 ]; then
    echo "Nothing was found. Tell the finder the streets' width in pels, for instance: --mode coarse --width 20 --max 50"
fi
