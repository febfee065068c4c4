# SPDX-License-Identifier: MIT
"""What Recipe.fields() says of a recipe's fields."""

from __future__ import annotations

from typing import NamedTuple, Tuple, Union

__all__ = ["RecipeField"]


class RecipeField(NamedTuple):
    """One field of a recipe, or one row of a field that means different things in different modes."""

    #: Dotted path: "threshold.base" is recipe["threshold"]["base"]; "zones.list[].gain" is in each entry of a list.
    path: str
    #: "int", "float", "bool", "choice", "file", "object" or "list".
    type: str
    #: Unit of the value; empty where there is none.
    unit: str
    #: Smallest value of a number, otherwise None.
    low: Union[int, float, None]
    #: Largest value of a number, otherwise None.
    high: Union[int, float, None]
    #: The words of a choice.
    choices: Tuple[str, ...]
    #: What holds where the field is left out; of lists and objects, in words.
    default: Union[int, float, bool, str]
    #: The range or form in words.
    allowed: str
    #: Modes that have no default for it.
    required: Tuple[str, ...]
    #: Modes that read it: "zone", "pixel", "float", "float/trapezium", "float/polygon", "binarise", "average", "asg",
    #: "texture", "lattice".
    modes: Tuple[str, ...]
    #: What it does.
    meaning: str
