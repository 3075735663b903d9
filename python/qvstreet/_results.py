"""What the finders return: plain values that own all they hold."""

from __future__ import annotations

import enum
from dataclasses import dataclass
from typing import Any, Tuple

Point = Tuple[float, float]
Segment = Tuple[float, float, float, float]


class ResultStatus(enum.Enum):
    """What a result was built from, and so which of its members carry information."""

    EDGES = "edges"
    """The two edges of each street: a crossing has four distinct corners and up to eight segments, a street two."""

    LINE = "line"
    """One line per street: all corners are the crossing itself; a crossing has two segments, a street one."""


@dataclass(frozen=True)
class Corners:
    """The points (x, y) where the edges of two streets cross, in client units."""

    ul: Point
    """Upper left."""
    ur: Point
    """Upper right."""
    ll: Point
    """Lower left."""
    lr: Point
    """Lower right."""

    def to_dict(self) -> dict[str, Any]:
        """The corners as lists, with the member names of the command's JSON."""
        return {"ul": list(self.ul), "ur": list(self.ur), "ll": list(self.ll), "lr": list(self.lr)}


@dataclass(frozen=True)
class StreetCrossing:
    """One crossing of two streets."""

    x: float
    """Where the centre lines cross, in client units."""
    y: float
    """Where the centre lines cross, in client units."""
    score: float
    """Quality; higher is better. Scores of different modes do not compare."""
    horizontal_angle_degrees: float
    """Direction of the more nearly horizontal street, degrees of the client frame, from +x towards +y."""
    vertical_angle_degrees: float
    """Direction of the more nearly vertical street, degrees of the client frame, from +x towards +y."""
    corners: Corners
    """Where the edges cross; all four are (x, y) when `status` is `ResultStatus.LINE`."""
    segments: tuple[Segment, ...]
    """The lines it was made from, each (x1, y1, x2, y2) in client units. Of two, the first belongs to the more nearly
    vertical street."""
    status: ResultStatus
    """What it was built from."""

    @property
    def point(self) -> Point:
        """(x, y)."""
        return (self.x, self.y)

    def to_dict(self) -> dict[str, Any]:
        """Numbers, texts, lists and dicts only, with the member names of the command's JSON; angles in degrees."""
        return {
            "x": self.x,
            "y": self.y,
            "score": self.score,
            "horizontalAngle": self.horizontal_angle_degrees,
            "verticalAngle": self.vertical_angle_degrees,
            "corners": self.corners.to_dict(),
            "segments": [list(segment) for segment in self.segments],
            "status": self.status.value,
        }


@dataclass(frozen=True)
class SingleStreet:
    """One street."""

    score: float
    """Quality; higher is better."""
    angle_degrees: float
    """Direction of the street, degrees of the client frame, from +x towards +y."""
    segments: tuple[Segment, ...]
    """Its two edges, or its one line, each (x1, y1, x2, y2) in client units."""
    status: ResultStatus
    """What it was built from."""

    def to_dict(self) -> dict[str, Any]:
        """Numbers, texts, lists and dicts only, with the member names of the command's JSON; angles in degrees."""
        return {
            "score": self.score,
            "angle": self.angle_degrees,
            "segments": [list(segment) for segment in self.segments],
            "status": self.status.value,
        }


@dataclass(frozen=True)
class StreetAngle:
    """One direction in which streets may run."""

    angle_degrees: float
    """The direction, degrees of the client frame, from +x towards +y."""
    score: float
    """How strong it is; higher is better."""

    def to_dict(self) -> dict[str, Any]:
        """The two numbers, with the member names of the command's JSON; the angle in degrees."""
        return {"angle": self.angle_degrees, "score": self.score}


@dataclass(frozen=True)
class BlankRegion:
    """One stretch of a street without structure: columns `x` to `x + width - 1`, rows `y` to `y + height - 1`."""

    x: int
    """First column, in pels; the image's offset is included."""
    y: int
    """First row, in pels; the image's offset is included."""
    width: int
    """Columns, in pels."""
    height: int
    """Rows, in pels."""
    score: float
    """Quality, above 0 and at most 1: the blankness, weighed by size and mean grey level. Higher is better."""
    blankness: float
    """How free of structure it is, from 0 to 1."""

    def to_dict(self) -> dict[str, Any]:
        """The six numbers, with the member names of the command's JSON; lengths in pels."""
        return {
            "x": self.x,
            "y": self.y,
            "width": self.width,
            "height": self.height,
            "score": self.score,
            "blankness": self.blankness,
        }
