# SPDX-License-Identifier: MIT
"""What the property tests draw: arrays of every kind, images with a pattern, recipes, regions, numbers in and out of
range; and how many examples of each property they try.

The examples are the same in every run. NARVO_PROPERTY_EXAMPLES=N tries N times as many, drawn at random; what fails
then is printed as a call that repeats it.
"""

import os

import numpy
from hypothesis import HealthCheck, assume, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as npst

import narvoassem
from narvoassem._narvoassem import printable

_TIMES = int(os.environ.get("NARVO_PROPERTY_EXAMPLES", "1"))


def examples(count):
    """The settings of a property with `count` examples in a usual run."""
    return settings(
        max_examples=count * _TIMES,
        derandomize="NARVO_PROPERTY_EXAMPLES" not in os.environ,
        database=None,
        deadline=None,
        print_blob=True,
        suppress_health_check=[
            HealthCheck.too_slow,
            HealthCheck.filter_too_much,
            HealthCheck.data_too_large,
            HealthCheck.function_scoped_fixture,
        ],
    )


# --- arrays and images ---

_DTYPES = (
    ["uint8"] * 6
    + ["bool", "int8", "uint16", ">u2", "int32", "uint64", "float16", "float32", "float64", "complex64"]
    + ["S1", "U2", "object", "datetime64[s]", [("a", "u1"), ("b", "u1")]]
)


def _reordered(array, way):
    """The array's values in another order of bytes, or a view of them; the way that keeps them contiguous among these."""
    if way == "fortran":
        return numpy.asfortranarray(array)
    if way == "transposed":
        return array.T
    if way == "step":
        return array[..., ::2] if array.ndim else array
    if way == "reversed":
        return array[::-1] if array.ndim else array
    if way == "part":
        return array[1:-1, 1:-1] if array.ndim >= 2 else array
    if way == "broadcast":
        return numpy.broadcast_to(array[:1], array.shape) if array.ndim and array.shape[0] else array
    if way == "read-only":
        array = array.copy()
        array.flags.writeable = False
    return array


@st.composite
def arrays(draw):
    """Arrays of any dtype, shape from none to four dimensions, empty ones too, in any order, of zeros and ones."""
    dtype = numpy.dtype(draw(st.sampled_from(_DTYPES)))
    shape = draw(
        st.one_of(
            st.tuples(st.integers(0, 90), st.integers(0, 90)),
            st.tuples(st.integers(1, 90), st.integers(1, 90)),
            st.tuples(st.integers(1, 40), st.integers(1, 40), st.sampled_from((1, 2, 3, 3, 4))),
            npst.array_shapes(min_dims=0, max_dims=4, min_side=0, max_side=9),
        )
    )
    ways = ("as it is", "fortran", "transposed", "step", "reversed", "part", "broadcast", "read-only")
    return _reordered(numpy.zeros(shape, dtype), draw(st.sampled_from(ways)))


def is_image(array):
    """Whether an array is one that inspections take."""
    return array.dtype == numpy.uint8 and array.ndim == 2 and array.size > 0 and array.flags.c_contiguous


def pattern_of(pitch_x, pitch_y, width, height, squares, seed):
    """Rows of a smooth pattern with squares (x, y, side, step in grey levels), and a little noise of a seed."""
    grey = 110 + 40 * numpy.sin(2 * numpy.pi * numpy.arange(width) / pitch_x) * numpy.sin(
        2 * numpy.pi * numpy.arange(height)[:, None] / pitch_y
    )
    for x, y, side, step in squares:
        grey[y : y + side, x : x + side] += step
    grey += numpy.random.default_rng(seed).normal(0, 1, grey.shape)
    return numpy.clip(numpy.rint(grey), 0, 255).astype(numpy.uint8)


pitches = st.integers(9 * 16, 30 * 16).map(lambda sixteenths: sixteenths / 16)
squares = st.lists(
    st.tuples(st.integers(0, 150), st.integers(0, 120), st.integers(1, 9), st.integers(-120, 120)), max_size=4
)


@st.composite
def panels(draw, low=40, high=160):
    """A pattern with its pitches: (image, pitch along x, pitch along y)."""
    pitch_x, pitch_y = draw(pitches), draw(pitches)
    width, height = draw(st.integers(low, high)), draw(st.integers(low, high))
    return pattern_of(pitch_x, pitch_y, width, height, draw(squares), draw(st.integers(0, 99))), pitch_x, pitch_y


#: Images that need not show a pattern: noise, one grey value, a pattern; of any size from one pixel on.
images = st.one_of(
    panels().map(lambda panel: panel[0]),
    st.tuples(st.integers(1, 100), st.integers(1, 100), st.integers(0, 255), st.integers(1, 256)).map(
        lambda drawn: numpy.random.default_rng(drawn[2])
        .integers(0, drawn[3], (drawn[0], drawn[1]))
        .astype(numpy.uint8)
    ),
    st.tuples(st.integers(1, 100), st.integers(1, 100), st.integers(0, 255)).map(
        lambda drawn: numpy.full(drawn[:2], drawn[2], numpy.uint8)
    ),
)


# --- numbers ---

#: What no call takes for a number.
no_numbers = st.sampled_from([None, "3", b"3", [3], {}, object(), 3 + 0j, numpy.zeros(2)])


def whole_beyond(low, high):
    """Whole numbers out of a range: next to its ends, and where 32, 64 and more bits end."""
    far = [2**31 - 1, -(2**31), 2**31, 2**32, 2**32 + low, 2**53 + 1, 2**63, 2**64, 2**64 + low, 10**400]
    far += [-number for number in far]
    return st.one_of(
        st.sampled_from([low - 1, high + 1] + [number for number in far if not low <= number <= high]),
        st.integers(max_value=low - 1),
        st.integers(min_value=high + 1),
    )


