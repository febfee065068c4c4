# SPDX-License-Identifier: MIT
"""Made-up images for the tests: a smooth periodic pattern with one or several squares planted in it."""

import numpy
import pytest

PITCH_X = 32.5
PITCH_Y = 24.25


def make_pattern(width=400, height=300, squares=((203, 151, 70),), seed=None):
    """Rows of a pattern with 5 by 5 pixel squares (x, y, step in grey levels); a seed adds a little noise."""
    columns = numpy.arange(width)
    rows = numpy.arange(height)[:, None]
    grey = 110 + 40 * numpy.sin(2 * numpy.pi * columns / PITCH_X) * numpy.sin(2 * numpy.pi * rows / PITCH_Y)
    for x, y, step in squares:
        grey[y - 2 : y + 3, x - 2 : x + 3] += step
    if seed is not None:
        grey += numpy.random.default_rng(seed).normal(0, 1.5, grey.shape)
    return numpy.clip(numpy.rint(grey), 0, 255).astype(numpy.uint8)


def make_recipe_dict(**more):
    """The shortest recipe for the pattern, in zone mode."""
    return {"version": 1, "pitch": {"x": PITCH_X, "y": PITCH_Y}, **more}


@pytest.fixture
def image():
    return make_pattern()


@pytest.fixture
def recipe_dict():
    return make_recipe_dict()


@pytest.fixture
def pattern():
    return make_pattern
