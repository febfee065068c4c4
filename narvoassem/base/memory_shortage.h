// SPDX-License-Identifier: MIT
// Reports a lack of memory from the code that had to leave work undone to the inspection call that returns the result
// code. Code that falls back to a slower way with the same result reports nothing.
#pragma once

namespace narvo::engine
{

/// Notes on the calling thread that part of the region was not inspected because memory ran out.
void NoteMemoryShortage();
/// Clears the calling thread's note.
void ClearMemoryShortage();
/// Whether a shortage was noted on the calling thread since the last clear.
bool HadMemoryShortage();

} // namespace narvo::engine
