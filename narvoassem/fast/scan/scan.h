// SPDX-License-Identifier: MIT
// The scan of a region, the same for all kernels. A row source says what is compared and in which order, strip by strip
// or row by row, and a finder marks the pixels of whole rows; the plain comparison computes the values of the few
// marked ones while their row is in the cache; a rule puts them into the hit arrays, and they are paired in the
// kernel's own order. Only the last step has capacity rules.
#pragma once

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstdint>
#include <limits>
#include <utility>

#include "narvoassem/base/memory_shortage.h"
#include "narvoassem/fast/find/find_row.h"
#include "narvoassem/fast/find/marked_row.h"
#include "narvoassem/fast/pair/band_pairing.h"
#include "narvoassem/fast/pair/hit_chains.h"
#include "narvoassem/fast/pair/pair_writer.h"
#include "narvoassem/fast/scan/scan_scratch.h"

namespace narvo::engine
{

/// The current unit: a strip of 16 columns, or a row. A line is a row of a strip, or a block of 16 columns of a row.
struct CScanUnit
{
    std::int64_t nPosition = 0;  ///< the strip's column as its hits have it, or the row
    std::int64_t nLeft = 0;      ///< the row's first column
    std::int64_t nFirstLine = 0; ///< lines and groups of 8 columns are counted from here
    CBands bands;
};

/// How far the hit arrays took the hits of a unit.
struct CHitsTaken
{
    bool bFull = false;      ///< the arrays are full
    std::int64_t nGroup = 0; ///< the last group that they took: two for each line
    bool bRecorded = false;  ///< its hits produced records
};

/// Where the rows of a scan come from. Units are found several at a time, as a tile, and left one by one.
// clang-format off
template <class T>
concept RowSource = requires(T source, const T& state, std::int64_t n, CMarkedRow& row, CFoundHit& hit,
                             const CHitsTaken& taken)
{
    { T::kHorizontal } -> std::convertible_to<bool>;       ///< units are rows
    { T::kListed } -> std::convertible_to<bool>;           ///< rows may have a list instead of a mask
    { T::kChains } -> std::convertible_to<int>;            ///< chains of a strip: 2 where its halves follow one another
    { source.Enter() } -> std::same_as<bool>;              ///< there is a next unit; false at the end of the scan
    { state.CountUnits(n) } -> std::same_as<std::int64_t>; ///< units of the next tile, at most n
    { source.BeginTile(n) } -> std::same_as<bool>;         ///< makes room for n units; false without memory
    { source.NextRow(row) } -> std::same_as<bool>;         ///< finds the next row of the tile, or part of a row
    { source.Compare(n, hit) } -> std::same_as<bool>;      ///< the plain comparison at column n of it; false: no hit
    { state.Unit() } -> std::same_as<CScanUnit>;
    { source.Leave(taken) } -> std::same_as<bool>;         ///< advances to the next unit; false: not in this tile
    { state.EndPosition() } -> std::same_as<std::int64_t>; ///< end line of a completed scan
};
// clang-format on

/// How found pixels become hits.
// clang-format off
template <class T>
concept HitRule = PairJudge<T> && requires(T rule, const CFoundHit& hit, std::int64_t n, int nPass)
{
    { T::kPairing } -> std::convertible_to<CPairingTraits>;
    { T::kPasses } -> std::convertible_to<int>;                ///< passes over each group of hits
    { T::kFirstGroup } -> std::convertible_to<bool>;           ///< a unit's first group is taken at any capacity
    { rule.Takes(hit, nPass) } -> std::same_as<bool>;          ///< the hit is stored in this pass
    { rule.Store(n, n, n, hit, nPass) } -> std::same_as<bool>; ///< at index, x and y; false without memory
    { rule.pEndLine } -> std::convertible_to<int*>;            ///< null where the kernel writes none
};
// clang-format on

template <RowSource TSource, HitRule TRule>
class CScan
{
public:
    CScan(TSource& source, TRule& rule)
        : m_source(source), m_rule(rule), m_records(rule), m_chains(GetScanScratch().chains), m_nHits(rule.hits.nCount)
    {
    }

