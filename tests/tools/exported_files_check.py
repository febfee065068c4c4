# SPDX-License-Identifier: MIT
"""Exports results in every form and reads the files with readers of their own: strict grammars of both versions of
KLARF, Python's XML, JSON and CSV. All must tell the same defects.

    exported_files_check.py NARVO FOLDER
"""

import csv
import json
import pathlib
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree

PIXEL = 2.5  # micrometres

NUMBER = r"[-+]?(?:\d+(?:\.\d*)?|\.\d+)(?:[eE][-+]?\d+)?"
TEXT = r'"[^"\x00-\x1f]*"'
STAMP = r"\d\d-\d\d-\d\d \d\d:\d\d:\d\d"
# Version 1.2: every statement that the writer may use, in the order of the format's description.
FLAT = re.compile(
    rf"FileVersion 1 2;\nFileTimestamp {STAMP};\nInspectionStationID {TEXT} {TEXT} {TEXT};\nSampleType WAFER;\n"
    rf"ResultTimestamp {STAMP};\nLotID {TEXT};\nSampleSize 1 \d+;\nDeviceID {TEXT};\nSetupID {TEXT} {STAMP};\n"
    rf"StepID {TEXT};\nSampleOrientationMarkType NOTCH;\nOrientationMarkLocation DOWN;\n"
    rf"DiePitch (?P<px>{NUMBER}) (?P<py>{NUMBER});\nDieOrigin {NUMBER} {NUMBER};\nWaferID {TEXT};\nSlot \d+;\n"
    rf"SampleCenterLocation {NUMBER} {NUMBER};\nClassLookup (?P<nclass>\d+)(?P<classes>(?:\n \d+ {TEXT})*);\n"
    rf"InspectionTest 1;\nSampleTestPlan (?P<ndie>\d+)(?P<dies>(?:\n -?\d+ -?\d+)*);\nAreaPerTest {NUMBER};\n"
    rf"DefectRecordSpec (?P<ncol>\d+)(?P<columns>(?: [A-Z]+)+);\nDefectList(?P<defects>(?:\n (?:{NUMBER} ?)+)*);\n"
    rf"SummarySpec 5 TESTNO NDEFECT DEFDENSITY NDIE NDEFDIE;\nSummaryList\n 1 (?P<ndefect>\d+) {NUMBER} \d+ \d+;\n"
    r"EndOfFile;\n")


def boxes_of_rows(columns, rows, classes, height, unit):
    """Boxes in pixels, by die."""
    found = []
    for cells in rows:
        assert len(cells) == len(columns), (columns, cells)
        row = dict(zip(columns, cells))
        x, y, w, h = (float(row[name]) / unit for name in ("XREL", "YREL", "XSIZE", "YSIZE"))
        assert float(row["DSIZE"]) == max(float(row["XSIZE"]), float(row["YSIZE"]))
        found.append((int(row["XINDEX"]), classes[row["CLASSNUMBER"]], round(x - w / 2),
                      round(height - y - h / 2), round(x + w / 2), round(height - y + h / 2),
                      round(float(row["DEFECTAREA"]) / unit ** 2)))
    assert [int(cells[0]) for cells in rows] == list(range(1, len(rows) + 1))
    return found


def read_flat(text):
    file = FLAT.fullmatch(text)
    assert file, "no KLARF 1.2"
    classes = dict(re.findall(rf"\n (\d+) ({TEXT})", file["classes"]))
    assert len(classes) == int(file["nclass"]) and file["dies"].count("\n") == int(file["ndie"])
    columns = file["columns"].split()
    assert len(columns) == int(file["ncol"])
    rows = [line.split() for line in file["defects"].split("\n")[1:]]
    assert len(rows) == int(file["ndefect"])
    return boxes_of_rows(columns, rows, {k: v[1:-1] for k, v in classes.items()}, float(file["py"]) / PIXEL, PIXEL)


