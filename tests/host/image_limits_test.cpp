// SPDX-License-Identifier: MIT
// Image files by their headers: sizes without decoding, and what is refused for its size or for what would be lost.
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "host/host_test_help.h"
#include "host/image/grey_image.h"
#include "host/image/image_header.h"
#include "host/limits.h"

namespace narvo::test
{

namespace
{

std::string Big32(std::uint32_t value)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(value >> static_cast<unsigned>(shift) & 255U);
    return bytes;
}

std::string Little(std::uint32_t value, int bytes)
{
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> static_cast<unsigned>(8 * i) & 255U);
    return text;
}

/// The beginning of a PNG, without a pixel: whoever decodes it finds a damaged file.
void WritePngHeader(const std::filesystem::path& file, std::uint32_t width, std::uint32_t height, char bits = 8,
                    char colour = 0)
{
    std::ofstream(file, std::ios::binary)
        << "\x89PNG\r\n\x1a\n"
        << Big32(13) << "IHDR" << Big32(width) << Big32(height) << bits << colour << std::string(3, '\0') << Big32(0);
}

/// A TIFF of 2 by 2 pixels with a directory for each of the sub-file types.
void WriteTiff(const std::filesystem::path& file, const std::vector<std::uint32_t>& types)
{
    constexpr std::uint32_t nEntries = 10;
    constexpr std::uint32_t nDirectory = 2 + nEntries * 12 + 4;
    std::string text = "II*" + std::string(1, '\0') + Little(12, 4) + "abcd";
    for (std::size_t i = 0; i < types.size(); ++i)
    {
        const auto entry = [](std::uint32_t tag, std::uint32_t value)
        { return Little(tag, 2) + Little(4, 2) + Little(1, 4) + Little(value, 4); };
        text += Little(nEntries, 2) + entry(254, types[i]) + entry(256, 2) + entry(257, 2) + entry(258, 8) +
                entry(259, 1) + entry(262, 1) + entry(273, 8) + entry(277, 1) + entry(278, 2) + entry(279, 4) +
                Little(i + 1 < types.size() ? 12 + static_cast<std::uint32_t>(i + 1) * nDirectory : 0, 4);
    }
    std::ofstream(file, std::ios::binary) << text;
}

std::vector<Problem> ProblemsOfFile(const std::filesystem::path& file, std::int64_t limit = nDefaultMaxPixels)
{
    return ProblemsOf([&] { LoadGreyImage(file, {}, nullptr, limit); });
}

TEST(ImageLimits, HeadersTellWhatDecodersFind)
{
    const TestFolder folder;
    for (const char* name : {"a.png", "a.tif", "a.bmp", "a.pgm", "a.jpg", "a.ppm"})
        for (const int type : {CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3})
        {
            const bool deep = CV_MAT_DEPTH(type) == CV_16U;
            const std::string ending = std::filesystem::path(name).extension();
            if ((deep && (ending == ".bmp" || ending == ".jpg")) || (ending == ".pgm" && CV_MAT_CN(type) != 1) ||
                (ending == ".ppm" && CV_MAT_CN(type) != 3))
                continue;
            SCOPED_TRACE(std::string(name) + " " + std::to_string(type));
            ASSERT_TRUE(cv::imwrite((folder / name).string(), cv::Mat(21, 37, type, cv::Scalar::all(7))));
            const cv::Mat read = cv::imread((folder / name).string(), cv::IMREAD_UNCHANGED);
            const auto header = ReadImageHeader(folder / name);
            ASSERT_TRUE(header);
            EXPECT_EQ(header->width, 37);
            EXPECT_EQ(header->height, 21);
            EXPECT_EQ(header->pages, 1);
            // No less than the decoder takes; palettes may turn out grey.
            EXPECT_GE(header->bytesPerPixel, static_cast<int>(read.elemSize()));
            EXPECT_LE(header->bytesPerPixel, static_cast<int>(read.elemSize()) + 2);
        }
}

