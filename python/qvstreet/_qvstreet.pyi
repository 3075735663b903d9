from typing import Any

_Pair = tuple[float, float]
_Segment = tuple[float, float, float, float]
_Segments = tuple[_Segment, ...]
_MeasuredStreet = tuple[
    str, str | None, float, float, float, float, _Segment, float, tuple[_Segment, _Segment], _Pair, int, int
]
_MeasuredCrossing = tuple[str, str | None, _Pair, _Pair, _MeasuredStreet, _MeasuredStreet]

__version__: str
RUN_MODES: dict[str, int]
POLARITIES: dict[str, int]
DIRECTIONS: dict[str, int]
MEASURE_REASONS: tuple[str, ...]

def checked_params(
    mode: int,
    width: _Pair,
    range_x: _Pair,
    range_y: _Pair,
    sharpness: float,
    polarity: int,
    max_results: int,
) -> tuple[_Pair, _Pair, _Pair, float, int]: ...
def find_blank_regions(
    image: Any,
    mask: Any,
    street_width: int,
    min_length: int,
    max_results: int,
    grey_weights: list[float],
    direction: int,
    offset: tuple[int, int],
) -> list[tuple[int, int, int, int, float, float]]: ...
def raise_error(name: str) -> None: ...

class Finder:
    def __init__(
        self,
        mode: int,
        width: _Pair,
        range_x: _Pair,
        range_y: _Pair,
        sharpness: float,
        polarity: int,
        max_results: int,
    ) -> None: ...
    def set_image(
        self, image: Any, offset: tuple[int, int], client_transform: tuple[float, float, float, float, float, float] | None
    ) -> None: ...
    def find(
        self, measure: _Pair | None
    ) -> list[
        tuple[
            float,
            float,
            float,
            float,
            float,
            tuple[_Pair, _Pair, _Pair, _Pair],
            _Segments,
            str,
            _MeasuredCrossing | None,
        ]
    ]: ...
    def find_single_streets(
        self, measure: _Pair | None
    ) -> list[tuple[float, float, _Segments, str, _MeasuredStreet | None]]: ...
    def angles(self, max_results: int) -> list[tuple[float, float]]: ...
