// SPDX-License-Identifier: MIT
// Drawing of the overlay with OpenCV.
#include "host/result/overlay.h"

#include <string>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"

namespace narvo
{

namespace
{

constexpr int nFrameMargin = 5; // pixels between a box and its frame
constexpr int nFrameWidth = 2;
constexpr double dTextScale = 0.5;

// Red, green, blue.
const cv::Scalar colourRegion(0, 160, 0);
const cv::Scalar colourDark(0, 220, 255);
const cv::Scalar colourBright(255, 130, 0);
const cv::Scalar colourMissed(255, 0, 255);

void Frame(cv::Mat& picture, const CRect& box, const cv::Scalar& colour, const std::string& text)
{
    const cv::Point from(box.left - nFrameMargin, box.top - nFrameMargin);
    const cv::Point to(box.right - 1 + nFrameMargin, box.bottom - 1 + nFrameMargin);
    cv::rectangle(picture, from, to, colour, nFrameWidth);

    int baseline = 0;
    const cv::Size size = cv::getTextSize(text, cv::FONT_HERSHEY_SIMPLEX, dTextScale, 1, &baseline);
    // Above the frame, or below it at the top of the image; shifted in at the right side.
    cv::Point place(std::max(0, std::min(from.x, picture.cols - size.width)), from.y - 4);
    if (place.y - size.height < 0)
        place.y = to.y + size.height + 5;
    cv::putText(picture, text, place, cv::FONT_HERSHEY_SIMPLEX, dTextScale, cv::Scalar(0, 0, 0), 3, cv::LINE_AA);
    cv::putText(picture, text, place, cv::FONT_HERSHEY_SIMPLEX, dTextScale, colour, 1, cv::LINE_AA);
}

int PlacesOf(int pixels, int factor)
{
    return (pixels + factor - 1) / factor;
}

CRect Reduced(const CRect& box, int factor)
{
    return {box.left / factor, box.top / factor, PlacesOf(box.right, factor), PlacesOf(box.bottom, factor)};
}

InspectionResult Reduced(const InspectionResult& result, int factor)
{
    InspectionResult reduced;
    reduced.region = Reduced(result.region, factor);
    reduced.outlines = result.outlines;
    for (std::vector<CPoint>& outline : reduced.outlines)
        for (CPoint& corner : outline)
            corner = CPoint(corner.x / factor, corner.y / factor);
    reduced.blobs = result.blobs;
    for (Blob& blob : reduced.blobs)
        blob.box = Reduced(blob.box, factor);
    return reduced;
}

/// Means of squares of `factor` pixels.
GreyImage Reduced(const GreyView& image, int factor)
{
    const cv::Mat grey(image.Height(), image.Width(), CV_8UC1, const_cast<std::uint8_t*>(image.Row(0)),
                       static_cast<std::size_t>(image.Stride()));
    GreyImage reduced(PlacesOf(image.Width(), factor), PlacesOf(image.Height(), factor));
    cv::Mat target = ViewOf(reduced);
    cv::resize(grey, target, target.size(), 0.0, 0.0, cv::INTER_AREA);
    reduced.FillUpRows();
    return reduced;
}

} // namespace

void DrawOverlay(std::uint8_t* rgb, const GreyView& image, const InspectionResult& result,
                 const std::vector<CRect>& missed)
{
    const cv::Mat grey(image.Height(), image.Width(), CV_8UC1, const_cast<std::uint8_t*>(image.Row(0)),
                       static_cast<std::size_t>(image.Stride()));
    cv::Mat picture(image.Height(), image.Width(), CV_8UC3, rgb);
    cv::cvtColor(grey, picture, cv::COLOR_GRAY2RGB);
    const CRect& region = result.region;
    if (result.outlines.empty())
        cv::rectangle(picture, {region.left, region.top}, {region.right - 1, region.bottom - 1}, colourRegion, 1);
    for (const std::vector<CPoint>& outline : result.outlines)
    {
        std::vector<cv::Point> corners;
        for (const CPoint& corner : outline)
            corners.emplace_back(corner.x, corner.y);
        cv::polylines(picture, corners, true, colourRegion, 1);
    }
    for (const CRect& box : missed)
        Frame(picture, box, colourMissed, "missed");
    for (const Blob& blob : result.blobs)
        Frame(picture, blob.box, blob.bright ? colourBright : colourDark, std::to_string(blob.number));
}

void SaveColourImage(const std::filesystem::path& file, const std::uint8_t* rgb, int width, int height)
{
    const cv::Mat pixels(height, width, CV_8UC3, const_cast<std::uint8_t*>(rgb));
    cv::Mat picture;
    if (!pixels.empty())
        cv::cvtColor(pixels, picture, cv::COLOR_RGB2BGR);
    SaveImage(file, picture, "a writable place and a name ending in an image format (.png, .tif, .bmp, .ppm)",
              {cv::IMWRITE_PNG_COMPRESSION, 2});
}

void SaveOverlay(const std::filesystem::path& file, const GreyView& image, const InspectionResult& result,
                 const std::vector<CRect>& missed, std::int64_t mostPixels)
{
    int factor = 1;
    while (std::int64_t{PlacesOf(image.Width(), factor)} * PlacesOf(image.Height(), factor) > mostPixels)
        ++factor;
    if (factor > 1)
    {
        std::vector<CRect> boxes;
        for (const CRect& box : missed)
            boxes.push_back(Reduced(box, factor));
        SaveOverlay(file, Reduced(image, factor), Reduced(result, factor), boxes);
        return;
    }
    std::vector<std::uint8_t> rgb(std::size_t{3} * static_cast<std::size_t>(image.Width()) *
                                  static_cast<std::size_t>(image.Height()));
    DrawOverlay(rgb.data(), image, result, missed);
    SaveColourImage(file, rgb.data(), image.Width(), image.Height());
}

} // namespace narvo
