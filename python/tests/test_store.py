# SPDX-License-Identifier: MIT
"""Stores read in Python: the table of a run that narvo wrote is the table of the same images inspected here."""

import os
import pathlib
import shutil
import subprocess

import pandas
import pytest

import narvoassem
from narvoassem.batch import inspect_files

NARVO = pathlib.Path(os.environ["NARVO_BUILD_DIR"]) / "tools" / "narvo"


def narvo(folder, *words):
    return subprocess.run([NARVO, *words], cwd=folder, capture_output=True, text=True)


@pytest.fixture(scope="module")
def lot(tmp_path_factory):
    folder = tmp_path_factory.mktemp("store")
    narvo(folder, "synth", "--width", "512", "--height", "640", "--pitch-x", "40.5", "--pitch-y", "48.25", "--quiet")
    (folder / "lot").mkdir()
    for name in (b"a.png", b"b\xff.png"):
        shutil.copyfile(folder / "panel.png", os.path.join(os.fsencode(folder), b"lot", name))
    (folder / "lot" / "broken.png").write_text("no image")
    run = narvo(folder, "inspect", "lot", "-r", "panel.recipe.json", "--store", "s.sqlite", "--run", "lot7")
    assert run.returncode == 7, run.stderr
    return folder


def test_table_is_that_of_the_images(lot, monkeypatch):
    monkeypatch.chdir(lot)
    table = narvoassem.read_store("s.sqlite")
    names = [os.fsdecode(name) for name in (b"lot/a.png", b"lot/broken.png", b"lot/b\xff.png")]
    assert list(table["image"].unique()) == sorted(names, key=os.fsencode)
    expected = inspect_files(table["image"].unique(), "panel.recipe.json")
    pandas.testing.assert_frame_equal(table, expected)
    assert (table["outcome"] == "failed").sum() == 1


def test_runs_are_listed_and_chosen(lot):
    place = lot / "s.sqlite"
    runs = narvoassem.store_runs(place)
    assert [run.key for run in runs] == ["lot7"]
    assert (runs[0].images, runs[0].refused, runs[0].recipe) == (3, 1, "panel.recipe.json")
    assert runs[0].blobs == len(narvoassem.read_store(place, "lot7")) - 1
    with pytest.raises(narvoassem.ArgumentError, match="one of the store's runs: lot7"):
        narvoassem.read_store(place, "lot8")


def test_what_is_no_store_is_refused(lot):
    with pytest.raises(narvoassem.FileError, match="not there"):
        narvoassem.read_store(lot / "nowhere.sqlite")
    with pytest.raises(narvoassem.FileError, match="no database"):
        narvoassem.read_store(lot / "panel.png")
    with pytest.raises(narvoassem.FileError):
        narvoassem.store_runs("http://server")
