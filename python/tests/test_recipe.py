# SPDX-License-Identifier: MIT
"""Recipes from dicts, texts and files, their problems, their fields, and copies of them."""

import copy
import json
import pickle

import numpy
import pytest

import narvoassem
from conftest import make_recipe_dict


def problems(source, **more):
    with pytest.raises(narvoassem.RecipeError) as caught:
        narvoassem.Recipe(source, **more)
    assert str(caught.value) == "\n".join(str(problem) for problem in caught.value.problems)
    return {problem.field: problem for problem in caught.value.problems}


def test_dict_text_file_and_recipe_give_the_same(recipe_dict, tmp_path):
    recipe = narvoassem.Recipe(recipe_dict)
    file = tmp_path / "recipe.json"
    file.write_text(json.dumps(recipe_dict))
    for source in (json.dumps(recipe_dict), "\n " + json.dumps(recipe_dict), file, str(file), bytes(file), recipe):
        assert narvoassem.Recipe(source) == recipe
    assert recipe != narvoassem.Recipe(make_recipe_dict(min_area=2))
    assert recipe != recipe_dict


def test_all_problems_come_at_once():
    found = problems(
        {"version": 9, "pitch": {"x": "wide", "z": 3}, "min_area": 0, "nonsense": 1, "direction": "up", "zones": 7}
    )
    assert set(found) == {"version", "pitch.x", "pitch.y", "pitch.z", "min_area", "nonsense", "direction", "zones"}
    assert found["pitch.y"].value == "missing"
    assert found["min_area"] == ("min_area", "0", "whole number, 1 to 1000000 pixels")


def test_numpy_numbers_and_arrays_serve_in_a_dict(recipe_dict):
    recipe_dict["pitch"] = {"x": numpy.float64(32.5), "y": numpy.float32(24.25)}
    recipe_dict["min_area"] = numpy.int16(3)
    recipe_dict["keep_singles"] = numpy.bool_(False)
    recipe_dict["region"] = {"left": numpy.int64(0), "top": 0, "right": 300, "bottom": numpy.uint8(200)}
    recipe_dict["zones"] = {"list": ({"index": 0, "offset": numpy.array(30)},)}
    recipe = narvoassem.Recipe(recipe_dict)
    assert recipe["pitch.x"] == 32.5 and recipe["min_area"] == 3 and recipe["keep_singles"] is False
    assert recipe["zones.list"][0]["offset"] == 30


@pytest.mark.parametrize("value", [None, 7, 3.5, object(), [1, 2], numpy.zeros(3), print])
def test_what_is_no_recipe_is_refused_by_its_type(value):
    assert type(value).__name__ in problems(value)["recipe"].value


@pytest.mark.parametrize(
    "text", ["{", "[]", '{"pitch": }', "{}", '{"version": 1e999}', "[" * 100000, '{"a":' * 100000, '{"a": "\x00"}']
)
def test_broken_text_is_a_problem_and_no_crash(text):
    assert problems(text)


@pytest.mark.parametrize(
    "value", [10**30, -(10**30), float("nan"), float("inf"), "\ud800", {1: 2}, {"\ud800": 1}, object(), {3}, 2 + 3j]
)
def test_values_that_json_does_not_know_are_told(recipe_dict, value):
    recipe_dict["min_area"] = value
    assert any("min_area" in field for field in problems(recipe_dict))


def test_dicts_that_hold_themselves_end_in_an_exception(recipe_dict):
    recipe_dict["pitch"]["x"] = recipe_dict
    assert problems(recipe_dict)
    entries = []
    entries.append(entries)
    assert problems(make_recipe_dict(dead_zones=entries))


def test_files_that_are_missing_or_no_files_are_named(tmp_path):
    for path in (tmp_path / "none.json", tmp_path, "", "none\x00.json"):
        with pytest.raises((narvoassem.RecipeError, ValueError)):
            narvoassem.Recipe(path)
    assert "none.json" in list(problems(tmp_path / "none.json"))[0]


def test_painted_zones_come_from_arrays_and_files(recipe_dict, tmp_path):
    painted = numpy.zeros((25, 33), numpy.uint8)
    painted[5:9, 7:20] = 3
    recipe_dict["zones"] = {"list": [{"index": 0, "offset": 20}, {"index": 3, "offset": 40}]}
    recipe = narvoassem.Recipe(recipe_dict, zone_image=painted)
    assert numpy.array_equal(recipe.zone_image, painted) and recipe.class_image is None

    recipe.save(tmp_path / "r.json")
    assert (tmp_path / "r.zones.png").exists()
    read = narvoassem.Recipe(tmp_path / "r.json")
    assert numpy.array_equal(read.zone_image, painted)
    assert read["zones.image"] == "r.zones.png"
    assert narvoassem.Recipe(read.to_dict(), folder=tmp_path) == read
    assert "zones.image" in problems(read.to_dict(), folder=tmp_path / "other")
    assert "zones.image" in problems(recipe_dict, zone_image=painted[:7])
    assert "zone_image" in problems(recipe_dict, zone_image=painted.astype(float))
    with pytest.raises(narvoassem.FileError):
        recipe.save(tmp_path / "none" / "r.json")


