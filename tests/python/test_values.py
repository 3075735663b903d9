"""Parameters and results as values."""

import copy
import dataclasses
import json
import pickle

import pytest
import qvstreet
from qvstreet import BlankRegion, Corners, CrossingMeasurement, MeasureReason, MeasureStatus, Polarity, ResultStatus
from qvstreet import RunMode, SingleStreet, StreetAngle, StreetCrossing, StreetFinder, StreetFinderParams
from qvstreet import StreetMeasurement, qvStreetFinderDefs

CROSSING = StreetCrossing(
    1.5, -2.0, 0.75, 1.25, -88.5, Corners((1, 2), (3, 4), (5, 6), (7, 8)), ((1, 2, 3, 4), (5, 6, 7, 8)), ResultStatus.EDGES
)
LEVEL = StreetMeasurement(
    MeasureStatus.MEASURED, None, 1.5, 0.25, 20.0, 0.5, (1, 2, 3, 4), 0.125, ((5, 6, 7, 8), (9, 10, 11, 12)), (0.25, 0.75), 60, 4
)
UPRIGHT = StreetMeasurement(
    MeasureStatus.PARTLY, MeasureReason.ONE_EDGE, -88.5, 0.5, float("nan"), float("nan"), (float("nan"),) * 4, float("nan"),
    ((float("nan"),) * 4, (1, 3, 5, 7)), (float("nan"), 0.375), 30, 2,
)  # fmt: skip
PARTLY = CrossingMeasurement(
    MeasureStatus.PARTLY, MeasureReason.ONE_EDGE, (float("nan"),) * 2, (float("nan"),) * 2, LEVEL, UPRIGHT
)
VALUES = [
    CROSSING,
    SingleStreet(0.5, -88.75, ((1, 2, 3, 4),), ResultStatus.LINE),
    StreetAngle(2.5, 1000.0),
    BlankRegion(3, 4, 100, 20, 0.5, 0.75),
    UPRIGHT,
    PARTLY,
    StreetFinderParams(mode="ridge", width=(12, 20), range_x=(10, 15), range_y=(18, 40), polarity="dark", max_results=3),
]


def test_the_defaults():
    p = StreetFinderParams()
    assert p.mode is RunMode.EDGE and p.polarity is Polarity.ANY
    assert p.width == (10, 10) and p.range_x == (5, 15) and p.range_y == (5, 15)
    assert p.sharpness == 5 and p.max_results == 100


def test_a_width_brings_its_ranges():
    p = StreetFinderParams(width=(20, 40))
    assert p.width == (20, 40) and p.range_x == (10, 30) and p.range_y == (20, 60)
    p = StreetFinderParams(width=18, range_y=(17, 19))
    assert p.width == (18, 18) and p.range_x == (9, 27) and p.range_y == (17, 19)


def test_members_and_texts_of_enumerations_mean_the_same():
    a = StreetFinderParams(mode="coarse", polarity="light")
    assert a == StreetFinderParams(mode=RunMode.COARSE, polarity=Polarity.LIGHT)
    assert a.mode is RunMode.COARSE and a.polarity is Polarity.LIGHT


def test_params_are_kept_as_the_library_keeps_them():
    # A lower bound above the upper one becomes the upper one; counts have 32 bits.
    p = StreetFinderParams(width=(5, 10), range_x=(20, 5), max_results=10**12)
    assert p.range_x == (5, 5) and p.max_results == 2147483647


@pytest.mark.parametrize(
    "members, message",
    [
        (dict(max_results=0), "maxResults must be positive."),
        (dict(max_results=-(10**12)), "maxResults must be positive."),
        (dict(width=0), "nominal street width must be positive."),
        (dict(width=(10, -1)), "nominal street width must be positive."),
        (dict(range_y=(-1, 20)), "nominal street width ranges must be non-negative."),
        (dict(range_x=(11, 20)), "nominal street width is outside valid range."),
        (dict(range_y=(1, 9)), "nominal street width is outside valid range."),
        (dict(sharpness=0), "edges sharpness must be positive."),
    ],
)
def test_refused_params_raise_the_library_s_error_which_is_a_value_error(members, message):
    for make in (StreetFinderParams, StreetFinder):
        with pytest.raises(qvStreetFinderDefs.BadParams) as caught:
            make(**members)
        assert str(caught.value) == message
        assert isinstance(caught.value, ValueError) and isinstance(caught.value, qvstreet.qvException)


@pytest.mark.parametrize(
    "members, message",
    [
        (dict(mode="foo"), "mode is 'foo'; allowed are 'edge', 'ridge', 'coarse'"),
        (dict(polarity=1), "polarity is 1; allowed are 'any', 'dark', 'light'"),
        (dict(width=(1, 2, 3)), "width is (1, 2, 3); expected two numbers"),
        (dict(width="wide"), "width is 'wide'; expected two numbers"),
        (dict(range_x=5), "range_x is 5; expected two numbers"),
    ],
)
def test_what_is_no_parameter_is_named_with_its_value(members, message):
    with pytest.raises(ValueError) as caught:
        StreetFinderParams(**members)
    assert str(caught.value) == message


def test_an_unknown_direction_is_named(strip):
    with pytest.raises(ValueError) as caught:
        qvstreet.find_blank_regions(strip, street_width=64, min_length=110, direction="x")
    assert str(caught.value) == "direction is 'x'; allowed are 'h', 'v'"