    /// @return the new pair count
    int Run()
    {
        std::int64_t nMost = std::numeric_limits<std::int64_t>::max();
        std::int64_t nTile = nMost;
        while (m_source.Enter())
        {
            const std::int64_t nUnits = m_source.CountUnits(std::min(nTile, nMost));
            if (!FindTile(nUnits))
            {
                // Too many hits to hold, or no memory: look at fewer strips at once.
                if (nUnits == 1)
                {
                    NoteMemoryShortage();
                    return End(m_source.Unit().nPosition);
                }
                nMost = nUnits / 2;
                continue;
            }
            bool bInTile = true;
            std::int64_t nUnit = 0;
            for (; nUnit < nUnits && bInTile; ++nUnit)
            {
                const CScanUnit unit = m_source.Unit();
                if constexpr (!TSource::kHorizontal)
                    Append(nUnit, unit);
                CHitsTaken taken = {.bFull = IsFull(), .nGroup = std::exchange(m_nGroup, 0)};
                const std::int64_t nRecords = m_records.Count();
                if (Pair(unit.bands) == PairingEnd::PairsFull)
                    return End(unit.nPosition + (TSource::kHorizontal ? 1 : kStripWidth));
                taken.bRecorded = m_records.Count() != nRecords;
                bInTile = m_source.Leave(taken);
            }
            // A cut moves the strips behind it, and what was found there is lost: where one strip is cut, look at
            // fewer.
            nTile = bInTile ? 2 * nUnits : nUnit;
        }
        return End(m_source.EndPosition());
    }

private:
    /// Finds the hits of nUnits units. @return false when they cannot be held
    bool FindTile(std::int64_t nUnits)
    {
        if (!m_source.BeginTile(nUnits))
            return false;
        const CScanUnit unit = m_source.Unit();
        // The hits of a group are held only where passes take them.
        constexpr bool kGrouped = TSource::kHorizontal && TRule::kPasses > 1;
        CFoundHit group[kGroupWidth];
        for (CMarkedRow row; m_source.NextRow(row);)
        {
            CMarkedGroups<TSource::kListed, !kGrouped> groups(row);
            for (CMarkedWord marked; groups.Next(marked);)
            {
                int nCount = 0;
                for (std::uint64_t nBits = marked.nBits; nBits != 0; nBits &= nBits - 1)
                {
                    const std::int64_t nColumn = marked.nGroup * kGroupWidth + std::countr_zero(nBits);
                    const std::int64_t nInTile = row.nFirst * kGroupWidth + nColumn;
                    CFoundHit hit(TSource::kHorizontal ? nInTile / kStripWidth : row.y,
                                  static_cast<int>(nInTile % kStripWidth));
                    if (!m_source.Compare(nColumn, hit))
                        continue;
                    // Rows are paired one at a time, so their hits need no chain.
                    if constexpr (kGrouped)
                        group[nCount++] = hit;
                    else if constexpr (TSource::kHorizontal)
                    {
                        if (!AppendGroup(&hit, 1, unit))
                            return true;
                    }
                    else if (!m_chains.Append(nInTile * TSource::kChains / kStripWidth, hit))
                        return false;
                }
                if (nCount > 0 && !AppendGroup(group, nCount, unit))
                    return true;
            }
        }
        return true;
    }

    /// Fills the hit arrays from the chains of one unit.
    void Append(std::int64_t nUnit, const CScanUnit& unit)
    {
        CFoundHit group[kGroupWidth];
        for (int nChain = 0; nChain < TSource::kChains; ++nChain)
            for (CHitChains::CCursor hit = m_chains.Hits(nUnit * TSource::kChains + nChain); hit;)
            {
                int nCount = 0;
                do
                {
                    group[nCount++] = *hit;
                    ++hit;
                } while (TRule::kPasses > 1 && hit && hit->Group() == group[0].Group());
                if (!AppendGroup(group, nCount, unit))
                    return;
            }
    }

    /// Appends nCount hits of one group, or of the group before. The group that reaches the capacity of the hit arrays
    /// is taken whole, and is the last. @return false when it is not taken
    bool AppendGroup(const CFoundHit* pGroup, int nCount, const CScanUnit& unit)
    {
        const std::int64_t nGroup = pGroup->Group() - 2 * unit.nFirstLine;
        if (IsFull() && (nGroup != m_nGroup || !TRule::kFirstGroup))
            return false;
        m_nGroup = nGroup;
        for (int nPass = 0; nPass < TRule::kPasses; ++nPass)
            for (int n = 0; n < nCount; ++n)
                if (m_rule.Takes(pGroup[n], nPass) && !Store(pGroup[n], unit, nPass))
                    return false;
        return true;
    }

    bool Store(const CFoundHit& hit, const CScanUnit& unit, int nPass)
    {
        const std::int64_t x =
            (TSource::kHorizontal ? unit.nLeft + hit.Line() * kStripWidth : unit.nPosition) + hit.Column();
        if (!m_rule.Store(m_nHits, x, TSource::kHorizontal ? unit.nPosition : hit.Line(), hit, nPass))
        {
            NoteMemoryShortage();
            return false;
        }
        ++m_nHits;
        return true;
    }

    bool IsFull() const { return m_nHits >= m_rule.hits.nSize; }

    /// Pairs the hits held and empties the list.
    PairingEnd Pair(const CBands& bands)
    {
        const CHitList list = {&m_rule.hits, m_nHits};
        m_nHits = 0;
        return PairHits<TRule::kPairing>(list, bands, m_records);
    }

    /// Ends the scan before nLine.
    int End(std::int64_t nLine)
    {
        if (m_rule.pEndLine != nullptr)
            *m_rule.pEndLine = static_cast<int>(nLine);
        return static_cast<int>(m_records.Count());
    }

    TSource& m_source;
    TRule& m_rule;
    CPairWriter<TRule> m_records;
    CHitChains& m_chains;
    std::int64_t m_nHits;
    std::int64_t m_nGroup = 0; ///< the last group of the unit that the hit arrays took
};

} // namespace narvo::engine
