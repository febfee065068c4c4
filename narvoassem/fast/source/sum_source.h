// SPDX-License-Identifier: MIT
// What the row sources of the float and trapezium kernels share: the finder's row of window sums and its comparisons.
#pragma once

#include <cstdint>

#include "narvoassem/base/image_read.h"
#include "narvoassem/fast/find/compare_sums.h"
#include "narvoassem/fast/find/derive_rows.h"
#include "narvoassem/fast/find/find_sums.h"
#include "narvoassem/fast/find/row_cache.h"
#include "narvoassem/fast/scan/scan_walk.h"

namespace narvo::engine
{

/// A rule that defines how sums are compared.
// clang-format off
template <class T>
concept SumRule = HitRule<T> && requires(const T& state, CSumsRow& row)
{
    { T::kFind } -> std::convertible_to<SumsVariant>;
    state.SetUpRow(row); ///< fills thresholds and limits
};
// clang-format on

template <SumRule TRule>
class CSumSource
{
public:
    static constexpr bool kListed = false;

    bool Compare(std::int64_t nColumn, CFoundHit& hit) const
    {
        hit.Set(CompareSums<TRule::kFind>(m_row, nColumn));
        return true;
    }

protected:
    explicit CSumSource(const TRule& rule) : m_scratch(GetScanScratch()) { rule.SetUpRow(m_row); }

    bool ReserveRow(std::int64_t nStrips)
    {
        if (!m_scratch.ReserveRow(nStrips))
            return false;
        m_row.pMask = reinterpret_cast<std::uint8_t*>(m_scratch.mask.Data());
        return true;
    }

    /// Finds nGroups groups of the row placed, from group nFirst on in their tile.
    bool Find(CMarkedRow& row, std::int64_t nFirst, std::int64_t nGroups)
    {
        m_row.nGroups = nGroups;
        FindSums(TRule::kFind, m_row);
        row.nFirst = nFirst;
        row.nGroups = nGroups;
        row.pMask = m_row.pMask;
        return true;
    }

    CScanScratch& m_scratch;
    CSumsRow m_row;
};

} // namespace narvo::engine
