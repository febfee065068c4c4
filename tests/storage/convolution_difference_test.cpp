// SPDX-License-Identifier: MIT
// The block differences against sums written out, and the view's row pitch.
#include <gtest/gtest.h>

#include "narvoassem/storage/filters/convolution_difference.h"
#include "storage/store_samples.h"

using narvo::engine::ConvDiffHori1x1;

namespace
{

unsigned char GetGray(int x, int y)
{
    return static_cast<unsigned char>((x * 37 + y * 91 + x * y) % 251);
}

class ConvolutionDifference : public testing::Test
{
protected:
    static constexpr int nWidth = 32;
    static constexpr int nHeight = 24;

    ConvolutionDifference()
    {
        for (int y = 0; y < nHeight; ++y)
        {
            for (int x = 0; x < nWidth; ++x)
                m_pixels[static_cast<std::size_t>(y * nWidth + x)] = GetGray(x, y);
        }
    }

    std::vector<unsigned char> m_pixels = std::vector<unsigned char>(nWidth * nHeight);
    CNarvoBufferSudo m_view{m_pixels.data(), nWidth, nHeight};
};

double p(int x, int y)
{
    return GetGray(x, y);
}

TEST_F(ConvolutionDifference, OnePixelIsComparedWithTheInterpolatedOne)
{
    EXPECT_EQ(ConvDiffHori1x1(m_view, 5, 6, 7.25), p(5, 6) - (p(12, 6) * 0.75 + p(13, 6) * 0.25));
    EXPECT_EQ(narvo::engine::ConvDiffVert1x1(m_view, 5, 6, 7.25), p(5, 6) - (p(5, 13) * 0.75 + p(5, 14) * 0.25));
}

TEST_F(ConvolutionDifference, ANegativePitchSplitsAtThePositionNotAtThePitch)
{
    EXPECT_EQ(ConvDiffHori1x1(m_view, 15, 6, -7.25), p(15, 6) - (p(7, 6) * 0.25 + p(8, 6) * 0.75));
    EXPECT_EQ(narvo::engine::ConvDiffVert1x1(m_view, 15, 16, -7.25), p(15, 16) - (p(15, 8) * 0.25 + p(15, 9) * 0.75));
}

TEST_F(ConvolutionDifference, TwoByTwoWindowsCarryTheWeightsAtTheirEnds)
{
    double dSrc = p(5, 6) + p(6, 6) + p(5, 7) + p(6, 7);
    double dRef = 0.0;
    for (int y = 6; y <= 7; ++y)
        dRef += p(9, y) * 0.5 + p(10, y) + p(11, y) * 0.5;
    EXPECT_EQ(narvo::engine::ConvDiffHori2x2(m_view, 5, 6, 4.5), dSrc - dRef);
    dRef = 0.0;
    for (int x = 5; x <= 6; ++x)
        dRef += p(x, 10) * 0.5 + p(x, 11) + p(x, 12) * 0.5;
    EXPECT_EQ(narvo::engine::ConvDiffVert2x2(m_view, 5, 6, 4.5), dSrc - dRef);
}

TEST_F(ConvolutionDifference, SumsAreFormedTermByTermInOneOrder)
{
    int nOtherwise = 0; // places where sums by line would differ in the last bit
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
        {
            const double dPos = x + 4.3;
            const int nPos = static_cast<int>(dPos);
            const double dFrac = dPos - nPos;
            double dRef = 0.0;
            double dByLine = 0.0;
            for (int j = 0; j < 2; ++j)
            {
                dRef += p(nPos, y + j) * (1.0 - dFrac);
                dRef += p(nPos + 1, y + j);
                dRef += p(nPos + 2, y + j) * dFrac;
                dByLine += p(nPos, y + j) * (1.0 - dFrac) + p(nPos + 1, y + j) + p(nPos + 2, y + j) * dFrac;
            }
            const double dSrc = p(x, y) + p(x + 1, y) + p(x, y + 1) + p(x + 1, y + 1);
            EXPECT_EQ(narvo::engine::ConvDiffHori2x2(m_view, x, y, 4.3), dSrc - dRef);
            nOtherwise += dRef != dByLine ? 1 : 0;
        }
    EXPECT_GT(nOtherwise, 0);
}

TEST_F(ConvolutionDifference, ThreeByTwoAndTwoByThreeWindowsReachOneFurther)
{
    double dSrc = 0.0;
    double dRef = 0.0;
    for (int y = 6; y <= 7; ++y)
    {
        dSrc += p(5, y) + p(6, y) + p(7, y);
        dRef += p(9, y) * 0.5 + p(10, y) + p(11, y) + p(12, y) * 0.5;
    }
    EXPECT_EQ(narvo::engine::ConvDiffHori3x2(m_view, 5, 6, 4.5), dSrc - dRef);
    dSrc = dRef = 0.0;
    for (int x = 5; x <= 6; ++x)
    {
        dSrc += p(x, 6) + p(x, 7) + p(x, 8);
        dRef += p(x, 10) * 0.5 + p(x, 11) + p(x, 12) + p(x, 13) * 0.5;
    }
    EXPECT_EQ(narvo::engine::ConvDiffVert2x3(m_view, 5, 6, 4.5), dSrc - dRef);
}

TEST_F(ConvolutionDifference, RowsAreTheWidthRoundedUpToFourApart)
{
    const CNarvoBufferSudo view(m_pixels.data(), 30, 10);
    EXPECT_EQ(ConvDiffHori1x1(view, 5, 6, 7.0), p(5, 6) - p(12, 6)) << "a view 30 wide has rows 32 apart";
}

TEST_F(ConvolutionDifference, ReadsPastTheEndsCountAsTheNearestByte)
{
    EXPECT_EQ(narvo::engine::ConvDiffVert1x1(m_view, 5, 20, 1000.0), p(5, 20) - p(5, nHeight - 1)) << "first the row";
    EXPECT_EQ(ConvDiffHori1x1(m_view, 30, 6, 3.0), p(30, 6) - p(1, 7)) << "then the flat address";
    EXPECT_EQ(ConvDiffHori1x1(m_view, 30, nHeight - 1, 500.0), p(30, nHeight - 1) - p(nWidth - 1, nHeight - 1))
        << "then the ends";
    EXPECT_EQ(ConvDiffHori1x1(m_view, 3, 0, -900.0), p(3, 0) - p(0, 0));
}

} // namespace
