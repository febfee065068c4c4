// Working memory of the searches in this folder: one grow-only block per thread, so that a second like call allocates
// nothing. The stores' own arrays are elsewhere.
#pragma once

#include <cstddef>

namespace narvo
{

/// nWords ints of the calling thread, contents undefined; null when memory could not be had. The next call on the same
/// thread takes the block over: one user at a time.
int* GetThreadScratch(std::size_t nWords);

} // namespace narvo
