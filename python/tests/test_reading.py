# SPDX-License-Identifier: MIT
"""How colours, mosaics, deep pixels and raw frames become grey, from files and from memory."""

import warnings

import numpy
import pytest

import narvoassem


def write_portable_greymap(path, values, full_scale):
    rows, columns = values.shape
    path.write_bytes(b"P5\n%d %d\n%d\n" % (columns, rows, full_scale) + values.astype(">u2").tobytes())


def test_colours_of_a_file_are_read_by_channel_or_as_luma_with_one_warning(image, tmp_path):
    other = numpy.zeros_like(image)
    narvoassem.write_image(tmp_path / "a.png", numpy.dstack([other, image, other]))
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        green = narvoassem.read_image(tmp_path / "a.png", image={"channel": "green"})
        assert numpy.array_equal(green, image)
        assert not narvoassem.read_image(tmp_path / "a.png", image={"channel": "red"}).any()
    with warnings.catch_warnings(record=True) as told:
        warnings.simplefilter("always")
        luma = narvoassem.read_image(tmp_path / "a.png")
        narvoassem.read_image(tmp_path / "a.png")
    assert numpy.array_equal(luma, (image.astype(int) * 19235 + 16384) >> 15)
    # Once in a process, so perhaps by an earlier test.
    assert len([one for one in told if one.category is narvoassem.ImageWarning]) <= 1


def test_a_recipe_says_how_its_images_are_read(image, recipe_dict, tmp_path):
    write_portable_greymap(tmp_path / "a.pgm", image.astype(int) * 16, 65535)
    recipe = narvoassem.Recipe(dict(recipe_dict, image={"levels": {"low": 0, "high": 4080}}))
    read = narvoassem.read_image(tmp_path / "a.pgm", image=recipe)
    assert numpy.array_equal(read, image)


def test_pixels_in_memory_are_converted_and_left_alone(image):
    deep = image.astype(numpy.uint16) * 16
    kept = deep.copy()
    assert numpy.array_equal(narvoassem.convert_image(deep, {"levels": {"high": 4080}}), image)
    assert numpy.array_equal(deep, kept)
    colour = numpy.dstack([image, numpy.zeros_like(image), numpy.full_like(image, 9)])
    assert numpy.array_equal(narvoassem.convert_image(colour, {"channel": "red"}), image)
    assert (narvoassem.convert_image(colour, {"channel": "blue"}) == 9).all()
    mixture = {"channel": "mixture", "weights": {"red": 0.5, "blue": 1}}
    assert numpy.array_equal(narvoassem.convert_image(colour, mixture), numpy.floor(image * 0.5 + 9 + 0.5))


def test_the_bytes_of_a_frame_are_unpacked(image):
    values = image.astype(int).ravel() * 16 + 5
    packed = numpy.empty((values.size // 2, 3), numpy.uint8)
    first, second = values[::2], values[1::2]
    packed[:, 0] = first & 255
    packed[:, 1] = (first >> 8) | ((second & 15) << 4)
    packed[:, 2] = second >> 4
    raw = {"format": "Mono12p", "width": image.shape[1], "height": image.shape[0], "offset": 2}
    reading = {"raw": raw, "levels": {"low": 5, "high": 4085}}
    assert numpy.array_equal(narvoassem.convert_image(b"xx" + packed.tobytes(), reading), image)
    with pytest.raises(narvoassem.ImageError, match="Mono12p"):
        narvoassem.convert_image(packed.tobytes(), reading)


def test_readings_and_pixels_that_do_not_fit_are_named(image):
    with pytest.raises(narvoassem.RecipeError, match="channel"):
        narvoassem.convert_image(image, {"channel": "violet"})
    with pytest.raises(narvoassem.RecipeError, match="nonsense"):
        narvoassem.convert_image(image, {"nonsense": 1})
    for wrong in (image.astype(float), image[:, ::2], numpy.zeros((4, 4, 2), numpy.uint8), "panel", None, [[1]]):
        with pytest.raises(narvoassem.ImageError, match="pixels"):
            narvoassem.convert_image(wrong)
    with pytest.raises(narvoassem.ImageError, match="1 channel"):
        narvoassem.convert_image(numpy.dstack([image] * 3), {"bayer": "rggb"})
