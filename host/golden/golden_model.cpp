// Mean and spread of registered references.
#include "host/golden/golden_model.h"

#include <algorithm>
#include <cmath>
#include <string>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"

namespace narvo
{

namespace
{

/// All pixels whose centres lie within `radius` of the middle one.
cv::Mat Disk(double radius)
{
    const int reach = static_cast<int>(radius);
    cv::Mat disk = cv::Mat::zeros(2 * reach + 1, 2 * reach + 1, CV_8UC1);
    for (int y = -reach; y <= reach; ++y)
        for (int x = -reach; x <= reach; ++x)
            if (x * x + y * y <= radius * radius)
                disk.at<std::uint8_t>(y + reach, x + reach) = 1;
    return disk;
}

const GoldenSettings& Checked(const std::vector<GreyImage>& references, const GoldenSettings& settings)
{
    std::vector<Problem> found = CheckGoldenSettings(settings);
    if (references.empty() || references.size() > static_cast<std::size_t>(nReferenceHigh))
        found.push_back({"references", std::to_string(references.size()) + " images",
                         "1 to " + std::to_string(nReferenceHigh) + " images"});
    ThrowIfAny(std::move(found));
    return settings;
}

/// Where the first reference's pixels lie in a further one. What is wrong is told of the further one.
Registration RegisterReference(const std::vector<GreyImage>& references, std::size_t index,
                               const RegistrationSettings& settings)
{
    try
    {
        return RegisterImage(references[index], references.front(), settings);
    }
    catch (const HostError& error)
    {
        std::vector<Problem> found = error.Problems();
        for (Problem& problem : found)
            if (problem.field == "image" || problem.field == "reference")
                problem.field = "reference " + std::to_string(index + 1);
        throw HostError(std::move(found));
    }
}

} // namespace

std::vector<Problem> CheckGoldenSettings(const GoldenSettings& settings)
{
    std::vector<Problem> found = CheckRegistrationSettings(settings.registration);
    if (!(settings.edgeTolerance >= 0.0 && settings.edgeTolerance <= dEdgeToleranceHigh))
        found.push_back({"edge_tolerance", FormatNumber(settings.edgeTolerance),
                         "0 to " + FormatNumber(dEdgeToleranceHigh) + " pixels"});
    const auto check = [&](const char* field, int value, int high, const char* unit)
    {
        if (value < 1 || value > high)
            found.push_back({field, std::to_string(value), "1 to " + std::to_string(high) + unit});
    };
    check("threshold", settings.threshold, nGoldenThresholdHigh, " grey levels");
    check("min_pixels", settings.minPixels, nMinPixelsHigh, " pixels");
    check("max_blobs", settings.maxBlobs, nMaxBlobsHigh, "");
    return found;
}

GoldenModel::GoldenModel(const std::vector<GreyImage>& references, const GoldenSettings& settings)
    : m_settings(Checked(references, settings))
{
    const GreyImage& first = references.front();
    CheckRegistrable("reference", first);
    cv::Mat mean;
    ViewOf(first).convertTo(mean, CV_32F);
    cv::Mat darkest = ViewOf(first).clone();
    cv::Mat brightest = darkest.clone();
    cv::Mat count = cv::Mat::ones(mean.size(), CV_32F);
    for (std::size_t i = 1; i < references.size(); ++i)
    {
        const Registration registration = RegisterReference(references, i, settings.registration);
        const GreyImage warped = WarpToImage(references[i], registration, first.Width(), first.Height());
        const GreyImage inside = InsideReference(registration, first.Width(), first.Height(),
                                                 {0, 0, references[i].Width(), references[i].Height()});
        const cv::Mat mask = ViewOf(inside);
        cv::accumulate(ViewOf(warped), mean, mask);
        cv::add(count, 1.0, count, mask);
        cv::Mat(cv::min(darkest, ViewOf(warped))).copyTo(darkest, mask);
        cv::Mat(cv::max(brightest, ViewOf(warped))).copyTo(brightest, mask);
        m_registrations.push_back(registration);
    }
    cv::divide(mean, count, mean);
    cv::Mat rounded;
    mean.convertTo(rounded, CV_8U);
    m_mean = ImageOf(rounded);

    // The border repeats, as if the pattern went on there.
    const cv::Mat disk = Disk(settings.edgeTolerance);
    cv::erode(darkest, darkest, disk, {-1, -1}, 1, cv::BORDER_REPLICATE);
    cv::dilate(brightest, brightest, disk, {-1, -1}, 1, cv::BORDER_REPLICATE);
    cv::Mat below;
    cv::Mat above;
    cv::subtract(rounded, darkest, below);
    cv::subtract(brightest, rounded, above);
    m_tolerance = ImageOf(cv::max(below, above));
}

} // namespace narvo
