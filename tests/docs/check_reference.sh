#!/usr/bin/env bash
# Makes the API reference; a warning is a failure. Skipped without Doxygen.
#
#     check_reference.sh DOXYFILE FOLDER
set -euo pipefail
if ! command -v doxygen >/dev/null 2>&1; then
    echo "doxygen is not installed"
    exit 77
fi
mkdir -p "$2"
# Twice the same file would be written to by two makers; this one writes beside the one for readers.
mine=$(mktemp -d)
trap 'rm -rf "$mine"' EXIT
{ cat "$1"; echo "OUTPUT_DIRECTORY = $mine"; } | doxygen - >"$mine/log" 2>&1 || true
if [ -s "$mine/log" ]; then
    cat "$mine/log"
    exit 1
fi
for class in qvStreetFinder qvStreetFinderParams qvStreetFinderStreetCrossResult qvStreetBlankRegionFinderParams; do
    if ! grep -q ">$class<" "$mine/html/annotated.html"; then
        echo "the reference lacks $class"
        exit 1
    fi
done