def test_to_dict_and_to_json_are_taken_back(recipe_dict):
    recipe = narvoassem.Recipe(recipe_dict)
    assert narvoassem.Recipe(recipe.to_dict()) == recipe
    assert narvoassem.Recipe(recipe.to_json()) == recipe
    assert json.loads(recipe.to_json(indent=-1)) == recipe.to_dict()


def test_pickle_and_copy_keep_fields_and_images(recipe_dict):
    painted = numpy.full((25, 33), 2, numpy.uint8)
    recipe_dict["zones"] = {"list": [{"index": 2, "offset": 31}], "image": "no_such_file.png"}
    recipe = narvoassem.Recipe(recipe_dict, zone_image=painted)
    for other in (pickle.loads(pickle.dumps(recipe)), copy.deepcopy(recipe), copy.copy(recipe)):
        assert other == recipe and numpy.array_equal(other.zone_image, painted)


def test_there_are_no_half_made_objects(recipe_dict):
    recipe = narvoassem.Recipe(recipe_dict)
    for make in (
        lambda: narvoassem.Recipe.__new__(narvoassem.Recipe),
        lambda: object.__new__(narvoassem.Recipe),
        lambda: narvoassem.Recipe.__new__(narvoassem.Result, recipe_dict),
        lambda: type("Mine", (narvoassem.Recipe,), {}),
        lambda: narvoassem.Result(),
        lambda: narvoassem.Result.__new__(narvoassem.Result),
        lambda: narvoassem.PitchResult(),
        lambda: narvoassem.AxisPitch.__new__(narvoassem.AxisPitch),
    ):
        with pytest.raises(TypeError):
            make()
    assert narvoassem.Recipe.__new__(narvoassem.Recipe, recipe_dict) == recipe
    recipe.__init__(make_recipe_dict(min_area=9))
    assert recipe["min_area"] == 1


def test_painted_zones_of_modes_without_zones_are_refused(recipe_dict):
    painted = numpy.zeros((25, 33), numpy.uint8)
    pixel = make_recipe_dict(mode="pixel", threshold={"base": 20})
    found = problems(pixel, zone_image=painted, class_image=painted)
    assert set(found) == {"zones.image", "zones.class_image"}
    with pytest.raises(narvoassem.RecipeError, match="zones.image"):
        narvoassem.Recipe(recipe_dict, zone_image=painted).replace({"mode": "pixel", "threshold.base": 20})


def test_images_beside_a_recipe_take_the_place_of_its_own(recipe_dict):
    recipe = narvoassem.Recipe(recipe_dict, zone_image=numpy.zeros((25, 33), numpy.uint8))
    dead = numpy.ones((300, 400), numpy.uint8)
    other = narvoassem.Recipe(recipe, dead_image=dead)
    assert numpy.array_equal(other.dead_image, dead) and recipe.dead_image is None
    assert numpy.array_equal(other.zone_image, recipe.zone_image)
    with pytest.raises(narvoassem.RecipeError, match="zones.image"):
        narvoassem.Recipe(recipe, zone_image=numpy.zeros((5, 5), numpy.uint8))


def test_whole_numbers_of_more_than_64_bits_are_refused_by_their_range(recipe_dict):
    for value in (2**63, -(2**63) - 1, 10**400):
        recipe_dict["min_area"] = value
        assert problems(recipe_dict)["min_area"].allowed == "whole number, 1 to 1000000 pixels"
    with pytest.raises(narvoassem.RecipeError, match="pitch.x: 18446744073709551616; allowed: 1 to 16384 pixels"):
        narvoassem.Recipe(make_recipe_dict()).replace({"pitch.x": 2**64})


def test_names_that_are_none_are_told(recipe_dict):
    assert set(problems(recipe_dict | {"": 1})) == {'""'}
    recipe = narvoassem.Recipe(recipe_dict)
    for changes in ({"": 1}, {"": None}, {"\ud800": 1}):
        with pytest.raises(narvoassem.RecipeError, match="^changes: "):
            recipe.replace(changes)
    assert "maps" in problems(recipe_dict, maps={"\ud800": numpy.zeros((3, 3), int)})


