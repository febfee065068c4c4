// SPDX-License-Identifier: MIT
// All inputs of references that lie between four pixels, or whose place and weights come from column tables.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fast/every_case.h"
#include "fast/grey_cells.h"
#include "narvoassem/fast/call/kernel_call.h"

namespace narvo::test
{

/// Calls fnRun(cells, shift, fraction) at every shift and fraction in sixteenths on references between four pixels. The
/// value between two pixels of a row is a whole grey, so that a row meets the other by its value alone: each row in
/// turn has every pair of neighbours while the other is even, and two even rows have every pair of greys.
template <typename TRun>
void ForEveryReferenceBetweenFour(const TRun& fnRun)
{
    constexpr int nCells = 4096;
    CGreyCells cells(CellShape::Column, nCells);
    const auto fnRunAll = [&]
    {
        for (int nShift = 0; nShift < 16; nShift++)
            for (int nFraction = 0; nFraction < 16 && !testing::Test::HasFailure(); nFraction++)
                fnRun(cells, nShift, nFraction);
    };
    const std::vector<int> aPairs = EveryPair(nGreys);
    for (std::size_t nFirst = 0; nFirst < aPairs.size(); nFirst += nCells)
    {
        for (const int nEven : {0, 127, 255})
            for (const bool bNear : {true, false})
            {
                for (int nCell = 0; nCell <= nCells; nCell++) // the pixel right of the last one is read, too
                {
                    const int nGrey = aPairs[(nFirst + static_cast<std::size_t>(nCell)) % aPairs.size()];
                    cells.SetReference(nCell, bNear ? nGrey : nEven, bNear ? nEven : nGrey);
                }
                fnRunAll();
            }
    }
    for (int nFirst = 0; nFirst < nGreys * nGreys; nFirst += nCells / 2)
    {
        for (int nCell = 0; nCell < nCells; nCell++)
        {
            const int nPair = nFirst + nCell / 2;
            cells.SetReference(nCell, nPair / nGreys, nPair % nGreys);
        }
        fnRunAll();
    }
}

/// Tables for a row of cells: the reference lies a row's length of cells further on.
struct CColumnTables
{
    std::vector<std::uint16_t> aDisplacements = std::vector<std::uint16_t>(nColumns, 64);
    std::vector<std::int16_t> aNear = std::vector<std::int16_t>(nColumns, 16);
    std::vector<std::int16_t> aFar = std::vector<std::int16_t>(nColumns, 0);

    static constexpr std::size_t nColumns = 128;

    /// Weights of the columns whose number modulo 8 is nLane.
    void SetWeights(int nLane, int nNear, int nFar)
    {
        for (auto i = static_cast<std::size_t>(nLane); i < nColumns; i += 8)
        {
            aNear[i] = static_cast<std::int16_t>(nNear);
            aFar[i] = static_cast<std::int16_t>(nFar);
        }
    }
    void SetAllWeights(int nNear, int nFar)
    {
        for (int nLane = 0; nLane < 8; nLane++)
            SetWeights(nLane, nNear, nFar);
    }

    void SetCall(engine::CKernelCall& call) const
    {
        call.pConvPitchTable = aDisplacements.data();
        call.pConvWeightNear = aNear.data();
        call.pConvWeightFar = aFar.data();
    }
};

/// Calls fnRun(cells, tables, inputs) with every pair of greys at every pair of weights from 0 to 16.
template <typename TRun>
void ForEverySmallColumnWeight(const TRun& fnRun)
{
    constexpr int nCells = 4096;
    CGreyCells cells(CellShape::Row, nCells);
    CColumnTables tables;
    const std::vector<int> aPairs = EveryPair(nGreys);
    for (std::size_t nFirst = 0; nFirst < aPairs.size(); nFirst += nCells)
    {
        for (int nCell = 0; nCell < nCells; nCell++)
        {
            const std::size_t nPair = nFirst + static_cast<std::size_t>(nCell);
            cells.SetReference(nCell, aPairs[nPair], aPairs[(nPair + 1) % aPairs.size()]);
        }
        for (int nNear = 0; nNear <= 16; nNear++)
            for (int nFar = 0; nFar <= 16 && !testing::Test::HasFailure(); nFar++)
            {
                tables.SetAllWeights(nNear, nFar);
                fnRun(cells, tables, Inputs("near weight", nNear) + Inputs(" far weight", nFar));
            }
    }
}

/// Calls fnRun(cells, tables, inputs) with every grey at every weight of 16 bits, near and far, beside some others.
template <typename TRun>
void ForEveryColumnWeight(const TRun& fnRun)
{
    CGreyCells cells(CellShape::Row, 8 * nGreys); // each grey in eight columns of different weights
    for (int nCell = 0; nCell < cells.Cells(); nCell++)
        cells.SetReference(nCell, nCell / 8, nCell / 8);
    CColumnTables tables;
    for (const int nOther : {0, 16, -1})
        for (const bool bNear : {true, false})
            for (int nFirst = -32768; nFirst < 32768 && !testing::Test::HasFailure(); nFirst += 8)
            {
                for (int nLane = 0; nLane < 8; nLane++)
                    tables.SetWeights(nLane, bNear ? nFirst + nLane : nOther, bNear ? nOther : nFirst + nLane);
                fnRun(cells, tables, Inputs(bNear ? "near weights from" : "far weights from", nFirst));
            }
}

} // namespace narvo::test
