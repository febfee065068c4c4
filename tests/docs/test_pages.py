# SPDX-License-Identifier: MIT
"""The tutorials and the gallery, followed to the letter."""

import pathlib
import subprocess
import sys

import pages
import pytest

HERE = pathlib.Path(__file__).parent


def follow(page, folder):
    return subprocess.run(
        [sys.executable, "-B", HERE / "walk_page.py", page, folder], capture_output=True, text=True, errors="replace"
    )


@pytest.mark.parametrize("name", ["gallery", "tutorial-analyst", "tutorial-engineer", "tutorial-host"])
def test_the_page_can_be_followed(name, tmp_path):
    outcome = follow(pages.ROOT / "docs" / f"{name}.md", tmp_path)
    assert outcome.returncode == 0, outcome.stdout + outcome.stderr


@pytest.mark.parametrize(
    "text, fault",
    [
        ("narvo synth --no-such-option", "failed with code"),
        ("narvo synth --width 256 --height 512 --pitch-x 30 --defects 0\nrecall: 1", "not printed: recall: 1"),
    ],
)
def test_a_wrong_page_is_refused(text, fault, tmp_path):
    page = pages.ROOT / "build" / f"wrong-{tmp_path.name}.md"
    page.parent.mkdir(exist_ok=True)
    page.write_text(f"```\n{text}\n```\n")
    try:
        outcome = follow(page, tmp_path)
    finally:
        page.unlink()
    assert outcome.returncode != 0 and fault in outcome.stderr
