// SPDX-License-Identifier: MIT
// The search for the true pitch: candidates upward, the first of least cost wins. The costs are in pitch_check_cost.cc.
#include "narvoassem/assemutil.h"

#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/pitch/pitch_check_cost.h"

using namespace narvo::engine;

namespace
{

constexpr std::int64_t nNoCost = 0x0FFFFFFFFFFFFFFF;

/// A run of candidates of one whole part. Fractions are never negative: candidate -1 is whole part -1, fraction 15.
struct CPitchRun
{
    std::int64_t nWhole;
    int nFirst;
    int nCount;
};

CPitchRun MakeRun(std::int64_t nCandidate, std::int64_t nHigh)
{
    const int nFirst = static_cast<int>(nCandidate & 15);
    return {nCandidate >> 4, nFirst,
            static_cast<int>(std::min<std::int64_t>(nPitchFractions - nFirst, nHigh - nCandidate + 1))};
}

/// Walks nLow .. nHigh along the axis of `lines`. @return false when no candidate beats the starting cost
bool SearchLines(const CPitchLines& lines, std::int64_t nLow, std::int64_t nHigh, int nNoise, std::int64_t& nBest)
{
    std::int64_t nBestCost = nNoCost;
    for (std::int64_t c = nLow; c <= nHigh;)
    {
        const CPitchRun run = MakeRun(c, nHigh);
        std::int64_t nCosts[nPitchFractions];
        GetLineCosts(lines, run.nWhole, run.nFirst, run.nCount, std::int64_t{32} * nNoise, nCosts);
        for (int k = 0; k < run.nCount; ++k, ++c)
            if (nCosts[k] < nBestCost)
            {
                nBestCost = nCosts[k];
                nBest = c;
            }
    }
    return nBestCost != nNoCost;
}

/// Candidates are ints, however far the sum of centre and range goes.
std::int64_t ClampCandidate(std::int64_t n)
{
    return std::clamp<std::int64_t>(n, INT32_MIN, INT32_MAX);
}

void SearchRound(const CPitchLines& lines, std::int64_t nCenter, int nPitchRange, int nNoise, int& nBest,
                 int& nBestWhole, int& nBestFraction)
{
    std::int64_t nFound = 0;
    nCenter = ClampCandidate(nCenter);
    if (!SearchLines(lines, ClampCandidate(nCenter - nPitchRange), ClampCandidate(nCenter + nPitchRange), nNoise,
                     nFound))
        return;
    nBest = static_cast<int>(nFound);
    nBestWhole = static_cast<int>(nFound / 16);
    nBestFraction = static_cast<int>(nFound % 16);
}

CPitchLines MakeLines(const unsigned char* pImage, int nStride, int x0, int y0, std::int64_t nColumns, int nHeight,
                      std::int64_t nAlong)
{
    if (nColumns <= 0 || nHeight <= 0)
        return {pImage, nStride, 0, 0, nAlong};
    return {pImage + (std::int64_t{y0} * nStride + x0), nStride, nColumns, nHeight, nAlong};
}

/// Columns of a comparison along rows: whole blocks, at least one.
std::int64_t CountRowColumns(int nWidth)
{
    return std::max<std::int64_t>((std::int64_t{nWidth} + 15) / 16, 1) * 16;
}

/// The two-dimensional comparison of a region.
class CBoxSearch
{
public:
    CBoxSearch(int x0, int x1, int y0, int y1, const unsigned char* pImage, int nStride, short* pBuffer1,
               short* pBuffer2)
        : m_x0(x0), m_x1(x1), m_y0(y0), m_nRows(std::int64_t{y1} - y0), m_pImage(pImage), m_nStride(nStride),
          m_pPlain(pBuffer1), m_pShifted(pBuffer2)
    {
    }

    /// Costs of the column displacements of a run with the row displacement nRow.
    void GetCosts(const CPitchRun& columns, std::int64_t nRow, std::int64_t* pCosts) const
    {
        std::fill_n(pCosts, columns.nCount, 0);
        if (m_nRows <= 0)
            return;
        for (std::int64_t x = m_x0; x < m_x1; x += 16)
        {
            const std::int64_t nSource = m_y0 * m_nStride + x;
            const std::int64_t nDisplaced = nSource + columns.nWhole * m_nStride + (nRow >> 4);
            FillBoxStrip(m_pImage + nSource, m_pImage + nDisplaced, m_nStride, m_nRows + 2, static_cast<int>(nRow & 15),
                         m_pPlain, m_pShifted);
            AddBoxCosts(m_pPlain, m_pShifted, m_nRows, columns.nFirst, columns.nCount, pCosts);
        }
    }

    /// What stops the comparison with column displacements of whole part nWhole in an image of nImageHeight rows, as
    /// the strips are walked: -1 nothing, 1 a row whose counterpart lies past the end, 2 a row before the start.
    int FindStop(std::int64_t nWhole, int nImageHeight) const
    {
        const std::int64_t nEnd = (nImageHeight - nWhole) * m_nStride;
        for (std::int64_t x = m_x0; x < m_x1; x += 16)
            for (std::int64_t y = m_y0; y < m_y0 + m_nRows + 2; ++y)
            {
                const std::int64_t nAddress = y * m_nStride + x;
                if (nAddress >= nEnd)
                    return 1;
                if (nAddress < 0)
                    return 2;
            }
        return -1;
    }

private:
    std::int64_t m_x0;
    std::int64_t m_x1;
    std::int64_t m_y0;
    std::int64_t m_nRows;
    const unsigned char* m_pImage;
    std::int64_t m_nStride;
    std::int16_t* m_pPlain;
    std::int16_t* m_pShifted;
};

} // namespace

