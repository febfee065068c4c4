# SPDX-License-Identifier: MIT
"""Properties of images: what is taken, what is refused in which words, and that only pixels count."""

import os

import numpy
import pytest
from hypothesis import assume, given
from hypothesis import strategies as st

import narvoassem
from strategies import arrays, assert_told, base_document, examples, images, is_image, panels, recipe_of

RECIPE = narvoassem.Recipe(base_document("zone"))
MODEL = narvoassem.GoldenModel(numpy.random.default_rng(1).integers(0, 255, (64, 64)).astype(numpy.uint8))

# Every call that reads an image, with what it names that image.
READERS = {
    "inspect": (lambda image: narvoassem.inspect(image, RECIPE), "image"),
    "lanes": (lambda image: narvoassem.Inspector().inspect(image, RECIPE), "image"),
    "explain": (lambda image: narvoassem.explain(image, RECIPE, 0, 0), "image"),
    "pitch": (narvoassem.search_pitch, "image"),
    "lattice": (narvoassem.search_lattice, "image"),
    "golden": (MODEL.inspect, "image"),
    "model": (narvoassem.GoldenModel, "references"),
    "learn": (narvoassem.learn, "images"),
    "capability": (lambda image: narvoassem.capability(RECIPE, image, count=1), "images"),
    "stream": (lambda image: narvoassem.StripStream(RECIPE, 60).push(image), "rows"),
}


@pytest.mark.parametrize("reader", READERS)
@given(array=arrays())
@examples(25)
def test_an_array_is_an_image_or_is_named_with_its_form(reader, array):
    call, name = READERS[reader]
    try:
        call(array)
    except narvoassem.NarvoError as error:
        assert_told(error)
        if not is_image(array) and not (array.ndim == 3 and array.dtype == numpy.uint8):
            # Calls that take several images take an array that is not shaped as one for a list, perhaps an empty one.
            shaped = array.ndim == 2 or (array.ndim == 3 and array.shape[2] == 3)
            none = name in ("references", "images") and not shaped and array.ndim > 0 and len(array) == 0
            assert isinstance(error, narvoassem.ArgumentError if none else narvoassem.ImageError)
            problem = error.problems[0]
            assert problem.field.startswith((name, "image")), problem
    else:
        coloured = array.dtype == numpy.uint8 and array.ndim == 3 and array.shape[2] == 3
        assert is_image(array) or coloured, "taken"


def layouts_of(image):
    """The same pixels in other places: behind odd addresses, read-only, cut from a larger array, a subclass."""
    behind = numpy.zeros(image.size + 3, numpy.uint8)
    yield behind[3:].reshape(image.shape)
    yield numpy.zeros((image.shape[0] + 5,) + image.shape[1:], numpy.uint8)[2:-3]
    yield numpy.zeros((1,) + image.shape, numpy.uint8)[0]
    yield numpy.zeros(image.shape, numpy.uint8).view(numpy.matrix)
    yield numpy.ma.MaskedArray(numpy.zeros(image.shape, numpy.uint8))


@given(panel=panels(), lanes=st.integers(1, 4))
@examples(40)
def test_only_pixels_count_and_not_where_they_lie_or_who_looks(panel, lanes):
    image, pitch_x, pitch_y = panel
    recipe = recipe_of(base_document("zone", pitch_x, pitch_y))
    assume(not recipe.check(image.shape))
    before = image.copy()
    expected = narvoassem.inspect(image, recipe)
    others = []
    for place in layouts_of(image):
        place[...] = image
        place.flags.writeable = False
        others.append(place)
    for found in narvoassem.Inspector(lanes).inspect_many([image, *others, image], recipe):
        assert found.blobs.tobytes() == expected.blobs.tobytes()
        assert found.pairs.tobytes() == expected.pairs.tobytes()
        assert (found.code, found.warnings) == (expected.code, expected.warnings)
    assert numpy.array_equal(image, before)


@given(array=arrays(), channel=st.sampled_from(["auto", "luma", "red", "each", "mixture"]), bayer=st.booleans(),
       low=st.integers(-5, 300), high=st.integers(-5, 70000))
@examples(100)
def test_pixels_are_converted_to_an_image_or_refused(array, channel, bayer, low, high):
    reading = {"channel": channel, "levels": {"low": low, "high": high}}
    if bayer:
        reading["bayer"] = "rggb"
    if channel == "mixture":
        reading["weights"] = {"red": 0.5, "green": 0.5}
    try:
        image = narvoassem.convert_image(array, reading)
    except narvoassem.NarvoError as error:
        assert_told(error)
        return
    assert image.dtype == numpy.uint8 and image.flags.c_contiguous and image.shape[:2] == array.shape[:2]
    assert numpy.array_equal(narvoassem.convert_image(array, reading), image)


@given(data=st.binary(max_size=400), form=st.sampled_from(["Mono8", "Mono10", "Mono10p", "Mono12", "Mono12p", "Mono16"]),
       width=st.integers(0, 20), height=st.integers(0, 20), offset=st.integers(0, 9), high=st.integers(0, 70000))
@examples(100)
def test_bytes_of_a_frame_are_unpacked_or_refused(data, form, width, height, offset, high):
    bits = int("".join(filter(str.isdigit, form)))
    reading = {"raw": {"format": form, "width": width, "height": height, "offset": offset}, "levels": {"high": high}}
    row = -(-width * bits // 8) if form.endswith("p") else width * (1 if bits == 8 else 2)
    try:
        image = narvoassem.convert_image(data, reading)
    except narvoassem.NarvoError as error:
        assert_told(error)
        return
    assert image.shape == (height, width) and len(data) >= offset + (row * height if not form.endswith("p") else 0)


@given(image=images, colours=st.booleans(), ending=st.sampled_from(["png", "tif", "bmp", "pgm"]))
@examples(40)
def test_files_are_read_as_they_were_written(tmp_path, image, colours, ending):
    if colours and ending == "pgm":
        ending = "png"
    if colours:
        image = numpy.ascontiguousarray(numpy.dstack([image, 255 - image, image // 2]))
    path = tmp_path / f"image.{ending}"
    narvoassem.write_image(path, image)
    read = narvoassem.read_image(path, image={"channel": "each"} if colours else None)
    assert numpy.array_equal(read, image)


@given(data=st.data(), image=images)
@examples(60)
def test_a_damaged_file_is_read_or_refused_by_its_name(tmp_path, data, image):
    path = tmp_path / "image.png"
    narvoassem.write_image(path, image)
    content = bytearray(path.read_bytes())
    for _ in range(data.draw(st.integers(1, 3))):
        content[data.draw(st.integers(0, len(content) - 1))] = data.draw(st.integers(0, 255))
    path.write_bytes(content[: data.draw(st.integers(0, len(content)))])
    try:
        read = narvoassem.read_image(path)
    except narvoassem.ImageError as error:
        assert_told(error)
        assert os.fspath(path) in error.problems[0].field
    else:
        assert read.ndim == 2 and read.dtype == numpy.uint8
