#!/usr/bin/env bash
# Draws the plots of docs/accuracy.md anew, from what the programs of a build tree measure, build/dev unless given. Needs
# gnuplot (package gnuplot-nox).
#
#     docs/images/make_plots.sh [BUILD]
set -euo pipefail
build=$(realpath "${1:-build/dev}")
cd "$(dirname "${BASH_SOURCE[0]}")"
table=$build/tests/endtoend/measurement_table
data=$(mktemp -d)
trap 'rm -rf "$data"' EXIT
"$table" --phases >"$data/phases"
# Side, what was found, measured and bound, one line a row of the clean and hard images.
"$table" --random 0 | awk -F' *[|] *' '$2 ~ /^clean/ || $2 ~ /^hard/ {
    split($3, words, ","); print ($2 ~ /^hard/ ? "hard" : "clean"), words[1], $7, $8, $9 }' >"$data/rows"
grep clean "$data/rows" >"$data/clean"
grep hard "$data/rows" >"$data/hard"

gnuplot <<PLOTS
set terminal pngcairo size 760,420 font "sans,10"
set grid lc rgb "#dddddd"
set border 3 lc rgb "#666666"
set tics nomirror

set output "measurement_phases.png"
set title "Error of a level street's edges and centre against the place of its first edge between two rows of pels"
set xlabel "place of the edge, pels below a border of the grid"
set ylabel "error, pels"
set xrange [0:1]
set yrange [-0.0065:0.0065]
set key bottom right
plot 0.005 lc rgb "#cc4444" dt 2 title "limit", -0.005 lc rgb "#cc4444" dt 2 notitle, \
    "$data/phases" using 1:2 with points pt 7 ps 0.6 lc rgb "#3377bb" title "upper edge", \
    "$data/phases" using 1:3 with points pt 6 ps 0.7 lc rgb "#44aa66" title "lower edge", \
    "$data/phases" using 1:4 with lines lw 2 lc rgb "#222222" title "centre"

set output "measurement_errors.png"
set title "Crossings: found by coarse mode, then measured; each point is an image of nine"
set xlabel "side of the image, pels"
set ylabel "root mean square error, pels"
set logscale xy
set xrange [400:5200]
set yrange [0.001:10]
set xtics (512, 1024, 2048, 4096)
set key outside right top
plot "$data/clean" using 2:3 with points pt 7 ps 0.7 lc rgb "#999999" title "clean, found", \
    "$data/clean" using 2:4 with points pt 7 ps 0.7 lc rgb "#3377bb" title "clean, measured", \
    "$data/clean" using 2:5 with points pt 2 ps 1.2 lc rgb "#113355" title "clean, bound", \
    "$data/hard" using (\$2*1.06):3 with points pt 6 ps 0.9 lc rgb "#999999" title "hard, found", \
    "$data/hard" using (\$2*1.06):4 with points pt 6 ps 0.9 lc rgb "#bb5533" title "hard, measured", \
    "$data/hard" using (\$2*1.06):5 with points pt 2 ps 1.2 lc rgb "#552211" title "hard, bound"
PLOTS
ls -l measurement_*.png
