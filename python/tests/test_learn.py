# SPDX-License-Identifier: MIT
"""Recipes learnt from good images."""

import numpy as np
import pytest

import narvoassem as na


def cloth(seed: int) -> np.ndarray:
    """A weave whose light falls off to the right, with noise."""
    random = np.random.RandomState(seed)
    y, x = np.mgrid[0:192, 0:512]
    weave = 16 * np.cos(2 * np.pi * x / 9.3) + 13 * np.cos(2 * np.pi * (y + 0.03 * x) / 7.4)
    image = (128 + weave) * (1 - 0.2 * x / 512) + random.normal(0, 4, x.shape)
    return np.clip(np.round(image), 0, 255).astype(np.uint8)


def test_learnt_recipe_leaves_good_cloth_empty_and_finds_a_stain() -> None:
    learnt = na.learn([cloth(seed) for seed in range(4)], mode="texture", name="weave")
    assert learnt.recipe["mode"] == "texture" and learnt.recipe["name"] == "weave"
    assert len(learnt.images) == 4 and learnt.images[0]["width"] == 512
    assert [candidate["chosen"] for candidate in learnt.candidates] == [True]
    assert learnt.reasons and all(isinstance(reason, str) for reason in learnt.reasons)
    assert len(na.inspect(cloth(50), learnt.recipe).blobs) == 0
    stained = cloth(51)
    stained[80:104, 300:324] -= 45
    blobs = na.inspect(stained, learnt.recipe).blobs
    assert len(blobs) >= 1 and blobs[0]["scale"] in (2, 4, 8)
    assert abs(int(blobs[0]["center_x"]) - 312) < 24 and abs(int(blobs[0]["center_y"]) - 92) < 24


def test_one_image_and_threads() -> None:
    one = na.learn(cloth(7), mode="texture")
    two = na.learn([cloth(7)], mode="texture", threads=2)
    assert one.recipe.to_dict() == two.recipe.to_dict()
    assert any("1 image" in warning for warning in one.warnings)


def test_what_is_wrong_is_named() -> None:
    with pytest.raises(na.ArgumentError, match="false_rate: 0; allowed: 0.001 to 10"):
        na.learn(cloth(1), false_rate=0)
    with pytest.raises(na.ArgumentError, match="mode: \"weave\"; allowed: auto, texture, periodic or lattice"):
        na.learn(cloth(1), mode="weave")
    with pytest.raises(na.ArgumentError, match="threads: 0; allowed: 1 to 256"):
        na.learn(cloth(1), threads=0)
    for beyond in (2**40, -(10**400)):
        with pytest.raises(na.ArgumentError, match="threads: .*; allowed: "):
            na.learn(cloth(1), threads=beyond)
        with pytest.raises(na.ArgumentError, match="false_rate: .*; allowed: 0.001 to 10"):
            na.learn(cloth(1), false_rate=beyond)
    for wrong in (None, 7, np.array(3, np.uint8)):
        with pytest.raises(na.ImageError, match="images: .*; allowed: an image, or a sequence of images"):
            na.learn(wrong)
    with pytest.raises(na.ArgumentError, match="images: 0; allowed: 1 to 1000"):
        na.learn([])
    with pytest.raises(na.ImageError):
        na.learn([cloth(1), cloth(2).astype(float)])
