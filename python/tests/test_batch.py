# SPDX-License-Identifier: MIT
"""Batches of image files: the table, files that fail, clusters of processes with lost workers, the command line."""

import csv
import io
import json
import os
import signal
import subprocess
import sys

import numpy
import pandas
import pytest

import narvoassem
from conftest import make_pattern, make_recipe_dict
from narvoassem import batch
from narvoassem.image_task import failed, inspect_file
from narvoassem.result_table import make_table, table_text

IMAGES = 24


@pytest.fixture(scope="module")
def lot(tmp_path_factory):
    """Image files, among them clean ones, one that is no image, one that is missing and one that is too small."""
    folder = tmp_path_factory.mktemp("lot")
    files = []
    for index in range(IMAGES):
        squares = [(60 + 10 * index, 151, 70), (300, 60 + 5 * index, -60)][: index % 3]
        files.append(str(folder / f"panel{index:02}.png"))
        narvoassem.write_image(files[-1], make_pattern(squares=squares, seed=index))
    (folder / "text.png").write_text("no image")
    narvoassem.write_image(folder / "small.png", make_pattern(64, 64, ()))
    files[3:3] = [str(folder / "text.png"), str(folder / "none.png")]
    files.append(str(folder / "small.png"))
    files.append(files[1])
    return files


@pytest.fixture(scope="module")
def recipe():
    return narvoassem.Recipe(make_recipe_dict(zones={"list": [{"index": 2, "offset": 22}]}),
                             zone_image=numpy.full((25, 33), 2, numpy.uint8))


@pytest.fixture(scope="module")
def sequential(lot, recipe):
    return batch.inspect_files(lot, recipe)


@pytest.fixture(scope="module")
def client():
    """Three worker processes on the loopback interface alone."""
    with batch._cluster(None, 3) as made:
        made.wait_for_workers(3, timeout=60)
        yield made


def both_texts(table):
    return table_text(table, "a.csv"), table_text(table, "a.json")


def test_the_table_has_every_image_in_order_and_every_defect(lot, recipe, sequential):
    assert list(dict.fromkeys(sequential.image)) == list(dict.fromkeys(lot))
    single = {file: narvoassem.inspect(narvoassem.read_image(file), recipe) for file in lot[:3] + lot[5:-2]}
    for file, rows in sequential.groupby("image"):
        if file not in single:
            assert set(rows.outcome) == {"failed"} and rows.problems.str.len().min() > 10 and rows.number.isna().all()
            continue
        blobs = single[file].blobs
        times = lot.count(file)
        assert len(rows) == times * max(1, len(blobs)) and set(rows.code) == {1} and set(rows.problems) == {""}
        assert set(rows.outcome) == {"defects" if len(blobs) else "clean"}
        if len(blobs):
            assert rows["channel"].tolist() == ["grey"] * len(rows)
            for name in set(blobs.dtype.names) - {"channel"}:
                assert rows[name].tolist() == blobs[name].tolist() * times, name
    assert (sequential.outcome == "failed").sum() == 3 and (sequential.outcome == "clean").sum() >= IMAGES // 3


def test_columns_keep_their_types_in_rows_without_a_defect(sequential):
    types = sequential.dtypes.astype(str)
    assert (types["area"], types["bright"], types["angle"], types["code"]) == ("Int32", "boolean", "Float64", "Int32")
    read = pandas.read_csv(io.StringIO(table_text(sequential, "a.csv")))
    assert read.area.sum() == sequential.area.sum() and len(read) == len(sequential)
    assert len(json.loads(table_text(sequential, "a.json"))) == len(sequential)


def test_line_ends_within_names_stay_within_their_cells():
    names = ["a\rb", "a\nb", "a\r\nb", 'a"\r\n"b', "plain"]
    table = make_table([(name, [failed("", name)]) for name in names], narvoassem._narvoassem.blob_dtype)
    read = list(csv.reader(io.StringIO(table_text(table, "a.csv"), newline="")))
    assert [cells[:2] for cells in read[1:]] == [[name, name] for name in names]
    assert table_text(table, "a.csv").endswith("\n") and "plain,plain,failed" in table_text(table, "a.csv").split("\n")[-2]


def test_failures_tell_what_is_wrong(lot, sequential):
    problems = dict(zip(sequential.image, sequential.problems))
    assert "not an image" in problems[lot[3]] and "no such file" in problems[lot[4]] and "pitch" in problems[lot[-2]]


