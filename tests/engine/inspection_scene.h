// SPDX-License-Identifier: MIT
// A periodic image with zone maps and an origin grid, and a parameter block that inspects it: shared by the
// end-to-end tests. Without defects it gives no hit.
#pragma once

#include <algorithm>
#include <vector>

#include "narvoassem/convparam.h"

namespace narvo::test
{

class CZoneScene
{
public:
    static constexpr int nMapThreshold = 20;

    /// A pattern of nPitch pixels along both axes, inspected as a whole along nDirection.
    CZoneScene(int nWidth, int nHeight, int nPitch, int nDirection)
        : m_nWidth(nWidth), m_nPitch(nPitch), m_image(static_cast<std::size_t>(nWidth) * nHeight)
    {
        for (int y = 0; y < nHeight; ++y)
            for (int x = 0; x < nWidth; ++x)
                m_image[Index(x, y)] = static_cast<unsigned char>(60 + (x % nPitch) * 3 % 40 + (y % nPitch) * 5 % 30);

        // Maps have a margin of one cell in front, since bands look left of their first cell, and reach as far as
        // cells without limit do.
        const int nStride = 2 * nPitch;
        const std::size_t nMargin = static_cast<std::size_t>(nStride) * nPitch;
        const std::size_t nMapSize = 2 * nMargin + static_cast<std::size_t>(nStride) * nHeight + nWidth;
        m_offset.assign(nMapSize, nMapThreshold);
        m_gain.assign(nMapSize, 0);
        m_zone.assign(nMapSize, 0);

        // One grid row above the image, which vertical comparisons skip, and spare cells after it.
        const int nColumns = nWidth / nPitch + 2;
        for (int nRow = -1; nRow < nHeight / nPitch + 2; ++nRow)
            for (int nColumn = 0; nColumn < nColumns; ++nColumn)
                m_origin.insert(m_origin.end(), {nColumn * nPitch, nRow * nPitch});

        param.pImage = m_image.data();
        param.nImageWidth = nWidth;
        param.nImageHeight = nHeight;
        param.rtInspect.SetRect(0, 0, nWidth, nHeight);
        param.nDirection = nDirection;
        param.nConvWidth = param.nConvHeight = 2;
        param.dConvPitch = param.dScanPitch = nPitch;
        param.nConvMultiple = param.nScanMultiple = 1;
        param.pThresholdOffsetMap = m_offset.data() + nMargin;
        param.pThresholdGainMap = m_gain.data() + nMargin;
        param.pZoneIndexMap = m_zone.data() + nMargin;
        param.nZoneMapStride = nStride;
        param.nZoneColumns = nColumns;
        param.pZoneOriginTable = m_origin.data() + (nDirection == 0 ? 2 * nColumns : 0);
    }
    CZoneScene(const CZoneScene&) = delete;
    CZoneScene& operator=(const CZoneScene&) = delete;

    /// Adds nChange grey levels to a square of nSide pixels with its corner at (x, y).
    void AddDefect(int x, int y, int nSide, int nChange)
    {
        for (int nRow = y; nRow < y + nSide; ++nRow)
            for (int nColumn = x; nColumn < x + nSide; ++nColumn)
                Pixel(nColumn, nRow) = static_cast<unsigned char>(std::clamp(Pixel(nColumn, nRow) + nChange, 0, 255));
    }

    /// Blocks of one pitch along the compare direction, alternately dark and bright in the columns or rows given: every
    /// pixel there is a hit, and about every second makes a pair.
    void AddStripes(int nFirst, int nLast)
    {
        for (int y = 0; y < param.nImageHeight; ++y)
            for (int x = 0; x < m_nWidth; ++x)
            {
                const int nAlong = param.nDirection == 0 ? x : y;
                const int nAcross = param.nDirection == 0 ? y : x;
                if (nAcross >= nFirst && nAcross < nLast)
                    Pixel(x, y) = nAlong / m_nPitch % 2 == 0 ? 50 : 200;
            }
    }

    unsigned char& Pixel(int x, int y) { return m_image[Index(x, y)]; }

    CConvParam param;

private:
    std::size_t Index(int x, int y) const { return static_cast<std::size_t>(y) * m_nWidth + x; }

    int m_nWidth;
    int m_nPitch;
    std::vector<unsigned char> m_image;
    std::vector<short> m_offset;
    std::vector<short> m_gain;
    std::vector<short> m_zone;
    std::vector<int> m_origin;
};

} // namespace narvo::test
