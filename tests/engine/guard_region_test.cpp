// SPDX-License-Identifier: MIT
// Regions, images, trapezia and dead zones at any place, through the pool, and the result of each.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/guard_bases.h"
#include "engine/guard_scene.h"
#include "support/sparse_memory.h"

namespace
{

using narvo::test::CGuardBase;
using narvo::test::CGuardScene;
using narvo::test::CSparseMemory;
using narvo::test::Entry;
using narvo::test::GuardBases;
using narvo::test::RunEntry;

class GuardRegion : public testing::Test
{
protected:
    GuardRegion() : m_scene(true) { m_control.InitAssemControl(1, 500); }

    int Inspect(const CGuardBase& base, const CConvParam& param)
    {
        m_control.ResetReinspectCount();
        return RunEntry(m_control, base.eEntry, param);
    }
    CNarvoAssem& Lane() { return *m_control.GetNarvoAssem(0); }

    CGuardScene m_scene;
    CAssemControl m_control;
};

/// The trapezium comparison does not read the region, but its sides are checked with the rest.
TEST_F(GuardRegion, RegionsThatLeaveTheImageAreRefusedInEveryMode)
{
    for (const CGuardBase& base : GuardBases())
    {
        if (base.eEntry == Entry::Trapezium || std::string(base.pName) == "UnknownMode")
            continue; // neither looks at the image through the region
        for (const CRect& rtInspect :
             {CRect(-1, 0, CGuardScene::nWidth, CGuardScene::nHeight), CRect(0, -1, CGuardScene::nWidth, 84),
              CRect(0, 0, CGuardScene::nWidth + 1, CGuardScene::nHeight), CRect(0, 0, 112, CGuardScene::nHeight + 1),
              CRect(INT_MAX - 100, 0, INT_MIN + 12, 84), CRect(0, INT_MAX - 60, 112, INT_MIN + 24),
              CRect(1000, 1000, 1112, 1084), CRect(-500, -500, -388, -416)})
        {
            CConvParam param = base.Make(m_scene);
            param.rtInspect = rtInspect;
            EXPECT_EQ(Inspect(base, param), 8) << base.pName << " " << rtInspect.left << " " << rtInspect.top;
            EXPECT_EQ(Lane().nPairCount, 0) << base.pName;
        }
    }
}

TEST_F(GuardRegion, EmptyAndReversedRegionsAreTooSmallForEveryCheckedComparison)
{
    for (const CGuardBase& base : GuardBases())
    {
        CConvParam param = base.Make(m_scene);
        if (param.nInspectMode == 2 || param.nInspectMode == 3)
            continue;
        for (const CRect& rtInspect : {CRect(0, 0, 0, 0), CRect(50, 0, 50, 84), CRect(0, 40, 112, 40),
                                       CRect(112, 84, 0, 0), CRect(INT_MAX, INT_MAX, INT_MIN, INT_MIN)})
        {
            param.rtInspect = rtInspect;
            EXPECT_EQ(Inspect(base, param), 8) << base.pName << " " << rtInspect.left << " " << rtInspect.top;
        }
    }
}

TEST_F(GuardRegion, EmptyRegionInsideTheImageIsDoneInTheModesWithoutCheck)
{
    for (const CGuardBase& base : GuardBases())
    {
        CConvParam param = base.Make(m_scene);
        if (param.nInspectMode != 2 && (param.nInspectMode != 3 || base.eEntry != Entry::EngineRect))
            continue;
        for (const CRect& rtInspect : {CRect(0, 0, 0, 0), CRect(50, 0, 50, 84), CRect(112, 84, 0, 0)})
        {
            param.rtInspect = rtInspect;
            EXPECT_EQ(Inspect(base, param), 1) << base.pName << " " << rtInspect.left << " " << rtInspect.top;
            EXPECT_EQ(Lane().nPairCount, 0) << base.pName;
            param.pImage = nullptr; // nothing of it is read
            EXPECT_EQ(Inspect(base, param), 1) << base.pName;
        }
    }
}

TEST_F(GuardRegion, NullImageIsRefusedInEveryModeThatLooksAtIt)
{
    for (const CGuardBase& base : GuardBases())
    {
        CConvParam param = base.Make(m_scene);
        param.pImage = nullptr;
        EXPECT_EQ(Inspect(base, param), 8) << base.pName;
        EXPECT_EQ(Lane().nPairCount, 0) << base.pName;
    }
}

TEST_F(GuardRegion, NegativeImageSizesAreRefused)
{
    for (const CGuardBase& base : GuardBases())
    {
        for (int CConvParam::*pSide : {&CConvParam::nImageWidth, &CConvParam::nImageHeight})
        {
            CConvParam param = base.Make(m_scene);
            for (const int nSide : {-1, INT_MIN})
            {
                param.*pSide = nSide;
                EXPECT_EQ(Inspect(base, param), 8) << base.pName << " " << nSide;
            }
        }
    }
}

TEST_F(GuardRegion, RegionsOutsideTheImageAreRefusedBeforeTheBandSplit)
{
    for (const CGuardBase& base : GuardBases())
    {
        CConvParam param = base.Make(m_scene);
        if (base.eEntry != Entry::Rect || param.nDirection != 1)
            continue;
        param.rtInspect.SetRect(1 << 20, 0, (1 << 20) + 9000, CGuardScene::nHeight);
        // Without a comparison there is nothing to check.
        const int nExpected = param.nInspectMode == 4 ? 1 : 8;
        EXPECT_EQ(Inspect(base, param), nExpected) << base.pName;
        EXPECT_EQ(Lane().GetBlobCount(), 0) << base.pName;
        param.rtInspect.SetRect(INT_MIN, 0, -1, CGuardScene::nHeight);
        EXPECT_EQ(Inspect(base, param), nExpected) << base.pName;
        EXPECT_EQ(Lane().GetBlobCount(), 0) << base.pName;
    }
}

TEST_F(GuardRegion, TrapeziumCornersOutsideTheImageAreRefusedAsFarAsTheDirectionReadsThem)
{
    for (const CGuardBase& base : GuardBases())
    {
        if (base.eEntry != Entry::Trapezium)
            continue;
        const CConvParam sound = base.Make(m_scene);
        for (int i = 0; i < 4; ++i)
        {
            const bool bOuter = i == 0 || i == 3;
            for (const int nPlace : {-1, CGuardScene::nWidth + 1, INT_MAX, INT_MIN})
            {
                CConvParam param(sound);
                param.trapInspect.ptCorner[i].x = nPlace;
                EXPECT_EQ(Inspect(base, param), sound.nDirection != 1 || bOuter ? 8 : 1) << base.pName << " " << i;
                param = sound;
                param.trapInspect.ptCorner[i].y = nPlace;
                EXPECT_EQ(Inspect(base, param), sound.nDirection == 1 || bOuter ? 8 : 1) << base.pName << " " << i;
            }
        }
    }
}

TEST_F(GuardRegion, TrapeziaWithCornersOutOfOrderEndWithoutReadingOutside)
{
    for (const CGuardBase& base : GuardBases())
    {
        if (base.eEntry != Entry::Trapezium)
            continue;
        CConvParam param = base.Make(m_scene);
        const CPadPoint ptSound[4] = {param.trapInspect.ptCorner[0], param.trapInspect.ptCorner[1],
                                      param.trapInspect.ptCorner[2], param.trapInspect.ptCorner[3]};
        int nOrder[4] = {0, 1, 2, 3};
        do
        {
            for (int i = 0; i < 4; ++i)
                param.trapInspect.ptCorner[i] = ptSound[nOrder[i]];
            EXPECT_EQ(Inspect(base, param), 1) << base.pName;
        } while (std::next_permutation(nOrder, nOrder + 4));
        for (CPadPoint& pt : param.trapInspect.ptCorner)
            pt = CPadPoint(CGuardScene::nWidth, CGuardScene::nHeight); // all on the far corner
        EXPECT_EQ(Inspect(base, param), 1) << base.pName;
        EXPECT_EQ(Lane().GetPairCount(), 0) << base.pName;
    }
}

// --- dead zones and margin frames ---

TEST_F(GuardRegion, DeadZonesAtTheLimitsOfIntCoverAllOrNothing)
{
    for (const CGuardBase& base : GuardBases())
    {
        const std::string strName = base.pName;
        if (strName != "ZoneVert2STsp" && strName != "ZoneVtdIntrin" && strName != "FloatVertIntrin")
            continue; // the kernels that read dead zones
        CConvParam param = base.Make(m_scene);
        EXPECT_EQ(Inspect(base, param), 1) << strName;
        const int nPairs = Lane().GetPairCount();
        param.rtDeadZone[0].SetRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX);
        EXPECT_EQ(Inspect(base, param), 1) << strName;
        EXPECT_EQ(Lane().GetPairCount(), 0) << strName;
        param.rtDeadZone[0].SetRect(INT_MAX, INT_MAX, INT_MIN, INT_MIN); // empty: the list ends here
        param.rtDeadZone[1].SetRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX);
        EXPECT_EQ(Inspect(base, param), 1) << strName;
        EXPECT_EQ(Lane().GetPairCount(), nPairs) << strName;
        // Ten full ones count as none.
        std::fill_n(param.rtDeadZone, CConvParam::nDeadZoneLimit, CRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX));
        EXPECT_EQ(Inspect(base, param), 1) << strName;
        EXPECT_EQ(Lane().GetPairCount(), nPairs) << strName;
    }
}

