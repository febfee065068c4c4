// SPDX-License-Identifier: MIT
// Image files: what is taken as 8-bit grey, what is refused and in which words.
#include "host/image/grey_image.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "host/host_test_help.h"
#include "host/image/conversion_notes.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;

cv::Mat GreyRamp(int width, int height)
{
    cv::Mat image(height, width, CV_8UC1);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.at<unsigned char>(y, x) = static_cast<unsigned char>((x * 7 + y * 13) & 255);
    return image;
}

cv::Mat Merge(const cv::Mat& grey, int channels)
{
    cv::Mat merged;
    cv::merge(std::vector<cv::Mat>(static_cast<std::size_t>(channels), grey), merged);
    return merged;
}

void ExpectRamp(const GreyImage& image, int width, int height)
{
    ASSERT_EQ(image.Width(), width);
    ASSERT_EQ(image.Height(), height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            ASSERT_EQ(image.Row(y)[x], (x * 7 + y * 13) & 255) << x << ", " << y;
}

Problem RefusalOf(const std::filesystem::path& file, const ImageReading& reading = {})
{
    const auto found = ProblemsOf([&] { LoadGreyImage(file, reading); });
    EXPECT_EQ(found.size(), 1U);
    return found.empty() ? Problem{} : found.front();
}

/// Of an image whose values must stay.
Problem ExactRefusalOf(const std::filesystem::path& file)
{
    const auto found = ProblemsOf([&] { LoadExactImage(file); });
    EXPECT_EQ(found.size(), 1U);
    return found.empty() ? Problem{} : found.front();
}

/// Reads an image and gives what was noted.
std::vector<std::string> NotesOf(const std::filesystem::path& file, const ImageReading& reading = {})
{
    ConversionNotes notes;
    LoadGreyImage(file, reading, &notes);
    return notes.Take();
}

TEST(GreyImage, EveryLosslessFormatIsReadAsWritten)
{
    const TestFolder folder;
    for (const char* name : {"a.png", "a.tif", "a.bmp", "a.pgm"})
    {
        ASSERT_TRUE(cv::imwrite((folder / name).string(), GreyRamp(37, 21)));
        ExpectRamp(LoadGreyImage(folder / name), 37, 21);
    }
}

/// Counts the bytes of matrices that own their memory.
class CountingAllocator : public cv::MatAllocator
{
public:
    CountingAllocator() { cv::Mat::setDefaultAllocator(this); }
    ~CountingAllocator() override { cv::Mat::setDefaultAllocator(cv::Mat::getStdAllocator()); }
    CountingAllocator(const CountingAllocator&) = delete;
    CountingAllocator& operator=(const CountingAllocator&) = delete;

    std::size_t Bytes() const { return m_bytes; }

    cv::UMatData* allocate(int dimensions, const int* sizes, int type, void* data, std::size_t* step,
                           cv::AccessFlag flags, cv::UMatUsageFlags usage) const override
    {
        cv::UMatData* const made =
            cv::Mat::getStdAllocator()->allocate(dimensions, sizes, type, data, step, flags, usage);
        m_bytes += made->size;
        return made;
    }
    bool allocate(cv::UMatData* data, cv::AccessFlag flags, cv::UMatUsageFlags usage) const override
    {
        return cv::Mat::getStdAllocator()->allocate(data, flags, usage);
    }
    void deallocate(cv::UMatData* data) const override { cv::Mat::getStdAllocator()->deallocate(data); }

private:
    mutable std::size_t m_bytes = 0;
};

TEST(GreyImage, GreyFilesAreDecodedInPlace)
{
    const TestFolder folder;
    for (const char* name : {"a.png", "a.tif", "a.bmp", "a.pgm", "a.jpg"})
    {
        SCOPED_TRACE(name);
        ASSERT_TRUE(cv::imwrite((folder / name).string(), GreyRamp(203, 101)));
        const CountingAllocator counter;
        const GreyImage image = LoadGreyImage(folder / name);
        EXPECT_EQ(counter.Bytes(), 0U);
        for (int y = 0; y < 101; ++y)
            ASSERT_EQ(image.Row(y)[203], image.Row(y)[202]) << "padding of row " << y;
    }
    // The counter counts: what is no grey file needs memory of the codec's.
    ASSERT_TRUE(cv::imwrite((folder / "b.png").string(), Merge(GreyRamp(203, 101), 3)));
    const CountingAllocator counter;
    ExpectRamp(LoadGreyImage(folder / "b.png"), 203, 101);
    EXPECT_GE(counter.Bytes(), 203U * 101 * 3);
}

TEST(GreyImage, FilesWithMuchBehindTheirPixelsAreRead)
{
    const TestFolder folder;
    ASSERT_TRUE(cv::imwrite((folder / "a.png").string(), GreyRamp(37, 21)));
    std::ofstream(folder / "a.png", std::ios::binary | std::ios::app) << std::string(1 << 20, 'x');
    ExpectRamp(LoadGreyImage(folder / "a.png"), 37, 21);
}

TEST(GreyImage, LargeOnesBeginAtALargePageAndKeepTheirPixels)
{
    for (const int height : {1000, 4096, 4097})
    {
        GreyImage image(2048, height, 7);
        EXPECT_EQ(image.Row(height - 1)[2047], 7);
        image.Row(height - 1)[0] = 9;
        const GreyImage copy = image;
        EXPECT_EQ(copy.Row(height - 1)[0], 9);
        if (std::size_t{2048} * static_cast<std::size_t>(height) < nLeastPaged)
            continue;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(image.Row(0)) % nLargePage, 0U) << height << " rows";
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(copy.Row(0)) % nLargePage, 0U) << height << " rows, copied";
    }
}

