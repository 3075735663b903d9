"""What the caller knows of the wafer and wants of the street finder."""

from __future__ import annotations

import enum
import operator
from typing import Any, Tuple, TypeVar, Union

from . import _qvstreet

Pair = Tuple[float, float]
Width = Union[float, Tuple[float, float]]


class RunMode(enum.Enum):
    """How the streets look in the image. Wherever one is wanted, its text will do."""

    EDGE = "edge"
    """As pairs of parallel edges."""
    RIDGE = "ridge"
    """As lines about as wide as the street; each crossing is measured again on the image."""
    COARSE = "coarse"
    """As `RIDGE`, with a wider band of frequencies and without the second measurement."""


class Polarity(enum.Enum):
    """Grey of a street against its two sides. Wherever one is wanted, its text will do."""

    ANY = "any"
    """Darker, lighter or neither."""
    DARK = "dark"
    """Darker than both sides."""
    LIGHT = "light"
    """Lighter than both sides."""


class BlankRegionDirection(enum.Enum):
    """How the street of a strip runs. Wherever one is wanted, its text will do."""

    HORIZONTAL = "h"
    """Along the rows of the image."""
    VERTICAL = "v"
    """Along the columns of the image."""


_Choice = TypeVar("_Choice", RunMode, Polarity, BlankRegionDirection)


def choice(kind: type[_Choice], name: str, value: _Choice | str) -> _Choice:
    """The member that `value` is or names.

    Raises ValueError for anything else, with the texts that are allowed.
    """
    try:
        return kind(value)
    except ValueError:
        allowed = ", ".join(repr(member.value) for member in kind)
        raise ValueError(f"{name} is {value!r}; allowed are {allowed}") from None


def count(value: int) -> int:
    """`value` brought into 32 bits, where the library counts."""
    return max(-(2**31), min(2**31 - 1, operator.index(value)))


def _pair(name: str, value: Any) -> Pair:
    try:
        first, second = value
    except (TypeError, ValueError):
        raise ValueError(f"{name} is {value!r}; expected two numbers") from None
    return (float(first), float(second))


def _range(name: str, value: Pair | None, width: float) -> Pair:
    return (0.5 * width, 1.5 * width) if value is None else _pair(name, value)


class StreetFinderParams:
    """The run parameters of a street finder. They do not change; a finder is made with them.

    mode        how the streets look: "edge", "ridge" or "coarse"
    width       width of the streets, in client units (pels without a client transform): one number, or the widths
                measured in x and in y; above 0
    range_x     lower and upper bound of the width measured in x; 0.5 to 1.5 times the width unless given. The width has
                to lie in it, bounds included. Chooses streets in "edge" mode only: a line has no width to measure
    range_y     the same, measured in y
    sharpness   width of the transition at a street's edge, in client units; above 0
    polarity    "any", "dark" (streets darker than both sides) or "light"
    max_results most results, the best ones; above 0

    The defaults are those of the `qvstreet` command.

    Raises qvStreetFinderDefs.BadParams (a ValueError) for a value that the finder refuses, ValueError for an unknown mode
    or polarity.
    """

    __slots__ = ("_mode", "_width", "_range_x", "_range_y", "_sharpness", "_polarity", "_max_results")

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
    ) -> None:
        self._mode = choice(RunMode, "mode", mode)
        self._polarity = choice(Polarity, "polarity", polarity)
        try:
            one = float(width)  # type: ignore[arg-type]
            widths = (one, one)
        except (TypeError, ValueError):
            widths = _pair("width", width)
        # The library orders the bounds and refuses what it cannot use; what it keeps holds.
        kept = _qvstreet.checked_params(
            _qvstreet.RUN_MODES[self._mode.value],
            widths,
            _range("range_x", range_x, widths[0]),
            _range("range_y", range_y, widths[1]),
            float(sharpness),
            _qvstreet.POLARITIES[self._polarity.value],
            count(max_results),
        )
        self._width, self._range_x, self._range_y, self._sharpness, self._max_results = kept

    @property
    def mode(self) -> RunMode:
        """How the streets look; `RunMode.EDGE` by default."""
        return self._mode

    @property
    def width(self) -> Pair:
        """Widths of the streets measured in x and in y, client units; (10, 10) by default."""
        return self._width

    @property
    def range_x(self) -> Pair:
        """Lower and upper bound of the width measured in x, client units; 0.5 to 1.5 times the width by default."""
        return self._range_x

    @property
    def range_y(self) -> Pair:
        """Lower and upper bound of the width measured in y, client units; 0.5 to 1.5 times the width by default."""
        return self._range_y

    @property
    def sharpness(self) -> float:
        """Width of the transition at a street's edge, client units; 5 by default."""
        return self._sharpness

    @property
    def polarity(self) -> Polarity:
        """Grey of the streets against their sides; `Polarity.ANY` by default."""
        return self._polarity

    @property
    def max_results(self) -> int:
        """Most results; 100 by default."""
        return self._max_results

    def to_dict(self) -> dict[str, Any]:
        """All parameters as numbers and texts, under the names of the constructor: StreetFinderParams(**d) gives the
        same again."""
        return {
            "mode": self._mode.value,
            "width": self._width,
            "range_x": self._range_x,
            "range_y": self._range_y,
            "sharpness": self._sharpness,
            "polarity": self._polarity.value,
            "max_results": self._max_results,
        }

    def __repr__(self) -> str:
        return "StreetFinderParams(" + ", ".join(f"{name}={value!r}" for name, value in self.to_dict().items()) + ")"

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, StreetFinderParams):
            return NotImplemented
        return self.to_dict() == other.to_dict()

    def __hash__(self) -> int:
        return hash(tuple(self.to_dict().values()))

    def __reduce__(self) -> tuple[Any, ...]:
        return (_params_of, (self.to_dict(),))


def _params_of(members: dict[str, Any]) -> StreetFinderParams:
    return StreetFinderParams(**members)
