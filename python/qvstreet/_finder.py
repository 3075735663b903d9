"""The street finder and the blank region finder."""

from __future__ import annotations

import math
from collections.abc import Iterable
from typing import Any, Optional, Tuple, overload

from . import _qvstreet
from ._params import BlankRegionDirection, Pair, Polarity, RunMode, StreetFinderParams, Width, choice, count
from ._results import (
    BlankRegion,
    Corners,
    CrossingMeasurement,
    MeasureReason,
    MeasureStatus,
    Point,
    ResultStatus,
    Segment,
    SingleStreet,
    StreetAngle,
    StreetCrossing,
    StreetMeasurement,
)

Image = Any
"""Whatever shows its memory as (height, width) unsigned bytes; Python's types cannot say so."""

ClientTransform = Tuple[float, float, float, float, float, float]


class StreetFinder:
    """Finds streets and their crossings in 8-bit grey images of wafers.

        finder = StreetFinder(mode="coarse", width=20)
        finder.set_image(image)              # the work that depends on the image alone
        finder.find()                        # any number of times, cheap
        finder.find_single_streets()

    Takes a `StreetFinderParams`, or the keywords of one. Keep a finder for a series of images: it uses its working
    memory again for each.

    The interpreter lock is released while a finder works, so that finders in several threads run side by side. Calls of
    several threads to one finder wait for one another.
    """

    __slots__ = ("_params", "_finder", "__weakref__")

    @overload
    def __init__(self, params: StreetFinderParams | None) -> None: ...

    @overload
    def __init__(
        self,
        *,
        mode: RunMode | str = RunMode.EDGE,
        width: Width = 10.0,
        range_x: Pair | None = None,
        range_y: Pair | None = None,
        sharpness: float = 5.0,
        polarity: Polarity | str = Polarity.ANY,
        max_results: int = 100,
    ) -> None: ...

    def __init__(self, params: StreetFinderParams | None = None, **members: Any) -> None:
        if params is not None and members:
            raise TypeError("StreetFinder takes a StreetFinderParams or its keywords, not both")
        self._params = params if params is not None else StreetFinderParams(**members)
        p = self._params
        self._finder = _qvstreet.Finder(
            _qvstreet.RUN_MODES[p.mode.value],
            p.width,
            p.range_x,
            p.range_y,
            p.sharpness,
            _qvstreet.POLARITIES[p.polarity.value],
            p.max_results,
        )

    @property
    def params(self) -> StreetFinderParams:
        """The parameters that it was made with."""
        return self._params

    def set_image(
        self, image: Image, *, offset: tuple[int, int] = (0, 0), client_transform: ClientTransform | None = None
    ) -> None:
        """Binds an image, which stays in use and must not be changed until the next `set_image`; it is not copied.

        image             (height, width) unsigned bytes, the pels of a row adjacent; rows may be padded or bottom-up
        offset            image coordinates (x, y) of the first pel: of a slice image[y:, x:], that results may be in the
                          frame of the whole image; at most 32 bits each
        client_transform  (a, b, c, d, tx, ty): client x = a x + b y + tx, client y = c x + d y + ty for a point (x, y) of
                          the image frame. Positions, widths and sharpness are in client units. The identity by default

        Raises TypeError for what is not an image of unsigned bytes, ValueError for a shape, size or strides that cannot be
        taken, qvStreetFinderDefs.BadParams for a client transform that turns the x axis by more than 5 degrees; the image
        bound before stays usable after these. Raises qvMatrixErr.Singular for a client transform without inverse and for an
        image with a side of 5 pels, which leaves nothing to sample, and qvPel.BadSize for sizes that cannot be sampled:
        nothing is found then until the next good image.
        """
        self._finder.set_image(image, _offset(offset), _client_transform(client_transform))

    def find(
        self, *, measure: bool = False, measure_reach: float = math.inf, measure_contrast: float = 3.0
    ) -> list[StreetCrossing]:
        """Street crossings, best first, at most `max_results`; an empty list if there are none. In client units.

        measure           whether to measure each of them on the whole image, to a small part of a pel, into its `measured`;
                          all else stays as it is. Works with every mode, and wants the width about right
        measure_reach     how far from a crossing its streets are followed, client units; above 0. To the image's sides by
                          default; less where the optics bend straight lines
        measure_contrast  contrast that an edge must have, grey levels; above 0

        Raises qvStreetFinderDefs.UnboundImage before the first `set_image`; in "ridge" mode qvPel.BadSize for a width of
        about 1365 client units and more; qvStreetFinderDefs.BadParams for a reach or a contrast that the measurement
        refuses.
        """
        return [_crossing(*members) for members in self._finder.find(_settings(measure, measure_reach, measure_contrast))]

    def find_single_streets(
        self, *, measure: bool = False, measure_reach: float = math.inf, measure_contrast: float = 3.0
    ) -> list[SingleStreet]:
        """Single streets, best first, at most `max_results`; an empty list if there are none. In client units.

        measure, measure_reach, measure_contrast  as in `find`; the reach counts from the middle of the street that was found

        Raises qvStreetFinderDefs.UnboundImage before the first `set_image`, qvStreetFinderDefs.BadParams for a reach or a
        contrast that the measurement refuses.
        """
        found = self._finder.find_single_streets(_settings(measure, measure_reach, measure_contrast))
        return [
            SingleStreet(
                score, degrees, segments, ResultStatus(status), None if measured is None else _measured_street(*measured)
            )
            for score, degrees, segments, status, measured in found
        ]

    def angles(self, max_results: int = 100) -> list[StreetAngle]:
        """Directions in which streets may run, strongest first, at most `max_results`; neither folded nor paired.

        Raises qvStreetFinderDefs.BadParams for a `max_results` of 0 or less, qvStreetFinderDefs.UnboundImage before the
        first `set_image`.
        """
        return [StreetAngle(degrees, score) for degrees, score in self._finder.angles(count(max_results))]

    def __repr__(self) -> str:
        return f"StreetFinder({self._params!r})"