TEST(GreyImage, JpegIsRead)
{
    const TestFolder folder;
    ASSERT_TRUE(cv::imwrite((folder / "a.jpg").string(), cv::Mat(16, 24, CV_8UC1, cv::Scalar(90))));
    const GreyImage image = LoadGreyImage(folder / "a.jpg");
    EXPECT_EQ(image.Width(), 24);
    EXPECT_NEAR(image.Row(8)[12], 90, 1);
}

TEST(GreyImage, RowsArePaddedToFourByTheirLastPixel)
{
    const unsigned char pixels[] = {1, 2, 3, 4, 5, 9, 6, 7, 8, 9, 10, 9};
    const GreyImage image(pixels, 5, 2, 6);
    EXPECT_EQ(image.Stride(), 8);
    EXPECT_EQ(image.Row(0)[7], 5);
    EXPECT_EQ(image.Row(1)[0], 6);
    EXPECT_EQ(image.Row(1)[5], 10);
}

TEST(GreyImage, EqualColourChannelsAreTaken)
{
    const TestFolder folder;
    ASSERT_TRUE(cv::imwrite((folder / "a.png").string(), Merge(GreyRamp(19, 9), 3)));
    ExpectRamp(LoadGreyImage(folder / "a.png"), 19, 9);
}

TEST(GreyImage, ColourIsReadAsItsLumaAndNotedOnce)
{
    const TestFolder folder;
    cv::Mat image = Merge(GreyRamp(19, 9), 3);
    image.at<cv::Vec3b>(4, 11) = {10, 20, 30};
    ASSERT_TRUE(cv::imwrite((folder / "a.png").string(), image));
    ConversionNotes notes;
    const GreyImage grey = LoadGreyImage(folder / "a.png", {}, &notes);
    EXPECT_EQ(grey.Row(4)[11], (30 * 9798 + 20 * 19235 + 10 * 3735 + 16384) >> 15);
    EXPECT_EQ(grey.Row(4)[10], (10 * 7 + 4 * 13) & 255);
    EXPECT_THAT(notes.Take(), testing::ElementsAre(testing::AllOf(HasSubstr("a.png"), HasSubstr("luma"))));
    LoadGreyImage(folder / "a.png", {}, &notes);
    EXPECT_THAT(notes.Take(), testing::IsEmpty());

    ImageReading reading;
    reading.channel = Channel_Red;
    EXPECT_EQ(LoadGreyImage(folder / "a.png", reading).Row(4)[11], 30);
    EXPECT_THAT(NotesOf(folder / "a.png", reading), testing::IsEmpty());
}

