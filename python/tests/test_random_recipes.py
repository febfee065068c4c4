# SPDX-License-Identifier: MIT
"""Properties of recipes: round trips, refusals field by field, and that what the check lets pass can be inspected."""

import copy
import json
import pickle

import numpy
import pytest
from hypothesis import assume, given
from hypothesis import strategies as st

import narvoassem
from strategies import (
    FIELDS,
    MODES,
    PLAIN_FIELDS,
    assert_told,
    base_document,
    documents,
    examples,
    images,
    put,
    recipe_of,
    values_beyond,
)


@given(document=documents())
@examples(60)
def test_a_recipe_comes_back_from_dict_text_file_and_pickle(tmp_path, document):
    recipe = recipe_of(document)
    assert narvoassem.Recipe(recipe.to_dict()) == recipe
    assert narvoassem.Recipe(recipe.to_json()) == recipe
    assert narvoassem.Recipe(recipe.to_json(indent=-1)) == recipe
    assert json.loads(recipe.to_json()) == recipe.to_dict()
    recipe.save(tmp_path / "r.json")
    assert narvoassem.Recipe(tmp_path / "r.json") == recipe
    assert pickle.loads(pickle.dumps(recipe)) == copy.deepcopy(recipe) == recipe.replace({}) == recipe
    assert narvoassem.Recipe(json.loads(json.dumps(document))) == recipe
    assert narvoassem.Recipe.regions_of(recipe) == [recipe]


@given(document=documents(), size=st.sampled_from([(24, 32), (31, 40), (1, 4)]), data=st.data())
@examples(25)
def test_painted_images_and_maps_come_back(tmp_path, document, size, data):
    drawn = st.binary(min_size=4, max_size=4).map(
        lambda seed: numpy.random.default_rng(list(seed)).integers(0, 16, size).astype(numpy.uint8)
    )
    painted = {name: data.draw(st.none() | drawn) for name in ("zone_image", "dead_image")}
    try:
        recipe = narvoassem.Recipe(document, **painted)
    except narvoassem.RecipeError as error:
        assert_told(error)
        return
    recipe.save(tmp_path / "r.json")
    for other in (narvoassem.Recipe(tmp_path / "r.json"), pickle.loads(pickle.dumps(recipe))):
        for name, image in painted.items():
            held = getattr(other, name)
            assert held is None if image is None else numpy.array_equal(held, image), name


@pytest.mark.parametrize("field", PLAIN_FIELDS, ids=lambda field: f"{field.path}-{field.modes[0].replace('/', '-')}")
@given(data=st.data())
@examples(5)
def test_a_value_out_of_range_is_named_with_its_field_and_range(field, data):
    mode = field.modes[0].split("/")[0]
    document = base_document(mode)
    if field.modes[0] == "float/trapezium":
        document["region"] = narvoassem.regions.trapezium([(0, 0), (90, 0), (80, 70), (10, 70)])
    elif field.modes[0] == "float/polygon":
        document["region"] = narvoassem.regions.polygon([(0, 0), (90, 0), (80, 70), (10, 70)])
    value = data.draw(values_beyond(field))
    put(document, field.path, value)
    with pytest.raises(narvoassem.RecipeError) as caught:
        narvoassem.Recipe(document)
    assert_told(caught.value)
    named = {problem.field: problem for problem in caught.value.problems}
    assert field.path in named, named
    if field.path != "mode":
        rows = [row.allowed for row in FIELDS if row.path == field.path]
        assert named[field.path].allowed in rows, named


@given(document=documents(), image=images)
@examples(60)
def test_what_the_check_lets_pass_is_inspected_twice_alike(document, image):
    recipe = recipe_of(document)
    assume(recipe["image.channel"] != "each")
    problems = recipe.check(image.shape)
    try:
        result = narvoassem.inspect(image, recipe)
    except narvoassem.RecipeError as error:
        assert_told(error)
        assert {problem.field for problem in error.problems} & {problem.field for problem in problems}
        return
    assert not problems
    again = narvoassem.Inspector(2, max(recipe["max_blobs"], 1)).inspect(image, recipe)
    assert result.to_dict()["blobs"] == again.to_dict()["blobs"]
    assert result.pairs.tobytes() == again.pairs.tobytes() and result.warnings == again.warnings
    region = recipe.region_of(image.shape)
    blobs = result.blobs
    assert result.region == region and len(blobs) <= recipe["max_blobs"]
    assert (blobs["left"] >= 0).all() and (blobs["right"] <= image.shape[1]).all()
    assert (blobs["top"] >= 0).all() and (blobs["bottom"] <= image.shape[0]).all()
    assert (blobs["left"] < blobs["right"]).all() and (blobs["top"] < blobs["bottom"]).all()


#: JSON with names that recipes have, so that more than its first level is read.
_NAMES = st.sampled_from(sorted({part for field in FIELDS for part in field.path.replace("[]", "").split(".")}))
_WORDS = st.text(st.characters(), max_size=3)  # halves of surrogate pairs among them
_LEAVES = st.none() | st.booleans() | st.integers() | st.floats() | st.text(max_size=5) | st.sampled_from(MODES)
_TREES = st.recursive(
    _LEAVES,
    lambda inner: st.lists(inner, max_size=4) | st.dictionaries(_NAMES | _WORDS, inner, max_size=5),
    max_leaves=25,
)


@given(tree=st.dictionaries(_NAMES, _TREES, max_size=6), complete=st.booleans())
@examples(70)
def test_any_dict_is_a_recipe_or_told(tree, complete):
    document = base_document("zone") | tree if complete else tree
    try:
        recipe = narvoassem.Recipe(document)
    except narvoassem.RecipeError as error:
        assert_told(error)
    else:
        assert narvoassem.Recipe(recipe.to_json()) == recipe


@given(document=documents(), data=st.data())
@examples(40)
def test_broken_text_is_a_recipe_or_told(document, data):
    text = json.dumps(document)
    for _ in range(data.draw(st.integers(1, 3))):
        place = data.draw(st.integers(0, len(text)))
        text = text[:place] + data.draw(st.text(max_size=2)) + text[place + data.draw(st.integers(0, 3)) :]
    assume(text.lstrip()[:1] == "{")  # other text is the name of a file
    try:
        recipe = narvoassem.Recipe(text)
    except narvoassem.RecipeError as error:
        assert_told(error)
    else:
        assert narvoassem.Recipe(recipe.to_json()) == recipe


@given(document=documents(), changes=st.dictionaries(st.sampled_from([f.path for f in FIELDS]) | _WORDS,
                                                     _TREES, max_size=3))
@examples(40)
def test_replace_gives_another_recipe_or_tells(document, changes):
    recipe = recipe_of(document)
    before = recipe.to_json()
    try:
        other = recipe.replace(changes)
    except narvoassem.RecipeError as error:
        assert_told(error)
    else:
        assert narvoassem.Recipe(other.to_dict()) == other
    assert recipe.to_json() == before
