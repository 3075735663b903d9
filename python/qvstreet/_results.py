"""What the finders return: plain values that own all they hold."""

from __future__ import annotations

import enum
import math
from dataclasses import dataclass, fields
from typing import Any, Tuple

Point = Tuple[float, float]
Segment = Tuple[float, float, float, float]


class ResultStatus(enum.Enum):
    """What a result was built from, and so which of its members carry information."""

    EDGES = "edges"
    """The two edges of each street: a crossing has four distinct corners and up to eight segments, a street two."""

    LINE = "line"
    """One line per street: all corners are the crossing itself; a crossing has two segments, a street one."""


class MeasureStatus(enum.Enum):
    """How much of a street or a crossing was measured."""

    MEASURED = "measured"
    """Everything."""

    PARTLY = "partly"
    """One edge of a street, so its angle; or one street of a crossing. The other values are NaN."""

    NOT = "not"
    """Nothing: every value is NaN."""


class MeasureReason(enum.Enum):
    """Why something was not measured, or in part only."""

    OUTSIDE_IMAGE = "too little of the street in the image"
    """Too little of the street lies in the image."""

    NO_EDGES = "no edges"
    """There is no edge with enough contrast where the street should be."""

    ONE_EDGE = "one edge only"
    """There is one edge, and none that would go with it."""

    AMBIGUOUS_EDGES = "several pairs of edges"
    """Several pairs of edges would do, and none is clearly the better one."""

    TOO_FEW_POINTS = "too few edge points"
    """Too few of the places looked at show the edges."""

    UNSTEADY_EDGES = "edges not straight"
    """The places do not lie on a line."""

    ELSEWHERE = "edges lead elsewhere"
    """The lines lead away from where the street should be."""

    NO_CROSSING = "the streets do not cross"
    """The two streets are parallel."""


def _with_one_nan(value: Any) -> Any:
    """`value` with `math.nan` for every NaN in it: tuples of equal members are equal, and one NaN is the same as itself."""
    if isinstance(value, tuple):
        return tuple(_with_one_nan(member) for member in value)
    return math.nan if value != value else value


def _number(value: float) -> float | None:
    """None for NaN, which JSON does not have."""
    return None if value != value else value


def _segment(segment: Segment) -> list[float] | None:
    return None if any(value != value for value in segment) else list(segment)


class _Measurement:
    """A dataclass whose NaN are equal to one another, also after pickling."""

    __slots__ = ()

    def _members(self) -> tuple[Any, ...]:
        return tuple(getattr(self, field.name) for field in fields(self))

    def __post_init__(self) -> None:
        for field, value in zip(fields(self), self._members()):
            object.__setattr__(self, field.name, _with_one_nan(value))

    def __reduce__(self) -> tuple[Any, ...]:
        return (type(self), self._members())


@dataclass(frozen=True)
class StreetMeasurement(_Measurement):
    """One street, measured on the whole image. What was not measured is NaN, and equal to another NaN of a measurement.

    A deviation is a standard deviation of the error: what noise leaves open, and what structures beside the edges may add.
    """

    status: MeasureStatus
    """How much of it was measured."""
    reason: MeasureReason | None
    """Why not everything; None if it was."""
    angle_degrees: float
    """Direction of `centre`, degrees of the client frame, from +x towards +y; it runs as the result's angle does."""
    angle_deviation_degrees: float
    """Deviation of `angle_degrees`, degrees."""
    width: float
    """Distance of the two edges at right angles to the street, at the crossing or the middle of a single street, in
    client units."""
    width_deviation: float
    """Deviation of `width`, client units."""
    centre: Segment
    """The line midway between the edges, from the first to the last place that was used: (x1, y1, x2, y2) in client
    units. NaN with one edge only."""
    centre_deviation: float
    """Deviation across the street, at the crossing or the middle of a single street, in client units."""
    edges: tuple[Segment, Segment]
    """The same stretch of the two edges, each (x1, y1, x2, y2) in client units: first the upper one of a more nearly
    horizontal street and the left one of a more nearly vertical one, as seen in the image."""
    edge_deviations: tuple[float, float]
    """Their deviations across the street, as that of the centre, in client units."""
    used_points: int
    """Places along both edges that the lines were fitted to."""
    refused_points: int
    """Places that were looked at and left out: pads, marks, other streets."""

    def to_dict(self) -> dict[str, Any]:
        """Numbers, texts, lists and dicts only, with the member names of the command's JSON; angles in degrees. None for
        what was not measured."""
        return {
            "status": self.status.value,
            "reason": None if self.reason is None else self.reason.value,
            **_angle_and_width("angle", "width", self),
            "centre": _segment(self.centre),
            "centreDeviation": _number(self.centre_deviation),
            "edges": [_segment(edge) for edge in self.edges],
            "edgeDeviations": [_number(deviation) for deviation in self.edge_deviations],
            "usedPoints": self.used_points,
            "refusedPoints": self.refused_points,
        }


