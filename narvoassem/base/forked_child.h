// Whether this process was forked off another one that had loaded the library. Of the threads there, the one that
// called fork alone lives on, and the OpenMP runtime does not know: it would wait for the others for ever.
#pragma once

namespace narvo::engine
{

/// Whether threads of the OpenMP runtime must not be counted on.
bool IsForkedChild();

} // namespace narvo::engine
