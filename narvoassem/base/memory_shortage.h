// Word of missing memory on its way from the code that had to leave work undone to the inspection call that answers
// for it. Code that falls back to a slower way with the same result has nothing to tell.
#pragma once

namespace narvo::engine
{

/// Notes on the calling thread that part of the region was not looked at for want of memory.
void NoteMemoryShortage();
/// Forgets what was noted on the calling thread.
void ClearMemoryShortage();
/// Whether it has been noted on the calling thread since it was last cleared.
bool HadMemoryShortage();

} // namespace narvo::engine
