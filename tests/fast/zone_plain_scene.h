// SPDX-License-Identifier: MIT
// A scene for hand-worked cases: a flat image, one unbounded zone cell, the same threshold everywhere. A test changes
// what it tests and runs it.
#pragma once

#include <cstdint>
#include <vector>

#include "fast/zone_scene.h"

namespace narvo::test
{

class CPlainScene
{
public:
    static constexpr int nFlatGrey = 100;
    static constexpr int nFlatThreshold = 10;

    /// The region is the whole image; bKeepSingle is 1, capacities are ample.
    CPlainScene(ZoneKernel eKernel, int nWidth, int nHeight, int nPitch16);
    CPlainScene(const CPlainScene&) = delete;
    CPlainScene& operator=(const CPlainScene&) = delete;

    CZoneScene scene;
    std::vector<std::uint8_t> aImage;
    std::vector<std::int16_t> aOffset;    ///< as long as the image, line for line
    std::vector<std::int16_t> aZoneIndex; ///< the same, all 0
    std::vector<int> aOrigins;

    engine::CZoneCall& Call() { return scene.call; }
    std::uint8_t& At(int x, int y) { return aImage[static_cast<std::size_t>(y * m_nWidth + x)]; }
    void SetThreshold(int nOffset);
    /// Sets rows nFrom to nTo - 1 of the image.
    void FillRows(int nFrom, int nTo, int nGrey);
    /// Sets a grid of origins; nColumns records in a row.
    void SetOrigins(int nColumns, std::vector<int> aRecords);

    /// Runs reference and library, the library at every level both by name and through the common record; all must
    /// have the same outcome, which is returned.
    CKernelOutcome Run();

private:
    int m_nWidth;
};

} // namespace narvo::test
