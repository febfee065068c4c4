// SPDX-License-Identifier: MIT
// See bench_scene.h.
#include "bench/bench_scene.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include "measure/level_choice.h"
#include "measure/read_pass.h"

namespace bench
{

namespace
{

constexpr int nSpareRows = 4;

/// One period-wise phase table per axis: cosines scaled to 1/64.
std::vector<int> Wave(int nCount, double dPeriod)
{
    std::vector<int> wave(static_cast<std::size_t>(nCount));
    for (int i = 0; i < nCount; ++i)
        wave[static_cast<std::size_t>(i)] =
            static_cast<int>(std::lround(64.0 * std::cos(2.0 * std::numbers::pi * i / dPeriod)));
    return wave;
}

std::vector<int> OriginGrid(int nColumns, int nRows, bool bFlagged)
{
    std::vector<int> grid;
    for (int nRow = -1; nRow < nRows; ++nRow)
        for (int nColumn = 0; nColumn < nColumns; ++nColumn)
        {
            grid.push_back(static_cast<int>(nColumn * dConvPeriod * nCellPeriods));
            grid.push_back(static_cast<int>(nRow * dScanPeriod * nCellPeriods));
            if (bFlagged)
                grid.push_back(nRow % 8 == 3 && nColumn % 8 == 3 ? 1 : 0);
        }
    return grid;
}

} // namespace

SHitBuffers::SHitBuffers(std::int64_t nHits) : nSize(nHits)
{
    const auto nRoom = static_cast<std::size_t>(nHits) + 16;
    for (std::vector<int>* pArray : {&x, &y, &src, &cmp, &zone, &threshold})
        pArray->resize(nRoom);
    for (std::vector<short>* pArray : {&type, &peak})
        pArray->resize(nRoom);
}

void CZoneMap::Fill(std::int64_t nStride, std::int64_t nLines, int nLow, int nHigh, unsigned nSeed)
{
    m_nLead = static_cast<std::ptrdiff_t>(2 * nStride);
    m_values.resize(static_cast<std::size_t>(nStride * (nLines + 2)));
    std::mt19937 random(nSeed);
    std::uniform_int_distribution<int> value(nLow, nHigh);
    std::generate(m_values.begin(), m_values.end(), [&] { return static_cast<short>(value(random)); });
}

CScene::CScene(int nImageWidth, int nImageHeight) : nWidth(nImageWidth), nHeight(nImageHeight)
{
    const std::vector<int> waveX = Wave(nWidth, dConvPeriod);
    const std::vector<int> waveY = Wave(nHeight + nSpareRows, dScanPeriod);
    pixels.resize(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight + nSpareRows));
    std::uint32_t nState = 12345;
    std::uint8_t* pPixel = pixels.data();
    for (int nWaveY : waveY)
        for (int nWaveX : waveX)
        {
            nState = nState * 1664525u + 1013904223u;
            // Noise of five grey levels on a swing of 30 either way.
            *pPixel++ =
                static_cast<std::uint8_t>(110 + ((nWaveX * nWaveY * 30) >> 12) + static_cast<int>(nState >> 29) - 3);
        }

    nCellWidth = static_cast<std::int64_t>(dConvPeriod * nCellPeriods);
    nCellHeight = static_cast<std::int64_t>(dScanPeriod * nCellPeriods);
    nColumns = static_cast<int>(nWidth / (dConvPeriod * nCellPeriods)) + 3;
    const int nRows = static_cast<int>(nHeight / (dScanPeriod * nCellPeriods)) + 3;
    m_origins = OriginGrid(nColumns, nRows, false);
    m_originsFlagged = OriginGrid(nColumns, nRows, true);

    // The last cell of a row or column may stretch to twice its size.
    nMapStride = 2 * nCellWidth + 48;
    const std::int64_t nMapLines = 2 * nCellHeight + 48;
    offsetMap.Fill(nMapStride, nMapLines, 15, 20, 1);
    gainMap.Fill(nMapStride, nMapLines, 16, 24, 2);
    zoneMap.Fill(nMapStride, nMapLines, 0, 15, 3);
    kneeMap.Fill(nMapStride, nMapLines, 100, 140, 4);
    offsetMap2.Fill(nMapStride, nMapLines, 18, 22, 5);
    gainMap2.Fill(nMapStride, nMapLines, 16, 24, 6);
    classMap.Fill(nMapStride, nMapLines, 0, 15, 7);

