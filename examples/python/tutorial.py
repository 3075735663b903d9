"""Finds streets in the sample images and draws them.

    python3 tutorial.py                  # a window, or tutorial.png where there is no display
    python3 tutorial.py --out found.png

Each step below is one kind of wafer. Angles are in degrees, positions in pels; the centre of the upper left pel is
(0.5, 0.5).
"""

import argparse
import os
import pathlib
import sys

import matplotlib

if "DISPLAY" not in os.environ and "WAYLAND_DISPLAY" not in os.environ:
    matplotlib.use("Agg")

import matplotlib.pyplot as plt
import numpy as np
import PIL.Image
import qvstreet

IMAGES = pathlib.Path(__file__).resolve().parent.parent / "images"


def read(name):
    """8-bit grey pels, (height, width)."""
    return np.asarray(PIL.Image.open(IMAGES / name).convert("L"))


def show(axes, image, title):
    height, width = image.shape
    # Pel (i, j) covers [i, i + 1) by [j, j + 1).
    axes.imshow(image, cmap="gray", vmin=0, vmax=255, extent=(0, width, height, 0))
    axes.set_title(title, fontsize=9)
    axes.set_axis_off()


def draw_crossings(axes, crossings):
    for crossing in crossings:
        for x1, y1, x2, y2 in crossing.segments:
            axes.plot([x1, x2], [y1, y2], color="lime", linewidth=0.8)
    for crossing in crossings:
        axes.plot(crossing.x, crossing.y, "o", color="red", markersize=7, fillstyle="none", markeredgewidth=1.5)
        axes.annotate(f"{crossing.score:.2f}", crossing.point, color="yellow", fontsize=6,
                      xytext=(5, 5), textcoords="offset points")  # fmt: skip


def tell(name, crossings):
    print(f"{name}: {len(crossings)} crossings")
    for crossing in crossings[:3]:
        print(f"  x {crossing.x:7.2f}  y {crossing.y:7.2f}  score {crossing.score:.3f}  "
              f"level street {crossing.horizontal_angle_degrees:.2f} degrees")  # fmt: skip


def lines_of_any_grey(axes):
    """Streets that show as lines: `coarse` is the mode to begin with. It wants the width of the streets, roughly."""
    image = read("wafer_coarse.png")
    crossings = qvstreet.find_crossings(image, mode="coarse", width=20)
    tell("wafer_coarse.png", crossings)
    show(axes, image, 'mode="coarse", width=20')
    draw_crossings(axes, crossings)


def pairs_of_edges(axes):
    """Streets with two clear edges: `edge` measures both, and gives the corners where they cross.

    These streets are darker than the dies. Without the polarity look-alikes in the dies come too, with scores close to those
    of the streets.
    """
    image = read("wafer_edge.png")
    crossings = qvstreet.find_crossings(image, mode="edge", width=28, sharpness=4, polarity="dark")
    tell("wafer_edge.png", crossings)
    show(axes, image, 'mode="edge", width=28, polarity="dark"')
    draw_crossings(axes, crossings)
    for crossing in crossings:
        c = crossing.corners
        axes.plot(*zip(c.ul, c.ur, c.lr, c.ll, c.ul), color="deepskyblue", linewidth=1)


def lines_measured_again(axes):
    """Light streets: `ridge` measures each crossing again on the pels. Say whether streets are dark or light.

    For a series of images make one finder and keep it.
    """
    image = read("wafer_ridge.png")
    finder = qvstreet.StreetFinder(mode="ridge", width=14, polarity="light")
    finder.set_image(image)  # not copied
    crossings = finder.find()
    tell("wafer_ridge.png", crossings)
    show(axes, image, 'mode="ridge", width=14, polarity="light"')
    draw_crossings(axes, crossings)


def blank_stretches(axes):
    """Where one street holds no test structures over at least 110 pels."""
    image = read("street_strip.png")
    regions = qvstreet.find_blank_regions(image, street_width=64, min_length=110)
    print(f"street_strip.png: {len(regions)} blank regions, the best of {regions[0].width} pels at x {regions[0].x}")
    show(axes, image, "street_width=64, min_length=110")
    for region in regions:
        axes.add_patch(plt.Rectangle((region.x, region.y), region.width, region.height, fill=False, color="lime", linewidth=1.5))
        axes.annotate(f"{region.score:.2f}", (region.x + 8, region.y + 40), color="yellow", fontsize=7)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--out", help="save the picture to this file in place of showing it")
    arguments = parser.parse_args()

    figure = plt.figure(figsize=(13, 6), dpi=110, layout="constrained")
    grid = figure.add_gridspec(2, 3, height_ratios=[5, 1])
    lines_of_any_grey(figure.add_subplot(grid[0, 0]))
    pairs_of_edges(figure.add_subplot(grid[0, 1]))
    lines_measured_again(figure.add_subplot(grid[0, 2]))
    blank_stretches(figure.add_subplot(grid[1, :]))

    out = arguments.out
    if out is None and matplotlib.get_backend().lower() == "agg":
        out = "tutorial.png"
    if out is None:
        plt.show()
    else:
        figure.savefig(out)
        print("picture:", out)


if __name__ == "__main__":
    sys.exit(main())
