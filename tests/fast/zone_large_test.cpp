// SPDX-License-Identifier: MIT
// Scenes too large for the random ones: regions wider than a kernel may look at in one piece, and images in which
// nearly every pixel is a hit.
#include <gtest/gtest.h>

#include <limits>

#include "fast/zone_plain_scene.h"
#include "support/random.h"

namespace narvo::test
{
namespace
{

/// A regular grid of cells whose origins drift by a pixel or two; every fifth cell is skipped where records say so.
void LayGrid(CPlainScene& plain, int nCellWidth, int nCellHeight)
{
    CRandom random(7);
    engine::CZoneCall& call = plain.Call();
    const bool bFlagged = plain.scene.eKernel == ZoneKernel::VertFlag;
    const int nFirstRow = IsHorizontal(plain.scene.eKernel) ? 0 : 1;
    const int nColumns = static_cast<int>(call.region.nRight) / nCellWidth + 4;
    const int nRows = static_cast<int>(call.region.nBottom) / nCellHeight + 4;
    std::vector<int> aRecords;
    for (int r = 0; r < nRows; r++)
    {
        for (int c = 0; c < nColumns; c++)
        {
            aRecords.push_back(c * nCellWidth - random.Int(0, 2));
            aRecords.push_back((r - nFirstRow) * nCellHeight - random.Int(0, 2));
            if (bFlagged)
                aRecords.push_back(random.OneIn(5) ? random.Int(1, 2) : 0);
        }
    }
    plain.SetOrigins(nColumns, aRecords);
    call.nCellWidth = nCellWidth;
    call.nCellHeight = nCellHeight;
    for (std::int16_t& nZone : plain.aZoneIndex)
        nZone = static_cast<std::int16_t>(random.Int(0, 15));
    // A cell may be entered a pixel or two before its origin.
    call.pOffsetMap = plain.aOffset.data() + 3 * call.nMapStride;
    call.pZoneIndexMap = plain.aZoneIndex.data() + 3 * call.nMapStride;
}

TEST(ZoneLarge, RegionWiderThanAnyInnerBlockGivesWhatThePlainWalkGives)
{
    for (const ZoneKernel eKernel : {ZoneKernel::Vert, ZoneKernel::VertFlag, ZoneKernel::Vtd, ZoneKernel::Hori})
    {
        CPlainScene plain(eKernel, 140000, 24, 4 * 16 + 9);
        CRandom random(3);
        for (std::uint8_t& nPixel : plain.aImage)
            nPixel = static_cast<std::uint8_t>(random.Int(100, 112));
        for (int i = 0; i < 40000; i++)
        {
            const int x = random.Int(0, 139999);
            plain.At(x, random.Int(0, 23)) = static_cast<std::uint8_t>(random.Int(0, 255));
        }
        LayGrid(plain, 483, 7);
        plain.SetThreshold(14);
        plain.Call().pairs.nSize = 40000;
        plain.Call().hits.nSize = 20000; // a strip's or a row's worth
        EXPECT_GT(plain.Run().nReturned, 10000) << KernelName(eKernel);
    }
}

TEST(ZoneLarge, MoreHitsThanAWorkingSetHoldsAreAllPaired)
{
    CPlainScene plain(ZoneKernel::Vert, 2432, 900, 4 * 16);
    LayGrid(plain, 230, 90);
    plain.SetThreshold(-1); // equal greys are hits
    plain.Call().pairs.nSize = 100000;
    plain.Call().hits.nSize = 20000;
    const CKernelOutcome outcome = plain.Run();
    EXPECT_EQ(outcome.nReturned, 3 * 2432); // the last band's rows: 891 to 893
    EXPECT_EQ(outcome.nEndLine, 2432 + 16);
}

TEST(ZoneLarge, PairArrayThatFillsFarInStopsAtTheStripOfTheReference)
{
    CPlainScene plain(ZoneKernel::Vert, 2432, 900, 4 * 16);
    LayGrid(plain, 230, 90);
    plain.SetThreshold(-1);
    plain.Call().pairs.nSize = 5000;
    plain.Call().hits.nSize = 20000;
    const CKernelOutcome outcome = plain.Run();
    EXPECT_EQ(outcome.nReturned, 5000);
    EXPECT_GT(outcome.nEndLine, 1000);
    EXPECT_LT(outcome.nEndLine, 2432);
}

} // namespace
} // namespace narvo::test
