# SPDX-License-Identifier: MIT
"""Lots in Python: what narvo lot finds in a store, as records and arrays."""

import dataclasses
import json
import os
import pathlib
import pickle
import shutil
import subprocess

import numpy
import pytest
from test_notebook import Elements

import narvoassem as na

NARVO = pathlib.Path(os.environ["NARVO_BUILD_DIR"]) / "tools" / "narvo"


def narvo(folder, *words):
    run = subprocess.run([NARVO, *words], cwd=folder, capture_output=True, text=True)
    assert run.returncode in (0, 7), run.stderr
    return run.stdout


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    """A store with two runs of one recipe, twelve good panels and twelve with twelve defects, and one of another recipe."""
    folder = tmp_path_factory.mktemp("lot")
    common = ("--width", "512", "--height", "640", "--pitch-x", "40.5", "--pitch-y", "48.25", "--quiet")
    narvo(folder, "synth", *common, "--defects", "0", "--output", "good")
    narvo(folder, "synth", *common, "--defects", "12", "--output", "bad")
    for number in range(24):
        panel = "good.png" if number < 12 else "bad.png"
        (folder / f"run{number // 12}").mkdir(exist_ok=True)
        shutil.copy(folder / panel, folder / f"run{number // 12}" / f"p{number:02}.png")
    (folder / "run1" / "q.png").write_text("no image")
    for run in (0, 1):
        narvo(folder, "inspect", f"run{run}", "-r", "bad.recipe.json", "--store", "s.sqlite", "--run", f"run{run}", "--output", f"o{run}", "--quiet")
    na.Recipe(folder / "bad.recipe.json").replace({"min_area": 2}).save(folder / "other.json")
    for run, recipe in (("x", "other.json"), ("y", "bad.recipe.json")):
        narvo(folder, "inspect", "run0", "-r", recipe, "--store", "other.sqlite", "--run", run, "--output", run, "--quiet")
    return folder


def of_program(folder, *words):
    narvo(folder, "lot", "s.sqlite", "--json", "lot.json", "--quiet", *words)
    return json.loads((folder / "lot.json").read_text())


@pytest.mark.parametrize(
    "words, arguments",
    [
        ((), {}),
        (("--run", "run0"), {"run": "run0"}),
        (("--run", "run1", "--run", "run0"), {"run": ["run1", "run0"]}),
        (("--all", "--distance", "8"), {"all_runs": True, "distance": 8}),
        (("--all", "--risk", "0.0001", "--baseline", "5"), {"all_runs": True, "risk": 1e-4, "baseline": 5}),
    ],
)
def test_it_is_what_the_program_finds(folder, monkeypatch, words, arguments):
    monkeypatch.chdir(folder)
    found = na.lot("s.sqlite", **arguments)
    assert found.to_dict() == of_program(folder, *words)
    assert str(found) == narvo(folder, "lot", "s.sqlite", *words)


def test_places_and_charts_are_typed(folder):
    found = na.lot(folder / "s.sqlite", all_runs=True)
    assert found.runs == ["run0", "run1"] and found.recipe == "bad.recipe.json"
    assert (len(found.images), found.refused, found.comparable) == (25, 1, 24)
    assert found.images[24] == "run1/q.png"
    assert list(found.tests) == ["place", "column", "row", "area", "cell"]
    places = found.tests["place"].places
    assert len(places) >= 4 and found.places[: len(places)] == places
    for place in places:
        assert place.kind == "place" and place.images >= 12 and place.probability <= 0.01
        assert isinstance(place.box, na.Rect) and place.cells == 0
        assert place.last_image == "run1/p23.png"
    chart = found.charts["defects"]
    assert chart.points.dtype == numpy.float64 and chart.points.shape == (24,)
    assert chart.scores.shape == (24,) and chart.first_images.dtype == numpy.int64
    assert (numpy.diff(chart.first_images) > 0).all()
    assert chart.points[12:].min() > chart.points[:12].max()
    assert chart.change.image == found.images[chart.first_images[chart.change.point]] == "run1/p12.png"
    assert chart.change.beyond_chance and chart.change.after > chart.change.before
    assert all(found.images[chart.first_images[alarm.point]] == alarm.image for alarm in chart.alarms)
    assert chart.dispersion is not None and found.charts["size"].dispersion is None
    with pytest.raises(dataclasses.FrozenInstanceError):
        found.risk = 1.0


def test_a_run_of_the_list_of_runs_is_taken(folder):
    place = folder / "s.sqlite"
    runs = na.store_runs(place)
    assert na.lot(place, runs[0]).runs == ["run0"]
    assert na.lot(place, runs).text == na.lot(place, all_runs=True).text == na.lot(os.fspath(place), ["run0", "run1"]).text


