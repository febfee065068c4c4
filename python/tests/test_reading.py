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


def test_each_channel_is_inspected_and_blobs_say_which_shows_them(pattern, recipe_dict, tmp_path):
    plain = pattern(squares=())
    colours = numpy.dstack([plain, plain, pattern()])
    narvoassem.write_image(tmp_path / "a.png", colours)
    recipe = narvoassem.Recipe(dict(recipe_dict, image={"channel": "each"}))
    read = narvoassem.read_image(tmp_path / "a.png", image=recipe)
    assert numpy.array_equal(read, colours)
    blobs = narvoassem.inspect(read, recipe).blobs
    assert len(blobs) == 1
    assert blobs[0]["channel"] == b"blue"
    assert abs(int(blobs[0]["center_x"]) - 203) <= 1
    luma = narvoassem.convert_image(colours, {"channel": "luma"})
    assert narvoassem.inspect(luma, recipe).blobs["channel"].tolist() in ([], [b"grey"])
    assert narvoassem.inspect(read, recipe).overlay(read).shape == colours.shape
    with pytest.raises(narvoassem.ImageError, match="unless image.channel of the recipe is each"):
        narvoassem.inspect(read, narvoassem.Recipe(recipe_dict))


def test_a_golden_model_compares_each_channel(pattern):
    plain = pattern(squares=())
    model = narvoassem.GoldenModel(numpy.dstack([plain] * 3), threshold=20, max_shift=4)
    found = model.inspect(numpy.dstack([plain, plain, pattern()]))
    assert found.result.blobs["channel"].tolist() == [b"blue"]


def test_a_field_is_the_mean_of_frames(tmp_path):
    frames = [numpy.full((4, 6), level, numpy.uint8) for level in (100, 101)]
    for i, frame in enumerate(frames):
        narvoassem.write_image(tmp_path / f"{i}.png", frame)
    paths = [tmp_path / "0.png", tmp_path / "1.png"]
    field = narvoassem.mean_field(paths)
    assert field.dtype == numpy.uint16 and field.shape == (4, 6)
    assert (field == 25728).all()  # 100.5 in 1/256
    assert narvoassem.mean_field(paths, line=True).shape == (1, 6)
    with pytest.raises(narvoassem.ImageError):
        narvoassem.mean_field([])