def test_a_worker_killed_in_mid_run_changes_nothing_in_the_table(lot, recipe, sequential, client):
    before = client.run(os.getpid)
    victims = []

    def kill_one(index, outcome):
        if victims:
            return
        # One that has work in hand; the first image is done, most are not.
        busy = [address for address, tasks in client.processing().items() if tasks and address in before]
        if busy:
            victims.append(busy[0])
            os.kill(before[busy[0]], signal.SIGKILL)

    table = batch.inspect_files(lot, recipe, client=client, on_image=kill_one)
    assert victims
    client.wait_for_workers(3, timeout=60)
    assert before[victims[0]] not in client.run(os.getpid).values()
    assert both_texts(table) == both_texts(sequential)


def test_a_cluster_of_its_own_gives_the_same_table(lot, recipe, sequential, client):
    # By the address of a scheduler, as on many machines.
    table = batch.inspect_files(lot, recipe, scheduler=client.scheduler.address)
    assert both_texts(table) == both_texts(sequential)


def test_an_image_that_ends_every_worker_fails_alone(client, monkeypatch):
    def task(path):
        if path == "poison":
            os.kill(os.getpid(), signal.SIGKILL)
        return [failed("read " + path)]

    # The fewest restarts that show it: what was lost is not started again, except for the last try alone.
    monkeypatch.setattr(client.cluster.scheduler, "allowed_failures", 0)
    names = ["a", "poison", "b", "c", "d"]
    outcomes = dict(batch.distribute(client, task, names))
    assert [outcomes[index][0].problems for index in (0, 2, 3, 4)] == ["read a", "read b", "read c", "read d"]
    assert "poison" in outcomes[1][0].problems and "lost" in outcomes[1][0].problems
    client.wait_for_workers(3, timeout=60)


def test_an_error_of_the_program_itself_is_raised(client):
    def task(path):
        raise ZeroDivisionError(path)

    with pytest.raises(ZeroDivisionError):
        list(batch.distribute(client, task, ["a", "b"]))


def test_an_image_that_nobody_answers_for_is_a_row_all_the_same(lot, recipe, monkeypatch):
    monkeypatch.setattr(batch, "distribute", lambda client, task, images: iter([(1, task(images[1]))]))
    table = batch.inspect_files(lot[:3], recipe, client=object())
    assert list(table.image.unique()) == lot[:3]
    assert list(table[table.image != lot[1]].outcome) == ["failed", "failed"]
    assert table.problems[0] == f"image {lot[0]}: lost every worker that began with it"


def test_progress_names_every_image_once(lot, recipe):
    seen = []
    batch.inspect_files(lot[:6], recipe, on_image=lambda index, found: seen.append((index, found[0].problems == "")))
    assert seen == [(0, True), (1, True), (2, True), (3, False), (4, False), (5, True)]


def test_a_thread_keeps_one_inspector_and_follows_the_recipes_room(lot, recipe):
    noise = numpy.random.default_rng(1).integers(0, 255, (300, 400), numpy.uint8)
    file = os.path.join(os.path.dirname(lot[0]), "noise.png")
    narvoassem.write_image(file, noise)
    for room in (3, 20000, 3):
        (outcome,) = inspect_file(file, [recipe.replace({"max_blobs": room})])
        expected = narvoassem.inspect(noise, recipe.replace({"max_blobs": room}))
        assert outcome.blobs.tobytes() == expected.blobs.tobytes()
        assert outcome.problems == "; ".join(expected.warnings)


def test_regions_of_a_recipe_have_rows_of_their_own(lot, recipe, client):
    left = {"name": "left", "region": {"left": 0, "top": 0, "right": 200, "bottom": 300}}
    right = {"name": "right", "region": {"left": 200, "top": 0, "right": 400, "bottom": 300}, "max_blobs": 50}
    small = {"name": "small", "region": {"left": 0, "top": 0, "right": 200, "bottom": 310}}
    regions = make_recipe_dict(regions=[left, right, small])
    table = batch.inspect_files(lot[:6], regions)
    assert list(table.region.unique()) == ["left", "right", "small", ""]
    assert (table[table.region == "small"].outcome == "failed").all()
    assert (table[(table.region == "left") & (table.number > 0)].right <= 200).all()
    assert (table[(table.region == "right") & (table.number > 0)].left >= 200).all()
    assert (table.region == "").sum() == 2 and table.number.count() > 2
    assert both_texts(batch.inspect_files(lot[:6], narvoassem.Recipe.regions_of(regions), client=client)) == both_texts(table)


