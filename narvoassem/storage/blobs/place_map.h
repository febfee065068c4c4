// SPDX-License-Identifier: MIT
// Members by place, for the vertical walks of the grouping pass: a bit for each pixel tells which places are left, and
// the number of places before it in its cell leads to the member.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>

#include "narvoassem/storage/blobs/group_member.h"

namespace narvo::engine
{

/// Cells of 8 by 8 pixels, each of which knows those around it. In a blob most walks find nothing left near them, and
/// they learn it from the bits of four cells. kReach: columns and rows that a walk reaches on each side.
template <int kReach>
class CPlaceMap
{
public:
    /// Words of memory for nMembers members. The memory begins at a multiple of 8 bytes.
    static std::size_t GetWords(int nMembers)
    {
        const auto n = static_cast<std::size_t>(nMembers);
        return ((n + 1) * sizeof(SCell) + n * sizeof(SPlace)) / sizeof(int) + n + GetBuckets(nMembers);
    }

    CPlaceMap(SGroupMember* pMembers, int nMembers, int* pWords)
        : m_pMember(pMembers), m_pCell(reinterpret_cast<SCell*>(pWords)),
          m_pPlace(reinterpret_cast<SPlace*>(m_pCell + nMembers + 1)),
          m_pFirst(reinterpret_cast<int*>(m_pPlace + nMembers)), m_pBucket(m_pFirst + nMembers),
          m_nMask(GetBuckets(nMembers) - 1)
    {
        std::fill_n(m_pBucket, m_nMask + 1, nNoCell);
        new (&m_pCell[nNoCell]) SCell{};
        for (int i = 0; i < nMembers; ++i)
            m_pPlace[i].nCell = AddPlace(m_pMember[i].pt);
        NumberPlaces();
        for (int i = nMembers - 1; i >= 0; --i)
        {
            m_pPlace[i].nPlace = GetPlace(m_pCell[m_pPlace[i].nCell], GetBit(m_pMember[i].pt));
            int& nFirst = m_pFirst[m_pPlace[i].nPlace];
            m_pMember[i].nNext = nFirst;
            nFirst = i;
        }
    }

    /// Calls fnClaim(nMember) for the later members, not yet claimed, that are within reach of nFinder on both axes.
    /// Finders come in order: what lies before them is not shown again.
    template <class TClaim>
    void Show(int nFinder, TClaim&& fnClaim)
    {
        const CPoint& pt = m_pMember[nFinder].pt;
        SCell& own = m_pCell[m_pPlace[nFinder].nCell];
        Pass(nFinder, own);
        static constexpr SSpans spans;
        const SSpan& across = spans.span[pt.x & nLast];
        const SSpan& down = spans.span[pt.y & nLast];
        SCell* const pCells[] = {&own, GetNear(own, across.nBeside, 0), GetNear(own, 0, down.nBeside),
                                 GetNear(own, across.nBeside, down.nBeside)};
        const std::uint64_t nFound[] = {own.nLeft & across.nColumns & down.nRows,
                                        pCells[1]->nLeft & across.nColumnsBeside & down.nRows,
                                        pCells[2]->nLeft & across.nColumns & down.nRowsBeside,
                                        pCells[3]->nLeft & across.nColumnsBeside & down.nRowsBeside};
        if ((nFound[0] | nFound[1] | nFound[2] | nFound[3]) == 0)
            return;
        for (int n = 0; n < 4; ++n)
            for (std::uint64_t nBits = nFound[n]; nBits != 0; nBits &= nBits - 1)
                ShowPlace(*pCells[n], nBits & -nBits, fnClaim);
    }

private:
    static constexpr int nShift = 3;
    static constexpr int nSide = 1 << nShift; ///< pixels of a cell
    static constexpr int nLast = nSide - 1;
    static constexpr int nNoCell = 0; ///< an empty one
    static_assert(2 * kReach <= nSide);

    struct SCell
    {
        int nX = 0; ///< in cells
        int nY = 0;
        std::uint64_t nPlaces = 0; ///< that have members, row by row
        std::uint64_t nLeft = 0;   ///< that have members which are neither claimed nor passed
        int nFirst = 0;            ///< number of places of the cells before
        int nNear[9] = {};         ///< the 3 by 3 cells around it, row by row
    };
    static_assert(sizeof(SCell) == 64);

    /// Of a member.
    struct SPlace
    {
        int nCell;
        int nPlace;
    };

    /// What lies within reach of a column, or row, of a cell: bits of the cell itself and of the one beside it that is
    /// nearer.
    struct SSpan
    {
        std::uint64_t nColumns = 0;
        std::uint64_t nColumnsBeside = 0;
        std::uint64_t nRows = 0;
        std::uint64_t nRowsBeside = 0;
        int nBeside = 0; ///< -1 or 1
    };
    struct SSpans
    {
        SSpan span[nSide];

