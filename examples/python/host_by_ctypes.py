#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A host that loads the C interface by ctypes, as programs in other languages load it: nothing but the library is needed.

Prints the defects of a drawn pattern. Usage: host_by_ctypes.py [PATH_OF_LIBNARVOHOST]
"""
import ctypes
import sys
from concurrent.futures import ThreadPoolExecutor

OK = 0
I32, I64, U32, DOUBLE, TEXT = ctypes.c_int32, ctypes.c_int64, ctypes.c_uint32, ctypes.c_double, ctypes.c_char_p
HANDLE = ctypes.c_void_p


class Problem(ctypes.Structure):
    _fields_ = [("size", U32), ("reserved", U32), ("field", TEXT), ("value", TEXT), ("allowed", TEXT)]


class Image(ctypes.Structure):
    _fields_ = [("size", U32), ("width", I32), ("height", I32), ("bits", I32), ("stride", I64), ("pixels", HANDLE)]


class Setting(ctypes.Structure):
    _fields_ = [("size", U32), ("reserved", U32), ("name", TEXT), ("value", DOUBLE)]


class Defect(ctypes.Structure):
    _fields_ = [("size", U32)] + [
        (name, I32)
        for name in "number bright band single area left top right bottom center_x center_y peak_x peak_y peak "
        "max_difference mean_difference mean_grey mean_reference zone scale label diameter reserved".split()
    ] + [(name, DOUBLE) for name in "angle major_axis minor_axis circularity elongation".split()]


class Refused(Exception):
    """Text: a line for each reason."""


class Library:
    """The functions that this host uses; each raises Refused for a status other than 0."""

    SIGNATURES = {
        "narvo_recipe_from_text": [TEXT, TEXT, ctypes.POINTER(HANDLE)],
        "narvo_recipe_free": [HANDLE],
        "narvo_inspector_create": [I32, ctypes.POINTER(HANDLE)],
        "narvo_inspector_free": [HANDLE],
        "narvo_inspect": [HANDLE, HANDLE, ctypes.POINTER(Image), ctypes.POINTER(HANDLE)],
        "narvo_golden_create": [ctypes.POINTER(Image), I64, ctypes.POINTER(Setting), I64, I32, ctypes.POINTER(HANDLE)],
        "narvo_golden_inspect": [HANDLE, ctypes.POINTER(Image), ctypes.POINTER(HANDLE)],
        "narvo_golden_free": [HANDLE],
        "narvo_reports_defects": [HANDLE, I64, U32, ctypes.POINTER(Defect), I64, ctypes.POINTER(I64)],
        "narvo_reports_free": [HANDLE],
    }

    def __init__(self, path):
        self._library = ctypes.CDLL(path)
        self._library.narvo_problem_count.restype = I64
        self._library.narvo_problem_get.argtypes = [I64, ctypes.POINTER(Problem)]
        if self._library.narvo_c_version() < 1:
            raise OSError(f"{path} is too old")
        for name, arguments in self.SIGNATURES.items():
            function = getattr(self._library, name)
            function.argtypes, function.restype = arguments, I32
            setattr(self, name.removeprefix("narvo_"), self._raising(function))

    def _raising(self, function):
        def call(*arguments):
            if function(*arguments) != OK:
                raise Refused("\n".join(self._problems()))

        return call

    def _problems(self):
        for index in range(self._library.narvo_problem_count()):
            problem = Problem(size=ctypes.sizeof(Problem))
            self._library.narvo_problem_get(index, ctypes.byref(problem))
            yield "{}: {}; allowed: {}".format(*(text.decode() for text in (problem.field, problem.value, problem.allowed)))

    def made(self, call, *arguments):
        handle = HANDLE()
        call(*arguments, ctypes.byref(handle))
        return handle

    def defects(self, inspect, *arguments):
        """What `inspect` reports of an image, the last of its arguments."""
        reports = self.made(inspect, *arguments)
        try:
            count = I64()
            self.reports_defects(reports, 0, ctypes.sizeof(Defect), None, 0, ctypes.byref(count))
            found = (Defect * count.value)()
            self.reports_defects(reports, 0, ctypes.sizeof(Defect), found, count, ctypes.byref(count))
            return list(found)
        finally:
            self.reports_free(reports)


def image_of(pixels, width, height):
    """The record of pixels that must outlive it."""
    buffer = (ctypes.c_uint8 * len(pixels)).from_buffer(pixels)
    return Image(ctypes.sizeof(Image), width, height, 8, width, ctypes.addressof(buffer))


def drawing(width, height, left=None):
    """A pattern, with a defect whose left side is given."""
    pixels = bytearray(150 if x % 32 < 12 and y % 24 < 16 else 60 for y in range(height) for x in range(width))
    for y in range(120, 125) if left is not None else ():
        pixels[y * width + left : y * width + left + 5] = bytes([230] * 5)
    return pixels


def main():
    library = Library(sys.argv[1] if len(sys.argv) > 1 else "libnarvohost.so.1")
    try:
        library.made(library.recipe_from_text, b'{"version": 1, "mode": "pixel"}', None)
    except Refused as refused:
        print(f"refused: {refused}")
    text = b'{"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 25}}'
    recipe = library.made(library.recipe_from_text, text, None)
    inspector = library.made(library.inspector_create, 2)
    width, height = 512, 288
    with ThreadPoolExecutor(2) as threads:  # a call holds no lock of the interpreter
        drawings = [drawing(width, height, left) for left in (200, 300, 400)]
        images = [image_of(pixels, width, height) for pixels in drawings]
        for found in threads.map(lambda image: library.defects(library.inspect, inspector, recipe, image), images):
            for defect in found:
                print(f"{defect.area} pixels around {defect.center_x}, {defect.center_y}")
    good = drawing(width, height)
    shift = Setting(ctypes.sizeof(Setting), 0, b"max_shift", 4.0)
    golden = library.made(library.golden_create, image_of(good, width, height), 1, shift, 1, 1)
    for defect in library.defects(library.golden_inspect, golden, images[0]):
        print(f"{defect.area} pixels differ from the good image around {defect.center_x}, {defect.center_y}")
    library.golden_free(golden)
    library.inspector_free(inspector)
    library.recipe_free(recipe)


if __name__ == "__main__":
    main()