TEST(ImageLimits, OtherHeadersThatDecodersTake)
{
    const TestFolder folder;
    std::ofstream(folder / "a.pgm") << "P5 # size follows\n# 1 2\n 3\t2\n255\nabcdef";
    EXPECT_EQ(LoadGreyImage(folder / "a.pgm").Row(1)[2], 'f');
    std::ofstream(folder / "b.pgm") << "P2\n2 1\n255\n7 9\n";
    EXPECT_EQ(LoadGreyImage(folder / "b.pgm").Row(0)[1], 9);
    WriteTiff(folder / "a.tif", {0});
    EXPECT_EQ(LoadGreyImage(folder / "a.tif").Row(1)[1], 'd');
}

TEST(ImageLimits, TooLargeImagesAreRefusedByTheirHeader)
{
    const TestFolder folder;
    const std::string most = "at most 268435456 pixels, unless max-pixels allows more";
    WritePngHeader(folder / "a.png", 20000, 20000);
    const std::string field = "image " + (folder / "a.png").string();
    EXPECT_THAT(ProblemsOfFile(folder / "a.png"),
                testing::ElementsAre(IsProblem(field, "20000 by 20000 pixels", most)));
    // Where it is allowed the decoder sees it, and finds the end of the file.
    EXPECT_THAT(ProblemsOfFile(folder / "a.png", 400000000),
                testing::ElementsAre(
                    IsProblem(field, "not an image, or damaged", "an image file (PNG, TIFF, BMP, PGM, JPEG)")));

    WritePngHeader(folder / "a.png", 2000000, 4);
    EXPECT_THAT(ProblemsOfFile(folder / "a.png"),
                testing::ElementsAre(IsProblem(field, "2000000 by 4 pixels", "sides of at most 1048576 pixels")));
    WritePngHeader(folder / "a.png", 16384, 16384, 16, 6);
    EXPECT_THAT(ProblemsOfFile(folder / "a.png"),
                testing::ElementsAre(IsProblem(field, "16384 by 16384 pixels of 8 bytes each",
                                               "at most 1073741824 bytes, unless max-pixels allows more")));
    WritePngHeader(folder / "a.png", 0, 7);
    EXPECT_EQ(ProblemsOfFile(folder / "a.png").at(0).value, "0 by 7 pixels");

    std::ofstream(folder / "a.pgm") << "P5\n40000 30000\n255\n";
    EXPECT_EQ(ProblemsOfFile(folder / "a.pgm").at(0).value, "40000 by 30000 pixels");
    std::ofstream(folder / "a.jpg", std::ios::binary) << "\xff\xd8\xff\xe0" << Big32(0x00040102) << "\xff\xc0"
                                                      << std::string("\0\x0b\x08", 3) << Big32(0x8000c000) << "\x01";
    EXPECT_EQ(ProblemsOfFile(folder / "a.jpg").at(0).value, "49152 by 32768 pixels");
    std::ofstream(folder / "a.bmp", std::ios::binary)
        << "BM" << std::string(12, '\0') << Little(40, 4) << Little(30000, 4) << Little(0U - 20000U, 4) << Little(1, 2)
        << Little(8, 2) << std::string(40, '\0');
    EXPECT_EQ(ProblemsOfFile(folder / "a.bmp").at(0).value, "30000 by 20000 pixels");
}

TEST(ImageLimits, LimitHoldsForFilesThatAreWhole)
{
    const TestFolder folder;
    ASSERT_TRUE(cv::imwrite((folder / "a.png").string(), cv::Mat(20, 10, CV_8UC1, cv::Scalar(7))));
    EXPECT_EQ(ProblemsOfFile(folder / "a.png", 199).at(0).value, "10 by 20 pixels");
    EXPECT_EQ(LoadGreyImage(folder / "a.png", {}, nullptr, 200).Width(), 10);
    SetMaxImagePixels(199);
    EXPECT_THAT(ProblemsOf([&] { LoadGreyImage(folder / "a.png"); }), testing::SizeIs(1));
    SetMaxImagePixels(nDefaultMaxPixels);
    EXPECT_EQ(LoadGreyImage(folder / "a.png").Width(), 10);
    for (const std::int64_t wrong : {std::int64_t{0}, std::int64_t{-1}, nHighestMaxPixels + 1})
        EXPECT_THAT(ProblemsOf([&] { SetMaxImagePixels(wrong); }),
                    testing::ElementsAre(IsProblem("max_pixels", std::to_string(wrong), "1 to 1073741824")));
}

