# SPDX-License-Identifier: MIT
"""Inspections: results as arrays and tables, overlay, lanes and threads, and the package's own completeness."""

import gc
import json
import pickle
import resource
import sys
import threading
import time

import numpy
import pandas
import pytest

import narvoassem
from conftest import make_pattern, make_recipe_dict

MODES = {
    "zone": {},
    "pixel": {"threshold": {"base": 20}},
    "float": {"threshold": {"base": 80}},
    "binarise": {"binarise": {"limit": 60}},
    "average": {"average": {"bright": 20, "dark": 20}},
    "asg": {},
}


def recipe_of(mode):
    recipe = make_recipe_dict(mode=mode, **MODES[mode])
    if mode in ("binarise", "average"):
        del recipe["pitch"]
    return recipe


def test_the_square_is_found_with_all_its_fields(image, recipe_dict):
    result = narvoassem.inspect(image, recipe_dict)
    assert (result.code, result.complete, result.warnings) == (1, True, [])
    assert (result.direction, result.region, result.outlines) == ("vertical", (0, 0, 400, 300), [])
    assert (result.reruns, result.overflowed, result.shape) == (0, False, (300, 400))
    assert set(result.milliseconds) == {"inspect", "blobs", "total"}
    assert len(result.blobs) == 1
    blob = result.blobs[0]
    assert (blob["number"], blob["bright"], blob["center_x"], blob["center_y"]) == (1, True, 203, 151)
    assert (blob["left"], blob["top"], blob["right"], blob["bottom"]) == (201, 149, 206, 154)
    assert blob["area"] == 25 and blob["label"] == -1


def test_blobs_are_those_of_the_csv_and_of_the_dict(pattern, recipe_dict):
    result = narvoassem.inspect(pattern(squares=((203, 151, 70), (101, 99, -50))), recipe_dict)
    header, *lines = result.to_csv().splitlines()
    names = ["bright" if name == "polarity" else name for name in header.split(",")]
    assert names == list(result.blobs.dtype.names)
    document = result.to_dict()
    assert json.loads(json.dumps(document)) == document
    assert len(result.blobs) == len(lines) == len(document["blobs"]) == 2
    for blob, entry in zip(result.blobs, document["blobs"]):
        entry["bright"] = entry.pop("polarity") == "bright"
        entry["channel"] = entry["channel"].encode()
        assert {name: blob[name].item() for name in names} == entry
    assert document["pairs"] == result.pair_count and document["code"] == result.code


def test_pairs_are_the_pixels_of_the_blob(image, recipe_dict):
    result = narvoassem.inspect(image, recipe_dict)
    pairs = result.pairs[~result.pairs["removed"]]
    assert len(result.pairs) == result.pair_count and len(pairs) == result.blobs["area"][0]
    assert pairs["bright"].all() and set(pairs["band"]) == {2}
    assert (pairs["x"] >= 201).all() and (pairs["x"] < 206).all()
    assert numpy.array_equal(pairs["grey"], image[pairs["y"], pairs["x"]])
    assert (numpy.abs(pairs["grey"] - pairs["reference"]) > pairs["threshold"]).all()


def test_arrays_go_straight_into_a_table(pattern, recipe_dict):
    result = narvoassem.inspect(pattern(squares=((203, 151, 70), (101, 99, -50))), recipe_dict)
    blobs = pandas.DataFrame(result.blobs)
    assert list(blobs.columns) == list(result.blobs.dtype.names) and len(blobs) == 2
    assert set(blobs.query("bright").center_x) == {203} and blobs.angle.dtype == float and blobs.bright.dtype == bool
    assert len(pandas.DataFrame(result.pairs)) == result.pair_count
    empty = pandas.DataFrame(narvoassem.inspect(pattern(squares=()), recipe_dict).blobs)
    assert len(empty) == 0 and list(empty.columns) == list(blobs.columns)


@pytest.mark.parametrize("mode", MODES)
def test_every_mode_runs_and_repeats_itself(mode):
    image = make_pattern(squares=((203, 151, 70), (101, 99, -60)), seed=3)
    recipe = narvoassem.Recipe(recipe_of(mode))
    first, second = (narvoassem.inspect(image, recipe) for _ in range(2))
    assert len(first.blobs) > 0
    assert first.blobs.tobytes() == second.blobs.tobytes() and first.pairs.tobytes() == second.pairs.tobytes()


def test_shaped_regions_give_their_outlines(image):
    corners = [(0, 0), (390, 10), (380, 290), (20, 280)]
    for region, count in (
        (narvoassem.regions.polygon(corners), 1),
        (narvoassem.regions.trapezium(corners), None),
        (narvoassem.regions.trapezium(corners, columns=(100, 300)), None),
    ):
        base = 20 if region["shape"] == "polygon" else 80
        result = narvoassem.inspect(image, make_recipe_dict(mode="float", threshold={"base": base}, region=region))
        assert len(result.blobs) == 1
        assert result.outlines and all(outline.shape[1] == 2 for outline in result.outlines)
        assert count is None or len(result.outlines) == count


