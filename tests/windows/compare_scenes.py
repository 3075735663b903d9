#!/usr/bin/env python3
"""Compares what the scenes give on two systems, as scene_json prints it.

    compare_scenes.py FIRST SECOND

The same results have to be there in the same order, and every number may differ by MOST at the utmost: the C libraries
round sines, arc tangents and exponentials differently in the last bit.
"""
import json
import re
import sys

MOST = 1e-9


def lines_of(path):
    with open(path) as file:
        for line in file:
            yield json.loads(re.sub(r"-?nan(\(ind\))?", "NaN", line))


def numbers_of(value, path=""):
    """Every number and text with its place."""
    if isinstance(value, dict):
        for key, part in value.items():
            yield from numbers_of(part, f"{path}/{key}")
    elif isinstance(value, list):
        for index, part in enumerate(value):
            yield from numbers_of(part, f"{path}/{index}")
    else:
        yield path, value


def main(first, second):
    runs = equal = 0
    worst = (0.0, "")
    for a, b in zip(lines_of(first), lines_of(second), strict=True):
        name = f"{a['scene']}, {a['mode']}"
        left, right = dict(numbers_of(a)), dict(numbers_of(b))
        if left.keys() != right.keys():
            sys.exit(f"{name}: {len(left)} values here, {len(right)} there")
        runs += 1
        equal += left == right
        for place, value in left.items():
            other = right[place]
            if value == other or value != value and other != other:
                continue
            if isinstance(value, str) or not abs(value - other) <= MOST:
                sys.exit(f"{name}: {place} is {value} here and {other} there")
            worst = max(worst, (abs(value - other), name))
    print(f"{runs} runs, {equal} of them equal in every bit; the largest difference is {worst[0]:.1e} ({worst[1]})")


main(*sys.argv[1:])
