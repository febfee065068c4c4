// SPDX-License-Identifier: MIT
// A picture whose pixels each meet a reference of their own, for tests over all inputs.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "fast/every_case.h"
#include "fast/picture.h"
#include "narvoassem/fast/call/kernel_call.h"

namespace narvo::test
{

/// Where a kernel looks for a pixel and its reference.
enum class CellShape
{
    Column,     ///< vertical: the pixel, and the two below it
    MeanOfFour, ///< vertical, means of 2 by 2: two columns, two rows for the pixel, three for its reference
    Row         ///< horizontal: the pixel, and two neighbours a row's length of cells on
};

/// A picture of cells, each of which holds a source grey and the near and far grey of its reference. In a row, of which
/// the pairing takes short ones, the far grey of a cell is the near grey of the next.
class CGreyCells
{
public:
    /// nCells: a multiple of 64
    CGreyCells(CellShape eShape, int nCells)
        : m_eShape(eShape), m_nCells(nCells), m_nCellWidth(eShape == CellShape::MeanOfFour ? 2 : 1),
          m_nRight(eShape == CellShape::Row ? 2 * nCellsOfRow : nCells * m_nCellWidth),
          m_picture(m_nRight + 16, Height(eShape, nCells), 0)
    {
    }

    int Cells() const { return m_nCells; }
    const CPicture& Picture() const { return m_picture; }
    int CellWidth() const { return m_nCellWidth; }

    /// The first pixel of a cell, counted over the lines of the picture.
    std::size_t PlaceOf(int nCell) const
    {
        return m_eShape == CellShape::Row ? Flat(nCell % nCellsOfRow, nCell / nCellsOfRow)
                                          : Flat(nCell * m_nCellWidth, 0);
    }

    void SetSource(int nCell, int nGrey)
    {
        Set(nCell, 0, nGrey);
        if (m_eShape == CellShape::MeanOfFour)
            Set(nCell, 1, nGrey);
    }

    void SetReference(int nCell, int nNear, int nFar)
    {
        if (m_eShape != CellShape::MeanOfFour)
        {
            Set(nCell, Pitch(), nNear);
            Set(nCell, Pitch() + 1, nFar);
            return;
        }
        // The two means share a row; where they lie too far apart for that, the far one comes as near as it must.
        const int nShared = std::clamp(nFar, std::max(0, 2 * nNear - 255), std::min(255, 2 * nNear));
        Set(nCell, 2, 2 * nNear - nShared);
        Set(nCell, 3, nShared);
        Set(nCell, 4, std::clamp(2 * nFar - nShared, 0, 255));
    }

    /// Sets image, region, pitch and capacities of a call that compares every cell and keeps single hits.
    void SetCall(engine::CKernelCall& call, int nFraction) const
    {
        call.image = m_picture.View();
        call.region = {0, 0, m_nRight, m_picture.nHeight - (m_eShape == CellShape::MeanOfFour ? 2 : 0)};
        call.hits.nSize = 2 * nCellsOfRow;
        call.pairs.nSize = 2 * m_nCells * m_nCellWidth + 16;
        call.nPitch16 = 16 * Pitch() + nFraction;
        call.nGrayLimit = 255;
        call.bKeepSingle = 1;
        call.nThresholdExtra = -40000; // below every peak
    }

private:
    static constexpr int nCellsOfRow = 64;

    static int Height(CellShape eShape, int nCells)
    {
        switch (eShape)
        {
        case CellShape::Row:
            return nCells / nCellsOfRow;
        case CellShape::MeanOfFour:
            return 7;
        case CellShape::Column:
            break;
        }
        return 4;
    }

    int Pitch() const { return m_eShape == CellShape::Row ? nCellsOfRow : m_nCellWidth; }

    std::size_t Flat(int x, int y) const { return static_cast<std::size_t>(y * m_picture.nWidth + x); }

    /// Sets what is nDistance rows below a cell, in a row of cells columns right of it.
    void Set(int nCell, int nDistance, int nGrey)
    {
        const std::size_t nStep = m_eShape == CellShape::Row ? Flat(nDistance, 0) : Flat(0, nDistance);
        for (int i = 0; i < m_nCellWidth; i++)
            m_picture.aPixels[PlaceOf(nCell) + nStep + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(nGrey);
    }

    CellShape m_eShape;
    int m_nCells;
    int m_nCellWidth;
    int m_nRight;
    CPicture m_picture;
};

/// Calls fnRun(cells, source) with every source grey on pictures that together hold every pair of near and far grey.
template <typename TRun>
void ForEveryGrey(CellShape eShape, const TRun& fnRun)
{
    constexpr int nPictures = 16;
    CGreyCells cells(eShape, nGreys * nGreys / nPictures);
    const std::vector<int> aPairs = EveryPair(nGreys);
    for (int nPicture = 0; nPicture < nPictures; nPicture++)
    {
        for (int nCell = 0; nCell < cells.Cells(); nCell++)
        {
            const auto nPair = static_cast<std::size_t>(nPicture * cells.Cells() + nCell);
            cells.SetReference(nCell, aPairs[nPair], aPairs[(nPair + 1) % aPairs.size()]);
        }
        for (int nSource = 0; nSource < nGreys && !testing::Test::HasFailure(); nSource++)
        {
            for (int nCell = 0; nCell < cells.Cells(); nCell++)
                cells.SetSource(nCell, nSource);
            fnRun(cells, nSource);
        }
    }
}

/// A picture of source and reference greys without a fraction between them; their number is a multiple of 64.
inline CGreyCells DifferenceCells(CellShape eShape, const std::vector<std::pair<int, int>>& aGreys)
{
    CGreyCells cells(eShape, static_cast<int>(aGreys.size()));
    for (int nCell = 0; nCell < cells.Cells(); nCell++)
    {
        const auto [nSource, nReference] = aGreys[static_cast<std::size_t>(nCell)];
        cells.SetSource(nCell, nSource);
        cells.SetReference(nCell, nReference, nReference);
    }
    return cells;
}

/// Every grey against 0, bright and dark.
inline std::vector<std::pair<int, int>> EveryDifference()
{
    std::vector<std::pair<int, int>> aGreys;
    for (int nGrey = 0; nGrey < nGreys; nGrey++)
    {
        aGreys.emplace_back(nGrey, 0);
        aGreys.emplace_back(0, nGrey);
    }
    return aGreys;
}

} // namespace narvo::test
