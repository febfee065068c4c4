# SPDX-License-Identifier: MIT
"""Defects for other programs in Python: the files are those of narvo export, and come back as they were."""

import datetime
import json
import os
import pathlib
import subprocess

import pytest

import narvoassem as na

NARVO = pathlib.Path(os.environ["NARVO_BUILD_DIR"]) / "tools" / "narvo"
HEAD = {"pixel_size": 2.5, "lot": "L 7", "wafer": "w4", "slot": 12, "time": "2026-03-04 05:06:07"}
OPTIONS = ["--pixel-size", "2.5", "--lot", "L 7", "--wafer", "w4", "--slot", "12", "--time", "2026-03-04 05:06:07"]
DEFECTS = [
    na.DefectList("a.png", 100, 80, [na.ListedDefect(na.Rect(10, 20, 14, 26), 17.0, "dark"), na.ListedDefect(na.Rect(99, 79, 100, 80), 1.0, "bright")]),
    na.DefectList("b.png", 100, 80),
]


def narvo(folder, *words):
    run = subprocess.run([NARVO, *words], cwd=folder, capture_output=True, text=True)
    assert run.returncode == 0, run.stderr


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    """Two panels and the results of both."""
    if not NARVO.exists():
        pytest.skip("the program is not built")
    folder = tmp_path_factory.mktemp("exchange")
    for seed in ("1", "2"):
        narvo(folder, "synth", "--width", "512", "--height", "400", "--defects", "4", "--seed", seed, "--output", "p" + seed, "--quiet")
    narvo(folder, "inspect", "p1.png", "p2.png", "-r", "p1.recipe.json", "-q")
    return folder


@pytest.mark.parametrize("form", ["klarf-1.2", "klarf-1.8", "coco", "voc", "yolo", "csv"])
def test_files_are_those_of_the_program(folder, tmp_path, form):
    narvo(folder, "export", "results.jsonl", "-f", form, "-o", str(tmp_path / "program"), *OPTIONS)
    recipe = na.Recipe(folder / "p1.recipe.json")
    lists = [na.list_defects(name, na.inspect(na.read_image(folder / name), recipe)) for name in ("p1.png", "p2.png")]
    assert na.read_defects(folder / "results.jsonl") == lists
    names = na.save_defects(tmp_path / "python", lists, form, **HEAD)
    if form in ("voc", "yolo"):
        assert sorted(names) == sorted(str(file) for file in (tmp_path / "python").iterdir())
        written = {file.name: file.read_bytes() for file in (tmp_path / "python").iterdir()}
        assert written == {file.name: file.read_bytes() for file in (tmp_path / "program").iterdir()}
    else:
        assert names == [str(tmp_path / "python")]
        assert (tmp_path / "python").read_bytes() == (tmp_path / "program").read_bytes()


@pytest.mark.parametrize("form", ["klarf-1.2", "klarf-1.8"])
def test_klarf_comes_back(tmp_path, form):
    na.save_defects(tmp_path / "lot.klarf", DEFECTS, form, device="panel", setup="s", step="t", station="m", model="n", station_id="5", **HEAD)
    read = na.read_klarf(tmp_path / "lot.klarf", pixel_size=2.5)
    assert (read.form, read.lot, read.wafer, read.slot, read.time) == (form, "L 7", "w4", 12, "2026-03-04 05:06:07")
    assert (read.device, read.setup, read.step, read.station, read.model, read.station_id) == ("panel", "s", "t", "m", "n", "5")
    assert [one.image for one in read.images] == ["die_0_0", "die_1_0"]
    assert read.images[0].defects == DEFECTS[0].defects
    assert read.images[1].defects == []
    assert na.read_defects(tmp_path / "lot.klarf", pixel_size=2.5) == read.images


def test_one_list_and_times(tmp_path):
    na.save_defects(tmp_path / "a.json", DEFECTS[0], "coco")
    assert len(json.loads((tmp_path / "a.json").read_text())["annotations"]) == 2
    na.save_defects(tmp_path / "a", DEFECTS, "klarf-1.2", time=datetime.datetime(2026, 1, 2, 3, 4, 5))
    assert na.read_klarf(tmp_path / "a").time == "2026-01-02 03:04:05"
    na.save_defects(tmp_path / "a", [], "klarf-1.2")
    then = datetime.datetime.strptime(na.read_klarf(tmp_path / "a").time, "%Y-%m-%d %H:%M:%S")
    assert abs(datetime.datetime.now() - then) < datetime.timedelta(hours=2)