TEST(GreyImage, ColoursThatDifferByACountAreGreyWithoutANote)
{
    const TestFolder folder;
    cv::Mat image = Merge(GreyRamp(19, 9), 3);
    image.at<cv::Vec3b>(4, 11)[0] = static_cast<std::uint8_t>(image.at<cv::Vec3b>(4, 11)[1] + 1);
    ASSERT_TRUE(cv::imwrite((folder / "a.png").string(), image));
    EXPECT_THAT(NotesOf(folder / "a.png"), testing::IsEmpty());
    ExpectRamp(LoadGreyImage(folder / "a.png"), 19, 9);
}

TEST(GreyImage, SixteenBitsAreReadOverTheirFullScaleAndNoted)
{
    const TestFolder folder;
    cv::Mat wide(2, 3, CV_16UC1);
    for (int i = 0; i < 6; ++i)
        wide.at<std::uint16_t>(i / 3, i % 3) = static_cast<std::uint16_t>(i * 819);
    for (const char* name : {"a.png", "a.tif"})
    {
        ASSERT_TRUE(cv::imwrite((folder / name).string(), wide));
        EXPECT_EQ(LoadGreyImage(folder / name).Row(1)[2], (4095 * 255 + 32767) / 65535);
        EXPECT_THAT(NotesOf(folder / name),
                    testing::ElementsAre(testing::AllOf(HasSubstr("0 to 4095"), HasSubstr("--levels"))));
        ImageReading reading;
        reading.levelHigh = 4095;
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(LoadGreyImage(folder / name, reading).Row(i / 3)[i % 3], i * 51);
        EXPECT_THAT(NotesOf(folder / name, reading), testing::IsEmpty());
    }
}

TEST(GreyImage, PortableGreymapSaysItsFullScale)
{
    const TestFolder folder;
    std::ofstream(folder / "a.pgm", std::ios::binary) << "P5\n2 1\n4095\n\x0f\xff\x08" << '\0';
    const GreyImage image = LoadGreyImage(folder / "a.pgm");
    EXPECT_EQ(image.Row(0)[0], 255);
    EXPECT_EQ(image.Row(0)[1], (2048 * 255 + 2047) / 4095);
}

TEST(GreyImage, LevelsHoldForEightBitsToo)
{
    const TestFolder folder;
    ASSERT_TRUE(cv::imwrite((folder / "a.png").string(), GreyRamp(37, 21)));
    ImageReading reading;
    reading.levelLow = 100;
    reading.levelHigh = 151;
    const GreyImage image = LoadGreyImage(folder / "a.png", reading);
    for (int y = 0; y < 21; ++y)
        for (int x = 0; x < 37; ++x)
            ASSERT_EQ(image.Row(y)[x], std::clamp((((x * 7 + y * 13) & 255) - 100) * 5, 0, 255));
    EXPECT_EQ(image.Row(3)[37], image.Row(3)[36]);
    reading = {};
    reading.levelLow = 255;
    const Problem problem = RefusalOf(folder / "a.png", reading);
    EXPECT_EQ(problem.field, "image.levels.low");
    EXPECT_EQ(problem.value, "255");
    EXPECT_THAT(problem.allowed, HasSubstr("less than 255"));
}