def test_replace_makes_another_recipe(recipe_dict):
    recipe = narvoassem.Recipe(recipe_dict)
    other = recipe.replace({"min_area": 5, "zones.list": [{"index": 0, "offset": 44}], "pitch.x": 33})
    assert (recipe["min_area"], other["min_area"], other["pitch.x"]) == (1, 5, 33.0)
    assert other["zones.list"][0]["offset"] == 44
    assert other.replace({"min_area": None})["min_area"] == 1
    for changes in ({"min_area": 0}, {"nonsense": 1}, {"nonsense": None}, {"a.b.c": 3}, {"min_area.x": 3}, {7: 7}):
        with pytest.raises(narvoassem.RecipeError):
            recipe.replace(changes)


def test_getitem_knows_paths_and_names_others(recipe_dict):
    recipe = narvoassem.Recipe(recipe_dict)
    assert recipe["pitch"] == {"x": 32.5, "y": 24.25}
    for path in ("pitch.z", "", ".", "pitch.", "min_area.x", "zones.list.0"):
        with pytest.raises(KeyError):
            recipe[path]


def test_check_and_region_speak_of_an_image_without_one(recipe_dict):
    recipe = narvoassem.Recipe(recipe_dict)
    assert recipe.check((300, 400)) == []
    assert [problem for problem in recipe.check((60, 400)) if isinstance(problem, narvoassem.Problem)]
    assert recipe.region_of((300, 400)) == narvoassem.Rect(0, 0, 400, 300)
    for shape in (None, (3,), (0, 5), "ab", (2**40, 3)):
        with pytest.raises(narvoassem.ArgumentError):
            recipe.check(shape)


def test_fields_describe_every_path_with_unit_range_and_default(recipe_dict):
    fields = narvoassem.Recipe.fields()
    by_path = {field.path: field for field in fields}
    assert all(field.type in ("int", "float", "bool", "choice", "file", "object", "list") for field in fields)
    assert all(field.meaning and field.allowed and field.modes for field in fields)
    area = by_path["min_area"]
    assert (area.type, area.unit, area.low, area.high, area.default) == ("int", "pixels", 1, 1000000, 1)
    assert by_path["mode"].choices == ("zone", "pixel", "float", "binarise", "average", "asg", "texture", "lattice")
    assert by_path["mode"].default == "zone" and by_path["direction"].default == "vertical"
    assert "zone" in by_path["pitch.x"].required and "binarise" not in by_path["pitch.x"].modes
    assert by_path["zones.list[].gain"].unit == "in 1/256"

    # Every path that a recipe writes is described, and default values are those that it writes.
    recipe = narvoassem.Recipe(recipe_dict)

    def leaves(value, path=""):
        if isinstance(value, dict) and path not in by_path:
            for key, member in value.items():
                yield from leaves(member, f"{path}.{key}" if path else key)
        else:
            yield path, value

    for path, value in leaves(recipe.to_dict()):
        field = by_path[path]
        if field.type not in ("object", "list") and "zone" not in field.required:
            rows = [row for row in fields if row.path == path]
            assert value in [row.default for row in rows], path
            if field.type in ("int", "float"):
                assert any(row.low <= row.default <= row.high for row in rows) or field.required


def test_several_regions_are_read_as_recipes_of_their_own(recipe_dict, tmp_path):
    recipe_dict["regions"] = [{"name": "a", "min_area": 3}, {"name": "b", "pitch": {"x": 40}}]
    (tmp_path / "regions.json").write_text(json.dumps(recipe_dict))
    for source in (recipe_dict, json.dumps(recipe_dict), tmp_path / "regions.json"):
        first, second = narvoassem.Recipe.regions_of(source)
        assert (first["name"], first["min_area"], first["pitch.x"]) == ("a", 3, 32.5)
        assert (second["name"], second["min_area"], second["pitch.x"]) == ("b", 1, 40)
        assert narvoassem.Recipe.regions_of([first, source["regions"][1] | make_recipe_dict()] if source is recipe_dict
                                            else (first, first))[0] == first
    assert "regions" in problems(recipe_dict)
    assert narvoassem.Recipe.regions_of(first) == [first]
    recipe_dict["regions"][1]["min_area"] = 0
    for source in (recipe_dict, [first, {}], [], None, 7, [None]):
        with pytest.raises(narvoassem.RecipeError):
            narvoassem.Recipe.regions_of(source)


def test_maps_give_thresholds_pixel_by_pixel(recipe_dict, image):
    offset = numpy.full(image.shape, 20)
    recipe = narvoassem.Recipe(recipe_dict, maps={"offset": offset})
    assert len(narvoassem.inspect(image, recipe).blobs) == 1
    assert recipe.maps["offset"].dtype == numpy.int16 and (recipe.maps["offset"] == offset).all()
    offset[100:200] = 300
    quiet = recipe.replace({}, maps={"offset": offset.astype(numpy.uint16), "gain": numpy.zeros_like(offset)})
    assert len(narvoassem.inspect(image, quiet).blobs) == 0
    assert quiet != recipe and quiet == quiet.replace({"min_area": 1})
    for other in (pickle.loads(pickle.dumps(quiet)), copy.deepcopy(quiet)):
        assert other == quiet and (other.maps["offset"] == offset).all() and set(other.maps) == {"offset", "gain"}
    assert narvoassem.Recipe(recipe_dict).maps is None


