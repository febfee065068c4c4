# SPDX-License-Identifier: MIT
"""Which arrays are taken as images, and what the exception says of those that are not."""

import gc

import numpy
import pytest

import narvoassem


def refusal(image, recipe):
    with pytest.raises(narvoassem.ImageError) as caught:
        narvoassem.inspect(image, recipe)
    assert len(caught.value.problems) == 1
    assert caught.value.problems[0].field == "image"
    return str(caught.value)


def test_wrong_dtype_is_named_with_shape_and_strides(image, recipe_dict):
    text = refusal(image.astype(numpy.float32), recipe_dict)
    assert "float32" in text and "(300, 400)" in text and "(1600, 4)" in text and "uint8" in text
    for dtype in (bool, numpy.int8, numpy.uint16, numpy.int64, "S1", object, "datetime64[s]"):
        array = numpy.zeros((300, 400), dtype)
        assert str(array.dtype) in refusal(array, recipe_dict)


@pytest.mark.parametrize(
    "view",
    [
        lambda image: image.T,
        lambda image: image[:, ::2],
        lambda image: image[::-1],
        lambda image: image[:, 4:-4],
        lambda image: numpy.asfortranarray(image),
        lambda image: numpy.broadcast_to(image[0], image.shape),
    ],
)
def test_arrays_with_gaps_or_another_order_are_refused_with_their_strides(image, recipe_dict, view):
    array = view(image)
    text = refusal(array, recipe_dict)
    assert str(array.shape) in text and str(array.strides) in text and "ascontiguousarray" in text


@pytest.mark.parametrize("shape", [(), (300,), (1, 300, 400), (300, 400, 3), (0, 400), (300, 0), (0, 0)])
def test_other_shapes_are_refused(recipe_dict, shape):
    assert str(shape) in refusal(numpy.zeros(shape, numpy.uint8), recipe_dict)


@pytest.mark.parametrize("value", [None, 7, "panel.png", b"bytes", [[1, 2], [3, 4]], object(), numpy.uint8(3), numpy])
def test_what_is_no_array_is_refused_by_its_type(recipe_dict, value):
    assert type(value).__name__ in refusal(value, recipe_dict)


def test_more_pixels_than_the_engine_counts_are_refused(recipe_dict):
    # The pages of the array are never touched, so it takes no memory.
    assert "2147483640" in refusal(numpy.zeros((50000, 50000), numpy.uint8), recipe_dict)


@pytest.mark.parametrize("shape", [(1, 1), (1, 4000), (4000, 1), (2, 2), (17, 3)])
def test_images_too_small_for_the_recipe_are_told_as_the_recipes_problem(recipe_dict, shape):
    with pytest.raises(narvoassem.RecipeError) as caught:
        narvoassem.inspect(numpy.zeros(shape, numpy.uint8), recipe_dict)
    assert caught.value.problems


def test_read_only_and_subclassed_arrays_are_taken(image, recipe_dict, tmp_path):
    expected = narvoassem.inspect(image, recipe_dict).blobs
    image.flags.writeable = False
    assert numpy.array_equal(narvoassem.inspect(image, recipe_dict).blobs, expected)
    mapped = numpy.memmap(tmp_path / "image.raw", numpy.uint8, "w+", shape=image.shape)
    mapped[:] = image
    mapped.flush()
    mapped = numpy.memmap(tmp_path / "image.raw", numpy.uint8, "r", shape=image.shape)
    assert numpy.array_equal(narvoassem.inspect(mapped, recipe_dict).blobs, expected)


@pytest.mark.parametrize("width", [397, 398, 399, 400])
def test_every_width_finds_the_square_at_its_place(pattern, recipe_dict, width):
    blobs = narvoassem.inspect(pattern(width), recipe_dict).blobs
    assert len(blobs) == 1
    assert (blobs["center_x"][0], blobs["center_y"][0], blobs["bright"][0]) == (203, 151, True)


def test_an_inspection_changes_nothing_in_the_image(image, recipe_dict):
    before = image.copy()
    narvoassem.inspect(image, recipe_dict)
    assert numpy.array_equal(image, before)


def test_results_outlive_image_and_inspector(pattern, recipe_dict):
    inspector = narvoassem.Inspector()
    results = [inspector.inspect(pattern(squares=((x, 151, 70),)), recipe_dict) for x in (100, 203)]
    del inspector
    gc.collect()
    filler = [numpy.full((300, 400), 255, numpy.uint8) for _ in range(20)]
    assert [result.blobs["center_x"][0] for result in results] == [100, 203]
    blobs = results[0].blobs
    del results, filler
    gc.collect()
    assert blobs["center_x"][0] == 100