TEST(GreyImage, MosaicIsReadThroughItsColours)
{
    const TestFolder folder;
    cv::Mat mosaic(8, 8, CV_8UC1, cv::Scalar(30));
    for (int y = 0; y < 8; y += 2)
        for (int x = 1; x < 8; x += 2)
            mosaic.at<std::uint8_t>(y, x) = 200; // red in grbg
    ASSERT_TRUE(cv::imwrite((folder / "a.png").string(), mosaic));
    ImageReading reading;
    reading.bayer = Bayer_Grbg;
    reading.channel = Channel_Red;
    EXPECT_EQ(LoadGreyImage(folder / "a.png", reading).Row(3)[4], 200);
    reading.channel = Channel_Green;
    EXPECT_EQ(LoadGreyImage(folder / "a.png", reading).Row(3)[4], 30);
    reading.channel = Channel_Auto;
    reading.demosaic = Demosaic_Off;
    EXPECT_EQ(LoadGreyImage(folder / "a.png", reading).Row(2)[3], 200);
    EXPECT_EQ(LoadGreyImage(folder / "a.png", reading).Row(3)[3], 30);

    ASSERT_TRUE(cv::imwrite((folder / "b.png").string(), Merge(mosaic, 3)));
    EXPECT_THAT(RefusalOf(folder / "b.png", reading).allowed, HasSubstr("1 channel where image.bayer"));
    reading.demosaic = Demosaic_Bilinear;
    ASSERT_TRUE(cv::imwrite((folder / "c.png").string(), mosaic(cv::Rect(0, 0, 8, 2))));
    EXPECT_THAT(RefusalOf(folder / "c.png", reading).allowed, HasSubstr("sides of 3 pixels"));
    // The size is checked with the colours that the mosaic gets.
    EXPECT_EQ(ProblemsOf([&] { LoadGreyImage(folder / "a.png", reading, nullptr, 64); }).size(), 0U);
}

TEST(GreyImage, FramesWithoutAHeaderAreReadByTheirShape)
{
    const TestFolder folder;
    ImageReading reading;
    reading.rawFormat = RawFormat_Mono12p;
    reading.rawWidth = 5;
    reading.rawHeight = 3;
    reading.rawOffset = 7;
    std::string bytes(7, '\x55');
    for (int i = 0; i < 23; ++i)                                   // 15 pixels of 12 bits, the last half byte empty
        bytes += i % 3 == 0 ? '\xff' : i % 3 == 1 ? '\x0f' : '\0'; // 4095, 0, 4095, 0 ...
    std::ofstream(folder / "a.raw", std::ios::binary) << bytes;
    const GreyImage image = LoadGreyImage(folder / "a.raw", reading);
    ASSERT_EQ(image.Width(), 5);
    ASSERT_EQ(image.Height(), 3);
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(image.Row(i / 5)[i % 5], i % 2 == 0 ? 255 : 0) << i;

    const Problem shorter = [&]
    {
        reading.rawOffset = 8;
        return RefusalOf(folder / "a.raw", reading);
    }();
    EXPECT_EQ(shorter.value, "30 bytes");
    EXPECT_EQ(shorter.allowed, "31 bytes: 5 by 3 pixels of Mono12p behind 8 bytes");
    EXPECT_THAT(ProblemsOf([&] { LoadGreyImage(folder / "a.raw", reading, nullptr, 14); }).front().value,
                HasSubstr("5 by 3 pixels"));
}

TEST(GreyImage, PixelsInMemoryAreTakenInTheOrderRedGreenBlue)
{
    const std::uint16_t pixels[] = {100, 200, 300, 400, 500, 600};
    const PixelBlock block{pixels, 2, 1, 3, 2};
    ImageReading reading;
    reading.levelHigh = 1020;
    reading.channel = Channel_Red;
    EXPECT_EQ(ConvertPixels(block, reading, "image").Row(0)[1], 100);
    reading.channel = Channel_Blue;
    EXPECT_EQ(ConvertPixels(block, reading, "image").Row(0)[0], 75);
}

TEST(GreyImage, ColourIsRefusedWithPlaceAndValueWhereValuesMustStay)
{
    const TestFolder folder;
    cv::Mat image = Merge(GreyRamp(19, 9), 3);
    image.at<cv::Vec3b>(4, 11) = {10, 20, 30};
    ASSERT_TRUE(cv::imwrite((folder / "a.png").string(), image));
    const Problem problem = ExactRefusalOf(folder / "a.png");
    EXPECT_THAT(problem.field, HasSubstr("a.png"));
    EXPECT_EQ(problem.value, "colour (red 30, green 20, blue 10 at column 11, row 4)");
    EXPECT_THAT(problem.allowed, HasSubstr("8-bit grey"));
}

