"""Finders beside other threads."""

import subprocess
import sys
import threading
import time
import weakref

import numpy as np
import pytest
import qvstreet


@pytest.fixture
def counter():
    """A number that another thread raises whenever this one lets go of the interpreter lock, and only then."""
    state = {"count": 0, "stop": False}

    def raise_it():
        while not state["stop"]:
            state["count"] += 1
            time.sleep(0)

    interval = sys.getswitchinterval()
    sys.setswitchinterval(1000)
    thread = threading.Thread(target=raise_it)
    thread.start()
    try:
        yield lambda: state["count"]
    finally:
        state["stop"] = True
        sys.setswitchinterval(interval)
        thread.join()


def assert_others_run_during(counter, call):
    # A call may be over before the other thread wakes up; one of many is not.
    patience = time.monotonic() + 60
    while time.monotonic() < patience:
        before = counter()
        call()
        if counter() > before:
            return
    raise AssertionError("the interpreter lock was held all the time")


def test_the_counter_stands_still_while_the_lock_is_held(counter):
    before = counter()
    sum(range(3_000_000))
    assert counter() == before


@pytest.mark.parametrize(
    "call, members", [("set_image", {}), ("find", {}), ("find_single_streets", {}), ("find", dict(measure=True))]
)
def test_other_threads_run_while_a_finder_works(coarse, counter, call, members):
    finder = qvstreet.StreetFinder(mode="coarse", width=20)
    finder.set_image(coarse)
    if call == "set_image":
        assert_others_run_during(counter, lambda: finder.set_image(coarse))
    else:
        assert_others_run_during(counter, lambda: getattr(finder, call)(**members))


def test_other_threads_run_while_blank_regions_are_searched(strip, counter):
    assert_others_run_during(counter, lambda: qvstreet.find_blank_regions(strip, street_width=64, min_length=110))


def run_side_by_side(*works):
    failures = []

    def guarded(work):
        try:
            work()
        except BaseException as error:
            failures.append(error)

    threads = [threading.Thread(target=guarded, args=(work,), daemon=True) for work in works]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(120)
    assert not any(thread.is_alive() for thread in threads), "threads wait for one another"
    assert failures == []


def test_finders_of_their_own_give_what_they_give_alone(coarse, edge):
    def work(image, **members):
        expected = qvstreet.find_crossings(image, **members)
        assert len(expected) > 4

        def run():
            finder = qvstreet.StreetFinder(**members)
            for _ in range(10):
                finder.set_image(image)
                assert finder.find() == expected

        return run

    run_side_by_side(work(coarse, mode="coarse", width=20), work(edge, mode="edge", width=28, sharpness=4))


def test_one_finder_in_several_threads_does_one_call_after_the_other(coarse):
    finder = qvstreet.StreetFinder(mode="coarse", width=20)
    images = [coarse, coarse[::-1], coarse[200:, :900]]
    expected = [qvstreet.find_crossings(image, mode="coarse", width=20, measure=True) for image in images]
    assert expected[0] != expected[1] != expected[2]

    def work(image):
        def run():
            for _ in range(15):
                finder.set_image(image)
                # Another thread may have bound its own image meanwhile, but what is found is measured on its own.
                assert finder.find(measure=True) in expected

        return run

    run_side_by_side(*[work(image) for image in images])


def test_an_image_that_goes_may_call_its_finder(coarse):
    finder = qvstreet.StreetFinder(mode="coarse", width=20)
    image = coarse.copy()
    called = []
    weakref.finalize(image, lambda: called.append(finder.find()))
    finder.set_image(image)
    del image
    run_side_by_side(lambda: finder.set_image(coarse))
    assert len(called) == 1 and called[0] == finder.find()


def test_a_finder_left_to_the_end_of_the_interpreter_does_no_harm():
    script = (
        "import builtins, qvstreet; f = builtins.kept = qvstreet.StreetFinder();"
        "f.set_image(memoryview(bytes(2000)).cast('B', (40, 50)))"
    )
    assert subprocess.run([sys.executable, "-c", script]).returncode == 0
