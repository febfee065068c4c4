# SPDX-License-Identifier: MIT
"""Builds wheels of the package, as `python3 -m build` asks for them, with the standard library alone.

The module is built by CMake against the static libraries of scripts/wheel-parts. What it links beyond a system's own
libraries is put into the wheel under names with a digest, with the licences. The wheel's tag names the oldest glibc that
has every symbol used.
"""

import base64
import hashlib
import os
import pathlib
import platform
import re
import shutil
import subprocess
import sys
import sysconfig
import tarfile
import zipfile
from typing import Dict, Iterator, List, Tuple

ROOT = pathlib.Path(__file__).resolve().parents[2]
NAME = "narvoassem"

# Libraries that every system of the tag's age has.
SYSTEM = re.compile(r"^(ld-linux-.*|lib(c|m|dl|rt|pthread|gcc_s|stdc\+\+))\.so(\.\d+)*$")
# libstdc++ of the systems with glibc 2.34.
NEWEST_CXX = (3, 4, 29)


def get_requires_for_build_wheel(config_settings=None) -> List[str]:
    return []


def get_requires_for_build_sdist(config_settings=None) -> List[str]:
    return []


def build_sdist(directory: str, config_settings=None) -> str:
    """The committed files, as one archive."""
    top = f"{NAME}-{version()}"
    listed = output("git", "-C", str(ROOT), "ls-files", "-z").split("\0")
    path = pathlib.Path(directory) / f"{top}.tar.gz"
    info = path.with_suffix(".info")
    info.write_text(metadata())
    with tarfile.open(path, "w:gz", format=tarfile.PAX_FORMAT) as archive:
        for name in filter(None, listed):
            archive.add(ROOT / name, f"{top}/{name}", recursive=False)
        archive.add(info, f"{top}/PKG-INFO")
    info.unlink()
    return path.name


def build_wheel(directory: str, config_settings=None, metadata_directory=None) -> str:
    """The wheel for the Python that runs this. The setting "cmake" holds further options of CMake."""
    tag = f"cp{sys.version_info[0]}{sys.version_info[1]}"
    work = ROOT / "build" / "wheel" / tag
    parts = pathlib.Path(os.environ.get("NARVO_WHEEL_PARTS", ROOT / "build/wheel/parts")).resolve()
    subprocess.run([ROOT / "scripts/wheel-parts", parts], check=True)
    module = build_module(work / "build", parts, (config_settings or {}).get("cmake", "").split())

    stage = work / "stage"
    shutil.rmtree(stage, ignore_errors=True)
    package = stage / NAME
    shutil.copytree(ROOT / "python" / NAME, package, ignore=shutil.ignore_patterns("__pycache__"))
    shutil.copy(module, package / module.name)
    bundled = bundle(package / module.name, stage / f"{NAME}.libs")

    glibc = oldest_glibc([package / module.name, *(stage / f"{NAME}.libs").iterdir()])
    full = f"{tag}-{tag}-manylinux_{glibc[0]}_{glibc[1]}_{platform.machine()}"
    info = stage / f"{NAME}-{version()}.dist-info"
    write_info(info, full, bundled, parts)
    path = pathlib.Path(directory) / f"{NAME}-{version()}-{full}.whl"
    write_zip(stage, info, path)
    return path.name


def output(*command: str) -> str:
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def version() -> str:
    text = (ROOT / "include/narvoassem/version.h").read_text()
    return ".".join(re.findall(r"^#define NARVOASSEM_VERSION_[A-Z]+ (\d+)", text, re.M))


def metadata() -> str:
    fields = (ROOT / "pyproject.toml").read_text()
    (summary,) = re.findall(r'^description = "(.*)"', fields, re.M)
    (python,) = re.findall(r'^requires-python = "(.*)"', fields, re.M)
    needed = re.findall(r'"([^"]+)"', re.findall(r"^dependencies = \[(.*)\]", fields, re.M)[0])
    lines = ["Metadata-Version: 2.1", f"Name: {NAME}", f"Version: {version()}", f"Summary: {summary}", "License: MIT"]
    lines += [f"Requires-Python: {python}", *(f"Requires-Dist: {name}" for name in needed)]
    return "\n".join([*lines, "Description-Content-Type: text/markdown", "", (ROOT / "docs/python.md").read_text()])


def build_module(build: pathlib.Path, parts: pathlib.Path, more: List[str]) -> pathlib.Path:
    options = {
        "CMAKE_BUILD_TYPE": "Release",
        "CMAKE_PREFIX_PATH": str(parts),
        "CMAKE_MODULE_LINKER_FLAGS": "-static-libstdc++ -Wl,--exclude-libs,ALL",
        "NARVO_BUILD_TESTS": "OFF",
        "NARVO_BUILD_BENCH": "OFF",
        "NARVO_BUILD_EXAMPLES": "OFF",
        "NARVO_BUILD_TOOLS": "OFF",
        # Clients of databases belong to the system.
        "NARVO_STORE_SQLITE": "OFF",
        "NARVO_STORE_POSTGRES": "OFF",
        "NARVO_WHEEL": "ON",
        "Python_EXECUTABLE": sys.executable,
        "Python_INCLUDE_DIR": sysconfig.get_paths()["include"],
    }
    given = [f"-D{name}={value}" for name, value in options.items()]
    subprocess.run(["cmake", "-S", ROOT, "-B", build, "-G", "Ninja", *given, *more], check=True)
    subprocess.run(["cmake", "--build", build, "--target", "_narvoassem"], check=True)
    (module,) = (build / "python" / NAME).glob("_narvoassem*.so")
    return module