void CAssemUtil::ByteToShort(const unsigned char* pByte, short* pShort, int nCount)
{
    WidenBytes(pByte, pShort, nCount);
}

void CAssemUtil::CheckPitchSmall16(std::int64_t nCenter, int nPitchRange, int x0, int y0, int nWidth, int nHeight,
                                   const unsigned char* pImage, int nStride, int nNoise, int& nBest, int& nBestWhole,
                                   int& nBestFraction)
{
    SearchRound(MakeLines(pImage, nStride, x0, y0, CountRowColumns(nWidth), nHeight, 1), nCenter, nPitchRange, nNoise,
                nBest, nBestWhole, nBestFraction);
}

void CAssemUtil::CheckPitchSmallVert16(std::int64_t nCenter, int nPitchRange, int x0, int y0, int nWidth, int nHeight,
                                       const unsigned char* pImage, int nStride, int nNoise, int& nBest,
                                       int& nBestWhole, int& nBestFraction)
{
    SearchRound(MakeLines(pImage, nStride, x0, y0, nWidth / 16 * 16, nHeight, nStride), nCenter, nPitchRange, nNoise,
                nBest, nBestWhole, nBestFraction);
}

void CAssemUtil::CheckPitchPixel(int nLow, int nHigh, int x0, int y0, int nWidth, int nHeight,
                                 const unsigned char* pImage, int nStride, int nNoise, int& nBestWhole)
{
    std::int64_t nFound = 0;
    if (SearchLines(MakeLines(pImage, nStride, x0, y0, CountRowColumns(nWidth), nHeight, 1), nLow, nHigh, nNoise,
                    nFound))
        nBestWhole = static_cast<int>(nFound / 16);
}

void CAssemUtil::CheckPitchSmallVPT16(int nColumnLow, int nColumnHigh, int nRowLow, int nRowHigh, int x0, int x1,
                                      int y0, int y1, const unsigned char* pImage, int nStride, int /*nUnused*/,
                                      short* pBuffer1, short* pBuffer2, int& nBestColumn, int& nBestRow)
{
    const CBoxSearch search(x0, x1, y0, y1, pImage, nStride, pBuffer1, pBuffer2);
    std::int64_t nBestCost = nNoCost;
    for (std::int64_t v = nColumnLow; v <= nColumnHigh;)
    {
        // The best row displacement of each column displacement of the run, so that ties are resolved as if the
        // columns were walked one by one.
        const CPitchRun run = MakeRun(v, nColumnHigh);
        std::int64_t nRunCosts[nPitchFractions];
        std::int64_t nRunRows[nPitchFractions] = {};
        std::fill_n(nRunCosts, nPitchFractions, nNoCost);
        for (std::int64_t h = nRowLow; h <= nRowHigh; ++h)
        {
            std::int64_t nCosts[nPitchFractions];
            search.GetCosts(run, h, nCosts);
            for (int k = 0; k < run.nCount; ++k)
                if (nCosts[k] < nRunCosts[k])
                {
                    nRunCosts[k] = nCosts[k];
                    nRunRows[k] = h;
                }
        }
        for (int k = 0; k < run.nCount; ++k, ++v)
            if (nRunCosts[k] < nBestCost)
            {
                nBestCost = nRunCosts[k];
                nBestColumn = static_cast<int>(v);
                nBestRow = static_cast<int>(nRunRows[k]);
            }
    }
}

void CAssemUtil::CheckPitchSmallVP_T16(int nColumn, int nLow, int nHigh, int x0, int x1, int y0, int y1,
                                       const unsigned char* pImage, int nStride, int nUnused, short* pBuffer1,
                                       short* pBuffer2, int& nBest)
{
    int nBestColumn = 0;
    CheckPitchSmallVPT16(nColumn, nColumn, nLow, nHigh, x0, x1, y0, y1, pImage, nStride, nUnused, pBuffer1, pBuffer2,
                         nBestColumn, nBest);
}

void CAssemUtil::CheckPitchSmallVT_P16(int nLow, int nHigh, int nRow, int x0, int x1, int y0, int y1,
                                       const unsigned char* pImage, int nStride, int nUnused, short* pBuffer1,
                                       short* pBuffer2, int& nBest)
{
    int nBestRow = 0;
    CheckPitchSmallVPT16(nLow, nHigh, nRow, nRow, x0, x1, y0, y1, pImage, nStride, nUnused, pBuffer1, pBuffer2, nBest,
                         nBestRow);
}

int CAssemUtil::CheckPitchSmallVT_P16_BOE(int nLow, int nHigh, int nRow, int x0, int x1, int y0, int y1,
                                          const unsigned char* pImage, int nStride, int nImageHeight, int /*nUnused*/,
                                          short* pBuffer1, short* pBuffer2, int& nBest)
{
    const CBoxSearch search(x0, x1, y0, y1, pImage, nStride, pBuffer1, pBuffer2);
    std::int64_t nBestCost = nNoCost;
    for (std::int64_t v = nLow; v <= nHigh;)
    {
        const CPitchRun run = MakeRun(v, nHigh);
        const int nStop = search.FindStop(run.nWhole, nImageHeight);
        if (nStop != -1)
            return nStop;
        std::int64_t nCosts[nPitchFractions];
        search.GetCosts(run, nRow, nCosts);
        for (int k = 0; k < run.nCount; ++k, ++v)
            if (nCosts[k] < nBestCost)
            {
                nBestCost = nCosts[k];
                nBest = static_cast<int>(v);
            }
    }
    return -1;
}
