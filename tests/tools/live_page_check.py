#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds `narvo watch --listen` as a process to what it promises: every verdict reaches a reader, metrics are read by a
strict parser, and whoever connects, the inspection goes on and ends as it would alone.

Usage: live_page_check.py NARVO FOLDER    fills FOLDER, which it empties
"""

import contextlib
import http.client
import json
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import sys
import threading
import time

try:
    from prometheus_client.parser import text_string_to_metric_families
except ImportError:
    text_string_to_metric_families = None

IMAGES = 60


def check(fact, text):
    if not fact:
        raise AssertionError(text)
    print("  " + text)


class Watch:
    """A watch of FOLDER/in with its page."""

    def __init__(self, narvo, folder, *options):
        self.folder = folder
        command = [narvo, "watch", "folder:in", "-r", "panel.recipe.json", "--overwrite", "--json", "s.json", *options]
        self.process = subprocess.Popen(command, cwd=folder, stdout=subprocess.PIPE, text=True)
        for line in self.process.stdout:
            if found := re.match(r"live page: http://127\.0\.0\.1:(\d+)/", line):
                self.port = int(found[1])
                return
        raise AssertionError("no address was printed")

    def get(self, path, headers=None):
        """Status and body; asked again while all threads of the server are taken."""
        for _ in range(200):
            with contextlib.suppress(OSError, http.client.HTTPException):
                connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=20)
                connection.request("GET", path, headers=headers or {})
                answer = connection.getresponse()
                if answer.status != 503 or answer.getheader("Content-Length") != "0":
                    return answer.status, answer.read().decode()
            time.sleep(0.05)
        raise AssertionError("no answer")

    def lines(self):
        return (self.folder / "watch.jsonl").read_bytes().count(b"\n")

    def finish(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.communicate(timeout=60)
        return self.process.returncode, json.loads((self.folder / "s.json").read_text())


class Reader(threading.Thread):
    """Reads events as a page does."""

    def __init__(self, port):
        super().__init__(daemon=True)
        self.events = []
        self.begun = threading.Event()
        self._answer = http.client.HTTPConnection("127.0.0.1", port, timeout=60)
        self._answer.request("GET", "/events")
        self.start()

    def run(self):
        name = None
        for line in self._answer.getresponse():
            if line.startswith(b"event: "):
                name = line[7:].strip().decode()
            elif line.startswith(b"data: "):
                self.events.append((name, json.loads(line[6:])))
                self.begun.set()

    def names(self):
        return [event["name"] for name, event in self.events if name == "verdict"]


def crowd(port, stop):
    """Connects, sends what no page sends, and leaves or stays."""
    kinds = [
        b"GET /events HTTP/1.1\r\nHost: localhost\r\n\r\n",
        b"GET / HTTP/1.1\r\nHost: localhost\r\nA: " + b"a" * 50000,
        b"POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1000000000\r\n\r\n" + b"x" * 10000,
        b"GET /../../etc/passwd HTTP/1.1\r\nHost: localhost\r\n\r\n",
        b"\x00\xff" * 500,
        b"GET /hea",
        b"",
    ]
    kept = []
    number = 0
    while not stop.is_set():
        number += 1
        with contextlib.suppress(OSError):
            one = socket.create_connection(("127.0.0.1", port), 20)
            one.settimeout(20)
            one.sendall(kinds[number % len(kinds)])
            if number % 3:
                one.close()
            else:
                kept.append(one)
            if len(kept) > 200:
                kept.pop(0).close()
        time.sleep(0.001)
    for one in kept:
        one.close()


def feed(folder, watch):
    """Images one after the other; returns when each has its line."""
    for i in range(IMAGES):
        shutil.copy(folder / ("panel.png" if i % 3 == 0 else "good.png"), folder / "in" / f"{i:03}.png")
    for _ in range(1200):
        if watch.lines() >= IMAGES:
            return
        time.sleep(0.05)
    raise AssertionError(f"only {watch.lines()} of {IMAGES} images have a line")


def check_counts(code, summary):
    check(code == 6, "the run ends at SIGTERM with clients connected")
    check(summary["frames"] == {"acquired": IMAGES, "inspected": IMAGES, "dropped": 0, "unreadable": 0, "incomplete": 0,
                                "lost": 0}, "every image is inspected")
    check(summary["verdicts"] == {"pass": IMAGES - IMAGES // 3, "fail": IMAGES // 3, "undecided": 0}, "and judged rightly")


def read_metrics(text):
    if text_string_to_metric_families is None:
        print("  without python3-prometheus-client: names and values by their form alone")
        found = [re.fullmatch(r"(?:#.*)|([a-z_]+(?:\{.*\})?) (\S+)", line) for line in text.splitlines()]
        check(all(found), "every line has its form")
        return {one[1]: float(one[2]) for one in found if one[1]}
    values = {}
    for family in text_string_to_metric_families(text):
        check(family.documentation and family.type != "unknown", f"{family.name} has help and type {family.type}")
        for sample in family.samples:
            labels = ",".join(f'{key}="{value}"' for key, value in sample.labels.items())
            values[sample.name + (f"{{{labels}}}" if labels else "")] = sample.value
    return values


def main():
    narvo, folder = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    shutil.rmtree(folder, ignore_errors=True)
    (folder / "in").mkdir(parents=True)
    for name, defects in (("panel", "12"), ("good", "0")):
        subprocess.run([narvo, "synth", "--width", "512", "--height", "640", "--pitch-x", "40.5", "--pitch-y", "48.25",
                        "--defects", defects, "-q", "-o", name], cwd=folder, check=True)

    print("a reader from the start")
    watch = Watch(narvo, folder, "--listen", "127.0.0.1:0", "--fail", "count>3")
    reader = Reader(watch.port)
    check(reader.begun.wait(60), "the state comes at once")
    feed(folder, watch)
    status, body = watch.get("/health")
    check(status == 200 and json.loads(body)["inspected"] == IMAGES, "the health is good")
    values = read_metrics(watch.get("/metrics")[1])
    check(values["narvo_frames_inspected_total"] == IMAGES, "the metrics hold the count of images")
    check(values['narvo_verdicts_total{verdict="fail"}'] == IMAGES // 3, "and of those that failed")
    check(values["narvo_latency_seconds_count"] == values['narvo_latency_seconds_bucket{le="+Inf"}'] == IMAGES,
          "the histogram of the latency is whole")
    late = Reader(watch.port)
    check(late.begun.wait(60) and len(late.events[0][1]["failed"]) == IMAGES // 3, "a late reader has the failed images at once")
    check_counts(*watch.finish())
    reader.join(60)
    lines = [json.loads(line)["image"] for line in (folder / "watch.jsonl").read_text().splitlines()]
    check(reader.names() == lines, "the reader has got each verdict once and in order")
    check(reader.events[-1][0] == "ended", "and the end")
    lot = [data for name, data in reader.events if name == "lot"][-1]
    places = lot["tests"][0]["places"]
    check(lot["images"] == len(lines) and places and all(place["images"] == IMAGES // 3 for place in places),
          f"the last lot has all images, and {len(places)} places of the panel that came {IMAGES // 3} times")

    print("a crowd that does not behave")
    shutil.rmtree(folder / "in")
    (folder / "in").mkdir()
    watch = Watch(narvo, folder, "--listen", "127.0.0.1:0", "--fail", "count>3")
    stop = threading.Event()
    threads = [threading.Thread(target=crowd, args=(watch.port, stop)) for _ in range(4)]
    for thread in threads:
        thread.start()
    feed(folder, watch)
    code, summary = watch.finish()
    stop.set()
    for thread in threads:
        thread.join()
    check_counts(code, summary)

    print("what is refused")
    for options, wanted in (
        (["--listen", "0.0.0.0:0"], "--listen: 0.0.0.0:0 without --listen-token FILE; allowed: "),
        (["--listen", "8080"], "--listen: 8080; allowed: ADDRESS:PORT"),
        (["--listen-token", "token"], "--listen-token requires --listen"),
    ):
        refused = subprocess.run([narvo, "watch", "folder:in", "-r", "panel.recipe.json", "-o", "none.jsonl", *options],
                                 cwd=folder, capture_output=True, text=True, timeout=60)
        check(refused.returncode == 2 and wanted in refused.stderr, f"{' '.join(options)}: {refused.stderr.strip()}")
        check(not (folder / "none.jsonl").exists(), "before a file is opened")
    print("done")
    return 0


if __name__ == "__main__":
    sys.exit(main())
