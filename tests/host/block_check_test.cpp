// SPDX-License-Identifier: MIT
// What is said of a parameter block against what the engine does with it.
#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/guard_bases.h"
#include "engine/guard_scene.h"
#include "host/check/block_check.h"
#include "host/exact_tables.h"
#include "narvoassem/base/truncate.h"
#include "narvoassem/narvoassem.h"
#include "reference/check_reference.h"
#include "soak/case_entry.h"
#include "soak/case_maker.h"
#include "soak/case_source.h"
#include "support/random.h"
#include "support/seeds.h"
#include "support/sparse_memory.h"

namespace narvo::test
{

namespace
{

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

/// A block that is compared: pixel mode down an image of that size, periods of 32 by 24 pixels.
CConvParam PlainBlock(unsigned char* image, int width, int height)
{
    CConvParam param;
    param.nInspectMode = 1;
    param.nDirection = 1;
    param.pImage = image;
    param.nImageWidth = width;
    param.nImageHeight = height;
    param.rtInspect = CRect(0, 0, width, height);
    param.nConvWidth = param.nConvHeight = 1;
    param.dConvPitch = 32.0;
    param.dScanPitch = 24.0;
    param.nConvMultiple = param.nScanMultiple = 1;
    param.nThreshold = 25;
    return param;
}

/// Such a block over 512 by 480 pixels.
class BlockCheckTest : public testing::Test
{
protected:
    BlockCheckTest() : m_image(512 * 480, 100) { param = PlainBlock(m_image.data(), 512, 480); }

    std::vector<std::string> RefusedFields(BlockCall call = BlockCall_Rect) const
    {
        std::vector<std::string> fields;
        for (const Problem& problem : CheckBlock(param, call).refusals)
            fields.push_back(problem.field);
        return fields;
    }
    std::vector<std::string> Spots(BlockCall call = BlockCall_Rect) const { return CheckBlock(param, call).blindSpots; }

