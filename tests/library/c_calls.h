// SPDX-License-Identifier: MIT
// Sequences of calls of the C interface that a source of numbers decides: right and wrong arguments, handles that are
// null, freed or of another kind, records and arrays of wrong sizes.
#pragma once

#include "soak/case_source.h"

namespace narvo::test
{

/// Makes up to `most` calls and checks each: its status, the problems, the handles that it returns, and that it writes
/// into the caller's memory where it says so alone. What does not hold ends the program.
void MakeCCalls(CCaseSource& source, int most);

} // namespace narvo::test
