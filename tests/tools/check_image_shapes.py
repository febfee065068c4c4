# SPDX-License-Identifier: MIT
"""check_image_shapes.py NARVO: images of a pixel, a row and a column, headers that promise more than there is, and one of
32768 by 32768 pixels that takes no disk: an answer or a message, within stated memory."""
import os
import pathlib
import sys
import tempfile

from measured_run import draw_panel, expect, finish

SMALL_KIB = 512 * 1024  # what a refusal may take
LARGE_KIB = 3 * 1024 * 1024  # an image of 1 GiB, and working memory


def main():
    narvo = os.path.abspath(sys.argv[1])
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        draw_panel(narvo, folder, SMALL_KIB)
        for image, width, height, field in (("one", 1, 1, "image's height: 1 pixels"),
                                            ("row", 500, 1, "image's height: 1 pixels"),
                                            ("column", 1, 500, "region's width: 1 pixels")):
            (folder / f"{image}.pgm").write_bytes(b"P5 %d %d 255\n" % (width, height) + bytes(width * height))
            expect(narvo, folder, ["inspect", f"{image}.pgm", "--recipe", "panel.recipe.json", "--output", "o"], 2, field,
                   SMALL_KIB)
            expect(narvo, folder, ["golden", f"{image}.pgm", "--reference", f"{image}.pgm", "--output", "o"], 2,
                   f"{width} by {height} pixels; allowed: sides of at least 64", SMALL_KIB)
        (folder / "less.pgm").write_bytes(b"P5 30000 30000 255\nABC")
        expect(narvo, folder, ["inspect", "less.pgm", "--recipe", "panel.recipe.json", "--output", "o"], 2,
               "30000 by 30000 pixels; allowed: at most", SMALL_KIB)
        head = b"P5 32768 32768 255\n"
        with open(folder / "large.pgm", "wb") as large:
            large.write(head)
            large.truncate(len(head) + 32768 * 32768)
        inspect = ["inspect", "large.pgm", "--recipe", "panel.recipe.json", "--output", "o", "--no-overlay", "--quiet"]
        expect(narvo, folder, inspect, 2, "32768 by 32768 pixels; allowed: at most", SMALL_KIB)
        expect(narvo, folder, [*inspect, "--max-pixels", str(32768 * 32768)], 0, "", LARGE_KIB)
        finish()


if __name__ == "__main__":
    main()
