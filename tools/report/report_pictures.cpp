// SPDX-License-Identifier: MIT
// Crops and their colours.
#include "tools/report/report_pictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include <opencv2/imgproc.hpp>

#include "tools/page/embedded_jpeg.h"

namespace narvo::tools
{

namespace
{

constexpr int nSheetQuality = 85;
constexpr int nLeastFullColour = 32; // grey levels of difference that take the full colour at the least

/// The square round a defect that is cut out; it may reach beyond the image.
cv::Rect CropOf(const CRect& box)
{
    const int longest = std::max(box.Width(), box.Height());
    const int side = std::max<int>(ThumbnailSheet::nCell, longest + longest / 4);
    return {(box.left + box.right - side) / 2, (box.top + box.bottom - side) / 2, side, side};
}

/// Black where nothing differs, towards orange where the image is the brighter, towards blue where it is the darker.
cv::Vec3b ColourOf(int difference, int full)
{
    const double share = std::min(1.0, std::abs(difference) / static_cast<double>(full));
    const std::array<double, 3> end =
        difference > 0 ? std::array<double, 3>{40, 150, 255} : std::array<double, 3>{255, 170, 30};
    const double curved = std::pow(share, 0.8);
    cv::Vec3b colour;
    for (int i = 0; i < 3; ++i)
        colour[i] = static_cast<std::uint8_t>(std::lround(12.0 + (end[static_cast<std::size_t>(i)] - 12.0) * curved));
    return colour;
}

struct Compared
{
    int reference;
    int difference;
};

/// What the engine compared a pixel of a defect with. The last band is seen from the pixel one distance before it,
/// with the roles exchanged; so is what lies behind the scan.
Compared CompareOf(const CKernelTrace& probe, int x, int y, bool lastBand)
{
    const int units = probe.Properties().nUnits;
    if (!lastBand)
        if (const CPixelTrace pixel = probe.Compare(x, y, false); pixel.bCompared)
            return {pixel.nCmp / units, pixel.Difference() / units};
    const int hop = probe.Properties().nHop;
    const CPixelTrace before =
        probe.Properties().bHorizontal ? probe.Compare(x - hop, y, false) : probe.Compare(x, y - hop, false);
    return before.bCompared ? Compared{before.nSrc / units, -before.Difference() / units} : Compared{-1, 0};
}

} // namespace

int ThumbnailSheet::Add(const GreyImage& image, const Against& against, const Blob& blob)
{
    const cv::Rect crop = CropOf(blob.box);
    std::array<cv::Mat, 3> cells;
    for (cv::Mat& cell : cells)
        cell = cv::Mat(crop.height, crop.width, CV_8UC3, cv::Scalar::all(12));
    const int full = std::max({nLeastFullColour, blob.maxDifference, blob.peak});
    for (int row = 0; row < crop.height; ++row)
        for (int column = 0; column < crop.width; ++column)
        {
            const int x = crop.x + column;
            const int y = crop.y + row;
            if (x < 0 || y < 0 || x >= image.Width() || y >= image.Height())
                continue;
            cells[0].at<cv::Vec3b>(row, column) = cv::Vec3b::all(image.Row(y)[x]);
            if (m_parts < 3 || (against.probe == nullptr && against.reference == nullptr))
                continue;
            const int grey = image.Row(y)[x];
            const Compared compared = against.probe != nullptr
                                          ? CompareOf(*against.probe, x, y, blob.band == DefectPos_Last)
                                          : Compared{against.reference->Row(y)[x], grey - against.reference->Row(y)[x]};
            if (compared.reference < 0)
                continue;
            cells[1].at<cv::Vec3b>(row, column) =
                cv::Vec3b::all(static_cast<std::uint8_t>(std::min(compared.reference, 255)));
            cells[2].at<cv::Vec3b>(row, column) = ColourOf(compared.difference, full);
        }
    for (int part = 0; part < m_parts; ++part)
    {
        cv::Mat& cell = cells[static_cast<std::size_t>(part)];
        if (crop.width != nCell)
            cv::resize(cell, cell, cv::Size(nCell, nCell), 0, 0, cv::INTER_AREA);
        m_cells.push_back(cell);
    }
    return m_count++;
}

std::string ThumbnailSheet::Encode() const
{
    const int cells = static_cast<int>(m_cells.size());
    const int rows = (cells + nColumns - 1) / nColumns;
    cv::Mat sheet(std::max(rows, 1) * nCell, nColumns * nCell, CV_8UC3, cv::Scalar::all(12));
    for (int i = 0; i < cells; ++i)
        m_cells[static_cast<std::size_t>(i)].copyTo(
            sheet(cv::Rect(i % nColumns * nCell, i / nColumns * nCell, nCell, nCell)));
    return EncodeJpeg(sheet, nSheetQuality);
}

} // namespace narvo::tools
