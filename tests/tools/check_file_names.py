# SPDX-License-Identifier: MIT
"""check_file_names.py NARVO: images whose names hold every byte but 0 and the slash, alone, in golden inspection and in a
batch: the results are written, and are JSON in UTF-8. The same for folders, recipes, outputs and stores of such names in
watches, stores, reports and exports."""
import csv
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import xml.dom.minidom

NAMES = [bytes(b for b in range(1, 129) if b != ord("/")) + b".png", bytes(range(128, 256)) + b".png"]
SECONDS = 60


def run(narvo, folder, *arguments):
    done = subprocess.run([narvo, *arguments], cwd=folder, capture_output=True, timeout=SECONDS, check=False)
    if done.returncode != 0:
        sys.exit(f"{arguments}: {done.returncode}\n{done.stderr.decode(errors='replace')}")
    return done.stdout.decode()


def images_of(file):
    """The images of a result file."""
    return [json.loads(line)["image"] for line in file.read_bytes().splitlines()]


def check_others(narvo, folder, has_store, name):
    """All files and folders of a run have the name."""
    place = os.fsencode(folder) + b"/" + name

    def file(ending):
        return pathlib.Path(os.fsdecode(place + ending.encode()))

    os.mkdir(place)
    for number in (b"0", b"1"):
        shutil.copy(folder / "panel.png", place + b"/" + name + number + b".png")
    shutil.copy(folder / "panel.recipe.json", file(".json"))
    (folder / "rules").mkdir(exist_ok=True)
    rules = os.fsencode(folder) + b"/rules/" + name
    pathlib.Path(os.fsdecode(rules)).write_text('{"version": 1, "fail": ["count>3"]}')
    store = [["--store", name + ending] if has_store else [] for ending in (b".watch", b".lot", b".golden")]
    recipe = ["--recipe", name + b".json", "--quiet"]
    watch = ["watch", b"folder:" + name, "--existing", "--rules", rules, "-o", name + b".w", *store[0], *recipe]
    run(narvo, folder, *watch, "--images", "2", "--json", name + b".summary")
    run(narvo, folder, *watch, "--resume", "--seconds", "1")  # finds all of them done
    lot = ["inspect", name, "-o", name + b".lot", *recipe]
    run(narvo, folder, *lot, *store[1], *(["--run", name] if has_store else []))
    run(narvo, folder, *lot, "--resume")
    run(narvo, folder, "golden", "panel.png", name, "-o", name + b".golden", "--quiet", *store[2])
    run(narvo, folder, "report", name + b".lot.jsonl", "-o", name + b".html")
    if has_store:
        run(narvo, folder, "report", *store[0], "-o", name + b".watch.html")
        said = run(narvo, folder, "report", *store[1], "--run", name, "-o", name + b".lot.html")
        if "2 images, " not in said:
            sys.exit(f"report on a store: {said}")
    run(narvo, folder, "cell", name, *recipe, "--learn", name + b".cell")
    run(narvo, folder, "cell", name, *recipe, "--golden", name + b".cell", "--json", name + b".cells", "--picture",
        name + b".cell.png")
    for form in ("klarf-1.2", "klarf-1.8", "coco", "csv", "voc", "yolo"):
        run(narvo, folder, "export", name + b".lot.jsonl", "-f", form, "-o", name + b"." + form.encode())
    seen = images_of(file(".lot.jsonl"))
    coco = [image["file_name"] for image in json.loads(file(".coco").read_bytes())["images"]]
    with open(file(".csv"), newline="", encoding="utf-8") as table:
        rows = {row["image"].removeprefix("'") for row in csv.DictReader(table)}
    boxes = [xml.dom.minidom.parse(str(one)) for one in file(".voc").iterdir()]
    cells = sorted(image["image"] for image in json.loads(file(".cells").read_bytes()))
    if cells != seen or not file(".cell.png").exists():
        sys.exit(f"images held against a cell: {cells}")
    if len(seen) != 2 or sorted(images_of(file(".w"))) != seen or sorted(images_of(file(".golden.jsonl"))) != seen:
        sys.exit(f"images of watch, batch and golden inspection: {seen}")
    if sorted(coco) != seen or rows - set(seen) or len(boxes) != 2 or len(list(file(".yolo").iterdir())) != 3:
        sys.exit(f"exported images: {coco}, {rows}")


def main():
    narvo = sys.argv[1]
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        run(narvo, folder, "synth", "--width", "256", "--height", "320", "--pitch-x", "40.5", "--pitch-y", "48.25",
            "--defects", "3", "--quiet")
        images = os.fsencode(folder) + b"/in/"
        os.mkdir(images)
        for image in NAMES:
            shutil.copy(folder / "panel.png", images + image)
            run(narvo, folder, "inspect", images + image, "--recipe", "panel.recipe.json", "--output", "one", "--quiet")
            json.loads((folder / "one.blobs.json").read_bytes())
            run(narvo, folder, "golden", images + image, "--reference", "panel.png", "--output", "golden", "--quiet")
            json.loads((folder / "golden.blobs.json").read_bytes())
        run(narvo, folder, "inspect", "in", "--recipe", "panel.recipe.json", "--output", "all", "--no-overlay", "--quiet")
        lines = (folder / "all.jsonl").read_bytes().splitlines()
        named = [json.loads(line) for line in lines]
        if len(named) != len(NAMES):
            sys.exit(f"{len(named)} lines for {len(NAMES)} images")
        stored = subprocess.run([narvo, "inspect", "panel.png", "--recipe", "panel.recipe.json", "--store", "s.sqlite"],
                                cwd=folder, capture_output=True, timeout=SECONDS, check=False)
        for image in NAMES:
            check_others(narvo, folder, stored.returncode == 0, image[:-4])


if __name__ == "__main__":
    main()