def test_problems_of_recipe_and_image_together_name_the_recipes_fields(image, recipe_dict):
    recipe_dict["region"] = narvoassem.regions.rectangle(0, 0, 401, 301)
    with pytest.raises(narvoassem.RecipeError) as caught:
        narvoassem.inspect(image, recipe_dict)
    assert {problem.field for problem in caught.value.problems} == {"region.right", "region.bottom"}
    assert isinstance(caught.value, narvoassem.NarvoError) and isinstance(caught.value, ValueError)
    restored = pickle.loads(pickle.dumps(caught.value))
    assert restored.problems == caught.value.problems and str(restored) == str(caught.value)


def test_overlay_frames_what_was_found(pattern, recipe_dict, tmp_path):
    for width in (400, 397):
        image = pattern(width)
        result = narvoassem.inspect(image, recipe_dict)
        overlay = result.overlay(image, missed=[(50, 60, 55, 65)])
        assert overlay.shape == (300, width, 3) and overlay.dtype == numpy.uint8 and overlay.flags.writeable
        assert tuple(overlay[151, 196]) == (255, 130, 0)
        assert tuple(overlay[62, 45]) == (255, 0, 255)
        assert (overlay[149:154, 201:206] == image[149:154, 201:206, None]).all()
        result.save_overlay(tmp_path / "a.png", image, [(50, 60, 55, 65)])
        narvoassem.write_image(tmp_path / "b.png", overlay)
        assert (tmp_path / "a.png").read_bytes() == (tmp_path / "b.png").read_bytes()


def test_overlay_refuses_other_images_boxes_and_places(image, recipe_dict, tmp_path):
    result = narvoassem.inspect(image, recipe_dict)
    for other in (image[:200], None, image.astype(float)):
        with pytest.raises(narvoassem.ImageError):
            result.overlay(other)
    for missed in ([(1, 2, 3)], [None, "box"], [(1, 2, 3, 2**40)]):
        with pytest.raises(narvoassem.ArgumentError):
            result.overlay(image, missed)
    with pytest.raises(TypeError):
        result.overlay(image, 7)
    with pytest.raises(narvoassem.FileError):
        result.save_overlay(tmp_path / "none" / "a.png", image)
    huge = 2**31 - 1
    result.overlay(image, [(-huge - 1, -huge, huge, huge), (5, 5, 2, 2)])


def test_results_go_through_pickle(image):
    region = narvoassem.regions.polygon([(0, 0), (390, 10), (380, 290), (20, 280)])
    result = narvoassem.inspect(image, make_recipe_dict(mode="float", threshold={"base": 20}, region=region))
    other = pickle.loads(pickle.dumps(result))
    assert other.to_dict() == result.to_dict() and other.shape == result.shape
    assert other.blobs.tobytes() == result.blobs.tobytes() and other.pairs.tobytes() == result.pairs.tobytes()
    assert (other.overlay(image) == result.overlay(image)).all()
    for state in ((), (1, 2), tuple(range(17)), (None,) * 17):
        with pytest.raises((ValueError, TypeError, RuntimeError)):
            narvoassem.Result._from_state(state)


def test_pixels_that_are_changed_by_the_caller_afterwards_do_not_change_the_result(image, recipe_dict):
    result = narvoassem.inspect(image, recipe_dict)
    before = result.blobs.copy()
    image[:] = 0
    gc.collect()
    assert numpy.array_equal(result.blobs, before)


# --- lanes and threads ---


def many_images(count):
    return [make_pattern(squares=((60 + 20 * i, 151, 70), (300, 60 + 10 * i, -60)), seed=i) for i in range(count)]


def test_two_lanes_give_what_one_gives(recipe_dict):
    images = many_images(10)
    single = [narvoassem.inspect(image, recipe_dict) for image in images]
    for lanes in (1, 2, 5):
        results = list(narvoassem.Inspector(lanes).inspect_many(iter(images), recipe_dict))
        assert len(results) == len(images)
        for result, expected in zip(results, single):
            assert result.blobs.tobytes() == expected.blobs.tobytes()
            assert result.pairs.tobytes() == expected.pairs.tobytes()


