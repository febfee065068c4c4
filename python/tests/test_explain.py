# SPDX-License-Identifier: MIT
"""Explanations of single pixels: what was reported, what was not, and why."""

import json
import threading

import numpy
import pytest

import narvoassem


def test_a_reported_pixel_names_its_blob(image, recipe_dict):
    explanation = narvoassem.explain(image, recipe_dict, 203, 151)
    assert (explanation.place, explanation.outcome, explanation.blob) == ((203, 151), "reported", 1)
    assert explanation.why and all(isinstance(line, str) for line in explanation.why)
    assert explanation.why[-1] in str(explanation) and "203, 151 reported" in repr(explanation)
    document = explanation.to_dict()
    assert json.loads(json.dumps(document)) == document and document


def test_a_quiet_pixel_says_why_it_is_none(image, recipe_dict):
    explanation = narvoassem.explain(image, recipe_dict, 50, 60)
    assert explanation.outcome != "reported" and explanation.blob == 0 and explanation.why


def test_an_explainer_answers_for_many_pixels_on_many_threads(pattern, recipe_dict):
    image = pattern(397)
    explainer = narvoassem.Explainer(image, recipe_dict)
    expected = narvoassem.inspect(image, recipe_dict)
    assert explainer.result.blobs.tobytes() == expected.blobs.tobytes()
    image[:] = 0  # it has an image of its own
    places = [(x, y) for x in range(195, 211, 3) for y in (140, 151, 175)]
    single = [str(explainer.explain(x, y)) for x, y in places]
    found = [None] * len(places)

    def run(first):
        for index in range(first, len(places), 2):
            found[index] = str(explainer.explain(*places[index]))

    threads = [threading.Thread(target=run, args=(first,)) for first in (0, 1)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert found == single


@pytest.mark.parametrize("place", [(-1, 0), (0, -1), (400, 0), (0, 300), (2**31 - 1, 5)])
def test_places_outside_are_refused(image, recipe_dict, place):
    with pytest.raises(narvoassem.ArgumentError):
        narvoassem.explain(image, recipe_dict, *place)


def test_images_recipes_and_numbers_that_are_none_are_refused(image, recipe_dict):
    with pytest.raises(narvoassem.ImageError):
        narvoassem.explain(image.astype(float), recipe_dict, 1, 1)
    with pytest.raises(narvoassem.RecipeError):
        narvoassem.Explainer(image, {"version": 1})
    with pytest.raises(narvoassem.RecipeError):
        narvoassem.Explainer(numpy.zeros((20, 20), numpy.uint8), recipe_dict)
    for place in ((None, 1), (1.5, 1), ("a", 1)):
        with pytest.raises(TypeError):
            narvoassem.explain(image, recipe_dict, *place)
    with pytest.raises(narvoassem.ArgumentError, match="place: 1099511627776, 1; allowed: inside the image"):
        narvoassem.explain(image, recipe_dict, 2**40, 1)
    with pytest.raises(TypeError):
        narvoassem.Explanation()
