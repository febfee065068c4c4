# SPDX-License-Identifier: MIT
"""Properties of the other calls: searches and their recipes, golden inspection, learning, capability, explanations,
streams and regions, with numbers in and out of range."""

import numpy
import pytest
from hypothesis import assume, given
from hypothesis import strategies as st

import narvoassem
from narvoassem import regions
from strategies import (
    assert_told,
    base_document,
    corners,
    documents,
    examples,
    images,
    no_numbers,
    panels,
    pattern_of,
    pitches,
    real_beyond,
    recipe_of,
    rects,
    squares,
    whole_beyond,
)

IMAGE = pattern_of(16.25, 12.5, 96, 72, [(40, 30, 4, 80)], 1)
RECIPE = narvoassem.Recipe(base_document("zone"))
POSITIVE = (1, 10**6)


def refused(call, field):
    """What a call with one argument out of range says of it."""
    with pytest.raises((narvoassem.ArgumentError, narvoassem.RecipeError)) as caught:
        call()
    assert_told(caught.value)
    assert field in {problem.field.split("[")[0].split(".")[0] for problem in caught.value.problems}, caught.value.problems


# Each number that a call takes: the call, the name under which it is refused, and values that it refuses.
NUMBERS = {
    "golden edge_tolerance": (lambda value: narvoassem.GoldenModel(IMAGE, edge_tolerance=value), real_beyond(0, 16)),
    "golden threshold": (lambda value: narvoassem.GoldenModel(IMAGE, threshold=value), whole_beyond(0, 255)),
    "golden min_pixels": (lambda value: narvoassem.GoldenModel(IMAGE, min_pixels=value), whole_beyond(*POSITIVE)),
    "golden max_blobs": (lambda value: narvoassem.GoldenModel(IMAGE, max_blobs=value), whole_beyond(*POSITIVE)),
    "golden max_shift": (lambda value: narvoassem.GoldenModel(IMAGE, max_shift=value), real_beyond(0, 1024)),
    "golden max_rotation": (lambda value: narvoassem.GoldenModel(IMAGE, max_rotation=value), real_beyond(0, 10)),
    "golden max_scale": (lambda value: narvoassem.GoldenModel(IMAGE, max_scale=value), real_beyond(0, 10)),
    "golden mesh_spacing": (lambda value: narvoassem.GoldenModel(IMAGE, mesh_spacing=value), whole_beyond(0, 1024)),
    "golden min_correlation": (lambda value: narvoassem.GoldenModel(IMAGE, min_correlation=value), real_beyond(0, 1)),
    "learn false_rate": (lambda value: narvoassem.learn(IMAGE, false_rate=value), real_beyond(0.001, 10)),
    "learn threads": (lambda value: narvoassem.learn(IMAGE, threads=value), whole_beyond(1, 256)),
    "capability count": (lambda value: narvoassem.capability(RECIPE, IMAGE, count=value), whole_beyond(1, 1000)),
    "capability seed": (lambda value: narvoassem.capability(RECIPE, IMAGE, seed=value), whole_beyond(0, 2**64 - 1)),
    "capability threads": (lambda value: narvoassem.capability(RECIPE, IMAGE, threads=value), whole_beyond(1, 256)),
    "capability sizes": (lambda value: narvoassem.capability(RECIPE, IMAGE, sizes=[value]), whole_beyond(1, 512)),
    "capability contrasts": (
        lambda value: narvoassem.capability(RECIPE, IMAGE, contrasts=[value]), whole_beyond(-255, 255)),
    "explain place": (lambda value: narvoassem.explain(IMAGE, RECIPE, value, 3), whole_beyond(0, 95)),
    "explainer place": (lambda value: narvoassem.Explainer(IMAGE, RECIPE).explain(3, value), whole_beyond(0, 71)),
    "lanes lanes": (narvoassem.Inspector, whole_beyond(1, 256)),
    "lanes max_blobs": (lambda value: narvoassem.Inspector(1, value), whole_beyond(*POSITIVE)),
    "read max_pixels": (lambda value: narvoassem.read_image("none.png", max_pixels=value), whole_beyond(1, 2**30)),
    "check shape": (lambda value: RECIPE.check((value, 400)), st.integers(max_value=0) | st.just(2**31)),
    "mask shape": (
        lambda value: regions.polygon_mask([(0, 0), (3, 0), (0, 3)], (40, value)), st.integers(max_value=0) | st.just(2**40)),
    "stream width": (lambda value: narvoassem.StripStream(RECIPE, value), whole_beyond(1, 32000)),
    "stream window_rows": (
        lambda value: narvoassem.StripStream(RECIPE, 60, window_rows=value), whole_beyond(0, 10000)),
    "stream largest_blob": (lambda value: narvoassem.StripStream(RECIPE, 60, largest_blob=value), whole_beyond(*POSITIVE)),
    "stream max_open_pairs": (
        lambda value: narvoassem.StripStream(RECIPE, 60, max_open_pairs=value), whole_beyond(1, 10**7)),
    "pitch region": (lambda value: narvoassem.search_pitch(IMAGE, (0, 0, value, 72)), whole_beyond(0, 96)),
    "lattice region": (lambda value: narvoassem.search_lattice(IMAGE, (0, value, 96, 72)), whole_beyond(0, 72)),
}


