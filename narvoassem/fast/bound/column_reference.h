// SPDX-License-Identifier: MIT
// References whose weights differ from column to column, as a row of bytes, which the bound compares like any other
// row. The vector code behind it (column_reference.cc) is compiled once per instruction set.
#pragma once

#include <cstdint>

#include "narvoassem/fast/find/find_row.h"

namespace narvo::engine
{

/// Puts the weights of a row side by side, as FormColumnReference reads them: for each strip those of the near and the
/// far pixel of its first eight columns, which are those of the other eight too. @return false if a weight is negative
/// or a sum above 16, so that a reference might not be a byte
inline bool PairColumnWeights(const CFindRow& row, std::int64_t nColumns, std::uint8_t* pWeights)
{
    bool bBytes = true;
    for (std::int64_t nStrip = 0; nStrip < nColumns; nStrip += kStripWidth)
        for (std::int64_t n = 0; n < kGroupWidth; ++n)
        {
            const int nNear = row.pColumnNear[nStrip + n];
            const int nFar = row.pColumnFar[nStrip + n];
            bBytes = bBytes && nNear >= 0 && nFar >= 0 && nNear + nFar <= 16;
            pWeights[nStrip + 2 * n] = static_cast<std::uint8_t>(nNear);
            pWeights[nStrip + 2 * n + 1] = static_cast<std::uint8_t>(nFar);
        }
    return bBytes;
}

/// pOut[x] = (p[x] * near weight + p[x + 1] * far weight) >> 4, where p is pNear at the displacement of the run that
/// holds x, for the row's runs; weights as PairColumnWeights puts them.
void FormColumnReference(const CFindRow& row, const std::uint8_t* pNear, const std::uint8_t* pWeights,
                         std::uint8_t* pOut);

} // namespace narvo::engine