def needed(library: pathlib.Path) -> List[str]:
    return output("patchelf", "--print-needed", str(library)).split()


def found_libraries(library: pathlib.Path) -> Dict[str, pathlib.Path]:
    """Where the loader finds the libraries that this one needs, directly or not."""
    pairs = re.findall(r"^\s*(\S+) => (/\S+)", output("ldd", str(library)), re.M)
    return {name: pathlib.Path(path).resolve() for name, path in pairs}


def bundle(module: pathlib.Path, folder: pathlib.Path) -> List[pathlib.Path]:
    """Puts what the module needs into the folder, under names that no other package's copy has; returns the originals."""
    folder.mkdir()
    subprocess.run(["strip", "--strip-unneeded", module], check=True)
    originals = {name: path for name, path in found_libraries(module).items() if not SYSTEM.match(name)}
    names = {}
    for name, path in originals.items():
        digest = hashlib.sha256(path.read_bytes()).hexdigest()[:8]
        stem, _, rest = name.partition(".")
        names[name] = f"{stem}-{digest}.{rest}"
        shutil.copyfile(path, folder / names[name])
        (folder / names[name]).chmod(0o755)
    for name, renamed in names.items():
        subprocess.run(["patchelf", "--set-soname", renamed, "--set-rpath", "$ORIGIN", folder / renamed], check=True)
    subprocess.run(["patchelf", "--set-rpath", f"$ORIGIN/../{folder.name}", module], check=True)
    for library in [module, *folder.iterdir()]:
        for name in needed(library):
            if name in names:
                subprocess.run(["patchelf", "--replace-needed", name, names[name], library], check=True)
    return list(originals.values())


def oldest_glibc(libraries: List[pathlib.Path]) -> Tuple[int, int]:
    """The oldest glibc with every symbol that the libraries need. Refuses a libstdc++ newer than such a system's."""
    newest = (2, 17)
    for library in libraries:
        text = output("readelf", "--version-info", "--wide", str(library))
        for major, minor in re.findall(r"\bGLIBC_(\d+)\.(\d+)", text):
            newest = max(newest, (int(major), int(minor)))
        for found in re.findall(r"\bGLIBCXX_(\d+)\.(\d+)\.(\d+)", text):
            if tuple(map(int, found)) > NEWEST_CXX:
                raise SystemExit(f"{library.name} needs GLIBCXX_{'.'.join(found)}")
    return newest


def write_info(info: pathlib.Path, tag: str, bundled: List[pathlib.Path], parts: pathlib.Path) -> None:
    licences = info / "licenses"
    licences.mkdir(parents=True)
    (info / "METADATA").write_text(metadata())
    (info / "WHEEL").write_text(f"Wheel-Version: 1.0\nGenerator: {NAME}\nRoot-Is-Purelib: false\nTag: {tag}\n")
    shutil.copy(ROOT / "LICENSE", licences / "LICENSE")
    for licence in (parts / "licenses").iterdir():
        shutil.copy(licence, licences / licence.name)
    for library in bundled:
        # By its name alone: dpkg may know /usr/lib as /lib.
        package = output("dpkg", "--search", f"*/{library.name}").split(":")[0]
        shutil.copy(f"/usr/share/doc/{package}/copyright", licences / f"{package}.txt")


def files(stage: pathlib.Path) -> Iterator[pathlib.Path]:
    return (path for path in sorted(stage.rglob("*")) if path.is_file())


def write_zip(stage: pathlib.Path, info: pathlib.Path, path: pathlib.Path) -> None:
    """The wheel; the same files give the same bytes."""
    record = []
    for file in files(stage):
        digest = base64.urlsafe_b64encode(hashlib.sha256(file.read_bytes()).digest()).decode().rstrip("=")
        record.append(f"{file.relative_to(stage).as_posix()},sha256={digest},{file.stat().st_size}")
    name = info.relative_to(stage).as_posix()
    (info / "RECORD").write_text("\n".join([*record, f"{name}/RECORD,,"]) + "\n")
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for file in files(stage):
            entry = zipfile.ZipInfo(file.relative_to(stage).as_posix(), (2020, 1, 1, 0, 0, 0))
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = (0o100755 if file.suffix == ".so" or ".so." in file.name else 0o100644) << 16
            archive.writestr(entry, file.read_bytes())
