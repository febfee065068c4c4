// SPDX-License-Identifier: MIT
// Sums of whole numbers, so that the order of the frames makes no difference.
#include "host/image/field_mean.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include <opencv2/core.hpp>

#include "host/image/camera_pixels.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

std::string KindText(const cv::Mat& pixels)
{
    return SizeText(pixels.cols, pixels.rows) + ", " + std::to_string(pixels.channels()) + " channels of " +
           std::to_string(8 * pixels.elemSize1()) + " bits";
}

/// Adds a frame; `sums` holds one row or as many as the frame has. @return values at `fullScale`
template <typename T>
std::int64_t AddFrame(const cv::Mat& pixels, int fullScale, bool line, std::vector<std::uint64_t>& sums)
{
    const std::size_t places = static_cast<std::size_t>(pixels.cols) * static_cast<std::size_t>(pixels.channels());
    std::int64_t saturated = 0;
    for (int y = 0; y < pixels.rows; ++y)
    {
        const T* const source = pixels.ptr<T>(y);
        std::uint64_t* const target = sums.data() + (line ? 0 : static_cast<std::size_t>(y) * places);
        for (std::size_t x = 0; x < places; ++x)
        {
            target[x] += source[x];
            saturated += source[x] >= fullScale ? 1 : 0;
        }
    }
    return saturated;
}

} // namespace

MeanField MeanOfFrames(const std::vector<std::filesystem::path>& frames, const ImageReading& reading, bool line)
{
    if (frames.empty())
        throw HostError({{"frames", "none", "one or more"}});
    ImageReading packing; // mosaics stay as they are
    packing.rawFormat = reading.rawFormat;
    packing.rawWidth = reading.rawWidth;
    packing.rawHeight = reading.rawHeight;
    packing.rawOffset = reading.rawOffset;
    MeanField made;
    std::vector<std::uint64_t> sums;
    std::string kind;
    int rows = 0;
    for (const std::filesystem::path& file : frames)
    {
        const CameraPixels frame = LoadCameraPixels(file, packing, MaxImagePixels());
        const cv::Mat& pixels = frame.pixels;
        if (kind.empty())
        {
            if (pixels.channels() != 1 && pixels.channels() != 3)
                throw HostError(
                    {{"image " + file.string(), std::to_string(pixels.channels()) + " channels", "1 or 3 channels"}});
            kind = KindText(pixels);
            rows = pixels.rows;
            made.image = {pixels.cols, line ? 1 : rows, pixels.channels(), static_cast<int>(pixels.elemSize1()), {}};
            sums.resize(static_cast<std::size_t>(made.image.width) * static_cast<std::size_t>(made.image.channels) *
                        static_cast<std::size_t>(made.image.height));
        }
        if (KindText(pixels) != kind)
            throw HostError({{"image " + file.string(), KindText(pixels), kind + ", as the first frame has"}});
        made.saturated += pixels.depth() == CV_8U ? AddFrame<std::uint8_t>(pixels, frame.fullScale, line, sums)
                                                  : AddFrame<std::uint16_t>(pixels, frame.fullScale, line, sums);
    }

    const std::uint64_t count = frames.size() * static_cast<std::uint64_t>(line ? rows : 1);
    const std::uint64_t steps = made.image.bytesPerChannel == 1 ? nFieldSteps : 1;
    std::uint64_t total = 0;
    made.image.bytesPerChannel = 2;
    made.image.pixels.resize(2 * sums.size());
    for (std::size_t i = 0; i < sums.size(); ++i)
    {
        total += sums[i];
        const auto value = static_cast<std::uint16_t>((sums[i] * steps + count / 2) / count);
        std::memcpy(made.image.pixels.data() + 2 * i, &value, sizeof value);
    }
    const auto [low, high] = std::minmax_element(sums.begin(), sums.end());
    const auto frameCount = static_cast<double>(count);
    made.low = static_cast<double>(*low) / frameCount;
    made.high = static_cast<double>(*high) / frameCount;
    made.mean = static_cast<double>(total) / frameCount / static_cast<double>(sums.size());
    return made;
}

} // namespace narvo