def _offset(value: tuple[int, int]) -> tuple[int, int]:
    try:
        x, y = value
        return (count(x), count(y))
    except (TypeError, ValueError):
        raise ValueError(f"offset is {value!r}; expected two whole numbers (x, y)") from None


def _client_transform(value: ClientTransform | None) -> ClientTransform | None:
    if value is None:
        return None
    try:
        a, b, c, d, tx, ty = value
        return (float(a), float(b), float(c), float(d), float(tx), float(ty))
    except (TypeError, ValueError):
        raise ValueError(f"client_transform is {value!r}; expected six numbers (a, b, c, d, tx, ty)") from None


def _settings(measure: bool, reach: float, contrast: float) -> tuple[float, float] | None:
    return (float(reach), float(contrast)) if measure else None


def _reason(text: str | None) -> MeasureReason | None:
    return None if text is None else MeasureReason(text)


def _measured_street(
    status: str,
    reason: str | None,
    degrees: float,
    degrees_deviation: float,
    width: float,
    width_deviation: float,
    centre: Segment,
    centre_deviation: float,
    edges: tuple[Segment, Segment],
    edge_deviations: tuple[float, float],
    used_points: int,
    refused_points: int,
) -> StreetMeasurement:
    return StreetMeasurement(
        MeasureStatus(status),
        _reason(reason),
        degrees,
        degrees_deviation,
        width,
        width_deviation,
        centre,
        centre_deviation,
        edges,
        edge_deviations,
        used_points,
        refused_points,
    )


_MeasuredStreet = Tuple[
    str, Optional[str], float, float, float, float, Segment, float, Tuple[Segment, Segment], Pair, int, int
]
_MeasuredCrossing = Tuple[str, Optional[str], Point, Point, _MeasuredStreet, _MeasuredStreet]


def _measured_crossing(
    status: str,
    reason: str | None,
    point: Point,
    deviation: Point,
    horizontal: _MeasuredStreet,
    vertical: _MeasuredStreet,
) -> CrossingMeasurement:
    return CrossingMeasurement(
        MeasureStatus(status),
        _reason(reason),
        point,
        deviation,
        _measured_street(*horizontal),
        _measured_street(*vertical),
    )


def _crossing(
    x: float,
    y: float,
    score: float,
    horizontal: float,
    vertical: float,
    corners: tuple[Pair, Pair, Pair, Pair],
    segments: tuple[tuple[float, float, float, float], ...],
    status: str,
    measured: _MeasuredCrossing | None,
) -> StreetCrossing:
    return StreetCrossing(
        x,
        y,
        score,
        horizontal,
        vertical,
        Corners(*corners),
        segments,
        ResultStatus(status),
        None if measured is None else _measured_crossing(*measured),
    )


