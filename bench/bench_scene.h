// SPDX-License-Identifier: MIT
// What the figures are measured on: a periodic image with outliers at a chosen density, zone cells with their maps,
// pitch tables, and the working arrays of a kernel call.
#pragma once

#include <cstdint>
#include <vector>

#include "narvoassem/narvoassem.h"

namespace bench
{

constexpr double dConvPeriod = 41.7; ///< pattern period along x, pixels
constexpr double dScanPeriod = 55.4; ///< pattern period along y, pixels
constexpr int nCellPeriods = 4;      ///< periods per zone cell, both axes

/// Share of outlier pixels. Each gives about two hits: against the pixels one pitch ahead and one pitch back.
struct SDensity
{
    double dOutliers;
    const char* pName;
    int nRise = 60; ///< grey levels by which every other outlier is brighter, the rest darker
    int nFall = 60;
};
constexpr SDensity densityNone = {0.0, "0 hits"};
constexpr SDensity densityFew = {0.00025, "0.05 % hits"};
constexpr SDensity densityMany = {0.005, "1 % hits"};
constexpr SDensity densitySparse = {0.00005, "0.01 % hits"};

/// The hit arrays as a host would allocate them, and a pair array that never fills up.
struct SHitBuffers
{
    explicit SHitBuffers(std::int64_t nHits);
    std::int64_t nSize;
    std::vector<int> x, y, src, cmp, zone, threshold;
    std::vector<short> type, peak;
};

/// A map over a zone cell. Cell sizes are whole pixels and pitches are not, so a walk may step one line or column
/// early: there are values before the cell's first one.
class CZoneMap
{
public:
    void Fill(std::int64_t nStride, std::int64_t nLines, int nLow, int nHigh, unsigned nSeed);
    short* data() { return m_values.data() + m_nLead; }

private:
    std::vector<short> m_values;
    std::ptrdiff_t m_nLead = 0;
};

class CScene
{
public:
    CScene(int nWidth, int nHeight);

    /// Sets outliers at this density, at the same places each time; removes those of the previous density.
    void SetDensity(const SDensity& density);
    std::int64_t Pixels() const { return static_cast<std::int64_t>(nWidth) * nHeight; }
    /// Reads all pixels and does nothing else, at the widest level: the basis of most targets, and as fast as possible.
    void Read();
    void ReadBest();
    /// Origin record at which kernels enter: vertical ones skip one grid row by themselves.
    int* Origins(bool bVertical, bool bFlagged);
    /// A parameter block for an inspection of the whole image, without thresholds.
    CConvParam RegionParam(bool bVertical);
    /// The same for a zone inspection.
    CConvParam ZoneParam(bool bVertical);

    int nWidth;
    int nHeight;
    std::vector<std::uint8_t> pixels; ///< a few rows more than nHeight, which some kernels read
    int nColumns;                     ///< origin records per grid row
    std::int64_t nCellWidth;
    std::int64_t nCellHeight;
    std::int64_t nMapStride;
    CZoneMap offsetMap, gainMap, zoneMap, kneeMap, offsetMap2, gainMap2, classMap;
    std::vector<int> scanPitchTable;            ///< 1/16 pixel per 16 rows
    std::vector<unsigned short> convPitchTable; ///< whole pixels per column
    std::vector<short> weightNear, weightFar;
    int tspOffsets[16];
    int tspGains[16];

private:
    std::vector<int> m_origins;        ///< (x, y)
    std::vector<int> m_originsFlagged; ///< (x, y, skip)
    std::vector<std::size_t> m_changed;
    std::vector<std::uint8_t> m_before;
    volatile std::uint64_t m_nSum = 0;
};

} // namespace bench