// --- images beyond 32 bits of bytes ---

/// A patch of the panel with a margin around the region, at the far corner of an image of any declared size.
class CPatch
{
public:
    static constexpr int nMargin = 48;

    CPatch(CGuardScene& scene, std::int64_t nImageWidth, std::int64_t nImageHeight)
        : m_image(static_cast<std::uint64_t>(nImageWidth * nImageHeight), true),
          m_nLeft(nImageWidth - CGuardScene::nWidth - 2 * nMargin),
          m_nTop(nImageHeight - CGuardScene::nHeight - 2 * nMargin), m_nStride(nImageWidth)
    {
        const CConvParam panel = scene.MakeParam();
        for (std::int64_t y = 0; y < CGuardScene::nHeight + 2 * nMargin; ++y)
        {
            const std::int64_t nFirst = (m_nTop + y) * nImageWidth + m_nLeft;
            m_image.Open(static_cast<std::uint64_t>(nFirst), CGuardScene::nWidth + 2 * nMargin);
            for (std::int64_t x = 0; x < CGuardScene::nWidth + 2 * nMargin; ++x)
            {
                const std::int64_t nX = std::clamp<std::int64_t>(x - nMargin, 0, CGuardScene::nWidth - 1);
                const std::int64_t nY = std::clamp<std::int64_t>(y - nMargin, 0, CGuardScene::nHeight - 1);
                m_image.Data()[nFirst + x] = panel.pImage[nY * CGuardScene::nWidth + nX];
            }
        }
    }

