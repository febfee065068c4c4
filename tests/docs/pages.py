# SPDX-License-Identifier: MIT
"""The pages of the documentation as the tests see them: their blocks of code, their links, their headings."""

import os
import pathlib
import re
from typing import Iterator, List, NamedTuple, Set

ROOT = pathlib.Path(os.environ.get("NARVO_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))


class Block(NamedTuple):
    page: str  # path from the top folder
    line: int  # where its text begins
    language: str  # empty for commands and their output
    text: str


class Link(NamedTuple):
    page: str
    line: int
    target: str


def pages() -> List[pathlib.Path]:
    """Every page: those of docs/ and of the top folder."""
    return sorted([*ROOT.glob("*.md"), *(ROOT / "docs").glob("*.md")])


def blocks(page: pathlib.Path) -> Iterator[Block]:
    name = page.relative_to(ROOT).as_posix()
    text = page.read_text()
    for found in re.finditer(r"^```([a-z]*)\n(.*?)^```$", text, re.M | re.S):
        yield Block(name, text.count("\n", 0, found.start(2)) + 1, found[1], found[2])


def prose(text: str) -> str:
    """The text with code blanked out, so that lines keep their numbers."""
    text = re.sub(r"^```.*?^```$", lambda found: "\n" * found[0].count("\n"), text, flags=re.M | re.S)
    return re.sub(r"`[^`\n]*`", "", text)


def links(page: pathlib.Path) -> Iterator[Link]:
    name = page.relative_to(ROOT).as_posix()
    text = prose(page.read_text())
    # A link's words may hold a line's end and a picture, but no other bracket.
    for found in re.finditer(r"\[(?:[^\[\]]|\[[^\[\]]*\])*\]\(([^)\s]+)\)", text):
        yield Link(name, text.count("\n", 0, found.start()) + 1, found[1])


def anchors(page: pathlib.Path) -> Set[str]:
    """The names of the page's headings in links, as forges and the site make them."""
    names: Set[str] = set()
    text = re.sub(r"^```.*?^```$", "", page.read_text(), flags=re.M | re.S)
    for heading in re.findall(r"^#{1,6} +(.*?) *$", text, re.M):
        words = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower()
        slug = re.sub(r"[^\w\- ]", "", words).replace(" ", "-")
        unique, count = slug, 0
        while unique in names:
            count += 1
            unique = f"{slug}-{count}"
        names.add(unique)
    return names