        constexpr SSpans()
        {
            constexpr std::uint64_t nColumn = 0x0101010101010101;
            constexpr std::uint64_t nRow = 0xFF;
            for (int nMiddle = 0; nMiddle < nSide; ++nMiddle)
            {
                SSpan& one = span[nMiddle];
                one.nBeside = nMiddle < nSide / 2 ? -1 : 1;
                for (int n = nMiddle - kReach; n <= nMiddle + kReach; ++n)
                {
                    const bool bInside = n >= 0 && n < nSide;
                    const int nPixel = (n + nSide) % nSide;
                    (bInside ? one.nColumns : one.nColumnsBeside) |= nColumn << nPixel;
                    (bInside ? one.nRows : one.nRowsBeside) |= nRow << nPixel * nSide;
                }
            }
        }
    };

    static std::size_t GetBuckets(int nMembers) { return std::bit_ceil(static_cast<std::size_t>(nMembers) * 2); }
    static std::uint64_t GetBit(const CPoint& pt)
    {
        return std::uint64_t{1} << ((pt.y & nLast) * nSide + (pt.x & nLast));
    }
    /// As std::popcount, which calls a function where the processor is not known to have an instruction for it.
    static int CountBits(std::uint64_t n)
    {
        n -= n >> 1 & 0x5555555555555555;
        n = (n & 0x3333333333333333) + (n >> 2 & 0x3333333333333333);
        n = (n + (n >> 4)) & 0x0F0F0F0F0F0F0F0F;
        return static_cast<int>(n * 0x0101010101010101 >> 56);
    }

    /// The bucket of a cell, or the empty one where it belongs. There are fewer cells than buckets.
    std::size_t Search(int nX, int nY) const
    {
        // The cells of a column are side by side, so that lists ordered by strips reuse cache lines.
        std::size_t nBucket = (static_cast<std::size_t>(nY) + static_cast<std::size_t>(nX) * 0x9E3779B1U) & m_nMask;
        constexpr std::size_t nStep = 0x5BD1E995; // odd, so that it reaches all buckets
        for (int nCell; (nCell = m_pBucket[nBucket]) != nNoCell; nBucket = (nBucket + nStep) & m_nMask)
        {
            if (m_pCell[nCell].nX == nX && m_pCell[nCell].nY == nY)
                break;
        }
        return nBucket;
    }

    /// @return its cell
    int AddPlace(const CPoint& pt)
    {
        const int nX = pt.x >> nShift;
        const int nY = pt.y >> nShift;
        int nCell = m_nCells; // mostly that of the place before
        if (nCell == nNoCell || m_pCell[nCell].nX != nX || m_pCell[nCell].nY != nY)
        {
            int& nFound = m_pBucket[Search(nX, nY)];
            if (nFound == nNoCell)
            {
                nFound = ++m_nCells;
                new (&m_pCell[nFound]) SCell{.nX = nX, .nY = nY};
            }
            nCell = nFound;
        }
        m_pCell[nCell].nPlaces |= GetBit(pt);
        return nCell;
    }

    void NumberPlaces()
    {
        int nPlaces = 0;
        for (int i = 1; i <= m_nCells; ++i)
        {
            SCell& cell = m_pCell[i];
            cell.nLeft = cell.nPlaces;
            cell.nFirst = nPlaces;
            nPlaces += CountBits(cell.nPlaces);
            // Half of those around it; it is around them, too.
            for (const int n : {5, 6, 7, 8})
            {
                const int nOther = m_pBucket[Search(cell.nX + n % 3 - 1, cell.nY + n / 3 - 1)];
                cell.nNear[n] = nOther;
                m_pCell[nOther].nNear[8 - n] = i;
            }
        }
        std::fill_n(m_pCell[nNoCell].nNear, 9, nNoCell);
        std::fill_n(m_pFirst, nPlaces, nNoMember);
    }

    SCell* GetNear(const SCell& cell, int nRight, int nDown) const
    {
        return m_pCell + cell.nNear[4 + nRight + 3 * nDown];
    }
    int GetPlace(const SCell& cell, std::uint64_t nBit) const
    {
        return cell.nFirst + CountBits(cell.nPlaces & (nBit - 1));
    }

    void Pass(int nFinder, SCell& cell)
    {
        int& nFirst = m_pFirst[m_pPlace[nFinder].nPlace];
        if (nFirst != nFinder)
            return; // claimed
        nFirst = m_pMember[nFinder].nNext;
        if (nFirst == nNoMember)
            cell.nLeft &= ~GetBit(m_pMember[nFinder].pt);
    }

    template <class TClaim>
    void ShowPlace(SCell& cell, std::uint64_t nBit, TClaim& fnClaim)
    {
        int& nFirst = m_pFirst[GetPlace(cell, nBit)];
        while (nFirst != nNoMember && fnClaim(nFirst) == EClaim::Claimed)
            nFirst = m_pMember[nFirst].nNext;
        if (nFirst == nNoMember)
            cell.nLeft &= ~nBit;
    }

    SGroupMember* m_pMember;
    SCell* m_pCell; ///< from 1 on
    SPlace* m_pPlace;
    int* m_pFirst;  ///< of each place, in the order of the cells: the first member left there
    int* m_pBucket; ///< the cell of each bucket
    std::size_t m_nMask;
    int m_nCells = 0;
};

} // namespace narvo::engine