@pytest.mark.parametrize("name", NUMBERS)
@given(data=st.data())
@examples(10)
def test_a_number_out_of_range_is_named(name, data):
    call, values = NUMBERS[name]
    value = data.draw(values)
    refused(lambda: call(value), name.split()[1])


@pytest.mark.parametrize("name", NUMBERS)
@given(value=no_numbers)
@examples(5)
def test_what_is_no_number_is_refused(name, value):
    assume(value is not None or name.split()[1] not in ("max_pixels", "region"))
    with pytest.raises((TypeError, narvoassem.NarvoError)) as caught:
        NUMBERS[name][0](value)
    assert str(caught.value)


@given(values=st.sampled_from([3, "3", b"3", 2.5, object(), 3 + 0j]), name=st.sampled_from(["sizes", "contrasts", "shapes", "places"]))
@examples(20)
def test_what_is_no_list_of_plans_is_named(values, name):
    refused(lambda: narvoassem.capability(RECIPE, IMAGE, **{name: values}), name)


@given(image=images, region=st.none() | rects, lattice=st.booleans())
@examples(100)
def test_a_search_tells_the_same_twice_and_its_recipe_inspects(image, region, lattice):
    search = narvoassem.search_lattice if lattice else narvoassem.search_pitch
    make = narvoassem.lattice_recipe if lattice else narvoassem.pitch_recipe
    try:
        found = search(image, region)
    except narvoassem.ArgumentError as error:
        assert_told(error)
        assert error.problems[0].field.startswith(("region", "image"))
        return
    assert repr(search(image, region)) == repr(found)
    if not lattice:
        for axis in (found.x, found.y):
            assert not axis.found or (axis.pitch >= 3 and 0 <= axis.confidence <= 1 and axis.periods >= 1)
    try:
        recipe = make(image, found, region)
    except narvoassem.NarvoError as error:
        assert_told(error)
        return
    assert narvoassem.Recipe(recipe.to_json(), zone_image=recipe.zone_image) == recipe
    try:
        result = narvoassem.inspect(image, recipe)
    except narvoassem.NarvoError as error:
        assert_told(error)
    else:
        assert region is None or result.region == region


@given(panel=panels(48, 120), shift=st.tuples(st.integers(-4, 4), st.integers(-4, 4)), seed=st.integers(0, 9),
       settings=st.fixed_dictionaries({}, optional={
           "edge_tolerance": st.integers(0, 128).map(lambda eighths: eighths / 8), "threshold": st.integers(0, 255),
           "min_pixels": st.integers(1, 50), "max_blobs": st.integers(1, 500), "max_shift": st.integers(0, 30),
           "max_rotation": st.integers(0, 10), "max_scale": st.sampled_from([0, 0.01, 0.1]),
           "mesh_spacing": st.sampled_from([0, 16, 64]), "min_correlation": st.sampled_from([0, 0.3, 0.9])}))