def real_beyond(low, high):
    """Real numbers out of a range, and those that are none."""
    return st.one_of(
        st.floats(max_value=low, exclude_max=True, allow_nan=False, allow_infinity=True),
        st.floats(min_value=high, exclude_min=True, allow_nan=False, allow_infinity=True),
        st.just(float("nan")),
    )


# --- recipes ---

FIELDS = narvoassem.Recipe.fields()
MODES = next(field for field in FIELDS if field.path == "mode").choices
#: What a recipe of each mode needs beside the pitch.
NEEDED = {
    "zone": {},
    "pixel": {"threshold": {"base": 20}},
    "float": {"threshold": {"base": 60}},
    "binarise": {"binarise": {"limit": 90}},
    "average": {"average": {"bright": 30, "dark": 30}},
    "asg": {},
    "texture": {"texture": {"features": [{"fold": 1, "size": 2, "bright": {"typical": 1.0, "limit": 6.0}}]}},
    "lattice": {"lattice": {"a": {"x": 16.25, "y": 0.0}, "b": {"x": 0.0, "y": 12.5}}},
}
_PLAIN = ("int", "float", "bool", "choice")
#: Rows of fields with one value, outside lists.
PLAIN_FIELDS = [field for field in FIELDS if field.type in _PLAIN and "[]" not in field.path]


def put(document, path, value):
    """Sets what a dotted path names; objects on the way are made."""
    *way, last = path.split(".")
    for name in way:
        document = document.setdefault(name, {})
    document[last] = value


def values_of(field):
    """Values that a field takes."""
    if field.type == "int":
        near = min(field.high, field.low + 40)
        return st.one_of(st.integers(field.low, near), st.sampled_from([field.low, field.high]))
    if field.type == "float":
        near = min(field.high, max(field.low, 0) + 40)
        sixteenths = st.integers(int(max(field.low, -40) * 16), int(near * 16)).map(lambda whole: whole / 16)
        return st.one_of(sixteenths, st.floats(field.low, field.high), st.sampled_from([field.low, field.high]))
    return st.booleans() if field.type == "bool" else st.sampled_from(field.choices)


def values_beyond(field):
    """Values that a field refuses."""
    if field.type == "int":
        return st.one_of(whole_beyond(field.low, field.high), st.just(field.low + 0.5), st.just("many"))
    if field.type == "float":
        return st.one_of(real_beyond(field.low, field.high), whole_beyond(int(field.low), int(field.high)), st.just("wide"))
    if field.type == "bool":
        return st.sampled_from(["true", 2, -1, 0.5, [], {}])
    return st.text(max_size=8).filter(lambda word: word not in field.choices)


def base_document(mode, pitch_x=16.25, pitch_y=12.5):
    """The shortest recipe of a mode, as a dict of its own."""
    document = {"version": 1, "mode": mode, "pitch": {"x": pitch_x, "y": pitch_y}}
    for name, value in NEEDED[mode].items():
        document[name] = _copied(value)
    return document


def _copied(value):
    if isinstance(value, dict):
        return {name: _copied(member) for name, member in value.items()}
    return [_copied(entry) for entry in value] if isinstance(value, list) else value


rects = st.tuples(*[st.integers(-3, 170)] * 4)
corners = st.tuples(st.integers(0, 160), st.integers(0, 160))


@st.composite
def regions(draw):
    """A recipe's region, which need not be one that its mode or an image takes."""
    shape = draw(st.sampled_from(("rectangle", "polygon", "trapezium")))
    if shape == "rectangle":
        return narvoassem.regions.rectangle(*draw(rects))
    points = draw(st.lists(corners, min_size=1, max_size=11))
    if shape == "polygon":
        return narvoassem.regions.polygon(points)
    return narvoassem.regions.trapezium(points, draw(st.none() | corners))


@st.composite
def documents(draw, modes=MODES):
    """Recipes as dicts: a mode's shortest one with up to six fields at values that they take, and sometimes a region,
    dead zones, tables and zones. Most can be inspected; others say what does not fit together."""
    mode = draw(st.sampled_from(modes))
    document = base_document(mode)
    for field in draw(st.lists(st.sampled_from(PLAIN_FIELDS), max_size=6)):
        if field.path not in ("version", "mode") and any(name.split("/")[0] == mode for name in field.modes):
            put(document, field.path, draw(values_of(field)))
    if draw(st.booleans()):
        document["region"] = draw(regions())
    if draw(st.booleans()):
        boxes = draw(st.lists(rects, max_size=3))
        document["dead_zones"] = [dict(zip(("left", "top", "right", "bottom"), box)) for box in boxes]
    if draw(st.booleans()):
        zones = draw(st.lists(st.tuples(st.integers(0, 15), st.integers(0, 300)), min_size=1, max_size=3))
        put(document, "zones.list", [{"index": index, "offset": offset} for index, offset in zones])
    if draw(st.integers(0, 3)) == 0:
        put(document, "tables.scan_pitch", draw(st.lists(pitches, min_size=1, max_size=10)))
    document["max_blobs"] = draw(st.integers(1, 2000))
    return document


def recipe_of(document):
    """The recipe, or nothing for a document whose fields do not fit together; the example is left out then."""
    try:
        return narvoassem.Recipe(document)
    except narvoassem.RecipeError as error:
        assert_told(error)
        assume(False)


def assert_told(error):
    """A refusal names, for each problem, what it is about, the value and what is allowed, on one printable line."""
    assert error.problems
    for problem in error.problems:
        assert problem.field and problem.allowed, problem
        line = str(problem)
        assert "; allowed: " in line and printable(line) == line and len(line.splitlines()) == 1, line
