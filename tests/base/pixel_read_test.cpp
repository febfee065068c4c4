// SPDX-License-Identifier: MIT
// Reads of images and tables at and behind their ends, in plain words.
#include "narvoassem/base/pixel_read.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "narvoassem/base/image_read.h"
#include "gtest/gtest.h"

namespace
{

TEST(PixelReader, AnImageWithoutWidthOrHeightOrPixelsIsZeroEverywhere)
{
    const unsigned char pixels[4] = {9, 9, 9, 9};
    CConvParam param;
    param.pImage = const_cast<unsigned char*>(pixels);
    for (const int nWidth : {0, -3, 2})
        for (const int nHeight : {0, -3, 2})
        {
            param.nImageWidth = nWidth;
            param.nImageHeight = nHeight;
            const narvo::engine::CPixelReader reader(param);
            const int nExpected = nWidth > 0 && nHeight > 0 ? 9 : 0;
            EXPECT_EQ(reader.Read(0, 0), nExpected) << nWidth << " " << nHeight;
            EXPECT_EQ(reader.Read(-5, 1000), nExpected) << nWidth << " " << nHeight;
        }
    param.pImage = nullptr;
    EXPECT_EQ(narvo::engine::CPixelReader(param).Read(1, 1), 0);
}

TEST(ReadPer16, ReadsOneEntryForSixteenPlacesAndNoneBehindTheLast)
{
    const std::array<int, 4> table = {10, 11, 12, 13};
    for (int nPlace = -40; nPlace < 100; ++nPlace)
        EXPECT_EQ(narvo::engine::ReadPer16(table.data(), nPlace, 50), 10 + std::clamp(nPlace, 0, 49) / 16) << nPlace;
    EXPECT_EQ(narvo::engine::ReadPer16(table.data(), 5, 0), 10);
}

/// What an image counts as at (x, y): its rows one behind the other, each end going on for ever; 0 outside of the rows
/// that are filled.
int PlainPixel(const narvo::engine::CImageView& image, const std::vector<std::uint8_t>& pixels, int x, int y)
{
    if (y < image.nFilledTop || y >= image.nFilledBottom)
        return 0;
    const std::int64_t nRow = std::clamp<std::int64_t>(y, 0, image.nRows - 1);
    const std::int64_t nPlace = std::clamp<std::int64_t>(nRow * image.nStride + x, 0, std::ssize(pixels) - 1);
    return pixels[static_cast<std::size_t>(nPlace)];
}

TEST(ImageRead, RowsAndPixelsGoOnBehindEveryEnd)
{
    constexpr int nWidth = 5;
    constexpr int nHeight = 4;
    std::vector<std::uint8_t> pixels(nWidth * nHeight);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<std::uint8_t>(i + 1);
    narvo::engine::CImageView whole{pixels.data(), nWidth, nHeight};
    narvo::engine::CImageView part = whole;
    part.nFilledTop = 1;
    part.nFilledBottom = 3;
    std::array<std::uint8_t, 32> copy{};
    for (const narvo::engine::CImageView& image : {whole, part})
        for (int y = -2; y < nHeight + 2; ++y)
            for (int x = -30; x < 30; ++x)
            {
                EXPECT_EQ(narvo::engine::ReadPixel(image, x, y), PlainPixel(image, pixels, x, y)) << x << " " << y;
                for (const int nCount : {1, 2, 7, 30})
                {
                    const std::uint8_t* const pRow = narvo::engine::ReadRow(image, x, y, nCount, copy.data());
                    for (int i = 0; i < nCount; ++i)
                        ASSERT_EQ(pRow[i], PlainPixel(image, pixels, x + i, y)) << x << " " << y << " " << i;
                }
            }
}

} // namespace
