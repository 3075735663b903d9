"""Finds the streets of a wafer, the narrow lanes between the dies, in one 8-bit grey camera image.

    import qvstreet
    for crossing in qvstreet.find_crossings(image, mode="coarse", width=20):
        print(crossing.x, crossing.y, crossing.score)

With measure=True each result is measured again on the whole image, to a small part of a pel, with standard deviations.

An image is anything that shows its memory (a numpy array, a slice of one, a memoryview): two dimensions (height, width),
one byte per pel, the pels of a row adjacent. It goes in without a copy; rows may be padded or stand bottom-up, and the
memory may be read-only.

Positions and lengths are in client units, which are pels unless a client transform is given. Pel (i, j) covers [i, i + 1)
by [j, j + 1), so its centre is (i + 0.5, j + 0.5); x runs right and y down. Angles are in degrees, from +x towards +y; a
street has no direction of its own, so its angle is known up to 180 degrees. Scores are better when higher.
"""

from importlib.util import find_spec as _find_spec

if _find_spec("._qvstreet", __name__) is None:
    raise ImportError(
        f"{__path__[0]} has no compiled part for this interpreter. Install the package with pip, or set PYTHONPATH to "
        "the folder python of a build tree of CMake."
    )

from ._errors import (
    qvArchive,
    qvException,
    qvExceptionWithString,
    qvFiltErr,
    qvInvariantFailure,
    qvLSLineFitterErr,
    qvMatrixErr,
    qvPeak1dErr,
    qvPel,
    qvStreetBlankRegionFinderDefs,
    qvStreetFinderDefs,
)
from ._finder import StreetFinder, find_blank_regions, find_crossings, find_single_streets
from ._params import BlankRegionDirection, Polarity, RunMode, StreetFinderParams
from ._qvstreet import __version__
from ._results import (
    BlankRegion,
    Corners,
    CrossingMeasurement,
    MeasureReason,
    MeasureStatus,
    ResultStatus,
    SingleStreet,
    StreetAngle,
    StreetCrossing,
    StreetMeasurement,
)

__all__ = [
    "BlankRegion",
    "BlankRegionDirection",
    "Corners",
    "CrossingMeasurement",
    "MeasureReason",
    "MeasureStatus",
    "Polarity",
    "ResultStatus",
    "RunMode",
    "SingleStreet",
    "StreetAngle",
    "StreetCrossing",
    "StreetFinder",
    "StreetFinderParams",
    "StreetMeasurement",
    "__version__",
    "find_blank_regions",
    "find_crossings",
    "find_single_streets",
    "qvArchive",
    "qvException",
    "qvExceptionWithString",
    "qvFiltErr",
    "qvInvariantFailure",
    "qvLSLineFitterErr",
    "qvMatrixErr",
    "qvPeak1dErr",
    "qvPel",
    "qvStreetBlankRegionFinderDefs",
    "qvStreetFinderDefs",
]


def _show_as_ours(owner: object, name: str) -> None:
    """Errors and documentation speak of qvstreet.X, not of the file that X stands in."""
    member = getattr(owner, name)
    if getattr(member, "__module__", "").startswith(__name__ + "._"):
        member.__module__ = __name__
        for inner in vars(member) if isinstance(member, type) else ():
            if isinstance(vars(member)[inner], type):
                _show_as_ours(member, inner)


for _name in __all__:
    _show_as_ours(__import__(__name__), _name)
del _name
