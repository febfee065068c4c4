#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Watches the emulated camera for minutes, with the live page open in a browser and the results in a database, and
accounts for every frame at the end. scripts/live-run starts it, in a network of its own.

Usage: live_run.py NARVO FOLDER MINUTES DATABASE    DATABASE is sqlite or postgresql; fills FOLDER, which it empties

With postgresql a server of its own is killed and started again after a third and after two thirds of the time. Then
comes a second watch that goes on behind the first, is killed after some seconds, and is followed by a third. Needs the
Debian packages of scripts/deps --camera, --browser and --store.
"""

import contextlib
import json
import os
import pathlib
import pwd
import re
import shutil
import signal
import sqlite3
import subprocess
import sys
import time
from collections.abc import Iterator
from typing import Any

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tools"))
from report_browser_check import Browser, browser, check  # noqa: E402

RATE = 10  # frames a second
MEMORY_EVERY = 30  # s
MEMORY_GROWTH = 8  # MiB allowed from the first third of the run to its end
LONGEST_PAUSE = 10  # s without a verdict, on a machine that does other things too

# The camera sends a ramp that repeats after 255 pixels and moves by one with each frame. The second region compares
# at a distance that is none of its pitches, so that there are defects whenever the ramp's edge runs through it.
RECIPE = {
    "version": 1,
    "mode": "pixel",
    "threshold": {"base": 20},
    "camera": {
        "features": [{"PixelFormat": "Mono8"}, {"Width": 1024}, {"Height": 1020}, {"AcquisitionFrameRate": RATE}],
    },
    "regions": [
        {"name": "panel", "pitch": {"x": 255, "y": 255}},
        {
            "name": "defects",
            "pitch": {"x": 20, "y": 20},
            "region": {"left": 400, "top": 400, "right": 520, "bottom": 520},
        },
    ],
}


class Server:
    """A PostgreSQL server at a socket in a folder, as another user where this one is root."""

    def __init__(self, folder: pathlib.Path) -> None:
        self._programs = max(pathlib.Path("/usr/lib/postgresql").glob("*/bin"), key=lambda path: int(path.parent.name))
        self._data = folder / "data"
        self._folder = folder
        self._user = "postgres" if os.geteuid() == 0 else None
        folder.mkdir()
        if self._user:
            os.chown(folder, pwd.getpwnam(self._user).pw_uid, -1)
        self._run("initdb", "-D", str(self._data), "-U", "aoi", "-A", "trust", "-E", "UTF8", "--locale=C")
        self.start()
        self._run("createdb", "-h", str(folder), "-U", "aoi", "aoi")
        self.place = f"postgresql://aoi@/aoi?host={folder}"

    def _run(self, program: str, *arguments: str) -> str:
        return subprocess.run([self._programs / program, *arguments], cwd="/", user=self._user, check=True,
                              capture_output=True, text=True).stdout

    def start(self) -> None:
        self._run("pg_ctl", "start", "-w", "-D", str(self._data), "-l", str(self._folder / "log"), "-o",
                  f"-k {self._folder} -c listen_addresses=")

    def kill(self) -> None:
        """The first process, and with it, by its own means, all others."""
        first = int((self._data / "postmaster.pid").read_text().split()[0])
        os.kill(first, signal.SIGKILL)
        while pathlib.Path(f"/proc/{first}").exists():
            time.sleep(0.1)
        time.sleep(2)

    def stop(self) -> None:
        with contextlib.suppress(subprocess.CalledProcessError):
            self._run("pg_ctl", "stop", "-m", "fast", "-D", str(self._data))

    def rows(self, query: str) -> list[tuple[str, ...]]:
        text = self._run("psql", "-h", str(self._folder), "-U", "aoi", "-A", "-t", "-F", "\t", "-c", query, "aoi")
        return [tuple(line.split("\t")) for line in text.splitlines()]


class File:
    """A database of SQLite, with the same calls."""

    def __init__(self, folder: pathlib.Path) -> None:
        self.place = str(folder / "results.sqlite")

    def rows(self, query: str) -> list[tuple[Any, ...]]:
        with contextlib.closing(sqlite3.connect(self.place)) as file:
            check(file.execute("PRAGMA integrity_check").fetchone() == ("ok",), "the file is whole")
            return file.execute(query).fetchall()

    def stop(self) -> None:
        pass


class Watch:
    """A run of `narvo watch`, with the address of its page."""

    def __init__(self, narvo: pathlib.Path, folder: pathlib.Path, place: str, name: str, *options: str) -> None:
        self.folder = folder
        self._summary = folder / f"{name}.json"
        self.told = folder / f"{name}.txt"
        printed = folder / f"{name}.out"
        command = [narvo, "watch", "aravis:Aravis-Fake-GV01", "--recipe", "camera.json", "--lanes", "2",
                   "--when-full", "drop-oldest", "--fail", "dark,count>0", "--fail", "bright,count>0",
                   "--store", place, "--run", "line", "--listen", "127.0.0.1:0", "--json", self._summary, *options]
        self.began = time.time()
        with printed.open("w") as out, self.told.open("w") as told:
            self.process = subprocess.Popen(command, cwd=folder, stdout=out, stderr=told)
        while self.process.poll() is None:
            if found := re.search(r"live page: (http://\S+)\n", printed.read_text()):
                self.address = found[1]
                return
            time.sleep(0.1)
        raise AssertionError("no page: " + self.told.read_text())

    def memory(self) -> float:
        """What the process has in memory, in MiB."""
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(re.search(r"VmRSS:\s+(\d+)", status)[1]) / 1024

    def lines(self) -> int:
        return (self.folder / "watch.jsonl").read_bytes().count(b"\n")

    def finish(self) -> tuple[int, dict[str, Any]]:
        self.process.wait(120)
        return self.process.returncode, json.loads(self._summary.read_text())

    def kill(self) -> None:
        self.process.kill()
        self.process.wait()


@contextlib.contextmanager
def camera() -> Iterator[None]:
    process = subprocess.Popen(["arv-fake-gv-camera-0.8", "-i", "127.0.0.1"], stdout=subprocess.DEVNULL)
    try:
        yield
    finally:
        process.kill()
        process.wait()


def open_page(page: Browser, address: str) -> None:
    page.run("location.href = arguments[0]", address)
    page.wait("document.documentElement.dataset.ready === 'yes'")


def follow(watch: Watch, page: Browser, seconds: float, server: Server | None) -> list[tuple[float, float, int]]:
    """Looks on until the watch ends, and kills the server twice. Gives minute, MiB and number of lines, every 30 s."""
    kills = [seconds / 3, seconds * 2 / 3] if server else []
    samples = []
    next_sample = 0.0
    while watch.process.poll() is None:
        now = time.time() - watch.began
        if kills and now > kills[0]:
            kills.pop(0)
            server.kill()
            print(f"  {now / 60:5.1f} min: the server was killed", flush=True)
            time.sleep(15)
            server.start()
            print(f"  {(time.time() - watch.began) / 60:5.1f} min: the server is back", flush=True)
        if now > next_sample and now < seconds:
            next_sample += MEMORY_EVERY
            with contextlib.suppress(OSError, TypeError):
                samples.append((now / 60, watch.memory(), watch.lines()))
                shown = page.value("document.querySelector('#tiles dd').textContent")
                condition = page.value("document.getElementById('condition').textContent")
                print(f"  {now / 60:5.1f} min: {samples[-1][1]:.1f} MiB, {samples[-1][2]} lines; the page says {shown}, "
                      f"{condition}", flush=True)
        time.sleep(0.5)
    if server:
        check(not kills, "the server was killed as often as planned")
    return samples


def read_lines(folder: pathlib.Path) -> list[dict[str, Any]]:
    return [json.loads(line) for line in (folder / "watch.jsonl").read_text().splitlines()]


def check_frames(summary: dict[str, Any], lines: list[dict[str, Any]], told: str) -> None:
    """Every number that the camera gave is a line, or was told of."""
    frames = summary["frames"]
    check(frames["acquired"] == frames["inspected"] + frames["dropped"] + frames["unreadable"], f"counts add up: {frames}")
    check(len(lines) == frames["inspected"], "each inspected frame has its line")
    numbers = [line["frame"] for line in lines]
    check(all(a < b for a, b in zip(numbers, numbers[1:])), "in the order of the camera's numbers, each once")
    absent = numbers[-1] - numbers[0] + 1 - len(numbers)
    given_up = frames["dropped"] + frames["unreadable"] + frames["incomplete"] + frames["lost"]
    check(absent <= given_up, f"{absent} numbers between the first and the last have no line, {given_up} were told of")
    check(given_up == 0 or told != "", "what has no line was told of")
    acquired = [line["acquired"] for line in lines]
    pause = max(b - a for a, b in zip(acquired, acquired[1:])) / 1e9
    check(pause < LONGEST_PAUSE, f"the inspection never stopped: at most {pause:.2f} s between two frames")


def check_store(store: Server | File, lines: list[dict[str, Any]]) -> None:
    """Each line of the file is in the database, once, with its verdict and blobs."""
    rows = store.rows("SELECT images.sequence, images.name, images.blob_count, "
                      "(SELECT count(*) FROM blobs WHERE blobs.image = images.id), "
                      "(SELECT count(*) FROM verdicts WHERE verdicts.image = images.id) "
                      "FROM images, runs WHERE images.run = runs.id AND runs.key = 'line' ORDER BY images.sequence")
    found = [(row[1], int(row[2]), int(row[3]), int(row[4])) for row in rows]
    blobs = [sum(len(region["blobs"]) for region in line["regions"]) for line in lines]
    wanted = [(line["image"], count, count, 1) for line, count in zip(lines, blobs)]
    check(found == wanted, f"each of the {len(lines)} lines is once in the database, in order, with verdict and blobs: "
                           f"{len(found)} images, {sum(blobs)} blobs")


def main() -> int:
    narvo, folder = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    seconds, postgresql = round(float(sys.argv[3]) * 60), sys.argv[4] == "postgresql"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    folder.chmod(0o755)
    (folder / "camera.json").write_text(json.dumps(RECIPE))
    store = Server(folder / "server") if postgresql else File(folder)
    try:
        with camera(), browser(folder) as page:
            print(f"a watch of {seconds} s", flush=True)
            first = Watch(narvo, folder, store.place, "first", "--seconds", str(seconds))
            open_page(page, first.address)
            samples = follow(first, page, seconds, store if postgresql else None)
            code, summary = first.finish()
            told = first.told.read_text()
            print("  " + json.dumps(summary))
            check(code in (0, 7), f"it ended by itself, with exit code {code}")
            lines = read_lines(folder)
            check_frames(summary, lines, told)
            check_store(store, lines)
            page.wait("document.getElementById('condition').textContent === 'ended'")
            check(page.errors() == [], "no error on the page's console")
            early = max(memory for minute, memory, _ in samples[:max(1, len(samples) // 3)])
            late = max(memory for _, memory, _ in samples[len(samples) // 3:])
            check(late - early < MEMORY_GROWTH, f"memory: at most {early:.1f} MiB in the first third, {late:.1f} MiB later")

            print("a second watch goes on behind it, and is killed")
            second = Watch(narvo, folder, store.place, "second", "--resume")
            while second.lines() < len(lines) + 5 * RATE:
                time.sleep(0.05)
            second.kill()
            kept = (folder / "watch.jsonl").read_bytes()
            print("a third goes on behind that")
            third = Watch(narvo, folder, store.place, "third", "--resume", "--seconds", "5")
            open_page(page, third.address)
            code, summary = third.finish()
            check(code in (0, 7), f"it ended by itself, with exit code {code}")
            check((folder / "watch.jsonl").read_bytes().startswith(kept[:kept.rindex(b"\n") + 1]),
                  "no line of the killed watch was changed")
            lines = read_lines(folder)
            check(len(lines) == kept.count(b"\n") + summary["frames"]["inspected"], "and its own stand behind them")
            check_store(store, lines)
    finally:
        store.stop()
    print("done")
    return 0


if __name__ == "__main__":
    sys.exit(main())
