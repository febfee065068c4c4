#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Opens the live page of a running watch in headless Chromium and uses it as a person would, in light and dark.

Usage: live_browser_check.py NARVO FOLDER [SCREENSHOTS]

Makes panels with NARVO in FOLDER, which it empties, and watches them. Needs the Debian packages chromium and
chromium-driver, and nothing of the network.
"""

import contextlib
import json
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time
from collections.abc import Iterator

from report_browser_check import Browser, browser, check

HOSTILE = "<img src=x onerror=alert(1)>&\"'.png"


@contextlib.contextmanager
def watch(narvo: pathlib.Path, folder: pathlib.Path, *options: str) -> Iterator[tuple[subprocess.Popen[str], str]]:
    """A watch of FOLDER/in and the address of its page."""
    command = [narvo, "watch", "folder:in", "-r", "panel.recipe.json", "--listen", "127.0.0.1:0", "--overwrite", *options]
    with (folder / "told.txt").open("w") as told:
        process = subprocess.Popen(command, cwd=folder, stdout=subprocess.PIPE, stderr=told, text=True)
    try:
        assert process.stdout
        for line in process.stdout:
            if found := re.match(r"live page: (http://\S+)", line):
                yield process, found[1]
                break
        else:
            raise AssertionError("no address was printed: " + (folder / "told.txt").read_text())
    finally:
        if process.poll() is None:
            process.terminate()
        process.communicate(timeout=30)


def go(page: Browser, address: str) -> None:
    page._call("POST", f"{page._session}/url", {"url": address})
    page.wait("document.documentElement.dataset.ready === 'yes'")


def text(page: Browser, identity: str) -> str:
    return page.run("return document.getElementById(arguments[0]).textContent", identity)


def rows(page: Browser) -> list[str]:
    return page.value("[...document.querySelectorAll('#rows tr')].map((row) => row.textContent)")


def check_names(page: Browser) -> None:
    """Every control, picture and region has a name that a screen reader can say."""
    nameless = page.run("""
        const named = (one) => (one.getAttribute('aria-label') || one.textContent || '').trim() !== '' ||
            (one.labels && one.labels.length > 0) ||
            (one.getAttribute('aria-labelledby') && document.getElementById(one.getAttribute('aria-labelledby')));
        return [...document.querySelectorAll('button, input, meter, output, [role], section, aside, svg')]
            .filter((one) => one.getAttribute('role') !== 'status' && one.getAttribute('role') !== 'alert' && !named(one))
            .map((one) => one.outerHTML.slice(0, 80));""")
    check(nameless == [], f"controls, pictures and regions have names {nameless}")


def check_lot(page: Browser) -> None:
    """Six panels have the same thirty defects: each of them is a place that comes back."""
    page.wait("document.getElementById('lot-text').textContent.includes('13 images of one size')")
    places = page.value("[...document.querySelectorAll('#lot-rows tr')].map((row) => row.textContent)")
    check(len(places) >= 10 and any("comes back" in place for place in places), "the lot lists places that come back")
    check(page.value("document.querySelectorAll('#image-map .lot-mark').length") >= 10, "and marks them on the map")
    check(page.value("document.querySelectorAll('#lot-charts svg polyline').length") >= 2, "charts show how images change")
    check("in 13 points" in text(page, "lot-charts"), "and are told in words")
    page.run("document.querySelector('#lot-rows button').focus()")
    page.keys(" ")
    page.wait("document.querySelectorAll('#image-map .pointed, #cell-map .pointed').length === 1")
    check(page.value("document.activeElement.getAttribute('aria-pressed')") == "true",
          "the keyboard shows one on the map, and its button keeps the focus")
    check(page.value("document.querySelectorAll('#lot-rows tr.pointed').length") == 1, "its row is marked as well")


def make_cell(narvo: pathlib.Path, folder: pathlib.Path) -> None:
    """The golden cell of the good panel, made darker at four by four places: all panels are brighter there."""
    subprocess.run([narvo, "cell", "good.png", "-r", "panel.recipe.json", "--learn", "cell.json", "-q"], cwd=folder, check=True)
    cell = json.loads((folder / "cell.json").read_text())
    for row in cell["regions"][0]["mean"][20:24]:
        row[30:34] = [value - 25 for value in row[30:34]]
    (folder / "cell.json").write_text(json.dumps(cell))


def check_cell(page: Browser) -> None:
    page.wait("!document.getElementById('cell').hidden && document.querySelectorAll('#cell-rows tr').length >= 1")
    check("differs at 1 place" in text(page, "cell-text"), "the latest image is held against the golden cell")
    place = page.value("document.querySelector('#cell-rows tr').textContent")
    check("x 30 to 33, y 20 to 23" in place and "+2" in place, f"and its place in the cell is listed: {place}")
    page.wait("document.getElementById('cell-picture').naturalWidth > 600")
    check("Golden cell, cell of" in page.value("document.getElementById('cell-picture').alt"), "drawn, and told in words")


def check_alarms(page: Browser, folder: pathlib.Path) -> None:
    """Fifteen images without defects and fifteen with thirty each: a drift that the charts tell of."""
    for i in range(30):
        shutil.copy(folder / ("good.png" if i < 15 else "panel.png"), folder / "in" / f"z{i:03}.png")
    page.wait("document.getElementById('lot-text').textContent.includes('45 images of one size')")
    check(page.value("document.querySelectorAll('#lot-charts circle.alarm').length") >= 2, "a drift gives alarms on the charts")
    page.run("document.querySelector('#lot-alarms summary').focus()")
    page.keys("\ue007")
    page.wait("document.getElementById('lot-alarms').open")
    told = page.value("[...document.querySelectorAll('#lot-alarm-rows tr')].map((row) => row.textContent)")
    check(any("in/z" in row and " on one side" in row for row in told), f"which a table tells with image and rule: {told[0]}")


def check_page(page: Browser, folder: pathlib.Path, process: subprocess.Popen[str], shots: pathlib.Path | None) -> None:
    images = ["panel.png", "good.png"]
    for i in range(12):
        shutil.copy(folder / images[i % 2], folder / "in" / f"{i:03}.png")
    shutil.copy(folder / "panel.png", folder / "in" / HOSTILE)
    page.wait("document.querySelectorAll('#rows tr').length === 7")
    check(all("fail" in row for row in rows(page)), "the images that failed are listed")
    check(any(HOSTILE in row for row in rows(page)), "a name that looks like markup stands there as text")
    check(page.value("document.querySelectorAll('img:not(#cell-picture)').length") == 0, "and has become none")
    page.run("document.querySelector('input[name=which][value=last]').focus()")
    page.keys(" ")
    check(len(rows(page)) == 13, "the keyboard switches to all verdicts")
    page.wait("document.getElementById('canvas').getContext('2d').getImageData(300, 200, 1, 1).data[3] === 255")
    check("defects" in page.value("document.getElementById('canvas').getAttribute('aria-label')"), "the picture is told in words")
    page.wait("document.getElementById('tiles').textContent.includes('Inspected') && "
              "document.querySelector('#tiles dd').textContent === '13'")
    check(text(page, "condition") == "running", "the run is said to be running")
    page.wait("document.querySelectorAll('#image-map rect').length > 5 && document.querySelectorAll('#cell-map rect').length > 5")
    check("at most" in text(page, "image-map-text"), "the maps are told in words, too")
    check(page.value("document.querySelectorAll('#images-chart rect.fail').length") >= 1, "the chart has a bar of failed images")
    check_lot(page)
    check_cell(page)
    check_names(page)
    page.run("document.body.focus()")
    page.keys("p")
    check(text(page, "pause") == "Held", "the key p holds the picture")
    name = text(page, "picture-name")
    shutil.copy(folder / ("good.png" if "panel" in name else "panel.png"), folder / "in" / "later.png")
    page.wait("document.querySelectorAll('#rows tr').length === 14")
    check(text(page, "picture-name") == name, "while verdicts go on")
    page.keys("p")
    shutil.copy(folder / "panel.png", folder / "in" / "latest.png")
    page.wait("document.getElementById('picture-name').textContent === 'in/latest.png'")
    check(True, "and lets it go on")
    check_alarms(page, folder)
    for theme in ("light", "dark"):
        page.click("#theme")
        check(page.value("document.documentElement.dataset.theme") == theme, f"the button sets {theme} colours")
        if shots:
            page.run("window.scrollTo(0, 0)")
            page.wait("window.scrollY === 0")
            page.screenshot(shots / f"live-{theme}.png")
            page.run("document.getElementById('verdicts').scrollIntoView()")
            page.screenshot(shots / f"live-{theme}-below.png")
            page.run("document.getElementById('maps-title').scrollIntoView()")
            page.screenshot(shots / f"live-{theme}-maps.png")
            page.run("document.getElementById('lot').scrollIntoView()")
            page.screenshot(shots / f"live-{theme}-lot.png")
            page.run("document.getElementById('cell').scrollIntoView()")
            page.screenshot(shots / f"live-{theme}-cell.png")
            page.run("document.getElementById('lot-charts').scrollIntoView()")
            page.screenshot(shots / f"live-{theme}-lot-charts.png")
    check(page.value("performance.getEntriesByType('resource').every((e) => e.name.startsWith(location.origin) || "
                     "e.name.startsWith('data:'))"), "nothing came from elsewhere")
    check(page.errors() == [], "no error on the console")
    process.send_signal(signal.SIGTERM)
    page.wait("document.getElementById('condition').textContent === 'ended'")
    check(process.wait(30) == 6, "the run ends at SIGTERM while the page is open, and the page says so")


def main() -> int:
    narvo, folder = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    shots = pathlib.Path(sys.argv[3]).resolve() if len(sys.argv) > 3 else None
    shutil.rmtree(folder, ignore_errors=True)
    (folder / "in").mkdir(parents=True)
    if shots:
        shots.mkdir(parents=True, exist_ok=True)
    for name, defects in (("panel", "30"), ("good", "0")):
        subprocess.run([narvo, "synth", "--width", "800", "--height", "600", "--defects", defects, "-q", "-o", name],
                       cwd=folder, check=True)

    with browser(folder) as page:
        print("a page that is open from the start")
        make_cell(narvo, folder)
        with watch(narvo, folder, "--fail", "count>3", "--cell", "cell.json") as (process, address):
            go(page, address)
            check(text(page, "no-rows") == "None so far.", "it says that there is nothing so far")
            check_page(page, folder, process, shots)
        print("a page that comes late, with a token")
        (folder / "token").write_text("0123456789abcdef-token\n")
        (folder / "token").chmod(0o600)
        with watch(narvo, folder, "--fail", "count>3", "--existing", "--listen-token", "token") as (process, address):
            while (folder / "watch.jsonl").read_bytes().count(b"\n") < 45:
                time.sleep(0.05)
            go(page, address + "?token=0123456789abcdef-token")
            check(len(rows(page)) == 24, "it has the images that failed at once")
            page.wait("document.getElementById('canvas').getContext('2d').getImageData(300, 200, 1, 1).data[3] === 255")
            check(page.errors() == [], "no error on the console")
    print("done")
    return 0


if __name__ == "__main__":
    sys.exit(main())