    CConvParam param;

private:
    std::vector<unsigned char> m_image;
};

TEST_F(BlockCheckTest, ASoundBlockHasNothingToSay)
{
    const BlockCheck check = CheckBlock(param);
    EXPECT_EQ(check.code, 1);
    EXPECT_EQ(check.Text(), "");
    ASSERT_THAT(check.reads, SizeIs(1));
    EXPECT_EQ(check.reads[0].field, "pImage");
    EXPECT_EQ(check.reads[0].count, 512 * 480);
}

TEST_F(BlockCheckTest, NamesFieldValueAndRangeOfEachReason)
{
    param.nThreshold = 0;
    param.nConvWidth = 0;
    param.rtInspect.right = 513;
    const BlockCheck check = CheckBlock(param);
    EXPECT_EQ(check.code, 8);
    EXPECT_THAT(RefusedFields(), testing::ElementsAre("nConvWidth", "nThreshold", "rtInspect"));
    EXPECT_THAT(check.Text(), HasSubstr("refused: nThreshold: 0; allowed: at least 1"));
    EXPECT_THAT(check.Text(), HasSubstr("0, 0, 513, 480; allowed: sides inside the image of 512 by 480 pixels"));
    EXPECT_THAT(check.reads, IsEmpty());
}

TEST_F(BlockCheckTest, RegionsUnderThreePitchesSayWhatFits)
{
    param.nScanMultiple = 7;
    EXPECT_THAT(
        CheckBlock(param).Text(),
        HasSubstr("dScanPitch * nScanMultiple: 24 * 7 = 168; allowed: at most 160, a third of rtInspect's height "
                  "of 480 pixels"));
    EXPECT_THAT(CheckBlock(param).refusals, SizeIs(1)); // the pool and the engine ask for the same
    param.bAutoDirection = 1;
    EXPECT_EQ(CheckBlock(param).code, 1);
    param.nConvMultiple = 6;
    EXPECT_EQ(CheckBlock(param).code, 64);
}

TEST_F(BlockCheckTest, AverageModeAsksForBothThresholdsAndItsWindow)
{
    param.nInspectMode = 3;
    param.nThreshold = -12;
    EXPECT_THAT(RefusedFields(), testing::ElementsAre("nBlackFilterGray"));
    param.nBlackFilterGray = 7;
    EXPECT_EQ(CheckBlock(param).code, 1);
    param.rtInspect.right = 44;
    EXPECT_EQ(CheckBlock(param).code, 64);
}

TEST_F(BlockCheckTest, ForgottenMultiplesCompareNothing)
{
    param.nScanMultiple = 0;
    EXPECT_EQ(CheckBlock(param).code, 1);
    EXPECT_THAT(Spots(), Contains(HasSubstr("the compare distance is 0")));
    EXPECT_THAT(Spots(), Contains(HasSubstr("dScanPitch and nScanMultiple")));
}

TEST_F(BlockCheckTest, UnknownModesCompareNothing)
{
    param.nInspectMode = 4;
    EXPECT_THAT(Spots(), Contains(HasSubstr("nInspectMode 4 compares nothing")));
}

TEST_F(BlockCheckTest, OddWidthsMisleadTheFilters)
{
    param.nImageWidth = 510;
    param.rtInspect.right = 510;
    EXPECT_THAT(Spots(), Contains(HasSubstr("a width that is a multiple of 4")));
    EXPECT_THAT(Spots(), Contains(HasSubstr("columns from 496 on")));
    param.nInspectMode = 2; // no filters
    EXPECT_THAT(Spots(), Not(Contains(HasSubstr("multiple of 4"))));
}

/// The first column of the region from which on no column alone gives a blob; its right side where there is none.
int FirstUnseen(const CConvParam& block, CAssemControl& control)
{
    int unseen = block.rtInspect.right;
    for (int x = block.rtInspect.right - 1; x >= block.rtInspect.left; --x)
    {
        CConvParam param(block);
        std::vector<unsigned char> image(static_cast<std::size_t>(block.nImageWidth) * block.nImageHeight, 100);
        for (int y = 60; y < 63; ++y)
            image[static_cast<std::size_t>(y * block.nImageWidth + x)] = 230;
        param.pImage = image.data();
        control.Inspect_Rect(0, &param, 0);
        if (control.GetNarvoAssem(0)->GetBlobCount() > 0)
            break;
        unseen = x;
    }
    return unseen;
}

TEST(BlockCheck, ColumnsBehindTheLastWholeGroupAreNamedAsTheEngineLeavesThemOut)
{
    CAssemControl control;
    ASSERT_EQ(control.InitAssemControl(1, 10), 1);
    unsigned char pixel = 0;
    for (const int mode : {0, 1})
        for (const int direction : {0, 1})
            for (const double pitch : {20.0, 20.25, 21.5})
                for (const int width : {128, 129, 137, 143, 144})
                {
                    if (mode == 0 && direction == 0)
                        continue;                                    // not said
                    CConvParam param = PlainBlock(&pixel, 160, 120); // the pixel is not read
                    param.nInspectMode = mode;
                    param.nDirection = direction;
                    param.rtInspect = CRect(8, 4, 8 + width, 116);
                    param.nConvWidth = param.nConvHeight = mode == 0 ? 2 : 1;
                    param.dConvPitch = param.dScanPitch = pitch;
                    param.nThreshold = mode == 0 ? 80 : 20;
                    const std::vector<std::string> spots = CheckBlock(param).blindSpots;
                    const int unseen = FirstUnseen(param, control);
                    if (unseen == param.rtInspect.right)
                        EXPECT_THAT(spots, IsEmpty()) << mode << direction << pitch << ' ' << width;
                    else
                        EXPECT_THAT(spots, Contains(HasSubstr("columns from " + std::to_string(unseen) + " on")))
                            << mode << direction << pitch << ' ' << width;
                }
}

TEST_F(BlockCheckTest, BinariseLeavesTheLastColumnsOut)
{
    param.nInspectMode = 2;
    EXPECT_THAT(Spots(), Contains(HasSubstr("columns 496 to 511")));
    param.rtInspect.right = 497;
    EXPECT_THAT(Spots(), Contains(HasSubstr("columns 496 to 496")));
    // As the engine does it: a dark pixel in the first column left out, and one in the last column seen.
    std::vector<unsigned char> image(512 * 480, 200);
    param.pImage = image.data();
    param.nThreshold = 100;
    param.nDirection = 0;
    image[512 * 100 + 496] = image[512 * 200 + 495] = 50;
    CAssemControl control;
    ASSERT_EQ(control.InitAssemControl(1, 10), 1);
    ASSERT_EQ(control.Inspect_Rect(0, &param, 0), 1);
    ASSERT_EQ(control.GetNarvoAssem(0)->GetBlobCount(), 1);
    EXPECT_EQ(control.GetNarvoAssem(0)->GetBlobDefect(0)->ptCenter.x, 495);
}

TEST_F(BlockCheckTest, WithoutSinglesTheEdgesAreBlind)
{
    param.bKeepSingle = 0;
    EXPECT_THAT(Spots(), Contains(HasSubstr("bKeepSingle is 0")));
    param.bKeepSingle = 1;
    EXPECT_THAT(Spots(BlockCall_Asg), Contains(HasSubstr("this call keeps no singles")));
}

TEST_F(BlockCheckTest, BandsAreRefusedInSilence)
{
    std::vector<unsigned char> wide(4200 * 96, 100);
    param.pImage = wide.data();
    param.nImageWidth = 4200;
    param.nImageHeight = 96;
    param.rtInspect = CRect(0, 0, 4200, 96);
    EXPECT_THAT(Spots(), Contains(HasSubstr("across column 2048")));
    param.nThreshold = 0;
    EXPECT_EQ(CheckBlock(param).code, 1);
    EXPECT_THAT(Spots(), Contains(HasSubstr("refused without a code: nThreshold: 0")));
    param.bBandThread = 0;
    EXPECT_EQ(CheckBlock(param).code, 8);
}

TEST_F(BlockCheckTest, TenDeadZonesCountAsNone)
{
    std::fill(std::begin(param.rtDeadZone), std::end(param.rtDeadZone), CRect(1, 1, 5, 5));
    EXPECT_THAT(Spots(), Contains(HasSubstr("ten that are not empty count as none")));
}

TEST_F(BlockCheckTest, GreyLimitsHideWhatIsBrighter)
{
    param.nGrayLimit = 200;
    EXPECT_THAT(Spots(), Contains(HasSubstr("above grey level 200")));
    param.nGrayLimit = 300; // clamped
    EXPECT_THAT(Spots(), IsEmpty());
    param.nInspectMode = 0;
    param.nConvWidth = param.nConvHeight = 3;
    EXPECT_THAT(Spots(), Contains(HasSubstr("leave 16 bits")));
}

TEST_F(BlockCheckTest, WithoutRerunsOverflowsLeaveTheRest)
{
    param.nMaxReinspect = 0;
    EXPECT_THAT(Spots(), Contains(HasSubstr("nMaxReinspect allows no re-run")));
}

TEST_F(BlockCheckTest, ALargerWindowWithAShiftRunsNothing)
{
    param.nInspectMode = 0;
    param.nConvWidth = param.nConvHeight = 3;
    param.fVtdPitch = 1.0F;
    EXPECT_THAT(Spots(), Contains(HasSubstr("the window's kernel does not run")));
}

TEST_F(BlockCheckTest, TablesThatNothingReadsAreNamed)
{
    int tsp[16] = {};
    param.pTspTable = tsp;
    param.bAverage2by2 = 1;
    const BlockCheck check = CheckBlock(param);
    ASSERT_THAT(check.ignored, SizeIs(2));
    EXPECT_EQ(check.ignored[0].field, "bAverage2by2");
    EXPECT_EQ(check.ignored[1].field, "pTspTable");
    EXPECT_THAT(check.Text(), HasSubstr("not read: pTspTable: given; allowed: null, since the plain"));
}

TEST_F(BlockCheckTest, SearchesOfFlaggedGridsAreUnsafe)
{
    std::vector<short> map(1);
    std::vector<int> row(3 * 300);
    param.pThresholdOffsetMap = map.data();
    param.pZoneOriginTable = row.data();
    param.bZoneFlagged = 1;
    EXPECT_THAT(CheckBlock(param).hazards, Contains(HasSubstr("set nMaxReinspect to 0")));
    param.nMaxReinspect = 0;
    EXPECT_THAT(CheckBlock(param).hazards, IsEmpty());
    param.nImageWidth = 4200;
    param.rtInspect.right = 4200;
    EXPECT_THAT(CheckBlock(param).hazards, Contains(HasSubstr("set bBandThread to 0")));
}

TEST_F(BlockCheckTest, SizesFollowTheImage)
{
    int rows = 0;
    param.pScanPitchTable = &rows;
    param.nImageHeight = 479;
    param.rtInspect.bottom = 479;
    const auto reads = CheckBlock(param).reads;
    ASSERT_THAT(reads, SizeIs(2));
    EXPECT_EQ(reads[1].field, "pScanPitchTable");
    EXPECT_EQ(reads[1].count, 30);
}

TEST(BlockCheckRandom, RefusesWhatTheCallsRefuse)
{
    CCaseMaker maker;
    int refused = 0;
    for (const std::uint64_t seed : CaseSeeds("BlockCheckRandom.Refuses", 20000))
    {
        SCOPED_TRACE(ReplayHint(seed));
        CNumberedSource source(seed);
        const CSoakCase& made = maker.Make(source);
        const Entry entry = EntryOf(made.eCall);
        const int expected = ExpectRefusal(made.param, entry);
        const BlockCheck check = CheckBlock(made.param, CallOf(entry));
        ASSERT_EQ(check.code, expected == 0 ? 1 : expected) << check.Text();
        ASSERT_EQ(check.refusals.empty(), expected == 0);
        refused += expected != 0;
    }
    EXPECT_GT(refused, 1000 / CaseShare());
}

TEST(BlockCheckRandom, NothingIsReadBeyondTheSizesGiven)
{
    CGuardScene scene(true);
    CAssemControl control;
    ASSERT_EQ(control.InitAssemControl(1, 400), 1);
    ExactTables back(true);
    ExactTables front(false);
    int compared = 0;
    for (const std::uint64_t seed : CaseSeeds("BlockCheckRandom.Reads", static_cast<int>(GuardBases().size()) * 60))
    {
        SCOPED_TRACE(ReplayHint(seed));
        CRandom random(seed);
        const CGuardBase& base = GuardBases()[random.Next() % GuardBases().size()];
        CConvParam param = base.Make(scene);
        Vary(random, param);
        const BlockCall call = CallOf(base.eEntry);
        if (param.bZoneFlagged != 0 && random.OneIn(2))
            param.bBandThread = param.nMaxReinspect = 0;
        // The first row of a grid decides where bands enter it.
        std::vector<int> row(static_cast<std::size_t>(param.nZoneColumns) * 2, 10000);
        if (param.pZoneOriginTable != nullptr)
            param.pZoneOriginTable = row.data();
        const BlockCheck check = CheckBlock(param, call);
        if (check.code != 1 || !check.hazards.empty())
            continue;
        (random.OneIn(2) ? back : front).Provide(check, random, param);
        control.ResetReinspectCount();
        const int code = RunEntry(control, base.eEntry, param);
        ASSERT_TRUE(code == 1 || code == 16) << base.pName;
        ++compared;
    }
    EXPECT_GT(compared, static_cast<int>(GuardBases().size()) * 10 / CaseShare());
}

} // namespace

} // namespace narvo::test