@examples(10)
def test_golden_inspection_tells_the_same_twice_and_stays_inside(panel, shift, seed, settings):
    reference = panel[0].copy()
    reference[10:30, 12:20] = 200
    image = numpy.roll(reference, shift, (0, 1))
    noise = numpy.random.default_rng(seed).integers(-2, 3, image.shape)
    image = numpy.clip(image + noise, 0, 255).astype(numpy.uint8)
    try:
        model = narvoassem.GoldenModel([reference, image] if seed % 2 else reference, **settings)
        found = model.inspect(image)
    except narvoassem.NarvoError as error:
        assert_told(error)
        return
    again = narvoassem.GoldenModel([reference, image] if seed % 2 else reference, **settings).inspect(image.copy())
    assert found.to_csv() == again.to_csv() and found.result.blobs.tobytes() == again.result.blobs.tobytes()
    assert len(found.places) == len(found.result.blobs) <= settings.get("max_blobs", 10**6)
    assert 0 <= found.compared <= 1 and found.reference.shape == found.threshold.shape == image.shape
    assert len(found.to_csv().splitlines()) == 1 + len(found.places)


@given(panel=panels(60, 120), count=st.integers(1, 3), mode=st.sampled_from(["auto", "periodic", "lattice", "texture"]),
       rate=st.sampled_from([0.001, 0.1, 10]), threads=st.integers(1, 3))
@examples(4)
def test_learning_gives_a_recipe_whatever_the_threads_or_tells(panel, count, mode, rate, threads):
    noise = numpy.random.default_rng(1)
    good = [numpy.clip(panel[0] + noise.integers(-1, 2, panel[0].shape), 0, 255).astype(numpy.uint8) for _ in range(count)]
    try:
        learnt = narvoassem.learn(good, mode=mode, false_rate=rate, threads=threads)
    except narvoassem.NarvoError as error:
        assert_told(error)
        return
    recipe = learnt.recipe
    assert narvoassem.learn(good, mode=mode, false_rate=rate).recipe == recipe
    assert narvoassem.Recipe(recipe.to_json(), zone_image=recipe.zone_image) == recipe
    assert not recipe.check(good[0].shape)
    narvoassem.inspect(good[0], recipe)


@given(word=st.text(max_size=8))
@examples(20)
def test_words_that_mean_nothing_are_named(word):
    assume(word not in ("auto", "periodic", "lattice", "texture", "vertical", "horizontal"))
    refused(lambda: narvoassem.learn(IMAGE, mode=word), "mode")
    refused(lambda: regions.cut_trapezia([(0, 0), (3, 0), (0, 3)], word), "direction")
    refused(lambda: narvoassem.capability(RECIPE, IMAGE, shapes=[word]), "shapes")


@given(document=documents(), image=images, data=st.data())
@examples(25)
def test_an_explanation_agrees_with_the_result(document, image, data):
    recipe = recipe_of(document)
    x, y = (data.draw(st.integers(0, side - 1)) for side in image.shape[::-1])
    try:
        explainer = narvoassem.Explainer(image, recipe)
        told = explainer.explain(x, y)
    except narvoassem.NarvoError as error:
        assert_told(error)
        return
    assert told.place == (x, y) and told.outcome and told.why and isinstance(told.to_dict(), dict)
    blobs = explainer.result.blobs
    assert blobs.tobytes() == narvoassem.inspect(image, recipe).blobs.tobytes()
    assert 0 <= told.blob <= (blobs["number"].max() if len(blobs) else 0)
    if told.blob:
        blob = blobs[blobs["number"] == told.blob][0]
        assert blob["left"] <= x < blob["right"] and blob["top"] <= y < blob["bottom"]


@given(mode=st.sampled_from(["zone", "pixel", "float"]), pitch_x=pitches, pitch_y=pitches, planted=squares,
       cuts=st.lists(st.integers(1, 60), min_size=1, max_size=12), window=st.integers(0, 300))
