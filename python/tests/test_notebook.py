# SPDX-License-Identifier: MIT
"""Notebooks: what objects show there, and the example notebook from top to bottom."""

import ast
import html.parser
import json
import pathlib

import numpy
import pytest
from conftest import make_pattern, make_recipe_dict

import narvoassem as na

NOTEBOOK = pathlib.Path(__file__).resolve().parents[2] / "examples/python/inspection.ipynb"


class Elements(html.parser.HTMLParser):
    """Counts elements, collects text, and holds that all that is opened is closed."""

    def __init__(self, text):
        super().__init__()
        self.open, self.count, self.words = [], {}, []
        self.feed(text)
        self.close()
        assert self.open == []

    def handle_starttag(self, tag, attributes):
        self.count[tag] = self.count.get(tag, 0) + 1
        self.open.append(tag)

    def handle_startendtag(self, tag, attributes):
        self.count[tag] = self.count.get(tag, 0) + 1

    def handle_endtag(self, tag):
        assert self.open.pop() == tag

    def handle_data(self, data):
        self.words.append(data)


def test_a_result_shows_a_map_and_a_row_for_each_blob(pattern):
    image = pattern(squares=((203, 151, 70), (100, 80, -60)))
    result = na.inspect(image, make_recipe_dict())
    assert len(result.blobs) == 2
    shown = Elements(result._repr_html_())
    assert shown.count["tr"] == 3 and shown.count["rect"] == 3
    assert "2 defects, 400 by 300 pixels" in shown.words


def test_a_result_without_defects_has_no_table(pattern):
    shown = Elements(na.inspect(pattern(squares=()), make_recipe_dict())._repr_html_())
    assert "table" not in shown.count and "0 defects, 400 by 300 pixels" in shown.words


def test_a_long_table_is_cut_and_says_so(pattern):
    squares = [(60 + 30 * column, 60 + 35 * row, 70) for column in range(8) for row in range(4)]
    result = na.inspect(pattern(squares=squares), make_recipe_dict(merge_distance=1))
    assert len(result.blobs) > 20
    shown = Elements(result._repr_html_())
    assert shown.count["tr"] == 21 and f"The 20 largest of {len(result.blobs)}." in shown.words
    assert shown.count["rect"] == 1 + len(result.blobs)


def test_names_are_text_and_not_html(image):
    result = na.inspect(image, make_recipe_dict(name="<script>alert(1)</script>&"))
    shown = Elements(result._repr_html_())
    assert "script" not in shown.count and any("<script>alert(1)</script>&" in word for word in shown.words)


def test_a_pitch_shows_both_axes_with_their_curves(image):
    shown = Elements(na.search_pitch(image)._repr_html_())
    assert shown.count["tr"] == 3 and shown.count["polyline"] == 2 and "32.5" in shown.words
    plain = na.search_pitch(numpy.full((200, 200), 90, numpy.uint8))
    assert "none" in Elements(plain._repr_html_()).words


def test_an_explanation_and_a_learnt_recipe_show_their_reasons(image, pattern):
    explanation = na.explain(image, make_recipe_dict(), 203, 151)
    shown = Elements(explanation._repr_html_())
    assert shown.count["li"] == len(explanation.why) >= 1 and str(explanation) in shown.words
    learnt = na.learn([pattern(squares=(), seed=seed) for seed in (1, 2)], mode="periodic")
    words = Elements(learnt._repr_html_()).words
    assert all(reason in words for reason in learnt.reasons)


@pytest.mark.parametrize("shape", [(40, 64), (40, 63), (1, 50)])
def test_a_picture_is_the_image_to_the_bit(shape, tmp_path):
    pixels = numpy.random.default_rng(3).integers(0, 256, shape, dtype=numpy.uint8)
    (tmp_path / "a.png").write_bytes(na.show(pixels)._repr_png_())
    assert (na.read_image(str(tmp_path / "a.png")) == pixels).all()


def test_a_shown_result_is_its_overlay(image, tmp_path):
    result = na.inspect(image, make_recipe_dict())
    picture = na.show(image, result)
    assert (picture.pixels == result.overlay(image)).all()
    (tmp_path / "a.png").write_bytes(picture._repr_png_())
    red = na.read_image(str(tmp_path / "a.png"), image={"channel": "red"})
    assert (red == result.overlay(image)[:, :, 0]).all()


def test_a_large_picture_is_reduced_to_means():
    pixels = numpy.zeros((100, 200), numpy.uint8)
    pixels[::2] = 200
    picture = na.show(pixels, largest=100)
    assert picture.pixels.shape == (50, 100) and (picture.pixels == 100).all()
    assert na.show(numpy.full((1, 100000), 7, numpy.uint8), largest=64).pixels.shape[1] <= 64


@pytest.mark.parametrize(
    "pixels",
    [numpy.zeros((4, 4), numpy.float32), numpy.zeros((4, 4, 4), numpy.uint8), numpy.zeros((0, 4), numpy.uint8), "a.png"],
)
def test_what_is_no_image_is_refused(pixels):
    with pytest.raises(na.ImageError) as error:
        na.show(pixels)
    assert error.value.problems[0].field == "image"


@pytest.mark.parametrize("largest", [15, 16385, 100.0, True])
def test_a_wrong_size_is_refused(largest):
    with pytest.raises(na.ArgumentError) as error:
        na.show(make_pattern(), largest=largest)
    assert error.value.problems[0].field == "largest"


def test_an_overlay_of_another_image_is_refused(image, pattern):
    with pytest.raises(na.ImageError):
        na.show(pattern(width=404), na.inspect(image, make_recipe_dict()))


def test_the_notebook_is_committed_without_outputs():
    for cell in json.loads(NOTEBOOK.read_text())["cells"]:
        assert not cell.get("outputs") and cell.get("execution_count") is None


def test_the_notebook_runs_without_jupyter():
    names, shown = {}, []
    for cell in json.loads(NOTEBOOK.read_text())["cells"]:
        if cell["cell_type"] != "code":
            continue
        tree = ast.parse("".join(cell["source"]))
        last = tree.body.pop() if isinstance(tree.body[-1], ast.Expr) else None
        exec(compile(tree, cell["id"], "exec"), names)
        if last is not None:
            shown.append(eval(compile(ast.Expression(last.value), cell["id"], "eval"), names))
    pictures = [value for value in shown if isinstance(value, na.Picture)]
    assert len(pictures) == 3 and all(picture._repr_png_().startswith(b"\x89PNG") for picture in pictures)
    assert all(Elements(value._repr_html_()).words for value in shown if not isinstance(value, na.Picture))


def test_the_notebook_runs_in_jupyter(tmp_path):
    import nbclient
    import nbformat

    notebook = nbformat.read(NOTEBOOK, as_version=4)
    nbformat.validate(notebook)
    nbclient.NotebookClient(notebook, timeout=120, resources={"metadata": {"path": str(tmp_path)}}).execute()
    kinds = [set(output.data) for cell in notebook.cells for output in cell.get("outputs", []) if "data" in output]
    assert sum("image/png" in kind for kind in kinds) == 3 and sum("text/html" in kind for kind in kinds) >= 4
