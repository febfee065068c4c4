// SPDX-License-Identifier: MIT
// What the row sources of the float family share: rows that the bound has listed are compared without stored sums.
#pragma once

#include <cstdint>

#include "narvoassem/fast/bound/sum_bound.h"
#include "narvoassem/fast/float/float_rule.h"
#include "narvoassem/fast/source/sum_source.h"

namespace narvo::engine
{

template <CFloatTraits kTraits>
class CFloatSource : public CSumSource<CFloatRule<kTraits>>
{
    using CBase = CSumSource<CFloatRule<kTraits>>;
    using CBound = CSumBound<kTraits.eFind, kTraits.nAcross, kTraits.nAlong, kTraits.bHorizontal>;

public:
    static constexpr bool kListed = CBound::kBounded;

    bool Compare(std::int64_t nColumn, CFoundHit& hit)
    {
        if (!m_bCandidates)
            return CompareStored(nColumn, hit);
        const std::uint8_t* const pWindow = m_place.pSource + nColumn;
        m_aSums[0] = Sum(pWindow);
        m_aSums[1] = Sum(pWindow + m_place.nReference);
        m_aSums[2] = Sum(pWindow + m_place.nReference + (kTraits.bHorizontal ? 1 : m_place.nRowBytes));
        const CSumsComparison found = CompareSums<kTraits.eFind>(this->m_row, 0);
        hit.Set(found);
        return found.IsHit();
    }

protected:
    explicit CFloatSource(const CFloatRule<kTraits>& rule)
        : CBase(rule), m_bound(this->m_scratch.bound, CBound(this->m_row))
    {
    }

    /// The comparison at column nColumn of rows of stored sums.
    bool CompareStored(std::int64_t nColumn, CFoundHit& hit) const { return CBase::Compare(nColumn, hit); }

    /// Lists the candidates of nGroups groups of row.y, whose place is given. @return false if it has to be found
    bool List(const CSumPlace& place, std::int64_t nGroups, CMarkedRow& row)
    {
        m_place = place;
        m_bCandidates = m_bound.List([&] { return place; }, row);
        if (!m_bCandidates)
            return false;
        row.nFirst = 0;
        row.nGroups = nGroups;
        this->m_row.pSrc = &m_aSums[0];
        this->m_row.pNear = &m_aSums[1];
        this->m_row.pFar = &m_aSums[2];
        return true;
    }

    bool Find(CMarkedRow& row, std::int64_t nFirst, std::int64_t nGroups)
    {
        m_bCandidates = false;
        return CBase::Find(row, nFirst, nGroups);
    }

    CBoundStage<CBound> m_bound;

private:
    std::uint16_t Sum(const std::uint8_t* pWindow) const
    {
        constexpr int kWidth = kTraits.bHorizontal ? kTraits.nAlong : kTraits.nAcross;
        constexpr int kLines = kTraits.bHorizontal ? kTraits.nAcross : kTraits.nAlong;
        unsigned nSum = 0;
        for (int nLine = 0; nLine < kLines; ++nLine)
            for (int n = 0; n < kWidth; ++n)
                nSum += pWindow[nLine * m_place.nRowBytes + n];
        return static_cast<std::uint16_t>(nSum);
    }

    CSumPlace m_place;             ///< of the current row
    bool m_bCandidates = false;    ///< its marked pixels are candidates, not hits
    std::uint16_t m_aSums[3] = {}; ///< of the candidate: source, near and far reference
};

} // namespace narvo::engine