def test_names_of_any_bytes(tmp_path):
    name = os.fsdecode(b"b\xff.png")
    na.save_defects(tmp_path / "t.csv", na.DefectList(name, 9, 9, [((1, 2, 3, 4), 2, "dark")]), "csv")
    assert (tmp_path / "t.csv").read_text().splitlines()[1] == "b%FF.png,9,9,dark,1,2,3,4,2"


@pytest.mark.parametrize(
    "images, form, head, fields",
    [
        (DEFECTS, "klarf", {}, ["form"]),
        (DEFECTS, None, {}, ["form"]),
        ([1], "coco", {}, ["images[0]"]),
        ([na.DefectList("a", 1, 1, [3])], "coco", {}, ["images[0].defects[0]"]),
        ([na.DefectList("a", 1, 1, [((2, 2, 1, 1), -1.0, "x")])], "coco", {}, ["images[0].defects[0].box", "images[0].defects[0].area"]),
        ([na.DefectList("a", 1, 1, [((1, 1, 2), 1.0, "x")])], "coco", {}, ["images[0].defects[0].box"]),
        ([na.DefectList("a", 1, 1, [((1, 1, 2, 2), float("nan"), "x")])], "coco", {}, ["images[0].defects[0].area"]),
        ([na.DefectList("a", 1, 1, [((1, 1, 2, 2), 1.0, 7)])], "coco", {}, ["images[0].defects[0].kind"]),
        ([na.DefectList("a", 1, 1, [((1, 1, 2, 2), 1.0, "\udcff")])], "coco", {}, ["images[0].defects[0].kind"]),
        ([na.DefectList("a", -1, 2**40)], "coco", {}, ["images[0].height"]),
        ([na.DefectList("a", -1, 2)], "coco", {}, ["images[0].width"]),
        ([na.DefectList("", 1, 2)], "coco", {}, ["images[0].image"]),
        ([na.DefectList("a.png")], "yolo", {}, ["size of a.png"]),
        (DEFECTS, "klarf-1.2", {"slot": 0, "time": "now", "pixel_size": 0}, ["slot", "time", "pixel_size"]),
        (DEFECTS, "klarf-1.2", {"slot": 2**80, "lot": 'a"'}, ["lot", "slot"]),
        (DEFECTS, "klarf-1.2", {"lot": 7}, ["lot"]),
    ],
)
def test_bad_input_is_named(tmp_path, images, form, head, fields):
    with pytest.raises(na.ArgumentError) as caught:
        na.save_defects(tmp_path / "out", images, form, **head)
    assert [problem.field for problem in caught.value.problems] == fields
    assert not (tmp_path / "out").exists()


def test_bad_files_are_named(tmp_path):
    (tmp_path / "broken.klarf").write_text("FileVersion 1 2;\nLotID \"open\n")
    with pytest.raises(na.FileError, match=r"broken.klarf, line 2"):
        na.read_klarf(tmp_path / "broken.klarf")
    with pytest.raises(na.FileError, match="none.jsonl"):
        na.read_defects(tmp_path / "none.jsonl")
    for read in (na.read_defects, na.read_klarf):
        with pytest.raises(na.ArgumentError, match="pixel_size"):
            read(tmp_path / "broken.klarf", pixel_size=0)
    with pytest.raises(na.FileError):
        na.save_defects(tmp_path / "no folder" / "a.csv", DEFECTS, "csv")
    twice = [na.DefectList("x/a.png", 1, 1), na.DefectList("y/a.png", 1, 1)]
    with pytest.raises(na.FileError, match="differ before their ending"):
        na.save_defects(tmp_path / "labels", twice, "voc")
    assert not (tmp_path / "labels").exists()
    with pytest.raises(TypeError):
        na.save_defects(tmp_path / "a.csv", [na.DefectList("a", 1, 1, [((1, 1, 2, 2), "1", "x")])], "csv")
    with pytest.raises(TypeError):
        na.list_defects("a.png", None)
