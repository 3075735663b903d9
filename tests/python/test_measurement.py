"""Crossings and streets measured on the whole image, against drawn ones."""

import json
import math
import pickle

import numpy as np
import pytest
import qvstreet
from qvstreet import CrossingMeasurement, MeasureReason, MeasureStatus, StreetMeasurement, qvStreetFinderDefs
from qvstreet import _qvstreet

HEIGHT, WIDTH = 480, 640
TILT = 1.3
LEVEL = 24.0
UPRIGHT = 18.0
# One crossing in each: (x, y) where the centre lines meet.
CROSSINGS = [(150.37, 110.81), (470.29, 118.07), (145.38, 330.75), (465.30, 338.01)]


def coverage(distance, blur=0.8):
    """Share of the edge's far side at a distance from it, in pels."""
    table = np.linspace(-5, 5, 4001)
    shares = np.array([0.5 * (1 + math.erf(t / (blur * math.sqrt(2)))) for t in table])
    return np.interp(distance, table, shares)


def drawn(*, noise=2.0):
    """Two dark streets 24 wide through y = 110.81 and 330.75, two 18 wide, turned by 1.3 degrees about (150.37, 110.81)."""
    y, x = np.mgrid[0:HEIGHT, 0:WIDTH] + 0.5
    c, s = math.cos(math.radians(TILT)), math.sin(math.radians(TILT))
    along = (x - 150.37) * c + (y - 110.81) * s
    across = (y - 110.81) * c - (x - 150.37) * s
    street = np.zeros((HEIGHT, WIDTH))
    for at in (0.0, 220.0):
        street = np.maximum(street, coverage(LEVEL / 2 - np.abs(across - at)))
    for at in (0.0, 320.0):
        street = np.maximum(street, coverage(UPRIGHT / 2 - np.abs(along - at)))
    grey = 150 - 60 * street + np.random.default_rng(7).normal(0, noise, street.shape)
    return np.clip(np.rint(grey), 0, 255).astype(np.uint8)


PARAMS = dict(mode="coarse", width=(UPRIGHT, LEVEL), max_results=4)


@pytest.fixture(scope="module")
def image():
    return drawn()


@pytest.fixture(scope="module")
def measured(image):
    return qvstreet.find_crossings(image, **PARAMS, measure=True)


def nearest(x, y):
    return min(CROSSINGS, key=lambda truth: math.dist(truth, (x, y)))


def test_crossings_are_measured_to_a_small_part_of_a_pel(measured):
    assert sorted(nearest(c.x, c.y) for c in measured) == sorted(CROSSINGS)
    for crossing in measured:
        m = crossing.measured
        assert m.status is MeasureStatus.MEASURED and m.reason is None
        assert math.dist(m.point, nearest(crossing.x, crossing.y)) < 0.02
        assert m.point == (m.x, m.y)
        assert 0 < m.deviation[0] < 0.03 and 0 < m.deviation[1] < 0.03


def test_angles_widths_and_edges_are_those_of_each_street(measured):
    for crossing in measured:
        level, upright = crossing.measured.horizontal, crossing.measured.vertical
        assert level.angle_degrees == pytest.approx(1.3, abs=0.005)
        assert math.remainder(upright.angle_degrees - 91.3, 180) == pytest.approx(0, abs=0.005)
        assert 0 < level.angle_deviation_degrees < 0.003
        assert level.width == pytest.approx(24, abs=0.08) and upright.width == pytest.approx(18, abs=0.08)
        assert 0 < level.width_deviation < 0.05 and 0 < level.centre_deviation < 0.03
        # The upper edge first, and the left one first.
        assert level.edges[0][1] < level.centre[1] < level.edges[1][1]
        assert upright.edges[0][0] < upright.centre[0] < upright.edges[1][0]
        assert all(0 < deviation < 0.05 for deviation in level.edge_deviations)
        assert abs(level.centre[2] - level.centre[0]) > 500 and abs(upright.centre[3] - upright.centre[1]) > 400
        assert level.used_points > 20 and level.refused_points >= 0
        assert crossing.measured.used_points == level.used_points + upright.used_points
        assert crossing.measured.refused_points == level.refused_points + upright.refused_points


def test_angles_run_as_those_of_the_results_do(measured):
    for crossing in measured:
        assert abs(crossing.measured.horizontal.angle_degrees - crossing.horizontal_angle_degrees) < 2
        assert abs(crossing.measured.vertical.angle_degrees - crossing.vertical_angle_degrees) < 2


