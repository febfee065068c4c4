#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Lays out the source folder of the documentation site: links to the pages of the tree, which are not copied, and a
reference page for each public header and each example, so that a new one is never forgotten.

Usage: docs/site/prepare.py FOLDER      FOLDER is replaced
"""

import pathlib
import shutil
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]


def heading(text: str, line: str = "=") -> str:
    return f"{text}\n{line * len(text)}\n\n"


def link(folder: pathlib.Path, path: pathlib.Path, name: str) -> None:
    target = folder / name
    target.parent.mkdir(parents=True, exist_ok=True)
    target.symlink_to(path)


def header_pages(reference: pathlib.Path) -> None:
    """One page for each header, and one that lists them."""
    headers = sorted((ROOT / "include").glob("*/*.h*"))
    index = heading("C++ reference") + "The public headers. Each compiles on its own as C++17.\n\n.. toctree::\n\n"
    for header in headers:
        name = header.relative_to(ROOT / "include").as_posix()
        page = "header-" + name.replace("/", "-").replace(".", "-")
        (reference / f"{page}.rst").write_text(heading(name) + f".. doxygenfile:: {name}\n")
        index += f"   {name} <{page}>\n"
    (reference / "headers.rst").write_text(index)


def example_page(reference: pathlib.Path) -> None:
    page = heading("Examples") + "Complete programs, which the tests run.\n\n"
    languages = {".cpp": "cpp", ".c": "c", ".rs": "rust", ".py": "python", ".ipynb": ""}
    for example in sorted((ROOT / "examples").rglob("*")):
        if languages.get(example.suffix):
            name = example.relative_to(ROOT).as_posix()
            page += heading(name, "-") + f".. literalinclude:: /{name}\n   :language: {languages[example.suffix]}\n\n"
    (reference / "examples.rst").write_text(page)


def main() -> None:
    folder = pathlib.Path(sys.argv[1]).resolve()
    shutil.rmtree(folder, ignore_errors=True)
    reference = folder / "reference"
    reference.mkdir(parents=True)
    link(folder, ROOT / "docs/site/index.rst", "index.rst")
    link(folder, ROOT / "docs/site/reference/python.rst", "reference/python.rst")
    link(folder, ROOT / "docs/images", "docs/images")
    link(folder, ROOT / "LICENSE", "LICENSE")
    link(folder, ROOT / "examples", "examples")
    for page in [*ROOT.glob("*.md"), *(ROOT / "docs").glob("*.md")]:
        link(folder, page, page.relative_to(ROOT).as_posix())
    header_pages(reference)
    example_page(reference)


if __name__ == "__main__":
    main()