TEST(ImageLimits, FilesThatHoldLessThanTheirPixelsAreRefused)
{
    const TestFolder folder;
    // Noise, so that no end of the file is a few bytes of nothing.
    cv::Mat noise(120, 200, CV_8UC1);
    cv::randu(noise, cv::Scalar(0), cv::Scalar(256));
    for (const auto& [name, options] :
         std::vector<std::pair<const char*, std::vector<int>>>{{"a.jpg", {}},
                                                               {"b.jpg", {cv::IMWRITE_JPEG_PROGRESSIVE, 1}},
                                                               {"a.tif", {}},
                                                               {"b.tif", {cv::IMWRITE_TIFF_COMPRESSION, 1}},
                                                               {"c.tif", {cv::IMWRITE_TIFF_COMPRESSION, 8}}})
    {
        SCOPED_TRACE(name);
        const std::filesystem::path file = folder / name;
        ASSERT_TRUE(cv::imwrite(file.string(), noise, options));
        EXPECT_THAT(ProblemsOfFile(file), testing::IsEmpty());
        std::ifstream stream(file, std::ios::binary);
        const std::string whole{std::istreambuf_iterator<char>(stream), {}};
        for (const std::size_t share : {2U, 5U, 9U})
        {
            std::ofstream(file, std::ios::binary) << whole.substr(0, whole.size() * share / 10);
            EXPECT_THAT(ProblemsOfFile(file), testing::SizeIs(1)) << share;
        }
        std::ofstream(file, std::ios::binary) << whole.substr(0, whole.size() - 2);
        EXPECT_THAT(ProblemsOfFile(file), testing::SizeIs(1));
        // What stands behind the pixels does not matter.
        std::ofstream(file, std::ios::binary) << whole << "and more";
        EXPECT_THAT(ProblemsOfFile(file), testing::IsEmpty());
    }
    WriteTiff(folder / "d.tif", {0});
    std::fstream(folder / "d.tif", std::ios::binary | std::ios::in | std::ios::out).seekp(12 + 2 + 6 * 12 + 8)
        << Little(4000, 4); // the strip's place, behind the file's end
    EXPECT_THAT(ProblemsOfFile(folder / "d.tif"),
                testing::ElementsAre(
                    IsProblem("image " + (folder / "d.tif").string(), "less than its 2 by 2 pixels", "a whole file")));
}

TEST(ImageLimits, FurtherPagesAreRefusedAndReducedCopiesAreNot)
{
    const TestFolder folder;
    WriteTiff(folder / "a.tif", {2, 2, 2});
    EXPECT_THAT(ProblemsOfFile(folder / "a.tif"), testing::ElementsAre(IsProblem("image " + (folder / "a.tif").string(),
                                                                                 "3 pages", "a file of one page")));
    WriteTiff(folder / "a.tif", {0, 1, 1});
    EXPECT_EQ(LoadGreyImage(folder / "a.tif").Width(), 2);
}

TEST(ImageLimits, HeadersThatEndEarlyAreNone)
{
    const TestFolder folder;
    WritePngHeader(folder / "a.png", 40, 30);
    ASSERT_TRUE(cv::imwrite((folder / "a.jpg").string(), cv::Mat(20, 10, CV_8UC1, cv::Scalar(7))));
    WriteTiff(folder / "a.tif", {0});
    for (const char* name : {"a.png", "a.jpg", "a.tif"})
    {
        std::string whole;
        std::ifstream stream(folder / name, std::ios::binary);
        whole.assign(std::istreambuf_iterator<char>(stream), {});
        for (std::size_t length = 0; length < std::min<std::size_t>(whole.size(), 26); ++length)
        {
            std::ofstream(folder / "cut", std::ios::binary) << whole.substr(0, length);
            EXPECT_FALSE(ReadImageHeader(folder / "cut")) << name << " " << length;
        }
    }
}

} // namespace

} // namespace narvo::test
