#!/usr/bin/env python3
"""Compares two files that soak_determinism --output wrote.

    compare_results.py FIRST SECOND TOLERANCE

Ends with 1 where anything but doubles differs, or two doubles differ by more than TOLERANCE, relative to the larger one
where that is above 1.
"""
import math
import re
import struct
import sys

NUMBER = re.compile(r"([0-9a-f]{16}|nan) ")


def number(text):
    return math.nan if text == "nan" else struct.unpack(">d", bytes.fromhex(text))[0]


def deviation(a, b):
    if math.isnan(a) and math.isnan(b) or a == b:
        return 0.0
    apart = abs(a - b) / max(1.0, abs(a), abs(b))
    return math.inf if math.isnan(apart) else apart


def main(first, second, tolerance):
    name = ""
    count = differing = 0
    worst, where = 0.0, ""
    with open(first) as a, open(second) as b:
        linesA, linesB = a.read().split("\n"), b.read().split("\n")
    if len(linesA) != len(linesB):
        return f"{len(linesA)} lines against {len(linesB)}: a result more or less"
    for lineA, lineB in zip(linesA, linesB):
        if re.match(r"[a-z]+ [0-9]", lineA) and not lineA.startswith("nan"):
            name = lineA
        if NUMBER.sub("#", lineA) != NUMBER.sub("#", lineB):
            return f"{name}: '{lineA}' against '{lineB}'"
        for textA, textB in zip(NUMBER.findall(lineA), NUMBER.findall(lineB)):
            count += 1
            apart = deviation(number(textA), number(textB))
            differing += textA != textB
            if apart > worst:
                worst, where = apart, name
    if count == 0:
        return "no numbers to compare"
    print(f"{count} numbers, {differing} with other bits, worst deviation {worst:.3g}"
          + (f" in {where}" if where else "") + f", tolerance {tolerance:g}: " + ("ok" if worst <= tolerance else "FAILED"))
    return None if worst <= tolerance else 1


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], sys.argv[2], float(sys.argv[3])))
