# SPDX-License-Identifier: MIT
"""Evaluation in Python: known figures, and those of narvo evaluate on the same folder."""

import json
import os
import pathlib
import subprocess
import threading

import numpy
import pytest

import narvoassem as na

NARVO = pathlib.Path(os.environ["NARVO_BUILD_DIR"]) / "tools" / "narvo"
RECIPE = {"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 30}}
SPOT = na.Rect(200, 100, 207, 107)


def panel(seed, spot=0):
    noise = numpy.random.default_rng(seed).integers(0, 9, (240, 480))
    y, x = numpy.mgrid[0:240, 0:480]
    image = numpy.where((x % 32 < 16) & (y % 24 < 16), 140, 60)
    image[SPOT.top : SPOT.bottom, SPOT.left : SPOT.right] += spot
    return (image + noise).astype(numpy.uint8)


def truth(spot):
    return na.Truth.boxes([("spot", SPOT)] if spot else [], (240, 480))


def test_known_scores():
    evaluation = na.Evaluation(margin=2)
    scores = numpy.zeros((40, 60))
    evaluation.measure_scores("good", scores, na.Truth.boxes([], (40, 60)))
    scores[10:16, 10:16] = 2
    scores[30:34, 40:44] = 1.5
    evaluation.measure_scores("bad", scores, na.Truth.boxes([("spot", (10, 10, 16, 16))], (40, 60)))
    evaluation.refuse("gone", [na.Problem("image", "none", "one")], na.Truth.defective())
    result = evaluation.report()
    assert [image.name for image in result.images] == ["bad", "gone", "good"]
    assert result.images[0].found == 1 and result.images[0].false_blobs == 1 and result.images[0].score == 2
    assert result.images[1].problems == [na.Problem("image", "none", "one")] and result.refused == 1
    assert result.found.value == 1 and result.kinds == {"spot": (1, 1)}
    assert result.false_an_image.value == pytest.approx(1 / 3)
    assert result.image_auroc.value == 0.75
    assert result.image_curve.shape[1] == 2 and result.overlap_curve.shape[1] == 2
    assert [factor for factor, _, _ in result.factors][:1] == [8.0] and len(result.factors) == 25
    assert str(result).startswith("figures:") and repr(result) == "<narvoassem.EvaluationResult: 3 images>"


def test_recipes_by_threads_as_by_one():
    one = na.Evaluation()
    two = na.Evaluation(lanes=2)

    def fill(evaluation, numbers):
        for i in numbers:
            evaluation.measure(f"image{i}", panel(i, 80 * (i % 2)), RECIPE, truth(i % 2))

    fill(one, range(6))
    other = threading.Thread(target=fill, args=(two, range(5, -1, -2)))
    other.start()
    fill(two, range(0, 6, 2))
    other.join()
    result = one.report()
    assert result.found.value == 1 and result.image_auroc.value == 1
    assert two.report().text == result.text


def test_golden_models():
    noise = numpy.random.default_rng(3).integers(60, 180, (12, 24)).repeat(20, 0).repeat(20, 1).astype(numpy.uint8)
    model = na.GoldenModel(noise)
    bad = noise.copy()
    bad[100:110, 200:210] = 255
    evaluation = na.Evaluation()
    evaluation.measure("bad", bad, model, na.Truth.boxes([("spot", (200, 100, 210, 110))], bad.shape))
    evaluation.measure("good", noise, model, na.Truth.boxes([], bad.shape))
    assert evaluation.report().found.value == 1


def test_figures_are_those_of_the_program(tmp_path):
    if not NARVO.exists():
        pytest.skip("the program is not built")
    for folder in ("good", "defective/spot", "mask/spot"):
        (tmp_path / "set" / folder).mkdir(parents=True)
    for i in range(4):
        na.write_image(tmp_path / "set" / "good" / f"g{i}.png", panel(i))
        na.write_image(tmp_path / "set" / "defective" / "spot" / f"d{i}.png", panel(10 + i, 15 + 10 * i))
        mask = numpy.zeros((240, 480), numpy.uint8)
        mask[SPOT.top : SPOT.bottom, SPOT.left : SPOT.right] = 255
        na.write_image(tmp_path / "set" / "mask" / "spot" / f"d{i}.png", mask)
    (tmp_path / "r.json").write_text(json.dumps(RECIPE))
    subprocess.run([NARVO, "evaluate", "set", "-r", "r.json", "--json", "e.json", "--quiet"], cwd=tmp_path, check=True)
    program = json.loads((tmp_path / "e.json").read_text())["methods"][0]
    evaluation = na.Evaluation(margin=5)  # the program's own with masks
    labelled = na.read_labelled(tmp_path / "set")
    assert [image.kind for image in labelled if image.defective] == ["spot"] * 4
    for image in labelled:
        evaluation.measure(image.name, na.read_image(image.file), RECIPE, image.truth())
    result = evaluation.report()
    for name in ("image_auroc", "pixel_auroc", "region_overlap", "image_f1", "found", "false_an_image"):
        assert getattr(result, name)._asdict() == program[name], name
    assert result.best_image_f1 == program["best_image_f1"]
    assert result.best_pixel_f1 == program["best_pixel_f1"]
    assert len(program["images"]) == 8
    by_name = {image["name"]: image for image in program["images"]}
    for image in result.images:
        expected = by_name[image.name]
        assert (image.score, image.defects, image.found) == (expected["score"], expected["regions"], expected["found"])


def test_truth_from_masks_and_boxes():
    mask = numpy.zeros((40, 60), numpy.uint8)
    mask[3:5, 10:20] = 255
    painted = na.Truth.mask(mask, "scratch")
    assert painted.is_defective and painted.defects == [("scratch", na.Rect(10, 3, 20, 5))]
    assert not na.Truth.mask(numpy.zeros((4, 4), numpy.uint8)).is_defective
    assert na.Truth.defective().is_defective and na.Truth.defective().defects == []
    assert repr(painted) == "<narvoassem.Truth: 1 defects>"
    with pytest.raises(na.ArgumentError, match=r"boxes\[1\]"):
        na.Truth.boxes([("a", (1, 1, 2, 2)), ("b", (5, 5, 5, 6))], (40, 60))
    with pytest.raises(na.ArgumentError, match=r"boxes\[0\]"):
        na.Truth.boxes([(1, 1, 2, 2)], (40, 60))
    with pytest.raises(na.ArgumentError, match=r"boxes\[0\]"):
        na.Truth.boxes([(3, (1, 1, 2, 2))], (40, 60))
    with pytest.raises(na.ArgumentError):
        na.Truth.boxes([("a", (100, 1, 101, 2))], (40, 60))
    with pytest.raises(na.ImageError):
        na.Truth.mask(numpy.zeros((4, 4)))
    with pytest.raises(TypeError):
        na.Truth()


def test_bad_input_is_named(tmp_path):
    for name, value in (("margin", 1001), ("smallest", 0), ("patch", 15), ("patch", 2**70)):
        with pytest.raises(na.ArgumentError, match=name):
            na.Evaluation(**{name: value})
    with pytest.raises(na.ArgumentError):
        na.Evaluation(lanes=0)
    evaluation = na.Evaluation()
    with pytest.raises(na.ArgumentError, match="images"):
        evaluation.report()
    good = truth(False)
    evaluation.measure("a", panel(1), RECIPE, good)
    with pytest.raises(na.ArgumentError, match="name"):
        evaluation.measure("a", panel(1), RECIPE, good)
    with pytest.raises(na.ArgumentError, match="truth"):
        evaluation.measure("b", panel(1), RECIPE, na.Truth.boxes([], (10, 10)))
    with pytest.raises(na.RecipeError):
        evaluation.measure("b", panel(1), {"mode": "none"}, good)
    with pytest.raises(na.ImageError):
        evaluation.measure("b", panel(1).astype(float), RECIPE, good)
    with pytest.raises(na.ArgumentError, match=r"scores\[1\]"):
        evaluation.measure_scores("b", numpy.array([[0.0, -1.0]]), good)
    with pytest.raises(na.ArgumentError, match="scores"):
        evaluation.measure_scores("b", numpy.zeros(5), good)
    with pytest.raises(na.ArgumentError, match="problems"):
        evaluation.refuse("b", [], good)
    try:
        evaluation.measure("b", panel(1)[:8, :8].copy(), RECIPE, na.Truth.defective())
    except na.NarvoError as error:
        evaluation.refuse("b", error, na.Truth.defective())
    assert evaluation.report().refused == 1
    with pytest.raises(na.FileError):
        na.read_labelled(tmp_path)
    with pytest.raises(na.FileError):
        na.read_labelled(tmp_path / "none")
    with pytest.raises(na.ImageError):
        na.LabelledImage("a", str(tmp_path / "none.png"), "", "", [], False, "").truth()


@pytest.mark.skipif(not hasattr(os, "fork"), reason="there is no fork")
def test_a_child_does_not_go_on_with_its_parents_evaluation():
    evaluation = na.Evaluation()
    evaluation.measure("a", panel(1), RECIPE, truth(False))
    child = os.fork()
    if child == 0:
        try:
            evaluation.report()
        except na.ArgumentError as error:
            os._exit(7 if "forked" in str(error) else 1)
        os._exit(2)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 7
    assert len(evaluation.report().images) == 1