def test_single_streets_are_measured_likewise(image):
    streets = qvstreet.find_single_streets(image, **PARAMS, measure=True)
    assert len(streets) == 4
    widths = []
    for street in streets:
        m = street.measured
        assert m.status is MeasureStatus.MEASURED and m.reason is None
        assert abs(m.angle_degrees - street.angle_degrees) < 2
        assert abs(math.remainder(m.angle_degrees - 1.3, 90)) < 0.005
        widths.append(m.width)
    assert sorted(round(width) for width in widths) == [18, 18, 24, 24]


def test_measuring_changes_nothing_else(image, measured):
    plain = qvstreet.find_crossings(image, **PARAMS)
    assert all(crossing.measured is None for crossing in plain)
    assert [{**c.to_dict(), "measured": None} for c in measured] == [{**c.to_dict(), "measured": None} for c in plain]
    assert all("measured" not in crossing.to_dict() for crossing in plain)
    assert all(street.measured is None for street in qvstreet.find_single_streets(image, **PARAMS))


@pytest.mark.parametrize("mode", ["edge", "ridge", "coarse"])
def test_every_mode_can_be_measured(image, mode):
    finder = qvstreet.StreetFinder(**{**PARAMS, "mode": mode})
    finder.set_image(image)
    found = finder.find(measure=True)
    good = [c.measured for c in found if c.measured.status is MeasureStatus.MEASURED]
    assert len(good) == 4
    for m in good:
        assert math.dist(m.point, nearest(*m.point)) < 0.02


def test_client_units_hold_for_everything_measured(image, measured):
    # Half a unit per pel, and moved: the same streets.
    client = (0.5, 0, 0, 0.5, 1000, -2000)
    params = {**PARAMS, "width": (UPRIGHT / 2, LEVEL / 2), "sharpness": 2.5}
    found = qvstreet.find_crossings(image, **params, client_transform=client, measure=True)
    assert len(found) == 4
    for crossing in found:
        m = crossing.measured
        truth = nearest(2 * (m.x - 1000), 2 * (m.y + 2000))
        assert m.point == pytest.approx((truth[0] / 2 + 1000, truth[1] / 2 - 2000), abs=0.01)
        assert m.horizontal.width == pytest.approx(12, abs=0.04)
        assert m.horizontal.angle_degrees == pytest.approx(1.3, abs=0.005)


def test_a_slice_with_its_offset_is_measured_in_the_frame_of_the_whole(image):
    found = qvstreet.find_crossings(image[20:, 60:], **PARAMS, offset=(60, 20), measure=True)
    assert len(found) == 4
    for crossing in found:
        assert math.dist(crossing.measured.point, nearest(crossing.x, crossing.y)) < 0.02


def test_a_reach_shortens_what_is_followed(image, measured):
    near = qvstreet.find_crossings(image, **PARAMS, measure=True, measure_reach=120)
    for short, whole in zip(near, measured):
        assert short.measured.status is MeasureStatus.MEASURED
        assert abs(short.measured.horizontal.centre[2] - short.measured.horizontal.centre[0]) < 250
        assert short.measured.horizontal.used_points < whole.measured.horizontal.used_points
        assert short.measured.horizontal.angle_deviation_degrees > whole.measured.horizontal.angle_deviation_degrees


def test_more_contrast_than_there_is_leaves_everything_unmeasured(image):
    found = qvstreet.find_crossings(image, **PARAMS, measure=True, measure_contrast=90)
    assert len(found) == 4
    for crossing in found:
        m = crossing.measured
        assert m.status is MeasureStatus.NOT and m.reason is MeasureReason.NO_EDGES
        assert math.isnan(m.x) and math.isnan(m.deviation[1]) and math.isnan(m.vertical.width)
        assert all(math.isnan(value) for value in m.horizontal.centre + m.horizontal.edges[1])
        told = json.loads(json.dumps(crossing.to_dict(), allow_nan=False))["measured"]
        assert told["status"] == "not" and told["reason"] == "no edges"
        assert told["x"] is None and told["verticalWidth"] is None and told["horizontalEdges"] == [None, None]


def test_one_street_without_edges_leaves_the_crossing_partly_measured():
    # Only the upright streets have more contrast than asked for.
    image = drawn()
    levels = np.clip(0.5 * (image.astype(float) - 150) + 150, 0, 255)
    y, x = np.mgrid[0:HEIGHT, 0:WIDTH] + 0.5
    c, s = math.cos(math.radians(TILT)), math.sin(math.radians(TILT))
    along = (x - 150.37) * c + (y - 110.81) * s
    upright = np.minimum(np.abs(along), np.abs(along - 320)) < 15
    mixed = np.where(upright, image, levels).astype(np.uint8)
    found = qvstreet.find_crossings(mixed, **PARAMS, measure=True, measure_contrast=45)
    assert len(found) == 4
    for crossing in found:
        m = crossing.measured
        assert m.status is MeasureStatus.PARTLY and m.reason is MeasureReason.NO_EDGES
        assert math.isnan(m.x) and m.horizontal.status is MeasureStatus.NOT
        assert m.vertical.status is MeasureStatus.MEASURED and m.vertical.reason is None
        assert m.vertical.width == pytest.approx(18, abs=0.08)