def test_what_was_found_is_pickled_and_shown(folder):
    found = na.lot(folder / "s.sqlite", all_runs=True)
    again = pickle.loads(pickle.dumps(found))
    assert again.to_dict() == found.to_dict() and again.places == found.places
    assert repr(found).startswith("<narvoassem.LotResult: 25 images, ")
    shown = Elements(found._repr_html_())
    assert shown.count["table"] == 2 and shown.count["svg"] >= 2
    assert shown.count["polyline"] == sum(len(chart.scores) > 1 for chart in found.charts.values())
    assert shown.count["circle"] == sum(len(chart.alarms) for chart in found.charts.values())
    calm = Elements(na.lot(folder / "s.sqlite", "run0", risk=1e-9)._repr_html_())
    assert "Nothing that chance does not explain at a risk of 1e-09." in calm.words


def test_a_long_chart_keeps_what_stands_out(folder):
    from narvoassem.notebook import lot_html

    found = na.lot(folder / "s.sqlite", all_runs=True)
    scores = numpy.zeros(100_000)
    scores[70_001] = 4.0
    chart = dataclasses.replace(found.charts["defects"], scores=scores, points=scores, alarms=[])
    long = lot_html(dataclasses.replace(found, charts={"defects": chart}))
    assert len(long) < 30_000
    line = long.split('<polyline points="')[1].split('"')[0]
    heights = [float(point.split(",")[1]) for point in line.split()]
    assert len(heights) < 1000 and min(heights) < 12 and sum(height < 30 for height in heights) == 1


@pytest.mark.parametrize(
    "arguments, field",
    [
        ({"run": "run7"}, "runs"),
        ({"run": ["run0", "run7"]}, "runs"),
        ({"run": []}, "run"),
        ({"run": [3]}, "run"),
        ({"run": "run0", "all_runs": True}, "all_runs"),
        ({"distance": 0}, "distance"),
        ({"distance": 10**30}, "distance"),
        ({"risk": 0.2}, "risk"),
        ({"risk": float("nan")}, "risk"),
        ({"baseline": 0}, "baseline"),
        ({"baseline": 1}, "baseline"),
        ({"baseline": -5}, "baseline"),
    ],
)
def test_what_is_wrong_is_named(folder, arguments, field):
    with pytest.raises(na.ArgumentError) as error:
        na.lot(folder / "s.sqlite", **arguments)
    assert [problem.field for problem in error.value.problems] == [field]


@pytest.mark.parametrize("arguments", [{"distance": "4"}, {"distance": 4.5}, {"risk": None}, {"baseline": "all"}])
def test_what_is_no_number_is_a_type_error(folder, arguments):
    with pytest.raises(TypeError):
        na.lot(folder / "s.sqlite", **arguments)


def test_runs_of_two_recipes_are_no_lot(folder):
    assert na.lot(folder / "other.sqlite", all_runs=True).runs == ["y"]
    with pytest.raises(na.ArgumentError, match="runs of one recipe"):
        na.lot(folder / "other.sqlite", ["x", "y"])


def test_what_is_no_store_is_refused(folder):
    with pytest.raises(na.FileError, match="not there"):
        na.lot(folder / "nowhere.sqlite")
    with pytest.raises(na.FileError, match="no database"):
        na.lot(folder / "bad.png")


def test_results_in_memory_are_the_lot_of_the_store(folder, monkeypatch):
    monkeypatch.chdir(folder)
    recipe = na.Recipe("bad.recipe.json")
    names = sorted(str(path) for run in ("run0", "run1") for path in pathlib.Path(run).iterdir())

    def results():
        for name in names:
            yield name, na.inspect(na.read_image(name), recipe) if not name.endswith("q.png") else None

    memory = na.lot_of(recipe, results(), distance=6)
    stored = na.lot("s.sqlite", all_runs=True, distance=6).to_dict()
    found = memory.to_dict()
    for field in ("store", "runs", "recipe"):
        del found[field], stored[field]
    assert found == stored
    assert memory.store == "" and memory.runs == []
    assert Elements(memory._repr_html_()).words[0].startswith("25 images, ")
    again = [(name, None if result is None else pickle.loads(pickle.dumps(result))) for name, result in results()]
    assert na.lot_of(recipe, again, distance=6).text == memory.text


def test_no_results_are_a_lot_without_finds(folder):
    assert na.lot_of(folder / "bad.recipe.json", []).places == []


def test_what_is_wrong_with_results_is_named(folder, pattern):
    recipe = na.Recipe(folder / "bad.recipe.json")

    def never():
        raise AssertionError("settings are checked first")
        yield

    with pytest.raises(na.ArgumentError, match="risk"):
        na.lot_of(recipe, never(), risk=2)
    with pytest.raises(na.ArgumentError, match="baseline"):
        na.lot_of(recipe, never(), baseline=0)
    with pytest.raises(na.RecipeError):
        na.lot_of({"version": 1}, never())
    with pytest.raises(na.ArgumentError, match="image.name"):
        na.lot_of(recipe, [("", None)])
    with pytest.raises(TypeError):
        na.lot_of(recipe, [("a", "no result")])
    with pytest.raises(ZeroDivisionError):
        na.lot_of(recipe, ((name, 1 // 0) for name in "ab"))
