#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Opens a report page in headless Chromium and uses it as a person would: sorts, filters, selects, zooms.

Usage: report_browser_check.py NARVO FOLDER [SCREENSHOTS]

Makes a panel with NARVO in FOLDER (an empty folder that it may fill), writes reports of it and drives them over
WebDriver. Needs the Debian packages chromium and chromium-driver, and nothing of the network.
"""

import base64
import contextlib
import json
import pathlib
import shutil
import socket
import subprocess
import sys
import time
import urllib.error
import urllib.request
from collections.abc import Iterator
from typing import Any

FLAGS = [
    "--headless",
    "--no-sandbox",
    "--disable-gpu",
    "--disable-quic",
    "--no-first-run",
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
    "--force-color-profile=srgb",
]


class Browser:
    """The few WebDriver commands that the check needs."""

    def __init__(self, port: int, profile: pathlib.Path, size: tuple[int, int]) -> None:
        self._base = f"http://127.0.0.1:{port}"
        options = {"args": [*FLAGS, f"--user-data-dir={profile}", f"--window-size={size[0]},{size[1]}"]}
        capabilities = {"alwaysMatch": {"goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}}
        self._session = ""
        session = self._call("POST", "/session", {"capabilities": capabilities})
        self._session = f"/session/{session['sessionId']}"

    def _call(self, method: str, path: str, body: Any = None) -> Any:
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self._base + path, data, {"Content-Type": "application/json"}, method=method)
        try:
            with urllib.request.urlopen(request, timeout=120) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise RuntimeError(f"{path}: {error.read().decode()[:600]}") from error

    def open(self, page: pathlib.Path) -> None:
        self._call("POST", f"{self._session}/url", {"url": page.as_uri()})
        self.wait("document.documentElement.dataset.ready === 'yes'")

    def run(self, script: str, *arguments: Any) -> Any:
        return self._call("POST", f"{self._session}/execute/sync", {"script": script, "args": list(arguments)})

    def value(self, expression: str) -> Any:
        return self.run(f"return {expression}")

    def wait(self, expression: str) -> None:
        for _ in range(100):
            if self.value(expression):
                return
            time.sleep(0.1)
        raise AssertionError(f"not so within 10 s: {expression}")

    def click(self, selector: str) -> None:
        found = self._call("POST", f"{self._session}/element", {"using": "css selector", "value": selector})
        self._call("POST", f"{self._session}/element/{next(iter(found.values()))}/click", {})

    def keys(self, text: str) -> None:
        actions = [{"type": kind, "value": letter} for letter in text for kind in ("keyDown", "keyUp")]
        self._call("POST", f"{self._session}/actions", {"actions": [{"type": "key", "id": "keys", "actions": actions}]})

    def wheel(self, x: int, y: int, by: int) -> None:
        turn = {"type": "scroll", "x": x, "y": y, "deltaX": 0, "deltaY": by, "duration": 0}
        self._call("POST", f"{self._session}/actions", {"actions": [{"type": "wheel", "id": "wheel", "actions": [turn]}]})

    def drag(self, start: tuple[int, int], end: tuple[int, int]) -> None:
        moves = [
            {"type": "pointerMove", "x": start[0], "y": start[1], "duration": 0},
            {"type": "pointerDown", "button": 0},
            {"type": "pointerMove", "x": end[0], "y": end[1], "duration": 50},
            {"type": "pointerUp", "button": 0},
        ]
        mouse = {"type": "pointer", "id": "mouse", "parameters": {"pointerType": "mouse"}, "actions": moves}
        self._call("POST", f"{self._session}/actions", {"actions": [mouse]})

    def errors(self) -> list[str]:
        log = self._call("POST", f"{self._session}/se/log", {"type": "browser"})
        return [entry["message"] for entry in log if entry["level"] == "SEVERE"]

    def screenshot(self, file: pathlib.Path) -> None:
        file.write_bytes(base64.b64decode(self._call("GET", f"{self._session}/screenshot")))

    def emulate_print(self, on: bool) -> None:
        body = {"cmd": "Emulation.setEmulatedMedia", "params": {"media": "print" if on else ""}}
        self._call("POST", f"{self._session}/goog/cdp/execute", body)

    def print_page(self, file: pathlib.Path) -> None:
        file.write_bytes(base64.b64decode(self._call("POST", f"{self._session}/print", {"background": True})))

    def quit(self) -> None:
        self._call("DELETE", self._session)


@contextlib.contextmanager
def browser(folder: pathlib.Path, size: tuple[int, int] = (1440, 1000)) -> Iterator[Browser]:
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        port = probe.getsockname()[1]
    profile = folder / "profile"
    shutil.rmtree(profile, ignore_errors=True)
    with (folder / "driver.log").open("w") as log:
        driver = subprocess.Popen(["chromedriver", f"--port={port}"], stdout=log, stderr=log)
    try:
        for _ in range(100):
            with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port), 1):
                break
            time.sleep(0.1)
        session = Browser(port, profile, size)
        try:
            yield session
        finally:
            session.quit()
    finally:
        driver.terminate()
        driver.wait(20)


def check(fact: bool, text: str) -> None:
    if not fact:
        raise AssertionError(text)
    print("  " + text)


def column(page: Browser, key: str) -> list[str]:
    return page.run(
        """
        const at = [...document.querySelectorAll('#head th')].findIndex((head) => head.dataset.key === arguments[0]);
        return [...document.querySelectorAll('#rows tr')].map((row) => row.children[at].textContent);
        """,
        key,
    )


def numbers(page: Browser, key: str) -> list[float]:
    return [float(text.replace(",", "")) for text in column(page, key)]


def set_field(page: Browser, identity: str, value: str) -> None:
    page.run(
        """
        const field = document.getElementById(arguments[0]);
        field.value = arguments[1];
        field.dispatchEvent(new Event('input', { bubbles: true }));
        """,
        identity,
        value,
    )


def check_one_image(page: Browser, blobs: list[dict[str, Any]], shots: pathlib.Path | None) -> None:
    check(page.value("document.querySelectorAll('#rows tr').length") == min(50, len(blobs)), "one row for each defect")
    page.wait("document.querySelector('#rows canvas').getContext('2d').getImageData(24, 24, 1, 1).data[3] === 255")
    if shots:
        page.screenshot(shots / "report.png")

    page.click("#head th[data-key=peak] button")
    peaks = numbers(page, "peak")
    check(peaks == sorted((blob["peak"] for blob in blobs), reverse=True)[:50], "a click on Peak sorts, largest first")
    check(page.value("document.querySelector('[data-key=peak]').getAttribute('aria-sort')") == "descending", "and says so")
    page.click("#head th[data-key=peak] button")
    check(numbers(page, "peak") == sorted(blob["peak"] for blob in blobs)[:50], "a second click turns the order round")
    page.click("#head th[data-key=x] button")
    check(numbers(page, "x") == sorted(blob["center_x"] for blob in blobs)[:50], "positions sort as numbers")

    set_field(page, "filter-type", "1")
    bright = [blob for blob in blobs if blob["polarity"] == "bright"]
    check(set(column(page, "bright")) == {"bright"}, "the type filter leaves bright defects")
    check(page.value("document.getElementById('count').textContent") == f"{len(bright)} of {len(blobs)} pass the filters",
          "and counts them")
    set_field(page, "filter-low", "30")
    check(len(column(page, "area")) == min(50, sum(blob["area"] >= 30 for blob in bright)), "the size filter joins it")
    page.click("#filter-clear")
    page.wait("document.getElementById('filter-type').value === ''")
    check(page.value("document.getElementById('count').textContent") == f"{len(blobs)} in all", "Clear brings all back")
    some = blobs[len(blobs) // 2]
    set_field(page, "filter-text", f"{some['center_x']} {some['center_y']}")
    check(some["number"] in numbers(page, "number"), "text finds a position")
    page.click("#rows tr")
    check(page.value("document.querySelectorAll('#rows tr[aria-selected=true]').length") == 1, "a click selects a row")
    check(f"Defect {some['number']}" in page.value("document.getElementById('detail').textContent"), "and describes it")
    if shots:
        page.screenshot(shots / "selected.png")
    page.click("#filter-clear")

    page.run("document.querySelector('.view').scrollIntoView()")
    before = page.value("document.getElementById('zoom').textContent")
    page.click("#zoom-fit")
    fitted = page.value("document.getElementById('zoom').textContent")
    check(before != fitted, "selecting has zoomed to the defect, Fit goes back")
    box = page.run("const b = document.getElementById('canvas').getBoundingClientRect(); return [b.x, b.y, b.width, b.height]")
    middle = (int(box[0] + box[2] / 2), int(box[1] + box[3] / 2))
    page.wheel(*middle, -600)
    zoomed = page.value("document.getElementById('zoom').textContent")
    check(float(zoomed.split()[0]) > float(fitted.split()[0]), f"the wheel zooms: {fitted} to {zoomed}")
    picture = "document.getElementById('canvas').toDataURL()"
    still = page.value(picture)
    page.drag(middle, (middle[0] - 120, middle[1] - 60))
    check(page.value(picture) != still, "dragging moves the image")
    page.run("document.getElementById('canvas').focus()")
    page.keys("0")
    check(page.value("document.getElementById('zoom').textContent") == fitted, "the key 0 shows all")
    page.keys("n")
    first = page.value("document.querySelector('#rows tr[aria-selected=true]').dataset.index")
    page.keys("n")
    check(page.value("document.querySelector('#rows tr[aria-selected=true]').dataset.index") != first, "n steps on")
    if shots:
        page.screenshot(shots / "zoomed.png")
        page.run("window.scrollTo(0, document.getElementById('charts').getBoundingClientRect().top + window.scrollY - 60)")
        page.screenshot(shots / "charts.png")
        page.run("window.scrollTo(0, document.getElementById('images-section').getBoundingClientRect().top + window.scrollY)")
        page.screenshot(shots / "recipe.png")
        page.run("window.scrollTo(0, 0)")
        page.click("#theme")
        page.screenshot(shots / "dark.png")
        page.print_page(shots / "report.pdf")
        page.emulate_print(True)
        page.screenshot(shots / "print.png")
        page.emulate_print(False)
    requests = page.value("performance.getEntriesByType('resource').filter((e) => !e.name.startsWith('data:')).length")
    check(requests == 0, "nothing was asked of a file or a network")
    check(page.errors() == [], "no error on the console")


def main() -> int:
    narvo, folder = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    shots = pathlib.Path(sys.argv[3]).resolve() if len(sys.argv) > 3 else None
    folder.mkdir(parents=True, exist_ok=True)
    if shots:
        shots.mkdir(parents=True, exist_ok=True)

    def call(*arguments: str) -> None:
        subprocess.run([narvo, *arguments], cwd=folder, check=True, stdout=subprocess.DEVNULL)

    call("synth", "--width", "1600", "--height", "1200", "--defects", "60", "--seed", "5", "-q", "-o", "one")
    call("inspect", "one.png", "-r", "one.recipe.json", "-q")
    call("report", "one.blobs.json", "-q")
    hostile = "<img src=x onerror=alert(1)>&\"'.png"
    shutil.copy(folder / "one.png", folder / hostile)
    call("report", "one.png", hostile, "-r", "one.recipe.json", "-o", "two.report.html", "-q",
         "--title", "</title><script>document.title = 'broken'</script>")
    call("synth", "--width", "1600", "--height", "1200", "--defects", "0", "--noise", "0", "-q", "-o", "none")
    call("report", "none.png", "-r", "none.recipe.json", "-q")
    blobs = json.loads((folder / "one.blobs.json").read_text())["blobs"]

    with browser(folder) as page:
        print("one image")
        page.open(folder / "one.report.html")
        check_one_image(page, blobs, shots)
        print("two images, names that look like markup")
        page.open(folder / "two.report.html")
        check(page.value("document.title") == "</title><script>document.title = 'broken'</script>", "the title is text")
        check(page.value("document.querySelectorAll('img, #rows script').length") == 0, "no name has become markup")
        check(hostile in column(page, "imageName"), "the name stands in the table as it is")
        page.run("document.getElementById('image').value = '1'; "
                 "document.getElementById('image').dispatchEvent(new Event('change'))")
        check(hostile in page.value("document.getElementById('canvas').getAttribute('aria-label')"), "and for the image")
        if shots:
            page.screenshot(shots / "two.png")
        check(page.errors() == [], "no error on the console")
        print("no defects")
        page.open(folder / "none.report.html")
        check(page.value("document.getElementById('no-rows').textContent") == "No defects were found.", "it says so")
        check(page.errors() == [], "no error on the console")
        if shots:
            page.screenshot(shots / "none.png")
    print("done")
    return 0


if __name__ == "__main__":
    sys.exit(main())