@pytest.mark.parametrize("value", [0, -1, math.nan])
def test_a_reach_and_a_contrast_must_be_positive(image, value):
    finder = qvstreet.StreetFinder(**PARAMS)
    finder.set_image(image)
    for search in (finder.find, finder.find_single_streets):
        with pytest.raises(qvStreetFinderDefs.BadParams) as caught:
            search(measure=True, measure_reach=value)
        assert str(caught.value) == "reach must be positive."
        with pytest.raises(qvStreetFinderDefs.BadParams) as caught:
            search(measure=True, measure_contrast=value)
        assert str(caught.value) == "leastContrast must be positive."
        assert isinstance(caught.value, ValueError)
        # Without a measurement they are not looked at.
        assert len(search(measure_reach=value)) == 4


def test_where_nothing_is_found_there_is_nothing_to_measure():
    assert qvstreet.find_crossings(np.full((60, 80), 9, np.uint8), measure=True) == []
    with pytest.raises(qvStreetFinderDefs.UnboundImage):
        qvstreet.StreetFinder().find(measure=True)


def test_the_same_measurement_is_equal_to_itself_whatever_was_not_measured(image, measured):
    assert qvstreet.find_crossings(image, **PARAMS, measure=True) == measured
    for found in (measured, qvstreet.find_crossings(image, **PARAMS, measure=True, measure_contrast=90)):
        again = pickle.loads(pickle.dumps(found))
        assert again == found and [hash(c) for c in again] == [hash(c) for c in found]
        assert type(again[0].measured) is CrossingMeasurement
        assert type(again[0].measured.vertical) is StreetMeasurement
    assert found != measured


def test_reasons_are_those_of_the_library():
    assert [reason.value for reason in MeasureReason] == list(_qvstreet.MEASURE_REASONS)


def test_a_dict_of_a_street_has_the_members_of_the_json(image):
    told = qvstreet.find_single_streets(image, **PARAMS, measure=True)[0].to_dict()["measured"]
    assert list(told) == [
        "status", "reason", "angle", "angleDeviation", "width", "widthDeviation", "centre", "centreDeviation", "edges",
        "edgeDeviations", "usedPoints", "refusedPoints",
    ]  # fmt: skip
    assert told["status"] == "measured" and told["reason"] is None
    assert [len(edge) for edge in told["edges"]] == [4, 4] and len(told["centre"]) == 4


def test_crossings_measured_as_the_command_measures_them(edge, coarse, command):
    for image, options, members in (
        (edge, "--mode edge --width 28 --sharpness 4", dict(mode="edge", width=28, sharpness=4)),
        (coarse, "--mode coarse --width 20 --max 12", dict(mode="coarse", width=20, max_results=12)),
    ):
        expected = command("find", image, *options.split(), "--measure")["crossings"]
        found = qvstreet.find_crossings(image, **members, measure=True)
        assert len(expected) >= 4 and any(c["measured"]["status"] == "measured" for c in expected)
        assert [crossing.to_dict() for crossing in found] == expected
    expected = command("find", coarse, *"--mode coarse --width 20 --measure".split(), *REACH_AND_CONTRAST)["crossings"]
    found = qvstreet.find_crossings(coarse, mode="coarse", width=20, measure=True, measure_reach=300, measure_contrast=20)
    assert [crossing.to_dict() for crossing in found] == expected


REACH_AND_CONTRAST = "--measure-reach 300 --measure-contrast 20".split()


def test_streets_measured_as_the_command_measures_them(coarse, command):
    options = "--mode coarse --width 9,11 --client 0.5,0.01,-0.02,0.55,1000,-2000 --measure".split()
    expected = command("streets", coarse, *options, *REACH_AND_CONTRAST)["streets"]
    found = qvstreet.find_single_streets(
        coarse,
        mode="coarse",
        width=(9, 11),
        client_transform=(0.5, 0.01, -0.02, 0.55, 1000, -2000),
        measure=True,
        measure_reach=300,
        measure_contrast=20,
    )
    assert len(expected) >= 5 and any(s["measured"]["status"] == "measured" for s in expected)
    assert [street.to_dict() for street in found] == expected