def test_a_finder_takes_params_or_their_keywords_but_not_both():
    p = StreetFinderParams(mode="coarse", width=20)
    assert StreetFinder(p).params is p
    assert StreetFinder(mode="coarse", width=20).params == p
    with pytest.raises(TypeError):
        StreetFinder(p, width=20)


def test_params_and_results_do_not_change():
    with pytest.raises(AttributeError):
        StreetFinderParams().width = 3
    with pytest.raises(AttributeError):
        CROSSING.x = 3.0


@pytest.mark.parametrize("value", VALUES, ids=lambda value: type(value).__name__)
def test_values_are_copied_pickled_and_compared(value):
    for other in (copy.copy(value), copy.deepcopy(value), pickle.loads(pickle.dumps(value))):
        assert other == value and hash(other) == hash(value) and type(other) is type(value)
    assert value != object()
    assert len({value, copy.deepcopy(value)}) == 1


@pytest.mark.parametrize("value", VALUES, ids=lambda value: type(value).__name__)
def test_a_repr_names_the_type_and_every_member(value):
    text = repr(value)
    assert text.startswith(type(value).__name__ + "(")
    for name in getattr(type(value), "__dataclass_fields__", None) or value.to_dict():
        assert f"{name}=" in text


def test_params_differ_by_each_member():
    base = StreetFinderParams()
    for members in (
        dict(mode="ridge"),
        dict(width=(10, 9)),
        dict(width=(9, 10)),
        dict(range_x=(5, 14)),
        dict(range_y=(5, 14)),
        dict(sharpness=6),
        dict(polarity="dark"),
        dict(max_results=99),
    ):
        assert StreetFinderParams(**members) != base


def test_a_dict_of_params_makes_the_same_again():
    p = VALUES[-1]
    assert StreetFinderParams(**p.to_dict()) == p
    assert StreetFinderParams(**json.loads(json.dumps(p.to_dict()))) == p


def test_dicts_have_the_members_of_the_json():
    assert CROSSING.point == (1.5, -2.0)
    assert json.loads(json.dumps(CROSSING.to_dict())) == {
        "x": 1.5,
        "y": -2.0,
        "score": 0.75,
        "horizontalAngle": 1.25,
        "verticalAngle": -88.5,
        "corners": {"ul": [1, 2], "ur": [3, 4], "ll": [5, 6], "lr": [7, 8]},
        "segments": [[1, 2, 3, 4], [5, 6, 7, 8]],
        "status": "edges",
    }
    assert VALUES[1].to_dict() == {"score": 0.5, "angle": -88.75, "segments": [[1, 2, 3, 4]], "status": "line"}
    assert VALUES[2].to_dict() == {"angle": 2.5, "score": 1000.0}
    assert VALUES[3].to_dict() == {"x": 3, "y": 4, "width": 100, "height": 20, "score": 0.5, "blankness": 0.75}


def test_dicts_of_measurements_have_the_members_of_the_json_and_none_for_nan():
    assert json.loads(json.dumps(UPRIGHT.to_dict(), allow_nan=False)) == {
        "status": "partly",
        "reason": "one edge only",
        "angle": -88.5,
        "angleDeviation": 0.5,
        "width": None,
        "widthDeviation": None,
        "centre": None,
        "centreDeviation": None,
        "edges": [None, [1, 3, 5, 7]],
        "edgeDeviations": [None, 0.375],
        "usedPoints": 30,
        "refusedPoints": 2,
    }
    crossing = dataclasses.replace(CROSSING, measured=PARTLY).to_dict()
    assert "measured" not in CROSSING.to_dict()
    assert json.loads(json.dumps(crossing.pop("measured"), allow_nan=False)) == {
        "status": "partly",
        "reason": "one edge only",
        "x": None,
        "y": None,
        "xDeviation": None,
        "yDeviation": None,
        "horizontalAngle": 1.5,
        "horizontalAngleDeviation": 0.25,
        "horizontalWidth": 20.0,
        "horizontalWidthDeviation": 0.5,
        "horizontalEdges": [[5, 6, 7, 8], [9, 10, 11, 12]],
        "horizontalEdgeDeviations": [0.25, 0.75],
        "horizontalReason": None,
        "verticalAngle": -88.5,
        "verticalAngleDeviation": 0.5,
        "verticalWidth": None,
        "verticalWidthDeviation": None,
        "verticalEdges": [None, [1, 3, 5, 7]],
        "verticalEdgeDeviations": [None, 0.375],
        "verticalReason": "one edge only",
        "usedPoints": 90,
        "refusedPoints": 6,
    }
    assert crossing == CROSSING.to_dict()


def test_results_outlive_their_finder_and_image(coarse):
    image = coarse.copy()
    finder = StreetFinder(mode="coarse", width=20)
    finder.set_image(image)
    found = finder.find()
    expected = [crossing.to_dict() for crossing in found]
    image[...] = 0
    del finder, image
    assert [crossing.to_dict() for crossing in found] == expected


def test_a_client_transform_gives_its_units(coarse):
    pels = qvstreet.find_crossings(coarse, mode="coarse", width=20, sharpness=5)
    micrometres = qvstreet.find_crossings(
        coarse, mode="coarse", width=10, sharpness=2.5, client_transform=(0.5, 0, 0, 0.5, 1000, 2000)
    )
    assert len(pels) == len(micrometres) >= 9
    for a, b in zip(pels, micrometres):
        assert b.point == pytest.approx((a.x / 2 + 1000, a.y / 2 + 2000), abs=1e-6)


def test_the_version_has_three_numbers():
    assert len(qvstreet.__version__.split(".")) == 3