@pytest.mark.parametrize(
    "maps",
    [
        7,
        {"nonsense": numpy.zeros((300, 400), int)},
        {"offset": None},
        {"offset": [[1, 2], [3, 4]]},
        {"offset": numpy.zeros((300, 400))},
        {"offset": numpy.zeros((300, 400), bool)},
        {"offset": numpy.zeros(300, int)},
        {"offset": numpy.zeros((0, 400), int)},
        {"offset": numpy.full((300, 400), -1)},
        {"offset": numpy.full((300, 400), 70000, numpy.int32)},
        {"offset": numpy.zeros((300, 400), int), "gain": numpy.zeros((300, 399), int)},
        {"offset": numpy.zeros((300, 400), int), "knee": numpy.zeros((300, 400), int)},
        {"offset": numpy.zeros((300, 400), int), "zone": numpy.full((300, 400), 5)},
    ],
)
def test_maps_that_are_none_are_refused(recipe_dict, maps):
    assert problems(recipe_dict, maps=maps)


def test_maps_of_another_size_are_refused_for_the_image(recipe_dict, image):
    recipe = narvoassem.Recipe(recipe_dict, maps={"offset": numpy.zeros((300, 300), numpy.int16)})
    with pytest.raises(narvoassem.RecipeError, match="maps"):
        narvoassem.inspect(image, recipe)


def test_recipes_cannot_be_hashed_and_show_themselves(recipe_dict):
    recipe = narvoassem.Recipe(recipe_dict)
    with pytest.raises(TypeError):
        hash(recipe)
    assert "zone mode" in repr(recipe) and "32.5" in repr(recipe)


def test_dead_places_stay_with_the_recipe():
    dead = numpy.zeros((300, 400), numpy.uint8)
    dead[10:20, 30:40] = 255
    recipe = narvoassem.Recipe({"version": 1, "pitch": {"x": 20.5, "y": 30.25}}, dead_image=dead)
    assert numpy.array_equal(recipe.dead_image, dead)
    assert numpy.array_equal(pickle.loads(pickle.dumps(recipe)).dead_image, dead)
    other = recipe.replace({"min_area": 2})
    assert numpy.array_equal(other.dead_image, dead)
    assert recipe != recipe.replace({}, dead_image=numpy.zeros_like(dead))


def test_fields_are_arrays_or_files_and_stay_with_the_recipe(tmp_path):
    flat = numpy.full((1, 40), 25600, numpy.uint16)
    flat[0, 7] = 12800
    dark = numpy.zeros((1, 40), numpy.uint16)
    recipe = narvoassem.Recipe({"version": 1, "pitch": {"x": 20.5, "y": 30.25}}, flat_field=flat, dark_field=dark)
    assert numpy.array_equal(recipe.flat_field, flat) and numpy.array_equal(recipe.dark_field, dark)
    frame = numpy.full((5, 40), 80, numpy.uint8)
    frame[:, 7] = 40
    even = narvoassem.convert_image(frame, recipe)
    assert (even == even[0, 0]).all() and abs(int(even[0, 0]) - 79) <= 1

    assert pickle.loads(pickle.dumps(recipe)) == recipe
    other = recipe.replace({"min_area": 2})
    assert numpy.array_equal(other.flat_field, flat)
    assert recipe != recipe.replace({}, flat_field=dark + numpy.uint16(9))
    recipe.save(tmp_path / "r.json")
    kept = narvoassem.Recipe(tmp_path / "r.json")
    assert numpy.array_equal(kept.flat_field, flat)
    section = {"flat_field": str(tmp_path / "r.flat_field.png")}
    assert numpy.array_equal(narvoassem.convert_image(frame, section), narvoassem.convert_image(frame, recipe))

    colours = numpy.zeros((2, 40, 3), numpy.uint8)
    colours[:] = (200, 100, 50)
    assert numpy.array_equal(recipe.replace({}, flat_field=colours, dark_field=colours // 8).flat_field, colours)
    for wrong in (flat.astype(float), flat[0], "flat.png"):
        with pytest.raises(narvoassem.RecipeError, match="flat_field"):
            recipe.replace({}, flat_field=wrong)
    with pytest.raises(narvoassem.ImageError, match="40 by 1 pixels"):
        narvoassem.convert_image(frame[:, :20].copy(), recipe)
