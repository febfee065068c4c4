# SPDX-License-Identifier: MIT
"""Ways back from pickle for objects that no call of their class makes."""

from __future__ import annotations

from typing import Any, Tuple

from ._narvoassem import Result

__all__ = ["restore_result"]


def restore_result(state: Tuple[Any, ...]) -> Result:
    """The result that pickle has taken apart."""
    return Result._from_state(state)
