# SPDX-License-Identifier: MIT
"""The guide docs/python.md, followed to the letter: its Python is run from top to bottom and says what it says there."""

import builtins
import os
import pathlib
import re
import shutil
import subprocess

import narvoassem

ROOT = pathlib.Path(__file__).resolve().parents[2]


def test_the_guide_can_be_followed(tmp_path, monkeypatch, capsys):
    text = (ROOT / "docs" / "python.md").read_text()
    program = pathlib.Path(os.environ["NARVO_BUILD_DIR"]) / "tools" / "narvo"
    (synth,) = re.findall(r"^build/release/tools/narvo (synth .*)$", text, re.M)
    subprocess.run([program, *synth.split()], cwd=tmp_path, check=True, stdout=subprocess.DEVNULL)
    (tmp_path / "lot7").mkdir()
    for name in ("a.png", "b.png"):
        shutil.copy(tmp_path / "panel.png", tmp_path / "lot7" / name)
    (inspect,) = re.findall(r"^build/release/tools/narvo (inspect .*)$", text, re.M)
    subprocess.run([program, *inspect.split()], cwd=tmp_path, check=True, stdout=subprocess.DEVNULL)
    monkeypatch.chdir(tmp_path)

    blocks = re.findall(r"^```python\n(.*?)^```$", text, re.M | re.S)
    assert len(blocks) >= 6
    names = {}
    for block in blocks:
        exec(compile(block, "python.md", "exec"), names)
        printed = capsys.readouterr().out.splitlines()
        expected = [line[2:] for line in block.splitlines() if line.startswith("# ")]
        if expected and not expected[0].startswith("<"):
            assert printed == expected
        elif expected:
            assert repr(names["pitch"]) in expected
    assert 15 <= len(names["blobs"]) <= 60 and names["result"].complete
    assert names["stricter"]["min_area"] == 3 and names["flat"]["mode"] == "pixel"
    assert names["found"].runs == ["lot7"] and len(names["found"].images) == 2
    for file in ("found.png", "worst.png", "panel.mine.json", "panel.mine.zones.png"):
        assert (tmp_path / file).stat().st_size > 0
    assert narvoassem.Recipe("panel.mine.json")["pitch"] == names["recipe"]["pitch"]


def test_every_name_that_the_guide_uses_exists():
    text = (ROOT / "docs" / "python.md").read_text()
    for name in set(re.findall(r"\bna\.([A-Za-z_]+(?:\.[a-z_]+)*)", text)):
        value = narvoassem
        for part in name.split("."):
            value = getattr(value, part)
    for error in re.findall(r"`([A-Z][a-z]+Error)`", text):
        assert hasattr(narvoassem, error) or hasattr(builtins, error), error