def test_an_inspector_survives_the_images_that_it_has_seen(pattern, recipe_dict):
    inspector = narvoassem.Inspector()
    for x in range(60, 340, 20):
        image = pattern(squares=((x, 151, 70),))
        assert inspector.inspect(image, recipe_dict).blobs["center_x"][0] == x
        del image
        gc.collect()


@pytest.mark.parametrize("name", ["a.png", "a.tif", "a.bmp", "a.pgm"])
@pytest.mark.parametrize("width", [39, 40])
def test_files_are_written_and_read_back(image, tmp_path, name, width):
    part = numpy.ascontiguousarray(image[:30, :width])
    narvoassem.write_image(tmp_path / name, part)
    read = narvoassem.read_image(str(tmp_path / name))
    assert read.flags.c_contiguous and numpy.array_equal(read, part)


def test_colour_is_written_in_the_order_red_green_blue(image, tmp_path):
    colour = numpy.dstack([image, image // 2, image // 3])
    narvoassem.write_image(tmp_path / "a.png", colour)
    for i, channel in enumerate(("red", "green", "blue")):
        assert numpy.array_equal(
            narvoassem.read_image(tmp_path / "a.png", image={"channel": channel}), colour[:, :, i]
        )
    for wrong in (colour[:, :, :2].copy(), colour.astype(float), colour[::2]):
        with pytest.raises(narvoassem.ImageError, match="3"):
            narvoassem.write_image(tmp_path / "b.png", wrong)


def test_files_that_cannot_be_read_or_written_are_named(image, tmp_path):
    (tmp_path / "text.png").write_text("no image")
    for name in ("none.png", "text.png", ""):
        with pytest.raises(narvoassem.ImageError) as caught:
            narvoassem.read_image(tmp_path / name)
        assert str(tmp_path) in str(caught.value)
    with pytest.raises(narvoassem.FileError) as written:
        narvoassem.write_image(tmp_path / "none" / "a.png", image)
    assert isinstance(written.value, OSError) and "a.png" in str(written.value)
    with pytest.raises(narvoassem.FileError):
        narvoassem.write_image(tmp_path / "a.nonsense", image)
    for path in (None, 7, ["a.png"]):
        with pytest.raises(TypeError):
            narvoassem.read_image(path)


def test_names_that_are_no_utf8_are_read_and_told(image, tmp_path):
    import os

    name = os.path.join(os.fsencode(tmp_path), b"pl\xe4n.png")
    narvoassem.write_image(name, image)
    assert numpy.array_equal(narvoassem.read_image(os.fsdecode(name)), image)
    os.remove(name)
    with pytest.raises(narvoassem.ImageError) as caught:
        narvoassem.read_image(name)
    assert os.fsdecode(b"pl\xe4n.png") in caught.value.problems[0].field


def test_an_image_beyond_the_limit_is_refused_before_it_is_decoded(tmp_path, image):
    narvoassem.write_image(tmp_path / "a.png", image)
    assert narvoassem.read_image(tmp_path / "a.png", max_pixels=image.size).shape == image.shape
    with pytest.raises(narvoassem.ImageError, match="400 by 300 pixels; allowed: at most 119999 pixels"):
        narvoassem.read_image(tmp_path / "a.png", max_pixels=image.size - 1)
    for wrong in (0, -1, 2**30 + 1, 2**70, "many", 1.5):
        with pytest.raises(narvoassem.ArgumentError, match="max_pixels: .*; allowed: 1 to 1073741824"):
            narvoassem.read_image(tmp_path / "a.png", max_pixels=wrong)


def test_masked_pixels_are_refused(image, recipe_dict):
    masked = numpy.ma.MaskedArray(image, mask=numpy.zeros(image.shape, bool))
    assert len(narvoassem.inspect(masked, recipe_dict).blobs) == 1  # none of them masked
    masked[3, 4] = numpy.ma.masked
    with pytest.raises(narvoassem.ImageError, match="masked"):
        narvoassem.inspect(masked, recipe_dict)
    maps = {"offset": numpy.ma.masked_equal(numpy.full(image.shape, 20), 20)}
    with pytest.raises(narvoassem.RecipeError, match="maps.offset: masked entries"):
        narvoassem.Recipe(recipe_dict, maps=maps)


def test_problems_are_shown_on_one_line_that_a_terminal_can_take(tmp_path):
    name = "a\x1b[31m\nb\udcff.png"
    with pytest.raises(narvoassem.ImageError) as caught:
        narvoassem.read_image(tmp_path / name)
    assert "a\\x1b[31m\\nb\\xff.png: no such file" in str(caught.value)
    assert name in caught.value.problems[0].field