class Nested:
    """A strict reader of version 1.8: record = Record NAME [TEXT] { (record | field | list)* }."""

    def __init__(self, text):
        self.tokens = re.findall(rf'{TEXT}|[{{}};,]|[^\s{{}};,"]+', text)
        assert re.sub(r"\s", "", text) == re.sub(r"\s", "", "".join(self.tokens)), "a stray sign"
        self.fields, self.lists = {}, {}
        self.record()
        assert self.tokens == ["EndOfFile", ";"], self.tokens[:5]

    def take(self, *wanted):
        token = self.tokens.pop(0)
        assert not wanted or token in wanted, (token, wanted)
        return token

    def record(self):
        self.take("Record")
        assert re.fullmatch(r"[A-Za-z]+", self.take())
        if self.tokens[0].startswith('"'):
            self.take()
        self.take("{")
        while self.tokens[0] != "}":
            {"Record": self.record, "Field": self.field, "List": self.list}[self.tokens[0]]()
        self.take("}")

    def separated(self, count, read):
        values = []
        for i in range(count):
            if i:
                self.take(",")
            values.append(read())
        return values

    def field(self):
        self.take("Field")
        name, count = self.take(), int(self.take())
        self.take("{")
        self.fields[name] = self.separated(count, self.take)
        self.take("}")

    def list(self):
        self.take("List")
        name = self.take()
        self.take("{"), self.take("Columns")
        count = int(self.take())
        self.take("{")
        columns = self.separated(count, lambda: (self.take("int32", "float", "string"), self.take()))
        self.take("}"), self.take("Data")
        rows = int(self.take())
        self.take("{")
        table = []
        for _ in range(rows):
            cells = [self.take() for _ in columns]
            for (kind, column), cell in zip(columns, cells):
                form = {"int32": r"-?\d+", "float": NUMBER, "string": TEXT}[kind]
                assert re.fullmatch(form, cell), (column, cell)
                assert kind != "int32" or -2 ** 31 <= int(cell) < 2 ** 31
            table.append(cells)
            self.take(";")
        self.take("}"), self.take("}")
        self.lists[name] = ([column for _, column in columns], table)


def read_nested(text):
    file = Nested(text)
    classes = {row[0]: row[1][1:-1] for row in file.lists["ClassLookupList"][1]}
    columns, rows = file.lists["DefectList"]
    return boxes_of_rows(columns, rows, classes, float(file.fields["DiePitch"][1]) / (PIXEL * 1000), PIXEL * 1000)


def main():
    narvo, folder = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)

    def run(*arguments):
        subprocess.run([narvo, *arguments], cwd=folder, check=True, stdout=subprocess.DEVNULL)

    names = []
    for seed in ("1", "2", "3"):
        run("synth", "--width", "640", "--height", "480", "--defects", "6", "--seed", seed, "--output", "p" + seed)
        names.append(f"p{seed}.png")
    run("inspect", *names, "-r", "p1.recipe.json", "-q")
    for form in ("klarf-1.2", "klarf-1.8", "coco", "voc", "yolo", "csv"):
        run("export", "results.jsonl", "-f", form, "-o", form, "--pixel-size", str(PIXEL))

    with open(folder / "csv", newline="", encoding="utf-8") as file:
        table = [(names.index(row["image"]), row["kind"], *(int(row[side]) for side in ("left", "top", "right",
                                                                                     "bottom")), int(row["area"]))
                 for row in csv.DictReader(file)]
    assert len(table) >= 12 and {kind for _, kind, *_ in table} == {"bright", "dark"}
    assert read_flat((folder / "klarf-1.2").read_text()) == table
    assert read_nested((folder / "klarf-1.8").read_text()) == table

    coco = json.loads((folder / "coco").read_text())
    kinds = {category["id"]: category["name"] for category in coco["categories"]}
    files = {image["id"]: names.index(image["file_name"]) for image in coco["images"]}
    assert [(files[a["image_id"]], kinds[a["category_id"]], a["bbox"][0], a["bbox"][1], a["bbox"][0] + a["bbox"][2],
             a["bbox"][1] + a["bbox"][3], a["area"]) for a in coco["annotations"]] == table
    assert len({a["id"] for a in coco["annotations"]}) == len(table)

    plain = [row[:-1] for row in table]
    voc, yolo = [], []
    classes = (folder / "yolo" / "classes.txt").read_text().split("\n")[:-1]
    for number, name in enumerate(names):
        root = xml.etree.ElementTree.parse(folder / "voc" / name.replace(".png", ".xml")).getroot()
        assert root.tag == "annotation" and root.findtext("filename") == name
        size = [int(root.findtext(f"size/{side}")) for side in ("width", "height", "depth")]
        assert size == [640, 480, 1]
        for thing in root.iter("object"):
            box = [int(thing.findtext(f"bndbox/{side}")) for side in ("xmin", "ymin", "xmax", "ymax")]
            voc.append((number, thing.findtext("name"), box[0] - 1, box[1] - 1, box[2], box[3]))
        for line in (folder / "yolo" / name.replace(".png", ".txt")).read_text().splitlines():
            kind, *shares = line.split()
            x, y, w, h = (float(share) for share in shares)
            assert all(0 <= float(share) <= 1 for share in shares)
            yolo.append((number, classes[int(kind)], round((x - w / 2) * 640), round((y - h / 2) * 480),
                         round((x + w / 2) * 640), round((y + h / 2) * 480)))
    assert voc == plain and yolo == plain
    print(f"{len(table)} defects, the same in six forms")


if __name__ == "__main__":
    main()