    scanPitchTable.resize(static_cast<std::size_t>(nHeight / 16 + 2));
    for (std::size_t i = 0; i < scanPitchTable.size(); ++i)
        scanPitchTable[i] = static_cast<int>(dScanPeriod * 16.0) + static_cast<int>(i / 8 % 2);
    // At every eighth strip, the displacement alternates between the pixel before the pitch and the one after it.
    convPitchTable.resize(static_cast<std::size_t>(nWidth) + 16);
    weightNear.resize(static_cast<std::size_t>(nWidth) + 32);
    weightFar.resize(weightNear.size());
    for (std::size_t i = 0; i < weightNear.size(); ++i)
    {
        const bool bBehind = i / 128 % 2 == 1;
        if (i < convPitchTable.size())
            convPitchTable[i] = static_cast<unsigned short>(static_cast<int>(dConvPeriod) + (bBehind ? 1 : 0));
        weightNear[i] = bBehind ? 16 : 5;
        weightFar[i] = bBehind ? 0 : 11;
    }
    std::fill(std::begin(tspOffsets), std::end(tspOffsets), 18);
    std::fill(std::begin(tspGains), std::end(tspGains), 20);
}

void CScene::SetDensity(const SDensity& density)
{
    while (!m_changed.empty())
    {
        pixels[m_changed.back()] = m_before.back();
        m_changed.pop_back();
        m_before.pop_back();
    }
    std::mt19937_64 random(7);
    std::uniform_int_distribution<std::size_t> place(0, static_cast<std::size_t>(Pixels()) - 1);
    const auto nOutliers = static_cast<std::size_t>(density.dOutliers * static_cast<double>(Pixels()));
    for (std::size_t i = 0; i < nOutliers; ++i)
    {
        const std::size_t nAt = place(random);
        m_changed.push_back(nAt);
        m_before.push_back(pixels[nAt]);
        pixels[nAt] = static_cast<std::uint8_t>(pixels[nAt] + (i % 2 == 0 ? density.nRise : -density.nFall));
    }
}

void CScene::Read()
{
    measure::UseWidestLevel();
    m_nSum = m_nSum + measure::ReadPass(pixels.data(), static_cast<std::size_t>(Pixels()));
}

void CScene::ReadBest()
{
    measure::UseWidestLevel();
    m_nSum = m_nSum + measure::BestReadPass(pixels.data(), static_cast<std::size_t>(Pixels()));
}

int* CScene::Origins(bool bVertical, bool bFlagged)
{
    std::vector<int>& grid = bFlagged ? m_originsFlagged : m_origins;
    return grid.data() + (bVertical ? 0 : nColumns * (bFlagged ? 3 : 2));
}

CConvParam CScene::RegionParam(bool bVertical)
{
    CConvParam param;
    param.nInspectMode = 1;
    param.nDirection = bVertical ? 1 : 0;
    param.bBandThread = 0;
    param.pImage = pixels.data();
    param.nImageWidth = nWidth;
    param.nImageHeight = nHeight;
    param.rtInspect = CRect(0, 0, nWidth, nHeight);
    param.nConvWidth = param.nConvHeight = 1;
    param.dConvPitch = dConvPeriod;
    param.dScanPitch = dScanPeriod;
    param.nConvMultiple = param.nScanMultiple = 1;
    param.dPixelSizeX = param.dPixelSizeY = 1.0;
    return param;
}

CConvParam CScene::ZoneParam(bool bVertical)
{
    CConvParam param = RegionParam(bVertical);
    param.nZoneConvMultiple = param.nZoneScanMultiple = nCellPeriods;
    param.pThresholdOffsetMap = offsetMap.data();
    param.pThresholdGainMap = gainMap.data();
    param.pZoneIndexMap = zoneMap.data();
    param.nZoneMapStride = static_cast<int>(nMapStride);
    param.pZoneOriginTable = Origins(bVertical, false);
    param.nZoneColumns = nColumns;
    return param;
}

} // namespace bench
