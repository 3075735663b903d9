"""What goes in as an image, without a copy, and what does not."""

import array
import gc
import tracemalloc
import weakref

import numpy as np
import pytest
import qvstreet

MODE = dict(mode="coarse", width=20)


def found_in(image, **where):
    crossings = qvstreet.find_crossings(image, **MODE, **where)
    assert len(crossings) >= 4
    return crossings


def refused(error, image):
    finder = qvstreet.StreetFinder()
    with pytest.raises(error) as caught:
        finder.set_image(image)
    return str(caught.value)


def test_a_slice_counts_from_its_own_corner(coarse):
    assert found_in(coarse[100:, 60:1200]) == found_in(coarse[100:, 60:1200].copy())


def test_the_offset_of_a_slice_brings_results_into_the_frame_of_the_whole(coarse):
    part = coarse[100:, 60:1200]
    own, whole = found_in(part), found_in(part, offset=(60, 100))
    assert len(own) == len(whole)
    for a, b in zip(own, whole):
        assert (b.x, b.y) == pytest.approx((a.x + 60, a.y + 100), abs=1e-6)


def test_a_flipped_array_is_bottom_up_and_gives_what_its_copy_gives(coarse):
    flipped = coarse[::-1]
    assert flipped.strides[0] < 0
    assert found_in(flipped) == found_in(flipped.copy())
    assert found_in(flipped) != found_in(coarse)


def test_every_second_row(coarse):
    rows = coarse[::2]
    assert qvstreet.find_crossings(rows, **MODE) == qvstreet.find_crossings(rows.copy(), **MODE)
    rows = coarse[::-2]
    assert qvstreet.find_crossings(rows, **MODE) == qvstreet.find_crossings(rows.copy(), **MODE)


def test_read_only_memory(coarse):
    image = coarse.copy()
    image.flags.writeable = False
    assert found_in(image) == found_in(coarse)


def test_memoryviews_and_bytes_need_no_numpy(coarse):
    expected = found_in(coarse)
    assert found_in(memoryview(coarse)) == expected
    assert found_in(memoryview(coarse.tobytes()).cast("B", coarse.shape)) == expected
    assert found_in(memoryview(array.array("B", coarse.tobytes())).cast("B", coarse.shape)) == expected


def test_an_image_of_one_row_or_column_may_have_any_other_stride():
    finder = qvstreet.StreetFinder()
    wide = np.zeros((40, 50), np.uint8)
    finder.set_image(wide[:1, :])
    assert finder.find() == []
    finder.set_image(wide[:, 7:8])
    assert finder.find() == []
    finder.set_image(np.asfortranarray(wide[:, :1]))
    assert finder.find() == []


def test_the_image_is_not_copied(coarse):
    # Ridge mode measures its crossings on the pels, anew in each search.
    finder = qvstreet.StreetFinder(mode="ridge", width=20)
    image = coarse.copy()
    finder.set_image(image)
    before = finder.find()
    assert before
    image[...] = 0
    assert finder.find() != before


def test_binding_takes_no_memory_of_python_for_pels(coarse):
    image = np.tile(coarse, (3, 3))
    finder = qvstreet.StreetFinder(**MODE)
    tracemalloc.start()
    try:
        finder.set_image(image)
        assert tracemalloc.get_traced_memory()[1] < 100_000 < image.nbytes
    finally:
        tracemalloc.stop()


def test_the_finder_keeps_the_image_and_lets_go_of_it_with_the_next(coarse):
    finder = qvstreet.StreetFinder(**MODE)
    image = coarse.copy()
    seen = weakref.ref(image)
    finder.set_image(image)
    expected = finder.find()
    del image
    gc.collect()
    assert seen() is not None
    assert finder.find() == expected
    finder.set_image(coarse)
    gc.collect()
    assert seen() is None


def test_a_finder_that_goes_lets_go_of_its_image(coarse):
    finder = qvstreet.StreetFinder(**MODE)
    image = coarse.copy()
    seen = weakref.ref(image)
    finder.set_image(image)
    del image, finder
    gc.collect()
    assert seen() is None


def test_bound_memory_cannot_be_resized():
    memory = bytearray(40 * 50)
    finder = qvstreet.StreetFinder()
    finder.set_image(memoryview(memory).cast("B", (40, 50)))
    with pytest.raises(BufferError):
        memory.append(0)
    finder.set_image(np.zeros((40, 50), np.uint8))
    memory.append(0)


def test_a_refused_image_leaves_the_former_one_and_is_not_kept(coarse):
    finder = qvstreet.StreetFinder(**MODE)
    finder.set_image(coarse)
    expected = finder.find()
    other = np.zeros((300, 200), np.uint8)
    seen = weakref.ref(other)
    with pytest.raises(qvstreet.qvStreetFinderDefs.BadParams, match="Image rotation greater then 5 degree"):
        finder.set_image(other, client_transform=(0, -1, 1, 0, 0, 0))
    with pytest.raises(TypeError):
        finder.set_image(other.astype(np.int16))
    assert finder.find() == expected
    del other
    gc.collect()
    assert seen() is None


def test_a_half_bound_image_finds_nothing_and_goes_with_the_next(coarse):
    finder = qvstreet.StreetFinder(**MODE)
    finder.set_image(coarse)
    bad = np.zeros((5, 90), np.uint8)
    seen = weakref.ref(bad)
    with pytest.raises(qvstreet.qvMatrixErr.Singular):
        finder.set_image(bad)
    assert finder.find() == []
    finder.set_image(coarse)
    del bad
    gc.collect()
    assert seen() is None


@pytest.mark.parametrize(
    "dtype", ["float64", "float32", "int8", "uint16", "int32", "bool", "complex128", "uint64", "float16"]
)
def test_another_dtype_is_named(dtype):
    message = refused(TypeError, np.zeros((30, 40), dtype))
    assert message == f"image has dtype {dtype}; expected uint8"