def test_more_threads_than_lanes_wait_for_each_other(recipe_dict):
    images = many_images(8)
    recipe = narvoassem.Recipe(recipe_dict)
    expected = [narvoassem.inspect(image, recipe).blobs.tobytes() for image in images]
    inspector = narvoassem.Inspector(lanes=2)
    found = [[None] * 6 for _ in images]
    start = threading.Barrier(len(images))

    def run(index):
        start.wait()
        for turn in range(6):
            found[index][turn] = inspector.inspect(images[index], recipe).blobs.tobytes()

    threads = [threading.Thread(target=run, args=(index,)) for index in range(len(images))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert found == [[blobs] * 6 for blobs in expected]


@pytest.mark.parametrize("call", ["inspect", "search_pitch"])
def test_other_threads_run_while_the_engine_works(call, recipe_dict):
    image = numpy.tile(make_pattern(squares=(), width=1300, height=970), (2, 1))
    recipe = narvoassem.Recipe(recipe_dict)
    work = {"inspect": lambda: narvoassem.inspect(image, recipe), "search_pitch": lambda: narvoassem.search_pitch(image)}
    steps = 0
    ended = False

    def count():
        nonlocal steps
        while not ended:
            steps += 1
            time.sleep(0)

    # No thread is forced to release the lock: the counter moves only when the call itself releases it.
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1000)
    counter = threading.Thread(target=count)
    counter.start()
    try:
        progress = 0
        for _ in range(200):
            before = steps
            work[call]()
            progress = steps - before
            if progress > 0:
                break
        assert progress > 0
    finally:
        ended = True
        counter.join()
        sys.setswitchinterval(interval)


def test_inspect_many_reads_no_further_ahead_than_its_lanes_and_can_be_left(recipe_dict):
    drawn = 0

    def images():
        nonlocal drawn
        for image in many_images(8):
            drawn += 1
            yield image

    walk = narvoassem.Inspector(lanes=2).inspect_many(images(), recipe_dict)
    assert drawn == 0
    next(walk)
    assert drawn == 3
    walk.close()
    assert drawn == 3


def test_inspect_many_raises_for_the_image_at_fault_in_its_turn(recipe_dict):
    images = many_images(3)
    walk = narvoassem.Inspector(lanes=2).inspect_many([images[0], None, images[2]], recipe_dict)
    assert len(next(walk).blobs) == 2
    with pytest.raises(narvoassem.ImageError):
        next(walk)
    with pytest.raises(narvoassem.RecipeError):
        next(narvoassem.Inspector().inspect_many(images, {}))


@pytest.mark.parametrize(
    "lanes, max_blobs", [(0, 10), (-1, 10), (257, 10), (1, 0), (1, 1000001), (-(2**31), 2**31 - 1), (2**40, 10), (1, -(2**70))]
)
def test_inspectors_out_of_range_are_refused(lanes, max_blobs):
    with pytest.raises(narvoassem.ArgumentError) as caught:
        narvoassem.Inspector(lanes, max_blobs)
    assert {problem.field for problem in caught.value.problems} <= {"lanes", "max_blobs"}


@pytest.mark.parametrize("lanes", [None, "2", 2.5, [1]])
def test_inspectors_of_no_number_are_refused(lanes):
    with pytest.raises(TypeError):
        narvoassem.Inspector(lanes)


@pytest.mark.parametrize("name", ["bounds_of", "cut_trapezia", "is_convex", "polygon_mask"])
def test_functions_of_regions_go_through_pickle(name):
    function = getattr(narvoassem.regions, name)
    assert pickle.loads(pickle.dumps(function)) is function


def test_lanes_take_memory_when_they_work(recipe_dict, image):
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    inspector = narvoassem.Inspector(lanes=256, max_blobs=1000000)
    assert len(inspector.inspect(image, recipe_dict).blobs) == 1
    assert resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before < 400000  # kB


def test_a_recipe_that_wants_more_room_than_its_inspector_has_is_refused(image, recipe_dict):
    recipe_dict["max_blobs"] = 500
    inspector = narvoassem.Inspector(max_blobs=499)
    assert (inspector.lanes, inspector.max_blobs) == (1, 499)
    with pytest.raises(narvoassem.RecipeError, match="max_blobs: 500; allowed: at most 499"):
        inspector.inspect(image, recipe_dict)


def test_blobs_in_dead_places_are_counted_and_left_out(image, recipe_dict, tmp_path):
    dead = numpy.zeros(image.shape, numpy.uint8)
    dead[140:160, 195:215] = 1
    recipe = narvoassem.Recipe(recipe_dict, dead_image=dead)
    result = narvoassem.inspect(image, recipe)
    assert (len(result.blobs), result.dead_blobs) == (0, 1)
    assert pickle.loads(pickle.dumps(result)).to_dict() == result.to_dict()
    recipe.save(tmp_path / "r.json")
    assert numpy.array_equal(narvoassem.Recipe(tmp_path / "r.json").dead_image, dead)


def test_a_full_store_is_told_by_warnings(recipe_dict):
    noise = numpy.random.default_rng(1).integers(0, 255, (600, 800), numpy.uint8)
    result = narvoassem.inspect(noise, recipe_dict)
    assert not result.complete and result.warnings and all(isinstance(text, str) for text in result.warnings)
    assert "incomplete" in repr(result)