TEST(GreyImage, OpaqueAlphaIsTakenAndTransparencyNoted)
{
    const TestFolder folder;
    cv::Mat image = Merge(GreyRamp(19, 9), 4);
    image.forEach<cv::Vec4b>([](cv::Vec4b& pixel, const int*) { pixel[3] = 255; });
    ASSERT_TRUE(cv::imwrite((folder / "a.png").string(), image));
    ExpectRamp(LoadGreyImage(folder / "a.png"), 19, 9);

    image.at<cv::Vec4b>(2, 3)[3] = 254;
    ASSERT_TRUE(cv::imwrite((folder / "b.png").string(), image));
    EXPECT_THAT(NotesOf(folder / "b.png"), testing::ElementsAre(HasSubstr("transparency is left out")));
    EXPECT_EQ(ExactRefusalOf(folder / "b.png").value, "transparency (alpha 254 at column 3, row 2)");
}

TEST(GreyImage, SixteenBitIsExactOnlyWhereEveryValueIsAMultipleOf257)
{
    const TestFolder folder;
    cv::Mat wide;
    GreyRamp(19, 9).convertTo(wide, CV_16UC1, 257.0);
    ASSERT_TRUE(cv::imwrite((folder / "a.png").string(), wide));
    ExpectRamp(LoadGreyImage(folder / "a.png"), 19, 9);

    wide.at<unsigned short>(5, 6) = 258;
    ASSERT_TRUE(cv::imwrite((folder / "b.png").string(), wide));
    EXPECT_EQ(ExactRefusalOf(folder / "b.png").value, "16-bit value 258 at column 6, row 5");
}

TEST(GreyImage, FloatingPointIsRefused)
{
    const TestFolder folder;
    ASSERT_TRUE(cv::imwrite((folder / "a.tif").string(), cv::Mat(8, 8, CV_32FC1, cv::Scalar(0.5))));
    EXPECT_EQ(RefusalOf(folder / "a.tif").value, "signed or floating-point pixels");
}

TEST(GreyImage, MissingFileIsNamed)
{
    const TestFolder folder;
    const Problem problem = RefusalOf(folder / "nowhere.png");
    EXPECT_THAT(problem.field, HasSubstr("nowhere.png"));
    EXPECT_EQ(problem.value, "no such file");
}

TEST(GreyImage, FileThatIsNoImageIsNamed)
{
    const TestFolder folder;
    std::ofstream(folder / "a.png") << "not an image at all";
    EXPECT_EQ(RefusalOf(folder / "a.png").value, "not an image, or damaged");
    std::ofstream(folder / "empty.png").flush();
    EXPECT_EQ(RefusalOf(folder / "empty.png").value, "not an image, or damaged");
}

TEST(GreyImage, FolderInPlaceOfAFileIsRefused)
{
    const TestFolder folder;
    EXPECT_EQ(RefusalOf(folder.Path()).value, "a folder");
}

TEST(GreyImage, SavedImageReadsBackTheSame)
{
    const TestFolder folder;
    const cv::Mat ramp = GreyRamp(33, 7);
    SaveGreyImage(folder / "a.png", GreyImage(ramp.data, 33, 7, static_cast<std::ptrdiff_t>(ramp.step)));
    ExpectRamp(LoadGreyImage(folder / "a.png"), 33, 7);
}

TEST(GreyImage, UnwritablePlaceAndUnknownEndingAreNamed)
{
    const TestFolder folder;
    const GreyImage image(4, 4, 7);
    EXPECT_THAT(ProblemsOf([&] { SaveGreyImage(folder / "no" / "a.png", image); }), testing::SizeIs(1));
    EXPECT_THAT(ProblemsOf([&] { SaveGreyImage(folder / "a.nothing", image); }), testing::SizeIs(1));
}

} // namespace

} // namespace narvo::test
