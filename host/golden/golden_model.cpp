// SPDX-License-Identifier: MIT
// Mean and range of registered references.
#include "host/golden/golden_model.h"

#include <algorithm>
#include <cmath>
#include <string>

#include <opencv2/imgproc.hpp>

#include "host/golden/light_fit.h"
#include "host/image/cv_image.h"

namespace narvo
{

namespace
{

constexpr int nContrast = 40;       // grey levels by which an edge stands out from what is around it
constexpr int nNarrowContrast = 20; // grey levels by which a track or a gap does
constexpr int nEdgeReach = 8;       // pixels: as far as a block of a compressed file reaches

const GoldenSettings& Checked(const std::vector<GreyImage>& references, const GoldenSettings& settings)
{
    std::vector<Problem> found = CheckGoldenSettings(settings);
    if (references.empty() || references.size() > static_cast<std::size_t>(nReferenceHigh))
        found.push_back({"references", std::to_string(references.size()) + " images",
                         "1 to " + std::to_string(nReferenceHigh) + " images"});
    ThrowIfAny(std::move(found));
    return settings;
}

/// Where the first reference's pixels lie in a further one. Problems name the further one.
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
    const auto check = [&](const char* field, int value, int low, int high, const char* unit)
    {
        if (value < low || value > high)
            found.push_back({field, std::to_string(value), std::to_string(low) + " to " + std::to_string(high) + unit});
    };
    check("threshold", settings.threshold, 0, nGoldenThresholdHigh, " grey levels, 0 for what the noise asks for");
    check("min_pixels", settings.minPixels, 1, nMinPixelsHigh, " pixels");
    check("max_blobs", settings.maxBlobs, 1, nMaxBlobsHigh, "");
    return found;
}

GoldenModel::GoldenModel(const std::vector<GreyImage>& references, const GoldenSettings& settings,
                         const OnReference& progress)
    : m_settings(Checked(references, settings))
{
    const bool coloured = std::all_of(references.begin(), references.end(),
                                      [](const GreyImage& reference) { return reference.Channels() != nullptr; });
    const std::size_t channels = coloured ? references.front().Channels()->size() : 0;
    const auto part = [&](std::size_t before)
    {
        return [&progress, before, parts = channels + 1](std::size_t done, std::size_t total)
        {
            if (progress)
                progress(before * total + done, parts * total);
        };
    };
    AddReferences(references, part(0));
    for (std::size_t channel = 0; channel < channels; ++channel)
    {
        std::vector<GreyImage> planes;
        for (const GreyImage& reference : references)
            planes.push_back((*reference.Channels())[channel]);
        m_channels.emplace_back(planes, settings, part(channel + 1));
    }
}

void GoldenModel::AddReferences(const std::vector<GreyImage>& references, const OnReference& progress)
{
    const GreyImage& first = references.front();
    CheckRegistrable("reference", first);
    GreyRange range{first, first};
    if (references.size() == 1)
    {
        m_mean = GreyImage(first.Row(0), first.Width(), first.Height(), first.Stride()); // channels have models
        Finish(range);
        return;
    }
    cv::Mat sum;
    ViewOf(first).convertTo(sum, CV_32F);
    cv::Mat darkest = ViewOf(range.darkest);
    cv::Mat brightest = ViewOf(range.brightest);
    cv::Mat count = cv::Mat::ones(sum.size(), CV_32F);
    for (std::size_t i = 1; i < references.size(); ++i)
    {
        progress(i - 1, references.size() - 1);
        const Registration registration = RegisterReference(references, i, m_settings.registration);
        GreyImage warped = WarpToImage(references[i], registration, first.Width(), first.Height());
        const GreyImage inside = InsideReference(registration, first.Width(), first.Height(),
                                                 {0, 0, references[i].Width(), references[i].Height()});
        const Light light = FitLight(warped, first, inside);
        light.Apply(warped);
        const cv::Mat mask = ViewOf(inside);
        cv::accumulate(ViewOf(warped), sum, mask);
        cv::add(count, 1.0, count, mask);
        cv::Mat(cv::min(darkest, ViewOf(warped))).copyTo(darkest, mask);
        cv::Mat(cv::max(brightest, ViewOf(warped))).copyTo(brightest, mask);
        m_registrations.push_back(registration);
    }
    cv::divide(sum, count, sum);
    cv::Mat mean;
    sum.convertTo(mean, CV_8U);
    m_mean = ImageOf(mean);
    Finish(range);
}

void GoldenModel::Finish(const GreyRange& range)
{
    m_range = WidenRange(range, m_mean, m_settings.edgeTolerance, nNarrowContrast);
    m_nearEdge = NearEdges(m_mean, nEdgeReach, nContrast);
}

GreyImage GoldenModel::Tolerance() const
{
    const cv::Mat mean = ViewOf(m_mean);
    cv::Mat below;
    cv::Mat above;
    cv::subtract(mean, ViewOf(m_range.darkest), below);
    cv::subtract(ViewOf(m_range.brightest), mean, above);
    return ImageOf(cv::max(below, above));
}

} // namespace narvo
