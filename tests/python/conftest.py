"""What the tests share. QVSTREET_SOURCE is the root of the source tree, QVSTREET_COMMAND the built command."""

import json
import os
import pathlib
import subprocess

import numpy as np
import PIL.Image
import pytest

SOURCE = pathlib.Path(os.environ.get("QVSTREET_SOURCE", pathlib.Path(__file__).parents[2]))


def sample(name):
    return np.array(PIL.Image.open(SOURCE / "examples" / "images" / f"{name}.png"))


@pytest.fixture(scope="session")
def edge():
    """1024 x 1024, dark streets 28 wide with two clear edges."""
    return sample("wafer_edge")


@pytest.fixture(scope="session")
def coarse():
    """1280 wide, 960 high, streets about 20 wide."""
    return sample("wafer_coarse")


@pytest.fixture(scope="session")
def ridge():
    """1024 x 1024, light streets 14 wide."""
    return sample("wafer_ridge")


@pytest.fixture(scope="session")
def strip():
    """2048 wide, 136 high: one street along the rows, 64 wide."""
    return sample("street_strip")


@pytest.fixture
def command(tmp_path):
    """Runs the command on an array and gives its JSON."""
    path = os.environ.get("QVSTREET_COMMAND", "")
    if not path:
        pytest.skip("the command is not built")

    def run(subcommand, image, *options):
        PIL.Image.fromarray(np.ascontiguousarray(image)).save(tmp_path / "image.png")
        call = [path, subcommand, str(tmp_path / "image.png"), *options]
        done = subprocess.run(call, check=True, capture_output=True, text=True)
        return json.loads(done.stdout)

    return run