@examples(25)
def test_rows_in_pieces_give_the_blobs_of_the_whole_image(mode, pitch_x, pitch_y, planted, cuts, window):
    image = pattern_of(pitch_x, pitch_y, 120, sum(cuts), planted, len(cuts))
    recipe = recipe_of(base_document(mode, pitch_x, pitch_y))
    assume(not recipe.check(image.shape))
    try:
        stream = narvoassem.StripStream(recipe, 120, window_rows=window)
    except narvoassem.RecipeError as error:
        assert_told(error)
        return
    pieces, row = [], 0
    for rows in cuts:
        pieces.append(stream.push(numpy.ascontiguousarray(image[row : row + rows])))
        row += rows
    pieces.append(stream.finish())
    found = numpy.concatenate(pieces)
    whole = narvoassem.inspect(image, recipe)
    assert stream.counts.rows == len(image) and stream.counts.blobs == len(found)
    if stream.counts.exact and whole.complete:
        names = ["left", "top", "right", "bottom", "area", "bright", "center_x", "center_y", "max_difference"]
        assert sorted(found[names].tolist()) == sorted(whole.blobs[names].tolist())


def even_odd(points, height, width):
    """The pixels inside by counting, for each row, the edges that cross it left of a pixel; edges to the right and below
    are outside."""
    mask = numpy.zeros((height, width), bool)
    columns = numpy.arange(width)
    for (x0, y0), (x1, y1) in zip(points, points[1:] + points[:1]):
        if y0 == y1:
            continue
        (xa, ya), (xb, yb) = ((x0, y0), (x1, y1)) if y0 < y1 else ((x1, y1), (x0, y0))
        for y in range(ya, min(yb, height)):
            # Whole numbers: column >= xa + (xb - xa) * (y - ya) / (yb - ya).
            mask[y] ^= columns * (yb - ya) >= xa * (yb - ya) + (xb - xa) * (y - ya)
    return mask


@given(points=st.lists(corners, min_size=1, max_size=12))
@examples(100)
def test_a_polygon_has_a_mask_bounds_and_trapezia_that_agree(points):
    try:
        mask = regions.polygon_mask(points, (161, 161))
    except narvoassem.ArgumentError as error:
        assert_told(error)
        assert len(points) < 3 or error.problems
        return
    assert numpy.array_equal(mask, even_odd(points, 161, 161))
    bounds = regions.bounds_of(points)
    assert not mask[: bounds.top].any() and not mask[bounds.bottom :].any()
    assert not mask[:, : bounds.left].any() and not mask[:, bounds.right :].any()
    assert regions.bounds_of(numpy.array(points)) == bounds
    convex = regions.is_convex(points)
    try:
        trapezia = regions.cut_trapezia(points)
    except narvoassem.ArgumentError as error:
        assert_told(error)
        return
    assert convex and trapezia.shape[1:] == (4, 2)
    if len(trapezia):
        assert bounds.left <= trapezia[..., 0].min() and trapezia[..., 0].max() <= bounds.right
        assert bounds.top <= trapezia[..., 1].min() and trapezia[..., 1].max() <= bounds.bottom


_ANYTHING = st.recursive(
    st.none() | st.integers() | st.floats() | st.text(max_size=3) | st.binary(max_size=3),
    lambda inner: st.lists(inner, max_size=4) | st.tuples(inner, inner) | st.dictionaries(st.text(max_size=2), inner, max_size=2),
    max_leaves=8,
)


@given(value=_ANYTHING)
@examples(100)
def test_anything_else_is_refused_by_name(value):
    for name, call in {
        "points": regions.bounds_of,
        "region": lambda given: narvoassem.search_pitch(IMAGE, given),
        "shape": RECIPE.check,
        "image": narvoassem.search_pitch,
        "references": narvoassem.GoldenModel,
        "images": narvoassem.learn,
    }.items():
        if name == "region" and value is None:
            continue
        try:
            call(value)
        except narvoassem.NarvoError as error:
            assert_told(error)
            assert error.problems[0].field.split("[")[0] == name
