"""Every exception of the library has a Python class of its name."""

import pathlib
import pickle
import re

import numpy as np
import pytest
import qvstreet
from conftest import SOURCE
from qvstreet import _qvstreet

# `class QV_EXPORT qvPel::BadSize : public qvPel::Errors {` and whether its body says that it is thrown.
CLASS = re.compile(r"^class QV_EXPORT ([\w:]+) : public ([\w:]+)(?:, public std::exception)? \{\n *(QV_EXCEPTION_\w+)?", re.M)


def public_exceptions():
    """(name, base, whether it is thrown) of each exception class of the public headers."""
    text = (SOURCE / "qvstreet" / "CMakeLists.txt").read_text()
    headers = re.search(r"set\(QVSTREET_PUBLIC_HEADERS(.*?)\)", text, re.S).group(1).split()
    classes = [found for h in headers for found in CLASS.findall((SOURCE / "qvstreet" / h).read_text())]
    known = {"qvException"}
    for _ in classes:  # a base may stand in a header further down
        known |= {name for name, base, _ in classes if base in known}
    exceptions = [(name, base, kind == "QV_EXCEPTION_CLASS") for name, base, kind in classes if base in known]
    assert len(exceptions) >= 22
    return exceptions


EXCEPTIONS = public_exceptions()
THROWN = [name for name, _, thrown in EXCEPTIONS if thrown]


def python_class(name):
    found = qvstreet
    for part in name.split("::"):
        found = getattr(found, part)
    return found


def error_numbers():
    numbers = {}
    for path in sorted(pathlib.Path(SOURCE / "qvstreet").rglob("*.cpp")):
        text = path.read_text()
        for name, number in re.findall(r"QV_DEFINE_(?:EXCEPTION_CLASS|THROWN)\(([\w:]+),[^;]*?(0x[0-9a-f]+)\)", text):
            numbers[name] = int(number, 16)
    return numbers


@pytest.mark.parametrize("name, base, thrown", EXCEPTIONS)
def test_each_public_exception_has_a_class_with_its_bases(name, base, thrown):
    cls = python_class(name)
    assert issubclass(cls, qvstreet.qvException) and issubclass(cls, Exception)
    assert python_class(base) in cls.__bases__
    assert cls.__qualname__ == name.replace("::", ".") and cls.__module__ == "qvstreet"


@pytest.mark.parametrize("name", THROWN)
def test_each_exception_of_the_library_arrives_as_its_class(name):
    with pytest.raises(qvstreet.qvException) as caught:
        _qvstreet.raise_error(name)
    assert type(caught.value) is python_class(name)
    # Without a message the library says the name of the class.
    assert str(caught.value) == name


@pytest.mark.parametrize("name", THROWN)
def test_error_numbers_are_those_of_the_library(name):
    assert python_class(name).error_number == error_numbers()[name]


def test_no_class_is_made_up():
    ours = {name for name, _, _ in EXCEPTIONS} | {"qvException"}
    for name in dir(qvstreet):
        if not name.startswith("qv"):
            continue
        member = getattr(qvstreet, name)
        names = [name] if issubclass(member, Exception) else [f"{name}::{n}" for n in vars(member) if n[0] != "_"]
        assert names and set(names) <= ours


def test_another_name_is_a_key_error():
    with pytest.raises(KeyError):
        _qvstreet.raise_error("qvPel")


@pytest.mark.parametrize("name", THROWN)
def test_errors_are_pickled_with_their_message(name):
    error = python_class(name)("what was wrong")
    again = pickle.loads(pickle.dumps(error))
    assert type(again) is type(error) and str(again) == "what was wrong" and again.args == error.args


def raised(call):
    with pytest.raises(qvstreet.qvException) as caught:
        call()
    return type(caught.value), str(caught.value)


def test_messages_of_a_finder_without_image():
    finder = qvstreet.StreetFinder()
    unbound = qvstreet.qvStreetFinderDefs.UnboundImage
    assert raised(finder.find) == (unbound, "Unbound Image::need to call setImage")
    assert raised(finder.find_single_streets) == (unbound, "Unbound Image::need to call setImage")
    assert raised(finder.angles) == (unbound, "Need to call setImage.")
    bad = qvstreet.qvStreetFinderDefs.BadParams
    assert raised(lambda: finder.angles(0)) == (bad, "cnt must be positive.")


def test_messages_of_blank_regions(strip):
    def run(**members):
        return raised(lambda: qvstreet.find_blank_regions(strip, **{"street_width": 64, "min_length": 110, **members}))

    bad = qvstreet.qvStreetBlankRegionFinderDefs.BadParams
    assert issubclass(bad, ValueError)
    assert run(street_width=0) == (bad, "streetWidthPels must be > 0")
    assert run(min_length=0) == (bad, "minLengthPels must be > 0")
    assert run(max_results=0) == (bad, "numResults must be > 0")
    assert run(grey_weights=[1] * 255) == (bad, "greyLevelScoringFilter must contain exactly 256 elements")
    assert run(mask=np.zeros((136, 2047), np.uint8)) == (bad, "Mask dimensions must match image dimensions")
    assert run(mask=np.ones((136, 2048), np.uint8)) == (bad, "Mask must only contain 0 and 255")
    assert run(min_length=2049)[0] is qvstreet.qvPel.BadSize


def test_a_transform_without_inverse(coarse):
    finder = qvstreet.StreetFinder()
    with pytest.raises(qvstreet.qvMatrixErr.Singular):
        finder.set_image(coarse, client_transform=(1, 0, 0, 0, 0, 0))
