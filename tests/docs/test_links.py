# SPDX-License-Identifier: MIT
"""Every link of every page leads to a file or folder of the tree, and to a heading that its page has."""

import os
import re

import pages
import pytest

ALL = pages.pages()


@pytest.mark.parametrize("page", ALL, ids=lambda page: page.name)
def test_links_lead_somewhere(page):
    wrong = []
    for link in pages.links(page):
        if re.match(r"https?:|mailto:", link.target):
            continue
        path, _, anchor = link.target.partition("#")
        target = page if not path else page.parent / path
        where = f"{link.page}:{link.line}: {link.target}"
        if not target.exists():
            wrong.append(f"{where}: no such file")
        elif anchor and (target.suffix != ".md" or anchor not in pages.anchors(target)):
            wrong.append(f"{where}: no such heading")
    assert wrong == []


def test_every_page_is_on_the_site():
    index = (pages.ROOT / "docs/site/index.rst").read_text()
    listed = set(re.findall(r"^   (?:.* <)?([A-Za-z/-]+)>?$", index, re.M))
    for page in ALL:
        assert page.relative_to(pages.ROOT).with_suffix("").as_posix() in listed


def test_every_picture_is_shown():
    shown = {
        os.path.normpath((pages.ROOT / link.page).parent / link.target) for page in ALL for link in pages.links(page)
    }
    for picture in (pages.ROOT / "docs/images").iterdir():
        if picture.suffix in (".png", ".svg"):
            assert str(picture) in shown, picture.name


def test_a_wrong_link_is_seen(tmp_path):
    page = pages.ROOT / "docs" / "guide.md"
    assert "choosing-the-pitch" in pages.anchors(page) and "no-such-heading" not in pages.anchors(page)
    assert len(list(pages.links(page))) >= 10 and sum(1 for each in ALL for _ in pages.links(each)) >= 100
