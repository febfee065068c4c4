# SPDX-License-Identifier: MIT
"""check_full_disks.py NARVO: disks that fill up, cannot be written or vanish while the program is at work. The exit code
and the message are the documented ones, what was written before is whole, and a run goes on where there is room again.
The disks are of memory, mounted in namespaces of the check's own; where the system forbids those the code is 77."""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

from measured_run import expect, fail, finish

KIB = 640 * 1024
ROOM = 100 << 10  # bytes of a small disk: less than the results of all images
STORE_ROOM = 300 << 10
IMAGES = 40
MANY = 200
PANEL = ["synth", "--width", "512", "--height", "640", "--pitch-x", "40.5", "--pitch-y", "48.25", "--defects", "8",
         "--seed", "3", "--quiet"]
FULL = "cannot be written: No space left on device; allowed: "
GONE = "removed or replaced during the run; allowed: "


class Disk:
    """A disk of so many bytes at folder/disk."""

    def __init__(self, folder, size=ROOM, options=""):
        self.place = folder / "disk"
        self.place.mkdir(exist_ok=True)
        self._mount(f"size={size}{options}")

    def _mount(self, options):
        subprocess.run(["mount", "-t", "tmpfs", "-o", options, "none", self.place], check=True)

    def remount(self, options):
        # With its source named, mount adds no options of its own reading, which may name users not known here.
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"remount,{options}", "none", self.place], check=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        subprocess.run(["umount", self.place], check=True)


def require_lines(file, least):
    """Every line is whole. Returns how many there are."""
    text = file.read_text()
    lines = [json.loads(line) for line in text.splitlines()]
    if not text.endswith("\n") or len(lines) < least or any("regions" not in line for line in lines):
        fail(f"{file.name}: {len(lines)} lines, the end is {text[-20:]!r}")
    return len(lines)


def require_same(one, other):
    if one.read_bytes() != other.read_bytes():
        fail(f"{one.name} is not {other.name}")


def require_none_beside(folder, expected):
    names = sorted(file.name for file in folder.iterdir() if not file.name.endswith(("-wal", "-shm")))
    if names != expected:
        fail(f"left: {names}, expected {expected}")


def check_every_writer(narvo, folder, has_store):
    """Each command that writes a file, onto a disk without room and onto one that is read-only: nothing is left."""
    lines = [
        ["inspect", "panel.png", "-r", "panel.recipe.json", "-o", "disk/o"],
        ["inspect", "lot", "-r", "panel.recipe.json", "-o", "disk/o"],
        ["golden", "panel.png", "lot/1.png", "-o", "disk/o"],
        ["pitch", "panel.png", "--recipe", "disk/o.json"],
        ["learn", "panel.png", "--mode", "periodic", "-o", "disk/o"],
        ["field", "panel.png", "-o", "disk/o.png"],
        ["cell", "panel.png", "-r", "panel.recipe.json", "--learn", "disk/o.json"],
        ["cell", "panel.png", "-r", "panel.recipe.json", "--golden", "cell.json", "--json", "disk/o.json"],
        ["cell", "panel.png", "-r", "panel.recipe.json", "--golden", "cell.json", "--picture", "disk/o.png"],
        ["report", "one.blobs.json", "-o", "disk/o.html"],
        ["export", "one.blobs.json", "-f", "csv", "-o", "disk/o.csv"],
        ["synth", "--width", "256", "--height", "256", "--pitch-x", "24", "--pitch-y", "24", "-o", "disk/o"],
        ["watch", "folder:lot", "--existing", "-n", "2", "-r", "panel.recipe.json", "-o", "disk/o.jsonl"],
        ["watch", "folder:in", "--seconds", "1", "-r", "panel.recipe.json", "--json", "disk/o.json"],
        ["inspect", "lot", "-r", "panel.recipe.json", "-o", "beside", "--store", "disk/s.sqlite"],
    ]
    lines = lines if has_store else lines[:-1]
    with Disk(folder, 1 << 20) as disk:
        with open(disk.place / "fill", "wb", buffering=0) as fill:
            try:
                while True:
                    fill.write(bytes(4096))
            except OSError:
                pass
        for line in lines:
            store = "--store" in line
            expect(narvo, folder, line, 3, "disk full" if store else FULL,
                   KIB)
            # What a run over many was to append to is there, and empty.
            for file in disk.place.iterdir():
                if file.name != "fill" and file.stat().st_size > 0 and not store:
                    fail(f"{line}: left {file.name}")
                if file.name != "fill":
                    file.unlink()
        disk.remount("ro")
        for line in lines:
            store = "--store" in line
            expect(narvo, folder, line, 3,
                   "cannot be opened; allowed: " if store else "cannot be written: Read-only file system; allowed: ", KIB)
        require_none_beside(disk.place, ["fill"])
    if (folder / "beside.jsonl").exists():
        fail("results without their store")


