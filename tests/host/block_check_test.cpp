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

constexpr BlockCall CallOf(Entry entry)
{
    switch (entry)
    {
    case Entry::RectAsg:
        return BlockCall_RectAsg;
    case Entry::Asg:
        return BlockCall_Asg;
    case Entry::Trapezium:
        return BlockCall_Trapezium;
    case Entry::EngineRect:
        return BlockCall_EngineRect;
    default:
        return BlockCall_Rect;
    }
}

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

/// Memory for each table of a block, of the size that the check gives, between guard pages.
class ExactTables
{
public:
    explicit ExactTables(bool flushBack) : m_flushBack(flushBack) {}

    /// Points the block at memory of its own for everything that is read, and fills it.
    void Provide(const BlockCheck& check, CRandom& random, CConvParam& param)
    {
        m_memory.clear();
        const bool vertical = param.nDirection != 0;
        for (const TableRead& read : check.reads)
        {
            if (read.field == "pImage")
                Fill<unsigned char>(read, param.pImage,
                                    [&] { return static_cast<unsigned char>(random.Int(90, 104)); });
            else if (read.field == "pFreeFormMask")
            {
                unsigned char* mask = nullptr;
                Fill<unsigned char>(read, mask, [] { return static_cast<unsigned char>(1); });
                param.pFreeFormMask = mask;
            }
            else if (read.field == "pScanPitchTable")
                Fill<int>(read, param.pScanPitchTable, [&] { return random.Int(200, 260); });
            else if (read.field == "pTiltScanTable")
                Fill<int>(read, param.pTiltScanTable, [&] { return random.Int(0, 9); });
            else if (read.field == "pTiltConvTable")
                Fill<int>(read, param.pTiltConvTable, [&] { return random.Int(200, 260); });
            else if (read.field == "pConvPitchTable")
                Fill<unsigned short>(read, param.pConvPitchTable,
                                     [&] { return static_cast<unsigned short>(random.Int(12, 18)); });
            else if (read.field == "pConvWeightNear")
                Fill<short>(read, param.pConvWeightNear, [] { return static_cast<short>(12); });
            else if (read.field == "pConvWeightFar")
                Fill<short>(read, param.pConvWeightFar, [] { return static_cast<short>(4); });
            else if (read.field == "pZoneOriginTable")
                FillGrid(read, param, random, vertical);
            else if (short** map = MapOf(param, read.field); map != nullptr)
                Fill<short>(read, *map, [&] { return static_cast<short>(random.Int(0, 14)); });
            else
                FillZones(read, random, param);
        }
    }

private:
    template <class Element>
    Element* Take(const TableRead& read)
    {
        const auto bytes = static_cast<std::uint64_t>(read.before + read.count) * sizeof(Element);
        m_memory.push_back(std::make_unique<CSparseMemory>(std::max<std::uint64_t>(bytes, 1), m_flushBack));
        m_memory.back()->Open(0, bytes);
        return reinterpret_cast<Element*>(m_memory.back()->Data());
    }

    template <class Element, class Value, class Target>
    void Fill(const TableRead& read, Target*& target, Value value)
    {
        Element* const data = Take<Element>(read);
        std::generate(data, data + read.before + read.count, value);
        target = data + read.before;
    }

    /// Cells as the block declares them, the region's corner anywhere in the first used one.
    void FillGrid(const TableRead& read, CConvParam& param, CRandom& random, bool vertical)
    {
        const int ints = read.element.find("skip") != std::string::npos ? 3 : 2;
        const int width = std::max(engine::TruncateToInt(param.GetZoneConvPitch()), 1);
        const int height = std::max(engine::TruncateToInt(param.GetZoneScanPitch()), 1);
        const int left = param.rtInspect.left - random.Int(0, width - 1);
        const int top = param.rtInspect.top - random.Int(0, height - 1) - (vertical ? height : 0);
        int* const data = Take<int>(read);
        for (std::int64_t i = 0; i < read.count / ints; ++i)
        {
            data[i * ints] = left + static_cast<int>(i % param.nZoneColumns) * width;
            data[i * ints + 1] = top + static_cast<int>(i / param.nZoneColumns) * height;
            if (ints == 3)
                data[i * ints + 2] = random.OneIn(4) ? 1 : 0;
        }
        param.pZoneOriginTable = data;
    }

