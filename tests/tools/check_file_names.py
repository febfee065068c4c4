# SPDX-License-Identifier: MIT
"""check_file_names.py NARVO: images whose names hold every byte but 0 and the slash, alone, in golden inspection and in a
batch: the results are written, and are JSON in UTF-8."""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

NAMES = [bytes(b for b in range(1, 129) if b != ord("/")) + b".png", bytes(range(128, 256)) + b".png"]
SECONDS = 60


def run(narvo, folder, *arguments):
    done = subprocess.run([narvo, *arguments], cwd=folder, capture_output=True, timeout=SECONDS, check=False)
    if done.returncode != 0:
        sys.exit(f"{arguments}: {done.returncode}\n{done.stderr.decode(errors='replace')}")


def main():
    narvo = sys.argv[1]
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        run(narvo, folder, "synth", "--width", "256", "--height", "320", "--pitch-x", "40.5", "--pitch-y", "48.25",
            "--defects", "3", "--quiet")
        images = os.fsencode(folder) + b"/in/"
        os.mkdir(images)
        for image in NAMES:
            shutil.copy(folder / "panel.png", images + image)
            run(narvo, folder, "inspect", images + image, "--recipe", "panel.recipe.json", "--output", "one", "--quiet")
            json.loads((folder / "one.blobs.json").read_bytes())
            run(narvo, folder, "golden", images + image, "--reference", "panel.png", "--output", "golden", "--quiet")
            json.loads((folder / "golden.blobs.json").read_bytes())
        run(narvo, folder, "inspect", "in", "--recipe", "panel.recipe.json", "--output", "all", "--no-overlay", "--quiet")
        lines = (folder / "all.jsonl").read_bytes().splitlines()
        named = [json.loads(line) for line in lines]
        if len(named) != len(NAMES):
            sys.exit(f"{len(named)} lines for {len(NAMES)} images")


if __name__ == "__main__":
    main()