def _finder_on(
    image: Image, members: dict[str, Any], offset: tuple[int, int], client_transform: ClientTransform | None
) -> StreetFinder:
    finder = StreetFinder(**members)
    finder.set_image(image, offset=offset, client_transform=client_transform)
    return finder


def find_crossings(
    image: Image,
    *,
    mode: RunMode | str = RunMode.EDGE,
    width: Width = 10.0,
    range_x: Pair | None = None,
    range_y: Pair | None = None,
    sharpness: float = 5.0,
    polarity: Polarity | str = Polarity.ANY,
    max_results: int = 100,
    offset: tuple[int, int] = (0, 0),
    client_transform: ClientTransform | None = None,
    measure: bool = False,
    measure_reach: float = math.inf,
    measure_contrast: float = 3.0,
) -> list[StreetCrossing]:
    """Street crossings of one image, best first, in client units (pels without a client transform).

    The parameters are those of `StreetFinderParams`, `StreetFinder.set_image` and `StreetFinder.find`; so are the errors
    raised. For a series of images keep a `StreetFinder`.
    """
    members = dict(mode=mode, width=width, range_x=range_x, range_y=range_y, sharpness=sharpness, polarity=polarity)
    finder = _finder_on(image, {**members, "max_results": max_results}, offset, client_transform)
    return finder.find(measure=measure, measure_reach=measure_reach, measure_contrast=measure_contrast)


def find_single_streets(
    image: Image,
    *,
    mode: RunMode | str = RunMode.EDGE,
    width: Width = 10.0,
    range_x: Pair | None = None,
    range_y: Pair | None = None,
    sharpness: float = 5.0,
    polarity: Polarity | str = Polarity.ANY,
    max_results: int = 100,
    offset: tuple[int, int] = (0, 0),
    client_transform: ClientTransform | None = None,
    measure: bool = False,
    measure_reach: float = math.inf,
    measure_contrast: float = 3.0,
) -> list[SingleStreet]:
    """Single streets of one image, best first, in client units (pels without a client transform).

    The parameters are those of `StreetFinderParams`, `StreetFinder.set_image` and `StreetFinder.find_single_streets`; so are
    the errors raised. For a series of images keep a `StreetFinder`.
    """
    members = dict(mode=mode, width=width, range_x=range_x, range_y=range_y, sharpness=sharpness, polarity=polarity)
    finder = _finder_on(image, {**members, "max_results": max_results}, offset, client_transform)
    return finder.find_single_streets(measure=measure, measure_reach=measure_reach, measure_contrast=measure_contrast)


def find_blank_regions(
    image: Image,
    *,
    street_width: int,
    min_length: int,
    direction: BlankRegionDirection | str = BlankRegionDirection.HORIZONTAL,
    mask: Image | None = None,
    grey_weights: Iterable[float] | None = None,
    max_results: int = 100,
    offset: tuple[int, int] = (0, 0),
) -> list[BlankRegion]:
    """Stretches without structure in the image of one street, best first, in pels; an empty list if there are none.

    image         (height, width) unsigned bytes, the street along its middle
    street_width  width of the street, in pels; above 0
    min_length    shortest stretch worth reporting, in pels; above 0
    direction     "h": the street runs along the rows; "v": along the columns
    mask          an image of the same shape with pels of 0 and 255 only; what lies where it is 0 counts as structure when
                  the ends of a region are measured, but keeps none from being found. All 255 by default. With "v" its row
                  i belongs to the image's column i, so that both have to be square
    grey_weights  256 numbers from 0 to 1: weight of a region by its mean grey level; all 1 by default
    max_results   most regions, the best ones; above 0
    offset        image coordinates (x, y) of the first pel

    The interpreter lock is released during the search.

    Raises qvStreetBlankRegionFinderDefs.BadParams (a ValueError) for a parameter or a mask that is refused, qvPel.BadSize for
    a window of analysis larger than the image, TypeError and ValueError for what is not an image.
    """
    weights = [1.0] * 256 if grey_weights is None else [float(weight) for weight in grey_weights]
    way = _qvstreet.DIRECTIONS[choice(BlankRegionDirection, "direction", direction).value]
    found = _qvstreet.find_blank_regions(
        image, mask, count(street_width), count(min_length), count(max_results), weights, way, _offset(offset)
    )
    return [BlankRegion(*members) for members in found]
