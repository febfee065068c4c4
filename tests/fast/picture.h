// SPDX-License-Identifier: MIT
// A small grey image whose pixels a test sets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "narvoassem/fast/call/kernel_call.h"

namespace narvo::test
{

struct CPicture
{
    int nWidth;
    int nHeight;
    std::vector<std::uint8_t> aPixels;

    CPicture(int nImageWidth, int nImageHeight, std::uint8_t nGrey)
        : nWidth(nImageWidth), nHeight(nImageHeight), aPixels(static_cast<std::size_t>(nWidth * nHeight), nGrey)
    {
    }

    std::uint8_t& At(int x, int y) { return aPixels[static_cast<std::size_t>(y * nWidth + x)]; }

    /// Paints the pixels left .. right - 1 by top .. bottom - 1.
    void Fill(int nLeft, int nTop, int nRight, int nBottom, std::uint8_t nGrey)
    {
        for (int y = nTop; y < nBottom; y++)
            for (int x = nLeft; x < nRight; x++)
                At(x, y) = nGrey;
    }

    engine::CImageView View() const { return {aPixels.data(), nWidth, 0}; }
};

} // namespace narvo::test
