# SPDX-License-Identifier: MIT
# A reader: every file that a page of the installed documentation names is there, so that it needs no network, and the
# search knows every page.
cd /usr/share/doc/narvo-doc/html
python3 - <<'END'
import html.parser
import pathlib
import urllib.parse

pages = sorted(pathlib.Path().rglob("*.html"))
missing = []


class References(html.parser.HTMLParser):
    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("href", "src") and value:
                parts = urllib.parse.urlsplit(value)
                if parts.scheme or parts.netloc:
                    if tag in ("script", "link", "img"):
                        missing.append((str(page), value))
                elif parts.path and not (page.parent / urllib.parse.unquote(parts.path)).exists():
                    missing.append((str(page), value))


for page in pages:
    References().feed(page.read_text())
assert not missing, missing[:10]
index = pathlib.Path("searchindex.js").read_text()
for page in pages:
    name = page.with_suffix("").as_posix()
    assert name in ("genindex", "search", "py-modindex") or f'"{name}"' in index, name
print(f"{len(pages)} pages, all links inside lead somewhere")
END