    void Place(CConvParam& param)
    {
        const auto nLeft = static_cast<int>(m_nLeft + nMargin);
        const auto nTop = static_cast<int>(m_nTop + nMargin);
        param.pImage = m_image.Data();
        param.nImageWidth = static_cast<int>(m_nStride);
        param.nImageHeight = nTop + CGuardScene::nHeight + nMargin;
        param.rtInspect.SetRect(nLeft, nTop, nLeft + CGuardScene::nWidth, nTop + CGuardScene::nHeight);
        for (CPadPoint& pt : param.trapInspect.ptCorner)
        {
            pt.x += nLeft;
            pt.y += nTop;
        }
        m_nRegionLeft = nLeft;
        m_nRegionTop = nTop;
    }
    /// Place and strength of the blobs, relative to the region.
    std::vector<int> GetBlobs(CNarvoAssem& engine) const
    {
        std::vector<int> blobs;
        for (int i = 0; i < engine.GetBlobCount(); ++i)
        {
            const CDefectBlob& blob = *engine.GetBlobDefect(i);
            blobs.insert(blobs.end(), {blob.rtDefect.left - m_nRegionLeft, blob.rtDefect.top - m_nRegionTop,
                                       blob.rtDefect.right - m_nRegionLeft, blob.rtDefect.bottom - m_nRegionTop,
                                       blob.nDefectType, blob.nDefectPos, blob.nMaxPeak, blob.nPairCount});
        }
        return blobs;
    }

private:
    CSparseMemory m_image;
    std::int64_t m_nLeft;
    std::int64_t m_nTop;
    std::int64_t m_nStride;
    int m_nRegionLeft = 0;
    int m_nRegionTop = 0;
};

TEST_F(GuardRegion, RegionBeyondFourGigabytesOfImageGivesTheBlobsOfASmallImage)
{
    CPatch small(m_scene, CGuardScene::nWidth + 2 * CPatch::nMargin, CGuardScene::nHeight + 2 * CPatch::nMargin);
    CPatch large(m_scene, 70000, 70000);
    CPatch wide(m_scene, 16000000, 400); // sums of places in a blob still fit 32 bits
    int nBases = 0;
    for (const CGuardBase& base : GuardBases())
    {
        CConvParam param = base.Make(m_scene);
        const bool bTables = param.pScanPitchTable != nullptr || param.pTiltConvTable != nullptr ||
                             param.pConvPitchTable != nullptr || param.pFreeFormMask != nullptr;
        if (bTables || param.pZoneOriginTable != nullptr)
            continue; // their tables would have to be as large
        ++nBases;
        param.bBandThread = 0;
        param.nMaxReinspect = 0;
        small.Place(param);
        EXPECT_EQ(Inspect(base, param), 1) << base.pName;
        const std::vector<int> expected = small.GetBlobs(Lane());
        for (CPatch* pPatch : {&large, &wide})
        {
            param = base.Make(m_scene);
            param.bBandThread = 0;
            param.nMaxReinspect = 0;
            pPatch->Place(param);
            EXPECT_EQ(Inspect(base, param), 1) << base.pName;
            EXPECT_THAT(pPatch->GetBlobs(Lane()), testing::ContainerEq(expected)) << base.pName;
        }
    }
    EXPECT_GT(nBases, 20);
}

} // namespace
