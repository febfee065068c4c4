# SPDX-License-Identifier: MIT
"""The functions of the compiled part, as the package has them."""

from __future__ import annotations

import functools
from typing import Any, Callable, TypeVar, cast

__all__ = ["of_package"]

_Function = TypeVar("_Function", bound=Callable[..., Any])


def of_package(function: _Function, module: str = "narvoassem") -> _Function:
    """A function of the compiled part as one that pickle finds by its name, for the workers of process pools."""

    @functools.wraps(function)
    def call(*args: Any, **kwargs: Any) -> Any:
        return function(*args, **kwargs)

    call.__module__ = module
    call.__qualname__ = function.__name__  # and not that of the module's own object
    return cast(_Function, call)