    static short** MapOf(CConvParam& param, const std::string& field)
    {
        const std::map<std::string, short* CConvParam::*> maps = {
            {"pThresholdOffsetMap", &CConvParam::pThresholdOffsetMap},
            {"pThresholdGainMap", &CConvParam::pThresholdGainMap},
            {"pZoneIndexMap", &CConvParam::pZoneIndexMap},
            {"pThresholdKneeMap", &CConvParam::pThresholdKneeMap},
            {"pThresholdOffsetMap2", &CConvParam::pThresholdOffsetMap2},
            {"pThresholdGainMap2", &CConvParam::pThresholdGainMap2},
            {"pClassIdMap", &CConvParam::pClassIdMap}};
        const auto found = maps.find(field);
        return found == maps.end() ? nullptr : &(param.*found->second);
    }

    void FillZones(const TableRead& read, CRandom& random, CConvParam& param)
    {
        const std::map<std::string, int* CConvParam::*> tables = {
            {"pFilterOffset", &CConvParam::pFilterOffset},   {"pFilterGain", &CConvParam::pFilterGain},
            {"pFilterOffset1", &CConvParam::pFilterOffset1}, {"pFilterGain1", &CConvParam::pFilterGain1},
            {"pTspTable", &CConvParam::pTspTable},           {"pTspTable2", &CConvParam::pTspTable2}};
        if (const auto found = tables.find(read.field); found != tables.end())
            Fill<int>(read, param.*found->second, [&] { return random.Int(0, 12); });
        else // points and texts stay the scene's, which hold as many
            EXPECT_TRUE(read.field == "pFreeFormPoint" || read.field == "pVeriPitchString") << read.field;
    }

    bool m_flushBack;
    std::vector<std::unique_ptr<CSparseMemory>> m_memory;
};

/// Changes the sizes of a valid block; a region may stay that is not compared.
void Vary(CRandom& random, CConvParam& param)
{
    param.nImageWidth = random.OneIn(12) ? random.Int(2100, 6400) : random.Int(60, 300);
    param.nImageHeight = random.Int(60, 200);
    const int left = random.OneIn(2) ? 0 : random.Int(0, 20);
    const int top = random.OneIn(2) ? 0 : random.Int(0, 20);
    param.rtInspect = CRect(left, top, param.nImageWidth - (random.OneIn(2) ? 0 : random.Int(0, 20)),
                            param.nImageHeight - (random.OneIn(2) ? 0 : random.Int(0, 20)));
    param.dConvPitch = random.Int(6 * 16, 20 * 16) / 16.0;
    param.dScanPitch = random.Int(4 * 16, 20 * 16) / 16.0;
    param.nZoneConvMultiple = random.Int(1, 4);
    param.nZoneScanMultiple = random.Int(1, 4);
    param.nZoneMapStride = random.Int(0, 300);
    param.nZoneColumns = random.Int(0, 60) + (param.rtInspect.Width() + 15) / 16;
    CPadPoint(&corners)[4] = param.trapInspect.ptCorner;
    const int right = param.nImageWidth;
    const int bottom = param.nImageHeight;
    if (param.nDirection == 1)
    {
        corners[0] = CPadPoint(0, random.Int(0, 9));
        corners[1] = CPadPoint(0, bottom - random.Int(0, 9));
        corners[2] = CPadPoint(right, bottom - random.Int(0, 9));
        corners[3] = CPadPoint(right, random.Int(0, 9));
    }
    else
    {
        corners[0] = CPadPoint(random.Int(0, 9), 0);
        corners[1] = CPadPoint(right - random.Int(0, 9), 0);
        corners[2] = CPadPoint(right - random.Int(0, 9), bottom);
        corners[3] = CPadPoint(random.Int(0, 9), bottom);
    }
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
