# SPDX-License-Identifier: MIT
"""The installed package, from a prefix that was moved: all files are there, and the module needs nothing of the build."""

import os
import pathlib
import shutil
import subprocess
import sys

SOURCE = pathlib.Path(__file__).resolve().parents[1] / "narvoassem"


def test_the_package_runs_from_a_moved_prefix(tmp_path):
    build = os.environ["NARVO_BUILD_DIR"]
    command = ["cmake", "--install", build, "--component", "python", "--prefix", str(tmp_path / "first")]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    shutil.move(tmp_path / "first", tmp_path / "moved")
    packages = tmp_path / "moved" / "lib" / "python3" / "dist-packages"
    installed = {file.name for file in (packages / "narvoassem").iterdir()}
    assert {file.name for file in SOURCE.iterdir() if file.is_file()} < installed
    assert not any((packages / "narvoassem" / name).is_symlink() for name in installed)

    script = (
        "import numpy, narvoassem, narvoassem.batch\n"
        f"assert narvoassem.__file__.startswith({str(packages)!r}), narvoassem.__file__\n"
        "image = numpy.tile(numpy.arange(64, dtype=numpy.uint8), (300, 5)); image[150:155, 100:105] += 90\n"
        "recipe = {'version': 1, 'pitch': {'x': 64, 'y': 30}}\n"
        "assert len(narvoassem.inspect(image, recipe).blobs) == 1\n"
    )
    environment = {**os.environ, "PYTHONPATH": str(packages), "PYTHONDONTWRITEBYTECODE": "1"}
    subprocess.run([sys.executable, "-c", script], check=True, env=environment, cwd=tmp_path)
    module = next((packages / "narvoassem").glob("_narvoassem*.so"))
    needed = subprocess.run(["readelf", "-d", module], check=True, capture_output=True, text=True).stdout
    assert build not in needed
