// SPDX-License-Identifier: MIT
// The two trapezium kernels in plain scalar form. The kernels of the library are compared with it; it shares
// their argument records and none of their code.
#pragma once

#include "narvoassem/fast/trapezium/trapezium_call.h"

namespace narvo::test::reference
{

/// Both run on the call's own image, hit arrays and pair array. A known image height (image.nRows) bounds every read:
/// first the row, then the flat address. @return the new pair count
int RunTrapeziumHori(const engine::CTrapeziumHoriCall& call);
int RunTrapeziumVert(const engine::CTrapeziumVertCall& call);

} // namespace narvo::test::reference
