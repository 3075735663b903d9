"""The same doubles as the command's JSON."""

import numpy as np
import PIL.Image
import qvstreet


def dicts(results):
    return [result.to_dict() for result in results]


def test_edge_mode_gives_the_crossings_of_the_command(edge, command):
    # Oblong, and turned out of symmetry by the cut.
    image = edge[100:900, 40:]
    options = "--mode edge --width 27,29 --range-x 20,35 --range-y 21,36 --sharpness 4 --max 11"
    expected = command("find", image, *options.split())["crossings"]
    found = qvstreet.find_crossings(
        image, mode="edge", width=(27, 29), range_x=(20, 35), range_y=(21, 36), sharpness=4, max_results=11
    )
    assert len(expected) >= 4
    assert dicts(found) == expected
    assert all(crossing.status is qvstreet.ResultStatus.EDGES for crossing in found)


def test_ridge_mode_with_polarity_gives_the_crossings_of_the_command(ridge, command):
    image = ridge[:, 200:900]
    expected = command("find", image, *"--mode ridge --width 14 --polarity light --max 5".split())["crossings"]
    found = qvstreet.find_crossings(image, mode="ridge", width=14, polarity="light", max_results=5)
    assert len(expected) >= 3
    assert dicts(found) == expected


def test_the_defaults_are_those_of_the_command(coarse, command):
    assert dicts(qvstreet.find_crossings(coarse)) == command("find", coarse)["crossings"]
    expected = command("find", coarse, "--mode", "coarse", "--width", "20")["crossings"]
    assert len(expected) >= 9
    assert dicts(qvstreet.find_crossings(coarse, mode="coarse", width=20)) == expected


def test_single_streets_in_client_units(coarse, edge, command):
    options = "--mode coarse --width 9,11 --client 0.5,0.01,-0.02,0.55,1000,-2000".split()
    expected = command("streets", coarse, *options)["streets"]
    found = qvstreet.find_single_streets(
        coarse, mode="coarse", width=(9, 11), client_transform=(0.5, 0.01, -0.02, 0.55, 1000, -2000)
    )
    assert len(expected) >= 5
    assert dicts(found) == expected
    expected = command("streets", edge, *"--mode edge --width 28 --sharpness 4".split())["streets"]
    assert dicts(qvstreet.find_single_streets(edge, mode="edge", width=28, sharpness=4)) == expected
    assert len(expected[0]["segments"]) == 2


def test_angles_with_their_scores(coarse, command):
    finder = qvstreet.StreetFinder(mode="coarse", width=20)
    finder.set_image(coarse)
    expected = command("angles", coarse, "--mode", "coarse", "--max", "3")["angles"]
    assert len(expected) == 3
    assert dicts(finder.angles(3)) == expected


def test_blank_regions_along_the_rows(strip, command):
    expected = command("blank", strip, "--street-width", "64", "--min-length", "110")["blankRegions"]
    assert len(expected) == 3
    assert dicts(qvstreet.find_blank_regions(strip, street_width=64, min_length=110)) == expected


def test_blank_regions_along_the_columns_with_weights(strip, command, tmp_path):
    image = np.ascontiguousarray(strip.T)
    weights = [level / 255 for level in range(256)]
    (tmp_path / "weights.txt").write_text(" ".join(map(repr, weights)))
    options = f"--street-width 64 --min-length 100 --direction v --max 2 --grey-weights {tmp_path / 'weights.txt'}"
    expected = command("blank", image, *options.split())["blankRegions"]
    assert len(expected) == 2 and expected[0]["height"] > expected[0]["width"]
    found = qvstreet.find_blank_regions(
        image, street_width=64, min_length=100, direction="v", max_results=2, grey_weights=np.array(weights)
    )
    assert dicts(found) == expected


def test_blank_regions_with_a_mask(strip, command, tmp_path):
    mask = np.full(strip.shape, 255, np.uint8)
    mask[:, 300:420] = 0
    PIL.Image.fromarray(mask).save(tmp_path / "mask.png")
    options = ["--street-width", "64", "--min-length", "110"]
    expected = command("blank", strip, *options, "--mask", str(tmp_path / "mask.png"))["blankRegions"]
    assert expected != command("blank", strip, *options)["blankRegions"]
    assert dicts(qvstreet.find_blank_regions(strip, street_width=64, min_length=110, mask=mask)) == expected
