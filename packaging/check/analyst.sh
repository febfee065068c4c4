# SPDX-License-Identifier: MIT
# An analyst: a NumPy image in, a pandas table out, in the distribution's own Python.
cd "$(mktemp -d)"
narvo synth --width 1024 --height 1024 --defects 20 --output panel
python3 - <<'END'
import narvoassem as na
import pandas

image = na.read_image("panel.png")
recipe = na.pitch_recipe(image, na.search_pitch(image))
result = na.inspect(image, recipe)
table = pandas.DataFrame(result.blobs)
print(table[["left", "top", "right", "bottom", "area"]].head())
assert result.complete and 15 <= len(table) <= 25, len(table)
END