def _angle_and_width(angle: str, width: str, street: StreetMeasurement) -> dict[str, float | None]:
    return {
        angle: _number(street.angle_degrees),
        angle + "Deviation": _number(street.angle_deviation_degrees),
        width: _number(street.width),
        width + "Deviation": _number(street.width_deviation),
    }


def _street_of_crossing(name: str, street: StreetMeasurement) -> dict[str, Any]:
    return {
        **_angle_and_width(name + "Angle", name + "Width", street),
        name + "Edges": [_segment(edge) for edge in street.edges],
        name + "EdgeDeviations": [_number(deviation) for deviation in street.edge_deviations],
        name + "Reason": None if street.reason is None else street.reason.value,
    }


@dataclass(frozen=True)
class CrossingMeasurement(_Measurement):
    """One crossing, measured on the whole image. What was not measured is NaN, and equal to another NaN of a measurement.

    A deviation is a standard deviation of the error: what noise leaves open, and what structures beside the edges may add.
    """

    status: MeasureStatus
    """How much of it was measured: `MeasureStatus.MEASURED` if both streets were."""
    reason: MeasureReason | None
    """Why not everything: that of the more nearly horizontal street, if it has one, or else that of the other."""
    point: Point
    """Where the two measured centre lines cross: (x, y) in client units."""
    deviation: Point
    """Deviations of `point` in x and in y, client units."""
    horizontal: StreetMeasurement
    """The more nearly horizontal street."""
    vertical: StreetMeasurement
    """The more nearly vertical street."""

    @property
    def x(self) -> float:
        """Where the two measured centre lines cross, in client units."""
        return self.point[0]

    @property
    def y(self) -> float:
        """Where the two measured centre lines cross, in client units."""
        return self.point[1]

    @property
    def used_points(self) -> int:
        """Places along the edges of both streets that the lines were fitted to."""
        return self.horizontal.used_points + self.vertical.used_points

    @property
    def refused_points(self) -> int:
        """Places along both streets that were looked at and left out."""
        return self.horizontal.refused_points + self.vertical.refused_points

    def to_dict(self) -> dict[str, Any]:
        """Numbers, texts, lists and dicts only, with the member names of the command's JSON; angles in degrees. None for
        what was not measured."""
        return {
            "status": self.status.value,
            "reason": None if self.reason is None else self.reason.value,
            "x": _number(self.x),
            "y": _number(self.y),
            "xDeviation": _number(self.deviation[0]),
            "yDeviation": _number(self.deviation[1]),
            **_street_of_crossing("horizontal", self.horizontal),
            **_street_of_crossing("vertical", self.vertical),
            "usedPoints": self.used_points,
            "refusedPoints": self.refused_points,
        }


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
    measured: CrossingMeasurement | None = None
    """The same crossing measured on the whole image; None unless the search was asked to measure."""

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
            **({} if self.measured is None else {"measured": self.measured.to_dict()}),
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
    measured: StreetMeasurement | None = None
    """The same street measured on the whole image; None unless the search was asked to measure."""

    def to_dict(self) -> dict[str, Any]:
        """Numbers, texts, lists and dicts only, with the member names of the command's JSON; angles in degrees."""
        return {
            "score": self.score,
            "angle": self.angle_degrees,
            "segments": [list(segment) for segment in self.segments],
            "status": self.status.value,
            **({} if self.measured is None else {"measured": self.measured.to_dict()}),
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
