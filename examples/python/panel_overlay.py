# SPDX-License-Identifier: MIT
"""Makes a piece of panel with known defects, finds them with no other knowledge, and draws the picture of it: left what
the camera sees, right what was found.

Usage: python3 panel_overlay.py [OUTPUT.png]     needs narvoassem and numpy; prints a table if pandas is there
"""

import sys

import numpy

import narvoassem

PITCH_X, PITCH_Y = 60.4375, 75.3125  # pixels
WIDTH, HEIGHT = 640, 480

# Stripes, line and switch of one period: left, top, right, bottom as shares of the period, and grey level.
MATRIX = 42
FEATURES = [
    (0.06, 0.14, 0.30, 0.90, 150),
    (0.38, 0.14, 0.62, 0.90, 180),
    (0.70, 0.14, 0.94, 0.90, 125),
    (-1.0, 0.03, 2.00, 0.09, 78),
    (0.08, 0.03, 0.20, 0.12, 66),
]


def cover(position, low, high):
    """How much of a place lies between two edges: 0 outside, 1 inside, blurred over 3 pixels as a lens would."""
    return numpy.clip((position - low) / 3 + 0.5, 0, 1) * numpy.clip((high - position) / 3 + 0.5, 0, 1)


def draw_panel(seed=4):
    """The good pattern, its defects, and what a camera adds. Returns the image and the boxes of the defects."""
    x = numpy.arange(WIDTH)[None, :]
    y = numpy.arange(HEIGHT)[:, None]
    within_x, within_y = x % PITCH_X, y % PITCH_Y
    grey = numpy.full((HEIGHT, WIDTH), float(MATRIX))
    for left, top, right, bottom, level in FEATURES:
        share = cover(within_x, left * PITCH_X, right * PITCH_X) * cover(within_y, top * PITCH_Y, bottom * PITCH_Y)
        grey += (level - grey) * share

    def dot(at_x, at_y, radius, step):
        grey[:] += step * numpy.clip(radius + 0.5 - numpy.hypot(x - at_x, y - at_y), 0, 1)
        reach = int(radius + 1)
        return narvoassem.Rect(at_x - reach, at_y - reach, at_x + reach + 1, at_y + reach + 1)

    def box(left, top, right, bottom, level):
        grey[top:bottom, left:right] = level
        return narvoassem.Rect(left, top, right, bottom)

    truth = [
        dot(118, 101, 3.2, 70),  # a bright particle
        dot(430, 150, 2.6, -75),  # a pinhole
        dot(255, 352, 4.5, 45),
        box(370, 322, 377, 325, MATRIX),  # a gap in a stripe
        box(518, 262, 522, 290, 170),  # a bridge between two stripes
        box(180, 226, 216, 229, 110),  # a scratch across
    ]
    noise = numpy.random.default_rng(seed).normal(0, 1.5, grey.shape)
    drift = 1 + 0.03 * numpy.sin(4 * y / HEIGHT) + 0.03 * numpy.sin(5 * x / WIDTH)
    return numpy.clip(numpy.rint(grey * drift + noise), 0, 255).astype(numpy.uint8), truth


def main(output="panel_overlay.png"):
    image, truth = draw_panel()

    # The pitch, and zones with thresholds, from the image alone.
    pitch = narvoassem.search_pitch(image)
    print(f"pitch: {pitch.x.pitch} by {pitch.y.pitch} pixels (drawn with {PITCH_X} by {PITCH_Y})")
    recipe = narvoassem.pitch_recipe(image, pitch)
    result = narvoassem.inspect(image, recipe)

    blobs = result.blobs
    missed = [
        box
        for box in truth
        if not (
            (blobs["left"] < box.right) & (blobs["right"] > box.left) & (blobs["top"] < box.bottom)
            & (blobs["bottom"] > box.top)
        ).any()
    ]
    print(f"found {len(truth) - len(missed)} of {len(truth)} defects, in {len(blobs)} blobs")
    columns = ["number", "bright", "center_x", "center_y", "area", "max_difference"]
    try:
        import pandas

        print(pandas.DataFrame(blobs)[columns].to_string(index=False))
    except ImportError:
        print(blobs[columns])

    left = numpy.repeat(image[:, :, None], 3, axis=2)
    gap = numpy.full((HEIGHT, 12, 3), 255, numpy.uint8)
    narvoassem.write_image(output, numpy.hstack([left, gap, result.overlay(image, missed)]))
    print(f"written: {output}")
    return 0 if not missed and result.complete else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:2]))
