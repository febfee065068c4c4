# SPDX-License-Identifier: MIT
"""Defects on periodic patterns: every pixel of a grey image is compared with the place one pattern pitch away::

    import narvoassem as na

    image = na.read_image("panel.png")
    recipe = na.pitch_recipe(image, na.search_pitch(image))
    result = na.inspect(image, recipe)
    table = pandas.DataFrame(result.blobs)

Images are C-contiguous uint8 arrays of shape (rows, columns). Coordinates are x, y in pixels, y downward; rectangles are
(left, top, right, bottom), right and bottom exclusive. What is wrong with an image or a recipe comes as one exception
with the list of all problems (ImageError, RecipeError). The module narvoassem.batch inspects many image files, on one
machine or on many.
"""

from . import _narvoassem, regions
from ._narvoassem import (
    AxisPitch,
    CellResult,
    Explainer,
    Explanation,
    GoldenCell,
    GoldenModel,
    GoldenResult,
    LatticeResult,
    LearnResult,
    PitchResult,
    Recipe,
    Registration,
    Result,
    Truth,
    __version__,
)
from .errors import (
    ArgumentError,
    FileError,
    ImageError,
    ImageWarning,
    InspectionError,
    NarvoError,
    Problem,
    RecipeError,
)
from .evaluation import EvaluatedImage, Evaluation, EvaluationResult, Figure, LabelledImage, read_labelled
from .exchange import DefectList, KlarfFile, ListedDefect, list_defects, read_defects, read_klarf, save_defects
from .fields import RecipeField
from .functions import of_package
from .inspector import Inspector
from .lot_result import LotAlarm, LotChange, LotChart, LotPlace, LotRegion, LotResult, LotTest, lot, lot_of
from .notebook import Picture, show
from .regions import Rect
from .store import StoredRun, read_store, store_runs
from .stream import StreamCounts, StripStream

capability = of_package(_narvoassem.capability)
convert_image = of_package(_narvoassem.convert_image)
explain = of_package(_narvoassem.explain)
inspect = of_package(_narvoassem.inspect)
lattice_recipe = of_package(_narvoassem.lattice_recipe)
learn = of_package(_narvoassem.learn)
mean_field = of_package(_narvoassem.mean_field)
pitch_recipe = of_package(_narvoassem.pitch_recipe)
read_image = of_package(_narvoassem.read_image)
search_lattice = of_package(_narvoassem.search_lattice)
search_pitch = of_package(_narvoassem.search_pitch)
write_image = of_package(_narvoassem.write_image)

__all__ = [
    "ArgumentError",
    "AxisPitch",
    "CellResult",
    "DefectList",
    "EvaluatedImage",
    "Evaluation",
    "EvaluationResult",
    "Explainer",
    "Explanation",
    "Figure",
    "FileError",
    "GoldenCell",
    "GoldenModel",
    "GoldenResult",
    "ImageError",
    "ImageWarning",
    "InspectionError",
    "Inspector",
    "KlarfFile",
    "LabelledImage",
    "LatticeResult",
    "LearnResult",
    "ListedDefect",
    "LotAlarm",
    "LotChange",
    "LotChart",
    "LotPlace",
    "LotRegion",
    "LotResult",
    "LotTest",
    "NarvoError",
    "Picture",
    "PitchResult",
    "Problem",
    "Recipe",
    "RecipeError",
    "RecipeField",
    "Rect",
    "Registration",
    "Result",
    "StoredRun",
    "StreamCounts",
    "StripStream",
    "Truth",
    "__version__",
    "capability",
    "convert_image",
    "explain",
    "inspect",
    "lattice_recipe",
    "learn",
    "list_defects",
    "lot",
    "lot_of",
    "mean_field",
    "pitch_recipe",
    "read_defects",
    "read_image",
    "read_klarf",
    "read_labelled",
    "read_store",
    "regions",
    "save_defects",
    "search_lattice",
    "search_pitch",
    "show",
    "store_runs",
    "write_image",
]
