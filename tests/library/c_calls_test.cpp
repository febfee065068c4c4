// SPDX-License-Identifier: MIT
// Random sequences of calls of the C interface; the fuzz target of the same name draws them from its bytes.
#include <cstdint>

#include <gtest/gtest.h>

#include "library/c_calls.h"

namespace narvo::test
{

TEST(CInterfaceCalls, RandomSequencesAreSound)
{
    for (std::uint64_t number = 0; number < 50; ++number)
    {
        CNumberedSource source(number);
        MakeCCalls(source, 160);
    }
}

} // namespace narvo::test
