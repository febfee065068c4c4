# SPDX-License-Identifier: MIT
"""The package from a wheel: image files of each kind, an inspection on threads, a picture, exceptions; no library from
elsewhere is loaded."""

import pathlib
import tempfile

import numpy

import narvoassem as na

PITCH_X, PITCH_Y = 32.5, 24.25  # pixels
x = numpy.arange(400)
y = numpy.arange(300)[:, None]
grey = 110 + 40 * numpy.sin(2 * numpy.pi * x / PITCH_X) * numpy.sin(2 * numpy.pi * y / PITCH_Y)
grey[149:154, 201:206] += 70
image = numpy.clip(numpy.rint(grey), 0, 255).astype(numpy.uint8)

with tempfile.TemporaryDirectory() as folder:
    for ending in ("png", "tif", "bmp", "jpg"):
        path = str(pathlib.Path(folder) / f"a.{ending}")
        na.write_image(path, image)
        difference = numpy.abs(na.read_image(path).astype(int) - image)
        assert difference.max() <= (12 if ending == "jpg" else 0), (ending, difference.max())

pitch = na.search_pitch(image)
recipe = na.pitch_recipe(image, pitch)
results = list(na.Inspector(lanes=2).inspect_many([image] * 8, recipe))
assert all(len(result.blobs) == 1 and result.complete for result in results)
blob = results[0].blobs[0]
assert (blob["left"], blob["top"]) == (201, 149), blob
assert na.show(image, results[0])._repr_png_().startswith(b"\x89PNG") and "1 defect" in results[0]._repr_html_()
golden = na.GoldenModel([image]).inspect(image)
assert len(golden.result.blobs) == 0 and golden.registration.correlation > 0.99
try:
    na.Recipe({"version": 1, "pitch": {"x": 60}})
except na.RecipeError as error:
    assert error.problems[0].field == "pitch.y"
else:
    raise AssertionError("a recipe without a pitch was taken")

own = pathlib.Path(na.__file__).parent
assert (own / "py.typed").exists() and (own / "_narvoassem.pyi").exists()
loaded = {line.split()[-1] for line in open("/proc/self/maps") if ".so" in line}
for name in ("opencv", "libhwy", "libpixman", "libtiff", "libjpeg"):
    for path in loaded:
        assert name not in path or str(own.parent) in path, path
print(f"narvoassem {na.__version__} with NumPy {numpy.__version__}: {len(loaded)} libraries, all as they should be")
