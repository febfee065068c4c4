# SPDX-License-Identifier: MIT
"""check_hostile_texts.py NARVO: texts that are too long, too deep, doubled, damaged or of another coding, wherever the
program reads text: a message of bounded length within stated memory, nothing written, files to go on behind unchanged.
A byte-order mark changes nothing."""
import concurrent.futures
import json
import os
import pathlib
import sys
import tempfile

from measured_run import expect, fail, finish

KIB = 640 * 1024  # an inspection takes 150 MB, a text of 16 MiB some 30 times its size at the worst
LONG = 100 << 20
DIGITS = b"7" * 10000
# Texts of many megabytes go to one reader of each kind: those of JSON share one parser.
HEAVY = ("open", "short lists", "open key")
HEAVY_READERS = ("recipe", "truth.txt", "list", "lines", "coco", "resume", "resumed watch")


def texts():
    """By name: the bytes; None stands for 100 MiB of zeros that take no disk."""
    nested = b"[" * 100000 + b"]" * 100000
    return {
        "zeros": None,
        "blanks": b" " * (17 << 20),
        "open": b"[" * (16 << 20),
        "short lists": b"[" + b"[],[]," * ((16 << 20) // 6 - 2) + b"1]",
        "lists": b'{"version": 1, "regions": ' + nested + b', "fail": ' + nested + b"}",
        "objects": b'{"version": ' + b'{"a":' * 100000 + b"1" + b"}" * 100000 + b"}",
        "doubled": b'{"version": 1, "version": 1, "mode": "pixel", "mode": "zone", "defects": [], "defects": []}',
        "broken letters": b'{"version": 1, "mode": "\xff\xfe\xc3", "fail": ["\xff"], "defects": [{"kind": "\xff"}]}',
        "number": b'{"version": ' + DIGITS + b', "pitch": {"x": ' + DIGITS + b"." + DIGITS + b"}}",
        "rule": b'{"version": 1, "fail": ["count>' + DIGITS + b'"], "pixel_size": "' + DIGITS + b'x1"}',
        "key": b'{"version": 1, "' + b"k" * (10 << 20) + b'": 1}',
        "open key": b'{"version": 1, "' + b"k" * (10 << 20),
        "utf-16": '{"version": 1}\n'.encode("utf-16"),
        "cut": b'{"version": 1, "mode": "pix',
        "no object": b"7",
    }


def write(file, content):
    if content is None:
        with open(file, "wb") as zeros:
            zeros.truncate(LONG)
    else:
        file.write_bytes(content)


def readers(folder, source):
    """Command lines that read the text in the file `source`, by a name for each; each has files of its own."""
    def linked(name):
        place = folder / name
        place.parent.mkdir(exist_ok=True)
        os.link(source, place)
        return name

    def image_set(label):
        place = folder / f"{source.name} set {label}".replace(".", "")
        place.mkdir()
        os.link(folder / "panel.png", place / "1.png")
        os.link(source, place / label)
        return ["evaluate", place.name, "-r", "panel.recipe.json"]

    one = ["inspect", "panel.png", "-o", "out", "--no-overlay", "-q", "-r"]
    watch = ["watch", "folder:in", "-r", "panel.recipe.json", "-q", "--seconds", "1"]
    name = source.name
    return {
        "recipe": [*one, name],
        "truth.json": [*one, "panel.recipe.json", "--truth", linked(f"{name}.json")],
        "truth.txt": [*one, "panel.recipe.json", "--truth", name],
        "rules": [*watch, "--rules", name, "-o", f"out.{name}"],
        "list": ["inspect", "--list", name, "-r", "panel.recipe.json", "-o", f"listed.{name}", "-q"],
        "lines": ["export", linked(f"{name}.jsonl"), "-f", "coco", "-o", "out.json"],
        "results": ["report", f"{name}.json", "-o", "out.html"],
        "defects": ["export", name, "-f", "coco", "-o", "out.json"],
        "cell": ["cell", "panel.png", "-r", "panel.recipe.json", "--golden", name, "--json", "out.json", "-q"],
        "resume": ["inspect", "panel.png", "panel.png", "-r", "panel.recipe.json", "--resume", "-q", "-o",
                   linked(f"{name}.r.jsonl")[:-6]],
        "resumed watch": [*watch, "--resume", "-o", linked(f"{name}.w.jsonl")],
        "coco": image_set("boxes.json"),
        "voc": image_set("1.xml"),
        "boxes": image_set("1.txt"),
    }


def check(narvo, folder, name, content):
    source = folder / name.replace(" ", "-")
    write(source, content)
    size = source.stat().st_size
    for reader, arguments in readers(folder, source).items():
        if name in HEAVY and reader not in HEAVY_READERS:
            continue
        done = expect(narvo, folder, arguments, (2, 7) if reader == "list" else 2, "narvo: ", KIB)
        if "\nnarvo: " not in "\n" + done.text or "memory" in done.text:
            fail(f"{name}, {reader}: no message about the text")
        if source.stat().st_size != size:
            fail(f"{name}, {reader}: the file was changed")
    source.unlink()


def check_marks(narvo, folder):
    """What begins with a byte-order mark is read as without."""
    mark = b"\xef\xbb\xbf"
    (folder / "rules.json").write_bytes(mark + b'{"version": 1, "fail": ["count>3"]}')
    (folder / "m.recipe.json").write_bytes(mark + (folder / "panel.recipe.json").read_bytes())
    (folder / "m.truth.json").write_bytes(mark + (folder / "panel.truth.json").read_bytes())
    (folder / "m.list").write_bytes(mark + b"panel.png\n")
    true = json.loads((folder / "panel.truth.json").read_bytes())["defects"]
    boxes = "".join(f"{box['left']} {box['top']} {box['right']} {box['bottom']} dot\n" for box in true)
    (folder / "m.txt").write_bytes(mark + boxes.encode())
    one = ["inspect", "panel.png", "--no-overlay", "-o"]
    for truth in ("m.truth.json", "m.txt"):
        expect(narvo, folder, [*one, "m", "-r", "m.recipe.json", "--truth", truth], 0, f"({len(true)} of {len(true)})", KIB)
    expect(narvo, folder, ["inspect", "-l", "m.list", "-r", "panel.recipe.json", "-o", "many"], 0, "1 inspected", KIB)
    (folder / "m.jsonl").write_bytes(mark + (folder / "many.jsonl").read_bytes())
    expect(narvo, folder, ["export", "m.jsonl", "-f", "csv", "-o", "m.csv"], 0, "", KIB)
    expect(narvo, folder, ["watch", "folder:in", "-r", "m.recipe.json", "--rules", "rules.json", "--seconds", "1"], 0, "",
           KIB)


def check_elements(narvo, folder):
    """Comments and entities without number take no time that grows with their square."""
    place = folder / "elements"
    place.mkdir()
    os.link(folder / "panel.png", place / "1.png")
    amount = (15 << 20) // 12
    text = "<annotation>" + "<!---->" * amount + "<object><name>" + "&lt;" * amount + "</name></object></annotation>"
    (place / "1.xml").write_text(text)
    expect(narvo, folder, ["evaluate", "elements", "-r", "panel.recipe.json"], 2, "no bndbox", KIB)


def main():
    narvo = os.path.abspath(sys.argv[1])
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        expect(narvo, folder, ["synth", "--width", "512", "--height", "640", "--pitch-x", "40.5", "--pitch-y", "48.25",
                               "--defects", "8", "--seed", "3", "--quiet"], 0, "", KIB)
        (folder / "in").mkdir()
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            for done in [pool.submit(check, narvo, folder, *text) for text in texts().items()]:
                done.result()
        left = [file.name for file in folder.iterdir() if file.name.startswith(("out", ".narvo"))]
        if left:
            fail(f"written in spite of a refusal: {left}")
        check_marks(narvo, folder)
        check_elements(narvo, folder)
        finish()


if __name__ == "__main__":
    main()
