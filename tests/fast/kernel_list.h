// SPDX-License-Identifier: MIT
// The kernels of a table as a list for tests.
#pragma once

#include <vector>

namespace narvo::test
{

/// The kernels of all rows.
template <class TRows>
auto ListKernels(const TRows& rows)
{
    std::vector<decltype(rows[0].eKernel)> aKernels;
    for (const auto& row : rows)
        aKernels.push_back(row.eKernel);
    return aKernels;
}

} // namespace narvo::test
