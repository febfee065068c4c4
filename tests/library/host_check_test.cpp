// SPDX-License-Identifier: MIT
// Checks of parameter blocks for programs that call the engine themselves.
#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <narvo/host_check.h>
#include <narvoassem/narvoassem.h>

namespace narvo::test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int nWidth = 512;
constexpr int nHeight = 480;

class HostCheck : public testing::Test
{
protected:
    HostCheck() : m_image(nWidth * nHeight, 100)
    {
        block.nInspectMode = 1;
        block.nDirection = 1;
        block.pImage = m_image.data();
        block.nImageWidth = nWidth;
        block.nImageHeight = nHeight;
        block.rtInspect = CRect(0, 0, nWidth, nHeight);
        block.nConvWidth = block.nConvHeight = 1;
        block.dConvPitch = 32.0;
        block.dScanPitch = 24.0;
        block.nConvMultiple = block.nScanMultiple = 1;
        block.nThreshold = 25;
    }

    CConvParam block;

private:
    std::vector<unsigned char> m_image;
};

} // namespace

TEST_F(HostCheck, SaysWhatIsReadOfASoundBlock)
{
    const BlockCheck check = CheckBlock(block);
    EXPECT_EQ(check.code, 1);
    EXPECT_TRUE(check.vertical);
    EXPECT_THAT(check.refusals, IsEmpty());
    EXPECT_THAT(check.blindSpots, IsEmpty());
    ASSERT_THAT(check.reads, SizeIs(1));
    EXPECT_EQ(check.reads[0].field, "pImage");
    EXPECT_EQ(check.reads[0].count, nWidth * nHeight);
    EXPECT_FALSE(check.reads[0].element.empty());
}

TEST_F(HostCheck, NamesRefusalsBlindSpotsAndWhatIsNotRead)
{
    std::vector<int> unread(16);
    block.pTspTable = unread.data();
    EXPECT_THAT(CheckBlock(block).ignored, Contains(Field(&Problem::field, std::string("pTspTable"))));
    block.nScanMultiple = 0;
    EXPECT_THAT(CheckBlock(block).blindSpots, Contains(HasSubstr("compare distance is 0")));
    block.nThreshold = 0;
    const BlockCheck check = CheckBlock(block);
    EXPECT_EQ(check.code, 8);
    ASSERT_THAT(check.refusals, SizeIs(1));
    EXPECT_EQ(check.refusals[0].field, "nThreshold");
    EXPECT_EQ(check.refusals[0].value, "0");
    EXPECT_THAT(check.refusals[0].allowed, HasSubstr("at least 1"));
    EXPECT_THAT(check.reads, IsEmpty());
    EXPECT_THROW(CheckBlock(block, static_cast<BlockCall>(7)), Error);
    EXPECT_THROW(CheckTables(block, {}, static_cast<BlockCall>(-1)), Error);
}

TEST_F(HostCheck, SaysWhatTheEngineThenDoes)
{
    CAssemControl pool;
    ASSERT_EQ(pool.InitAssemControl(1, 100), 1);
    for (const int threshold : {-5, 0, 1, 25})
        for (const int right : {0, 40, 500, 512, 513})
        {
            block.nThreshold = threshold;
            block.rtInspect.right = right;
            CConvParam given(block);
            EXPECT_EQ(CheckBlock(block).code, pool.Inspect_Rect(0, &given, 0)) << threshold << ' ' << right;
        }
}

TEST_F(HostCheck, OwnTablesAreComparedWithTheirSizes)
{
    const TableSize image{"pImage", 0, nWidth * nHeight};
    std::vector<int> pitches((nHeight + 15) / 16, 24 * 16);
    block.pScanPitchTable = pitches.data();
    EXPECT_THAT(CheckTables(block, {image, {"pScanPitchTable", 0, 30}}), IsEmpty());
    const std::vector<Problem> problems = CheckTables(block, {image, {"pScanPitchTable", 0, 29}});
    ASSERT_THAT(problems, ElementsAre(Field(&Problem::field, std::string("pScanPitchTable"))));
    EXPECT_THAT(problems[0].value, HasSubstr("29"));
    EXPECT_THAT(problems[0].allowed, HasSubstr("30"));
    EXPECT_THAT(CheckTables(block, {image}), SizeIs(1));
}

} // namespace narvo::test
