# SPDX-License-Identifier: MIT
"""The backend that builds wheels, without the build itself: names, metadata, archives, symbol versions, libraries."""

import pathlib
import sys
import tarfile
import zipfile

import pytest

import narvoassem

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "python/wheel"))
import wheel_backend  # noqa: E402


def test_version_and_metadata_are_those_of_the_package():
    assert wheel_backend.version() == narvoassem.__version__
    head = wheel_backend.metadata().split("\n\n")[0].splitlines()
    assert f"Version: {narvoassem.__version__}" in head and "Requires-Dist: numpy>=1.21" in head


def test_a_library_needs_the_glibc_of_its_newest_symbol():
    assert wheel_backend.oldest_glibc([]) == (2, 17)
    text = wheel_backend.output("readelf", "--version-info", "--wide", "/usr/bin/python3")
    needed = wheel_backend.oldest_glibc([pathlib.Path("/usr/bin/python3")])
    assert f"GLIBC_{needed[0]}.{needed[1]}" in text and f"GLIBC_{needed[0]}.{needed[1] + 1}" not in text


def test_a_libstdcxx_that_is_too_new_is_refused(monkeypatch):
    monkeypatch.setattr(wheel_backend, "output", lambda *command: "GLIBC_2.34 GLIBCXX_3.4.30")
    with pytest.raises(SystemExit, match="GLIBCXX_3.4.30"):
        wheel_backend.oldest_glibc([pathlib.Path("a.so")])


@pytest.mark.parametrize(
    "name, system",
    [
        ("libc.so.6", True),
        ("libstdc++.so.6", True),
        ("ld-linux-x86-64.so.2", True),
        ("ld-linux-aarch64.so.1", True),
        ("libgomp.so.1", False),
        ("libcrypto.so.3", False),
        ("libpng16.so.16", False),
    ],
)
def test_only_libraries_of_every_system_stay_outside(name, system):
    assert bool(wheel_backend.SYSTEM.match(name)) == system


def test_a_wheel_records_every_file_and_is_the_same_each_time(tmp_path):
    info = tmp_path / "stage" / "narvoassem-1.dist-info"
    info.mkdir(parents=True)
    (info / "WHEEL").write_text("Wheel-Version: 1.0\n")
    (tmp_path / "stage" / "a.py").write_text("pass\n")
    wheels = [tmp_path / "1.whl", tmp_path / "2.whl"]
    for wheel in wheels:
        (info / "RECORD").unlink(missing_ok=True)
        wheel_backend.write_zip(tmp_path / "stage", info, wheel)
    assert wheels[0].read_bytes() == wheels[1].read_bytes()
    with zipfile.ZipFile(wheels[0]) as archive:
        recorded = [line.split(",")[0] for line in archive.read("narvoassem-1.dist-info/RECORD").decode().splitlines()]
        assert sorted(recorded) == sorted(archive.namelist())


def test_the_source_archive_holds_the_committed_files(tmp_path):
    name = wheel_backend.build_sdist(str(tmp_path))
    with tarfile.open(tmp_path / name) as archive:
        names = set(archive.getnames())
    top = name[: -len(".tar.gz")]
    for file in ("pyproject.toml", "python/wheel/wheel_backend.py", "CMakeLists.txt", "scripts/wheel-parts", "PKG-INFO"):
        assert f"{top}/{file}" in names
    assert list(tmp_path.iterdir()) == [tmp_path / name]
