// SPDX-License-Identifier: MIT
// The engine's records as plain results.
#pragma once

#include "host/inspect/inspector.h"
#include "narvoassem/defectblob.h"
#include "narvoassem/defectpair.h"

namespace narvo
{

/// Its number is 0.
Blob CopyBlob(const CDefectBlob& source);
Pair CopyPair(const CDefectPair& source);

} // namespace narvo
