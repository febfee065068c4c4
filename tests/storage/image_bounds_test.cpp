// SPDX-License-Identifier: MIT
// No filter and no value function reads outside the image, for any position, pitch or size: the image
// lies against an unmapped page, once behind it and once before it.
#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "narvoassem/storage/filters/convolution_difference.h"
#include "storage/store_samples.h"
#include "support/guarded_memory.h"

using narvo::test::CGuardedMemory;

namespace
{

class ImageBounds : public testing::TestWithParam<std::tuple<bool, int>>
{
protected:
    static constexpr int nHeight = 48;

    ImageBounds()
        : m_image(static_cast<std::size_t>(std::get<1>(GetParam())) * nHeight,
                  std::get<0>(GetParam()) ? CGuardedMemory::Flush::Back : CGuardedMemory::Flush::Front)
    {
        for (std::size_t i = 0; i < m_image.Size(); ++i)
            m_image.Data()[i] = static_cast<unsigned char>(i * 31 % 253);
        CConvParam& param = m_store.ConvParam;
        param.pImage = m_image.Data();
        param.nImageWidth = std::get<1>(GetParam());
        param.nImageHeight = nHeight;
        param.rtInspect = CRect(0, 0, param.nImageWidth, nHeight);
        param.nConvWidth = 3;
        param.nConvHeight = 3;
        param.nConvMultiple = param.nScanMultiple = 1;
        for (int i = 0; i < 16; ++i)
            m_strings[i] = CString("2;101;201;301");
        param.pVeriPitchString = m_strings;
        m_strings[1] = CString("1;101;201");
    }

    void TouchEverything(int x, int y, double dPitch)
    {
        CConvParam& param = m_store.ConvParam;
        param.dConvPitch = param.dScanPitch = dPitch;
        param.dVeriPitchConv[1] = param.dVeriPitchScan[1] = dPitch;
        const CNarvoBufferSudo view(param.pImage, param.nImageWidth, param.nImageHeight);
        m_dSum +=
            narvo::engine::ConvDiffHori3x2(view, x, y, dPitch) + narvo::engine::ConvDiffVert2x3(view, x, y, dPitch);
        m_dSum += m_store.GetAreaValue(x, y, 3, 5, dPitch, 255);
        m_dSum += m_store.GetAreaValueVert(x, y, 5, 3, dPitch, 255);
        m_dSum += m_store.GetConvolutionValue(x, y, dPitch, 255);
        m_dSum += m_store.GetConvolutionValueVert(x, y, dPitch, 255);
        m_dSum += m_store.GetReferenceValTilt(y, x, dPitch, -1.0) + m_store.GetReferenceValTilt(y, x, -dPitch, 1.0);
        for (int nMode = 0; nMode < 2; ++nMode)
        {
            param.nInspectMode = nMode;
            for (int nPos = DefectPos_First; nPos <= DefectPos_Last; ++nPos)
            {
                CDefectPair pair = narvo::test::MakePair(x, y, DefectType_Bright);
                pair.nDefectPos = nPos;
                pair.nThreshold = 5;
                m_dSum += m_store.CrossFilter_Hori(&pair) + m_store.CrossFilter_Vert(&pair);
                m_dSum += m_store.JumpFilter_Hori(&pair) + m_store.JumpFilter_Vert(&pair);
                m_dSum += m_store.JumpFilter_Vert2by2(&pair, param.rtInspect);
                m_dSum += m_store.MarginFilter_Hori(&pair) + m_store.OneFilter_Vert(&pair);
                for (int nZone = 1; nZone < 3; ++nZone)
                {
                    pair.nDefectType = DefectType_Bright;
                    pair.nZoneIndex = nZone;
                    m_dSum += m_store.VeriPitchDPCFiltering(&pair);
                }
                m_store.pPair[0] = pair;
                m_store.nPairCount = 1;
                m_store.CorrectDefGray();
                m_dSum += m_store.ClassifyVertical(0, 5);
            }
        }
        CDefectBlob blob = narvo::test::MakeBlob(CRect(0, 0, 4, 4), DefectType_Dark, DefectPos_Middle);
        blob.nDefectPair = DefectPair_Single;
        blob.ptCenter = CPoint(x, y);
        blob.rtDefect.OffsetRect(std::clamp(x, -1000000, 1000000), std::clamp(y, -1000000, 1000000));
        for (const int nPos : {DefectPos_First, DefectPos_Middle})
        {
            blob.nDefectPos = nPos;
            m_store.nBlobCount = 0;
            m_store.AddBlob(&blob);
            m_store.ClassificationDefectVert(0);
        }
    }

    CGuardedMemory m_image;
    narvo::test::CSampleStore m_store;
    CString m_strings[16];
    double m_dSum = 0.0;
};

TEST_P(ImageBounds, EveryReadStaysInsideTheImagesBytes)
{
    constexpr double dInfinity = std::numeric_limits<double>::infinity();
    const int nWidth = m_store.ConvParam.nImageWidth;
    std::vector<int> scanTable(nHeight / 16, 100);
    std::vector<int> tiltTable(nHeight / 16, 13);
    std::vector<unsigned short> convTable(static_cast<std::size_t>(nWidth), 300);
    for (const bool bTables : {false, true})
    {
        m_store.ConvParam.pScanPitchTable = bTables ? scanTable.data() : nullptr;
        m_store.ConvParam.pTiltScanTable = bTables ? tiltTable.data() : nullptr;
        m_store.ConvParam.pConvPitchTable = bTables ? convTable.data() : nullptr;
        for (const int x : {std::numeric_limits<int>::min(), -70000, -1, 0, 1, nWidth - 2, nWidth - 1, nWidth, 90000,
                            std::numeric_limits<int>::max()})
        {
            for (const int y : {std::numeric_limits<int>::min(), -70000, -1, 0, 1, 16, nHeight - 2, nHeight - 1,
                                nHeight, 90000, std::numeric_limits<int>::max()})
            {
                for (const double dPitch : {0.0, 0.5, 7.25, -7.25, 60.5, -60.5, 1e9, -1e9, 1e300, -1e300, dInfinity,
                                            -dInfinity, std::nan("")})
                    TouchEverything(x, y, dPitch);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(GuardBehindAndBefore, ImageBounds,
                         testing::Combine(testing::Bool(), testing::Values(64, 61, 1)));

TEST(MissingImage, EveryPixelIsZero)
{
    narvo::test::CSampleStore store;
    store.ConvParam.nConvWidth = store.ConvParam.nConvHeight = 2;
    store.ConvParam.nImageHeight = 100;
    EXPECT_EQ(store.GetConvolutionValue(5, 5, 3.0, 255), 0);
    EXPECT_EQ(store.GetAreaValueVert(5, 5, 3, 3, 3.0, 255), 0);
    const CNarvoBufferSudo view(nullptr, 10, 10);
    EXPECT_EQ(narvo::engine::ConvDiffHori2x2(view, 1, 1, 2.0), 0.0);
}

} // namespace