def test_another_format_of_something_without_a_dtype_is_named():
    assert refused(TypeError, memoryview(array.array("d", [1, 2]))) == "image has format 'd'; expected uint8"


def test_a_dtype_without_buffer_is_named_by_its_reason():
    message = refused(TypeError, np.zeros((30, 40), "M8[s]"))
    assert message.startswith("image is numpy.ndarray and does not show its memory: ")
    assert message.endswith("; expected uint8 pels")


def test_what_shows_no_memory_is_named():
    rest = "; expected uint8 pels with the buffer protocol, for instance a numpy array"
    assert refused(TypeError, [[1, 2], [3, 4]]) == "image is list" + rest
    assert refused(TypeError, None) == "image is NoneType" + rest


@pytest.mark.parametrize("shape", ["(3, 4, 3)", "(12,)", "()", "(2, 3, 4, 5)"])
def test_another_number_of_dimensions_is_named_with_the_shape(shape):
    expected = f"image has shape {shape}; expected (height, width)"
    assert refused(ValueError, np.zeros(eval(shape), np.uint8)) == expected


@pytest.mark.parametrize("shape", ["(0, 7)", "(7, 0)"])
def test_an_image_without_pels_is_named_with_its_shape(shape):
    assert refused(ValueError, np.zeros(eval(shape), np.uint8)) == f"image has shape {shape}; expected at least one pel"


@pytest.mark.parametrize(
    "cut, strides",
    [
        (lambda a: a[:, ::2], "(2048, 2)"),
        (lambda a: a[:, ::-1], "(2048, -1)"),
        (lambda a: a.T, "(1, 2048)"),
        (lambda a: np.broadcast_to(a[:, :1], a.shape), "(2048, 0)"),
    ],
)
def test_pels_of_a_row_that_are_not_adjacent_are_named_with_the_strides(cut, strides):
    message = refused(ValueError, cut(np.zeros((30, 2048), np.uint8)))
    assert message == (
        f"image has strides {strides}; pels of a row have to be adjacent (stride 1): use numpy.ascontiguousarray"
    )


def test_rows_that_overlap_are_named_with_the_strides():
    rows = np.lib.stride_tricks.as_strided(np.zeros(1000, np.uint8), (9, 20), (19, 1))
    message = "image has strides (19, 1); rows must not overlap (stride of at least the width, 20): use numpy.ascontiguousarray"
    assert refused(ValueError, rows) == message
    assert "(0, 1)" in refused(ValueError, np.broadcast_to(np.zeros(20, np.uint8), (9, 20)))
    touching = np.lib.stride_tricks.as_strided(np.zeros(1000, np.uint8), (9, 20), (20, 1))
    qvstreet.StreetFinder().set_image(touching)


def test_a_side_beyond_the_finder_is_named_with_the_shape():
    message = refused(ValueError, np.zeros((3, 32768), np.uint8))
    assert message == "image has shape (3, 32768); the finder takes sides of up to 32767 pels"
    assert "(32768, 3)" in refused(ValueError, np.zeros((32768, 3), np.uint8))


@pytest.mark.parametrize("offset", [5, (1,), (1, 2, 3), (0.5, 1), None])
def test_what_is_no_offset_is_named(coarse, strip, offset):
    message = f"offset is {offset}; expected two whole numbers (x, y)"
    with pytest.raises(ValueError) as caught:
        qvstreet.StreetFinder().set_image(coarse, offset=offset)
    assert str(caught.value) == message
    with pytest.raises(ValueError) as caught:
        qvstreet.find_blank_regions(strip, street_width=64, min_length=110, offset=offset)
    assert str(caught.value) == message


@pytest.mark.parametrize("transform", [5, (1, 0, 0, 1), (1, 0, 0, 1, 0, "a")])
def test_what_is_no_client_transform_is_named(coarse, transform):
    with pytest.raises(ValueError) as caught:
        qvstreet.StreetFinder().set_image(coarse, client_transform=transform)
    assert str(caught.value) == f"client_transform is {transform}; expected six numbers (a, b, c, d, tx, ty)"


def test_numbers_of_numpy_will_do(coarse):
    expected = found_in(coarse[100:, 60:], offset=(60, 100), client_transform=(1, 0, 0, 1, 2.5, 3))
    numbers = dict(offset=np.array([60, 100]), client_transform=np.array([1, 0, 0, 1, 2.5, 3]))
    assert found_in(coarse[100:, 60:], **numbers) == expected
    assert qvstreet.StreetFinderParams(width=np.float32(20)) == qvstreet.StreetFinderParams(width=np.array([20, 20]))


def test_a_mask_is_called_a_mask(strip):
    with pytest.raises(TypeError) as caught:
        qvstreet.find_blank_regions(strip, street_width=64, min_length=110, mask=np.zeros(strip.shape, bool))
    assert str(caught.value) == "mask has dtype bool; expected uint8"


def test_blank_regions_take_flipped_and_offset_strips(strip):
    plain = qvstreet.find_blank_regions(strip[::-1].copy(), street_width=64, min_length=110)
    moved = qvstreet.find_blank_regions(strip[::-1], street_width=64, min_length=110, offset=(-7, 1000))
    assert len(plain) == 3
    assert [(r.x - 7, r.y + 1000, r.width, r.height, r.score) for r in plain] == [
        (r.x, r.y, r.width, r.height, r.score) for r in moved
    ]
    mask = np.full(strip.shape, 255, np.uint8)[::-1]
    masked = qvstreet.find_blank_regions(strip[::-1], street_width=64, min_length=110, offset=(-7, 1000), mask=mask)
    assert masked == moved
