// SPDX-License-Identifier: MIT
// A stream that runs takes no memory.
#include <gtest/gtest.h>

#include "bench/malloc_count.h"
#include "host/image/row_conversion.h"
#include "host/stream/strip_stream.h"

namespace narvo::test
{
namespace
{

class CountingSink : public StreamSink
{
public:
    void OnBlob(const StreamBlob&) override { ++blobs; }
    int blobs = 0;
};

/// Rows that repeat, with spots of both polarities.
GreyImage Rows(int width, int rows)
{
    GreyImage image(width, rows, 100);
    for (int y = 3; y + 3 < rows; y += 37)
        for (int x = 5; x + 3 < width; x += 111)
            for (int i = 0; i < 9; ++i)
                image.Row(y + i / 3)[x + i % 3] = y % 2 == 0 ? 180 : 30;
    return image;
}

void ExpectNoAllocation(int mode, int direction, int width, bool withTable = false)
{
    Recipe recipe;
    recipe.mode = mode;
    recipe.direction = direction;
    recipe.pitchX = 8.5;
    recipe.pitchY = 10.25;
    recipe.thresholdBase = mode == Mode_Zone ? 0 : mode == Mode_Float ? 80 : 20;
    recipe.zoneMultipleX = mode == Mode_Zone ? 4 : 1;
    if (withTable)
        recipe.scanPitches = {10.25, 10.1875, 10.3125};
    CountingSink sink;
    StripStream stream(CheckedRecipe(recipe), width, {}, sink);
    const GreyImage image = Rows(width, 2000);
    const auto push = [&](int step)
    {
        for (int y = 0; y < image.Height(); y += step)
            stream.Push(image.Row(y), std::min(step, image.Height() - y), image.Stride());
    };
    for (int i = 0; i < 6; ++i)
        push(i % 2 == 0 ? 61 : 2000);
    const int before = sink.blobs;
    bench::StartHeapCount();
    for (int i = 0; i < 6; ++i)
        push(i % 2 == 0 ? 61 : 2000);
    const bench::SHeapUse use = bench::StopHeapCount();
    EXPECT_EQ(use.nCalls, 0U);
    EXPECT_GT(sink.blobs, before);
    EXPECT_TRUE(stream.Counts().IsExact());
}

TEST(StreamMemory, TakesNoneOnceItRunsVertically)
{
    ExpectNoAllocation(Mode_Pixel, Direction_Vertical, 600);
}

TEST(StreamMemory, TakesNoneOnceItRunsHorizontally)
{
    ExpectNoAllocation(Mode_Pixel, Direction_Horizontal, 602);
}

TEST(StreamMemory, TakesNoneOnceItRunsInZones)
{
    ExpectNoAllocation(Mode_Zone, Direction_Vertical, 600);
    ExpectNoAllocation(Mode_Zone, Direction_Horizontal, 600);
}

TEST(StreamMemory, TakesNoneOnceItRunsByARowTable)
{
    ExpectNoAllocation(Mode_Zone, Direction_Vertical, 600, true);
    ExpectNoAllocation(Mode_Pixel, Direction_Vertical, 600, true);
}

TEST(StreamMemory, TakesNoneOnceItRunsOverWindowSums)
{
    ExpectNoAllocation(Mode_Float, Direction_Vertical, 600);
    ExpectNoAllocation(Mode_Float, Direction_Horizontal, 600);
}

TEST(StreamMemory, TakesNoneToTakeTheLightOut)
{
    constexpr int nWidth = 600;
    FieldImage flat{nWidth, 1, 1, 1, std::vector<std::uint8_t>(nWidth, 200)};
    flat.pixels[300] = 150;
    ImageReading reading;
    reading.levelLow = 3;
    reading.fields = FieldImages(flat, {}, false);
    RowConversion conversion(reading, nWidth);
    conversion.Prepare(8, 255);
    const GreyImage rows = Rows(nWidth, RowConversion::nMostRows);
    bench::StartHeapCount();
    for (const int count : {RowConversion::nMostRows, 7, 64})
    {
        conversion.Prepare(8, 255);
        conversion.Convert(rows.Row(0), count, rows.Stride());
    }
    const bench::SHeapUse use = bench::StopHeapCount();
    EXPECT_EQ(use.nCalls, 0U);
}

TEST(StreamMemory, TakesNoneOnceItRunsInBands)
{
    ExpectNoAllocation(Mode_Pixel, Direction_Vertical, 4400);
}

} // namespace
} // namespace narvo::test
