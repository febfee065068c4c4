// SPDX-License-Identifier: MIT
// Reads of images that have no pixels.
#include "narvoassem/base/pixel_read.h"

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

} // namespace
