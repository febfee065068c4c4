// SPDX-License-Identifier: MIT
// The overlay: colours of region, blobs and missed boxes, untouched pixels inside the frames, and the file.
#include "host/result/overlay.h"

#include <array>

#include <opencv2/imgcodecs.hpp>

#include "host/pattern_help.h"

namespace narvo::test
{

namespace
{

using Colour = std::array<int, 3>;

constexpr Colour green = {0, 160, 0};
constexpr Colour cyan = {0, 220, 255};
constexpr Colour orange = {255, 130, 0};
constexpr Colour magenta = {255, 0, 255};

/// A picture with the colour of a place.
struct Picture
{
    explicit Picture(const GreyView& image)
        : width(image.Width()), rgb(std::size_t{3} * static_cast<std::size_t>(image.Width() * image.Height()))
    {
    }
    Colour At(int x, int y) const
    {
        const std::uint8_t* pixel = rgb.data() + std::ptrdiff_t{3} * (std::ptrdiff_t{y} * width + x);
        return {pixel[0], pixel[1], pixel[2]};
    }

    int width;
    std::vector<std::uint8_t> rgb;
};

InspectionResult ResultWithBlobs(const CRect& dark, const CRect& bright)
{
    InspectionResult result;
    result.region = CRect(10, 20, 390, 280);
    result.blobs.resize(2);
    result.blobs[0].number = 1;
    result.blobs[0].box = dark;
    result.blobs[1].number = 2;
    result.blobs[1].bright = true;
    result.blobs[1].box = bright;
    return result;
}

TEST(Overlay, FramesRegionBlobsAndMissedBoxesInTheirColours)
{
    const GreyImage image(nWidth, nHeight, 77);
    const InspectionResult result = ResultWithBlobs(CRect(100, 100, 110, 105), CRect(200, 150, 203, 153));
    Picture picture(image);
    DrawOverlay(picture.rgb.data(), image, result, {CRect(300, 200, 310, 210)});
    EXPECT_EQ(picture.At(10, 100), green);
    EXPECT_EQ(picture.At(389, 100), green);
    EXPECT_EQ(picture.At(95, 102), cyan);
    EXPECT_EQ(picture.At(195, 151), orange);
    EXPECT_EQ(picture.At(295, 205), magenta);
    const Colour grey = {77, 77, 77};
    EXPECT_EQ(picture.At(105, 102), grey);
    EXPECT_EQ(picture.At(201, 151), grey);
    EXPECT_EQ(picture.At(350, 30), grey);
}

TEST(Overlay, OutlinesTakeThePlaceOfTheRegionsRectangle)
{
    const GreyImage image(nWidth, nHeight, 77);
    InspectionResult result;
    result.region = CRect(0, 0, nWidth, nHeight);
    result.outlines = {{{50, 50}, {350, 50}, {350, 250}, {50, 250}}};
    Picture picture(image);
    DrawOverlay(picture.rgb.data(), image, result, {});
    EXPECT_EQ(picture.At(50, 150), green);
    EXPECT_NE(picture.At(0, 150), green);
}

TEST(Overlay, BlobsAtAndBeyondTheBordersAreDrawnAsFarAsTheImageGoes)
{
    const GreyImage image(nWidth - 1, nHeight, 77);
    const InspectionResult result =
        ResultWithBlobs(CRect(0, 0, 3, 3), CRect(nWidth - 4, nHeight - 3, nWidth + 50, nHeight + 50));
    Picture picture(image);
    DrawOverlay(picture.rgb.data(), image, result, {});
    EXPECT_EQ(picture.At(7, 2), cyan);
    EXPECT_EQ(picture.At(nWidth - 9, nHeight - 1), orange);
}

TEST(Overlay, FileHoldsThePictureAndAnUnwritablePlaceIsNamed)
{
    const TestFolder folder;
    const GreyImage image(nWidth - 1, nHeight, 77);
    const InspectionResult result = ResultWithBlobs(CRect(100, 100, 110, 105), CRect(200, 150, 203, 153));
    Picture picture(image);
    DrawOverlay(picture.rgb.data(), image, result, {});
    SaveOverlay(folder / "a.png", image, result, {});
    const cv::Mat read = cv::imread((folder / "a.png").string(), cv::IMREAD_COLOR);
    ASSERT_EQ(read.cols, nWidth - 1);
    ASSERT_EQ(read.rows, nHeight);
    for (int y = 0; y < nHeight; ++y)
        for (int x = 0; x < nWidth - 1; ++x)
        {
            const auto& bgr = read.at<cv::Vec3b>(y, x);
            ASSERT_EQ((Colour{bgr[2], bgr[1], bgr[0]}), picture.At(x, y)) << x << ", " << y;
        }
    // Reduced by three: 134 by 100 pixels are the first that are fewer than 20000.
    SaveOverlay(folder / "small.png", image, result, {CRect(300, 200, 310, 210)}, 20000);
    const cv::Mat small = cv::imread((folder / "small.png").string(), cv::IMREAD_COLOR);
    EXPECT_EQ(small.size(), cv::Size((nWidth - 1 + 2) / 3, nHeight / 3));
    const auto at = [&](int x, int y)
    {
        const auto& bgr = small.at<cv::Vec3b>(y, x);
        return Colour{bgr[2], bgr[1], bgr[0]};
    };
    EXPECT_EQ(at(33 - 5, 34), cyan) << "frames are drawn at their usual distance";
    EXPECT_EQ(at(66 - 5, 50), orange);
    EXPECT_EQ(at(100 - 5, 68), magenta);
    EXPECT_EQ(at(10 / 3, 40), green);
    EXPECT_EQ(at(34, 34), (Colour{77, 77, 77}));
    EXPECT_THAT(ProblemsOf([&] { SaveOverlay(folder / "none" / "a.png", image, result, {}); }), testing::SizeIs(1));
    EXPECT_THAT(ProblemsOf([&] { SaveOverlay(folder / "a.nonsense", image, result, {}); }), testing::SizeIs(1));
}

} // namespace

} // namespace narvo::test
