# SPDX-License-Identifier: MIT
"""What a recipe finds of planted defects."""

import numpy as np
import pytest

import narvoassem as na

RECIPE = {"version": 1, "mode": "pixel", "pitch": {"x": 20, "y": 20}, "threshold": {"base": 20}}


def stripes() -> np.ndarray:
    y, x = np.mgrid[0:300, 0:400]
    return (100 + 20 * ((x // 10) % 2) + 20 * ((y // 10) % 2)).astype(np.uint8)


def test_sizes_and_false_blobs() -> None:
    settings = dict(sizes=[4, 8], contrasts=(-8, 60), shapes=["spot"], places=["inside"], count=15)
    found = na.capability(RECIPE, stripes(), **settings)
    assert [curve["contrast"] for curve in found["curves"]] == [-8, 60]
    weak, strong = found["curves"]
    assert weak["outcome"] == "nothing_found" and weak["a90"] == {"above": 8}
    assert strong["outcome"] == "everything_found" and strong["a90_95"] == {"value": 8}
    assert strong["counts"] == [{"size": 4, "planted": 15, "found": 15}, {"size": 8, "planted": 15, "found": 15}]
    assert found["false_blobs"] == 0 and found["megapixels"] == pytest.approx(0.12)
    assert na.capability(RECIPE, [stripes()], threads=3, **settings) == found


def test_what_is_wrong_is_named() -> None:
    with pytest.raises(na.ArgumentError, match="sizes: 0; allowed: 1 to 512 pixels"):
        na.capability(RECIPE, stripes(), sizes=[0])
    with pytest.raises(na.ArgumentError, match="sizes: 'a'; allowed: whole numbers"):
        na.capability(RECIPE, stripes(), sizes=["a"])
    with pytest.raises(na.ArgumentError, match="sizes: 1099511627776; allowed: whole numbers of 32 bits"):
        na.capability(RECIPE, stripes(), sizes=[2**40])
    for wrong in (7, "3", b"3"):
        with pytest.raises(na.ArgumentError, match="sizes: .*; allowed: a list of whole numbers"):
            na.capability(RECIPE, stripes(), sizes=wrong)
    with pytest.raises(na.ArgumentError, match="places: 'inside'; allowed: a list of inside or border"):
        na.capability(RECIPE, stripes(), places="inside")
    with pytest.raises(na.ArgumentError, match="count: 1099511627776; allowed: 1 to 1000"):
        na.capability(RECIPE, stripes(), count=2**40)
    for seed in (-1, 2**64):
        with pytest.raises(na.ArgumentError, match=f"seed: {seed}; allowed: whole number, 0 to 18446744073709551615"):
            na.capability(RECIPE, stripes(), seed=seed)
    with pytest.raises(na.ArgumentError, match="shapes: 'star'; allowed: spot, line-x, line-y or stain"):
        na.capability(RECIPE, stripes(), shapes=["star"])
    with pytest.raises(na.ArgumentError, match="places: 'edge'; allowed: inside or border"):
        na.capability(RECIPE, stripes(), places=["edge"])
    with pytest.raises(na.ArgumentError, match="threads"):
        na.capability(RECIPE, stripes(), threads=0)
    with pytest.raises(na.ArgumentError, match="images: 0"):
        na.capability(RECIPE, [])
    with pytest.raises(na.ImageError):
        na.capability(RECIPE, [stripes().astype(float)])
    with pytest.raises(na.RecipeError):
        na.capability({"version": 1}, stripes())