def check_runs_that_fill_up(narvo, folder):
    """Runs over many images fill the disk; with room again they go on and end with the files of an unhindered run."""
    inspect = ["inspect", "lot", "-r", "panel.recipe.json", "--quiet", "-j", "2", "-o"]
    golden = ["golden", "good.png", "boards", "--quiet", "-j", "2", "-o"]
    for line, size in ((inspect, ROOM), (golden, 24 << 10)):
        expect(narvo, folder, [*line, "whole", "--overwrite"], 0, "", KIB)
        with Disk(folder, size) as disk:
            expect(narvo, folder, [*line, "disk/o"], 3, FULL, KIB)
            before = require_lines(disk.place / "o.jsonl", 1)
            expect(narvo, folder, [*line, "disk/o", "--resume"], 3, FULL, KIB)
            # Where there is no room for the files beside the old ones, these stay.
            if require_lines(disk.place / "o.jsonl", 1) < before:
                fail("a run that went on lost lines")
            require_none_beside(disk.place, ["o.csv", "o.jsonl"])
            disk.remount("size=10m")
            expect(narvo, folder, [*line, "disk/o", "--resume"], 0, "", KIB)
            for ending in ("jsonl", "csv"):
                require_same(disk.place / f"o.{ending}", folder / f"whole.{ending}")


def check_watch_that_fills_up(narvo, folder):
    line = ["watch", "folder:lot", "--existing", "-r", "panel.recipe.json", "--quiet", "--output", "disk/w.jsonl"]
    with Disk(folder) as disk:
        expect(narvo, folder, [*line, "--images", str(IMAGES)], 3, FULL, KIB)
        before = require_lines(disk.place / "w.jsonl", 1)
        disk.remount("size=10m")
        expect(narvo, folder, [*line, "--resume", "--images", str(IMAGES - before)], 0, "", KIB)
        names = [json.loads(one)["image"] for one in (disk.place / "w.jsonl").read_text().splitlines()]
        if len(names) != IMAGES or len(set(names)) != IMAGES:
            fail(f"{len(names)} lines of {len(set(names))} images")


def check_store_that_fills_up(narvo, folder):
    """A run over files ends, a watch waits for room; then the store holds every image."""
    def require_stored():
        require_lines(folder / "s.jsonl", IMAGES)
        expect(narvo, folder, ["report", "--store", "disk/s.sqlite", "-o", "s.html"], 0, f"{IMAGES} images", KIB)
        for file in folder.glob("s.*"):
            file.unlink()

    inspect = ["inspect", "lot", "-r", "panel.recipe.json", "-o", "s", "--quiet", "--store", "disk/s.sqlite"]
    with Disk(folder, STORE_ROOM) as disk:
        expect(narvo, folder, inspect, 3, "--store disk/s.sqlite: ", KIB)
        require_lines(folder / "s.jsonl", 1)
        disk.remount("size=10m")
        expect(narvo, folder, [*inspect, "--resume"], 0, "", KIB)
        require_stored()
    watch = ["watch", "folder:lot", "--existing", "-n", str(IMAGES), "-o", "s.jsonl", "--store", "disk/s.sqlite"]
    with Disk(folder, STORE_ROOM) as disk:
        disturbed(narvo, folder, watch, lambda text: "; trying again" in text, lambda: disk.remount("size=10m"), 0,
                  "store: disk/s.sqlite is back")
        require_stored()


def disturbed(narvo, folder, line, is_time, disturb, code, words):
    """Starts a run, disturbs it when what it has said says that it is time, and looks at its end."""
    with open(folder / "said", "wb") as said:
        process = subprocess.Popen(["timeout", "-s", "KILL", "60", narvo, *line, "-r", "panel.recipe.json", "--quiet",
                                    "-j", "1"], cwd=folder, stdin=subprocess.DEVNULL, stdout=said, stderr=said)
    begin = time.monotonic()
    while time.monotonic() - begin < 30 and process.poll() is None:
        if is_time((folder / "said").read_text(errors="replace")):
            break
        time.sleep(0.002)
    disturb()
    ended = process.wait()
    text = (folder / "said").read_text(errors="replace")
    print(line, ended, text[-300:], flush=True)
    if ended != code or words not in text:
        fail(f"{line}: code {ended} and {text[-500:]!r}, expected {code} and {words!r}")