@pytest.mark.parametrize(
    "more", [{"workers": -1}, {"workers": 2000}, {"workers": 2, "scheduler": "tcp://127.0.0.1:1"}, {"images": []}]
)
def test_arguments_out_of_range_are_refused(lot, recipe, more):
    with pytest.raises(narvoassem.ArgumentError):
        batch.inspect_files(**{"images": lot, "recipe": recipe, **more})


def test_a_bad_recipe_is_told_before_the_work(lot):
    with pytest.raises(narvoassem.RecipeError):
        batch.inspect_files(lot, {"version": 1})


# --- the command line ---


def run(*arguments, **more):
    return subprocess.run(
        [sys.executable, "-m", "narvoassem.batch", *map(str, arguments)], capture_output=True, text=True, **more
    )


@pytest.fixture(scope="module")
def recipe_file(recipe, tmp_path_factory):
    file = tmp_path_factory.mktemp("recipe") / "recipe.json"
    recipe.save(file)
    return file


def test_command_line_writes_the_table_of_worker_processes(lot, recipe_file, sequential, tmp_path):
    done = run(*lot, "--recipe", recipe_file, "--workers", 2, "--output", tmp_path / "a.csv")
    assert done.returncode == 4, done.stderr
    assert (tmp_path / "a.csv").read_text() == table_text(sequential, "a.csv")
    assert f"images: {len(lot)} (" in done.stdout and "3 failed" in done.stdout
    assert all(lot[index] in done.stderr for index in (3, 4, -2))
    assert os.listdir(tmp_path) == ["a.csv"]


def test_command_line_takes_a_file_of_names_and_a_scheduler(lot, recipe_file, sequential, tmp_path, client):
    names = tmp_path / "names.txt"
    names.write_text("\n".join(lot))
    output = tmp_path / "a.json"
    done = run(f"@{names}", "-r", recipe_file, "--scheduler", client.scheduler.address, "-o", output, "-q")
    assert (done.returncode, done.stdout) == (4, ""), done.stderr
    assert output.read_text() == table_text(sequential, "a.json")


def test_command_line_tells_what_is_wrong_and_writes_nothing(lot, recipe_file, tmp_path):
    output = tmp_path / "a.csv"
    output.write_text("the table of yesterday")
    bad = tmp_path / "bad.json"
    bad.write_text('{"version": 1, "min_area": 0}')
    for code, text, arguments in (
        (2, "min_area: 0", [lot[0], "-r", bad, "-o", output]),
        (2, "no such file", [lot[0], "-r", tmp_path / "none.json", "-o", output]),
        (2, "workers: -3", [lot[0], "-r", recipe_file, "-o", output, "--workers", -3]),
        (2, ".csv or .json", [lot[0], "-r", recipe_file, "-o", tmp_path / "a.xls"]),
        (2, "--scheduler: nonsense://x", [lot[0], "-r", recipe_file, "-o", output, "--scheduler", "nonsense://x"]),
        (2, "--recipe", [lot[0], "-o", output]),
        (3, "none", [lot[0], "-r", recipe_file, "-o", tmp_path / "none" / "a.csv"]),
        (0, "", [lot[0], "-r", recipe_file, "-o", tmp_path / "b.csv"]),
    ):
        done = run(*arguments)
        assert done.returncode == code and text in done.stderr, done.stderr
        assert "Traceback" not in done.stderr
    assert output.read_text() == "the table of yesterday"
    assert sorted(os.listdir(tmp_path)) == ["a.csv", "b.csv", "bad.json"]


def test_texts_of_the_table_are_no_formulas(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    for name in ("=1+1.png", "@a.png", "plain.png"):
        narvoassem.write_image(name, make_pattern())
    table = batch.inspect_files(["=1+1.png", "@a.png", "plain.png"], make_recipe_dict(name="-2"))
    lines = table_text(table, "a.csv").splitlines()
    assert [line.split(",")[:2] for line in lines[1:]] == [["'=1+1.png", "'-2"], ["'@a.png", "'-2"], ["plain.png", "'-2"]]
    assert list(table.image) == ["=1+1.png", "@a.png", "plain.png"]


def test_images_beyond_the_limit_fail(tmp_path):
    narvoassem.write_image(tmp_path / "a.png", make_pattern())
    table = batch.inspect_files([tmp_path / "a.png"], make_recipe_dict(), max_pixels=119999)
    assert list(table.outcome) == ["failed"] and "400 by 300 pixels" in table.problems[0]
