// SPDX-License-Identifier: MIT
// Levels and channels that are proposed for files of which nobody has said how they are read.
#include "host/image/reading_choice.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/host_test_help.h"
#include "host/problem.h"

namespace narvo::test
{

namespace
{

/// A PGM of two pixels: 0 and `value`, of `most` at most.
std::filesystem::path TwoPixels(const TestFolder& folder, const std::string& name, int value, int most)
{
    std::ofstream file(folder / name, std::ios::binary);
    file << "P5\n2 1\n" << most << '\n';
    for (const int pixel : {0, value})
    {
        if (most > 255)
            file << static_cast<char>(pixel >> 8);
        file << static_cast<char>(pixel & 255);
    }
    return folder / name;
}

int HighOf(const std::vector<std::filesystem::path>& files, const ImageReading& reading = {})
{
    const ReadingChoice choice = ChooseReadings(files, reading);
    EXPECT_EQ(choice.readings.size(), 1U);
    EXPECT_EQ(choice.readings.front().levelLow, reading.levelLow);
    EXPECT_EQ(choice.reason.empty(), choice.readings.front() == reading);
    return choice.readings.front().levelHigh;
}

TEST(ReadingChoice, BitsOfTheLargestValueOfAnyFile)
{
    const TestFolder folder;
    const auto dark = TwoPixels(folder, "dark.pgm", 1000, 65535);
    const auto bright = TwoPixels(folder, "bright.pgm", 2214, 65535);
    EXPECT_EQ(HighOf({dark}), 1023);
    EXPECT_EQ(HighOf({dark, bright}), 4095);
    EXPECT_EQ(HighOf({bright, dark}), 4095);
    EXPECT_EQ(HighOf({TwoPixels(folder, "edge.pgm", 4095, 65535)}), 4095);
    EXPECT_EQ(HighOf({TwoPixels(folder, "next.pgm", 4096, 65535)}), 8191);
    EXPECT_EQ(ChooseReadings({dark, bright}, {}).reason,
              "Values of 2 images reach 2214: they are read over 0 to 4095, which the recipe keeps.");
}

TEST(ReadingChoice, EightBitsAtLeast)
{
    const TestFolder folder;
    EXPECT_EQ(HighOf({TwoPixels(folder, "byte.pgm", 200, 65535)}), 255);
    EXPECT_EQ(HighOf({TwoPixels(folder, "black.pgm", 0, 65535)}), 255);
}

TEST(ReadingChoice, NothingIsChosenWhereTheRangeIsFilledOrBytesOrGiven)
{
    const TestFolder folder;
    const auto half = TwoPixels(folder, "half.pgm", 33000, 65535);
    const auto twelve = TwoPixels(folder, "twelve.pgm", 2214, 4095);
    const auto byte = TwoPixels(folder, "byte.pgm", 40, 255);
    const auto part = TwoPixels(folder, "part.pgm", 2214, 65535);
    EXPECT_EQ(HighOf({half}), 0);
    EXPECT_EQ(HighOf({twelve}), 0);
    EXPECT_EQ(HighOf({byte}), 0);
    EXPECT_EQ(HighOf({part, byte}), 0);
    EXPECT_EQ(HighOf({part, half}), 0);
    EXPECT_EQ(HighOf({}), 0);
    ImageReading given;
    given.levelHigh = 3000;
    EXPECT_EQ(HighOf({part}, given), 3000);
    given.levelLow = -10;
    given.levelHigh = 0;
    EXPECT_EQ(HighOf({part}, given), 0);
}

TEST(ReadingChoice, ChannelsOfColoursAreTriedUnlessOneIsNamed)
{
    const TestFolder folder;
    std::ofstream(folder / "grey.ppm") << "P6\n1 1\n255\naaa";
    std::ofstream(folder / "red.ppm") << "P6\n1 1\n255\nzaa";
    const auto channelsOf = [&](const std::vector<std::filesystem::path>& files, const ImageReading& reading)
    {
        std::vector<int> channels;
        for (const ImageReading& one : ChooseReadings(files, reading).readings)
            channels.push_back(one.channel);
        return channels;
    };
    const std::vector<int> all = {Channel_Luma, Channel_Red, Channel_Green, Channel_Blue, Channel_Each};
    EXPECT_EQ(channelsOf({folder / "red.ppm"}, {}), all);
    EXPECT_EQ(channelsOf({folder / "grey.ppm", folder / "red.ppm"}, {}), all);
    EXPECT_EQ(channelsOf({folder / "grey.ppm"}, {}), std::vector<int>{Channel_Auto});
    ImageReading named;
    named.channel = Channel_Blue;
    EXPECT_EQ(channelsOf({folder / "red.ppm"}, named), std::vector<int>{Channel_Blue});
    ImageReading mosaic;
    mosaic.bayer = Bayer_Rggb;
    const auto grey = TwoPixels(folder, "mosaic.pgm", 40, 255);
    EXPECT_EQ(channelsOf({grey}, mosaic), all);
    mosaic.demosaic = Demosaic_Off;
    EXPECT_EQ(channelsOf({grey}, mosaic), std::vector<int>{Channel_Auto});
}

TEST(ReadingChoice, FileThatCannotBeReadIsNamed)
{
    const TestFolder folder;
    EXPECT_THROW(ChooseReadings({folder / "missing.pgm"}, {}), HostError);
}

} // namespace

} // namespace narvo::test