def check_folders_that_vanish(narvo, folder, has_store):
    """Folders of results, of images and of the store, removed or replaced when some images are done."""
    def remove():
        shutil.rmtree(folder / "place")

    def replace():
        os.rename(folder / "place", folder / "other")
        (folder / "place").mkdir()

    def many(name):
        (folder / name).mkdir()
        for i in range(MANY):
            os.link(folder / "panel.png", folder / name / f"{i}.png")

    def run(line, lines, disturb, code, words, after=None):
        place = folder / "place"
        if not place.exists():
            place.mkdir()
        disturbed(narvo, folder, line, lambda _: lines.exists() and lines.read_bytes().count(b"\n") >= 3, disturb, code,
                  words)
        if after:
            after()
        for left in (place, folder / "other"):
            shutil.rmtree(left, ignore_errors=True)

    many("many")
    inside, beside = folder / "place/o.jsonl", folder / "v.jsonl"
    watch = ["watch", "--existing"]
    for disturb in (remove, replace):
        run(["inspect", "many", "-o", "place/o"], inside, disturb, 3, GONE)
        run([*watch, "folder:many", "-n", str(MANY), "-o", "place/o.jsonl"], inside, disturb, 3, GONE)
        many("place")
        run(["inspect", "place", "-o", "v", "--overwrite"], beside, disturb, 7, "no such file; allowed: ")
        require_lines(beside, MANY)
        beside.unlink()
        many("place")
        run([*watch, "folder:place", "-o", "v.jsonl"], beside, disturb, 2,
            "folder:place: removed or moved away while it was watched; allowed: ")
        require_lines(beside, 3)
        beside.unlink()
        if has_store:
            run(["inspect", "many", "-o", "v", "--overwrite", "--store", "place/s.sqlite"], beside, disturb, 3, GONE)
            require_lines(beside, 3)
            whole = ["inspect", "many", "-o", "v", "-r", "panel.recipe.json", "-q", "--resume", "--store", "s.sqlite"]
            expect(narvo, folder, whole, 0, "", KIB)
            expect(narvo, folder, ["report", "--store", "s.sqlite", "-o", "s.html"], 0, f"{MANY} images", KIB)
            for file in [*folder.glob("s.*"), beside]:
                file.unlink()
    if has_store:
        # A watch gives a new store at the old place all that its result file holds.
        run([*watch, "folder:many", "-n", str(MANY), "-o", "v.jsonl", "--store", "place/s.sqlite"], beside, replace, 0,
            GONE, lambda: expect(narvo, folder, ["report", "--store", "place/s.sqlite", "-o", "s.html"], 0,
                                 f"{MANY} images", KIB))
        require_lines(beside, MANY)


def check(narvo):
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        expect(narvo, folder, PANEL, 0, "", KIB)
        expect(narvo, folder, ["inspect", "panel.png", "-r", "panel.recipe.json", "-q", "-o", "one"], 0, "", KIB)
        expect(narvo, folder, ["cell", "panel.png", "-r", "panel.recipe.json", "-q", "--learn", "cell.json"], 0, "", KIB)
        expect(narvo, folder, ["board", "--width", "512", "--height", "512", "--defects", "6", "--seed", "4", "-q"], 0, "",
               KIB)
        os.rename(folder / "board.good.png", folder / "good.png")
        for lot, image in (("lot", "panel.png"), ("boards", "board.png")):
            (folder / lot).mkdir()
            for i in range(IMAGES if lot == "lot" else 8):
                shutil.copy(folder / image, folder / lot / f"{i}.png")
        (folder / "in").mkdir()
        stored = expect(narvo, folder, ["inspect", "panel.png", "-r", "panel.recipe.json", "-q", "-o", "one", "--store",
                                        "one.sqlite"], (0, 2), "", KIB)
        check_every_writer(narvo, folder, stored.code == 0)
        check_runs_that_fill_up(narvo, folder)
        check_watch_that_fills_up(narvo, folder)
        if stored.code == 0:
            check_store_that_fills_up(narvo, folder)
        else:
            print("built without SQLite: no stores")
        check_folders_that_vanish(narvo, folder, stored.code == 0)
        finish()


def main():
    narvo = os.path.abspath(sys.argv[1])
    if len(sys.argv) > 2:
        return check(narvo)
    own = ["unshare", "--user", "--map-root-user", "--mount"]
    with tempfile.TemporaryDirectory() as name:
        trial = subprocess.run([*own, "mount", "-t", "tmpfs", "none", name], capture_output=True, check=False) \
            if shutil.which("unshare") else None
    if trial is None or trial.returncode != 0:
        print("no disks of the check's own: ", trial.stderr.decode() if trial else "no program unshare")
        sys.exit(77)
    sys.exit(subprocess.run([*own, sys.executable, "-B", __file__, narvo, "inside"], check=False).returncode)


if __name__ == "__main__":
    main()
