// SPDX-License-Identifier: MIT
// Files are read one by one and only looked at: how large their values are, and whether they have colours.
#include "host/image/reading_choice.h"

#include <algorithm>
#include <bit>

#include <opencv2/imgproc.hpp>

#include "host/counted.h"
#include "host/image/camera_pixels.h"
#include "host/image/colour.h"

namespace narvo
{

namespace
{

int LargestValue(const cv::Mat& pixels)
{
    cv::Mat colours = pixels;
    if (pixels.channels() == 4)
        cv::cvtColor(pixels, colours, cv::COLOR_BGRA2BGR); // alpha is full where an image is opaque
    double largest = 0.0;
    cv::minMaxLoc(colours.reshape(1), nullptr, &largest);
    return static_cast<int>(largest);
}

/// The largest value of as many bits as `value` takes, 8 or more.
int FullScaleFor(int value)
{
    return std::max(255, static_cast<int>(std::bit_ceil(static_cast<unsigned>(value) + 1)) - 1);
}

} // namespace

ReadingChoice ChooseReadings(const std::vector<std::filesystem::path>& files, const ImageReading& reading)
{
    bool levels = reading.levelLow == 0 && reading.levelHigh == 0 && !files.empty();
    bool colours = false;
    int largest = 0;
    for (const std::filesystem::path& file : files)
    {
        const bool decides = levels || (reading.channel == Channel_Auto && !colours);
        if (!decides)
            break;
        const bool bare = reading.rawFormat == RawFormat_None && reading.bayer == Bayer_None;
        if (bare && ReadAllowedHeader(file, reading, MaxImagePixels()).bytesPerPixel == 1)
        {
            levels = false; // 8-bit grey, as the header says: there is nothing to look at
            continue;
        }
        const CameraPixels loaded = LoadCameraPixels(file, reading, MaxImagePixels());
        colours = colours || reading.bayer != Bayer_None || IsColoured(loaded.pixels);
        if (loaded.pixels.depth() != CV_8U)
            largest = std::max(largest, LargestValue(loaded.pixels));
        levels = levels && loaded.pixels.depth() != CV_8U && FullScaleFor(largest) < loaded.fullScale;
    }

    ReadingChoice choice{{reading}, {}};
    if (levels)
    {
        choice.readings.front().levelHigh = FullScaleFor(largest);
        choice.reason = "Values of " + Counted(files.size(), "image") + " reach " + std::to_string(largest) +
                        ": they are read over 0 to " + std::to_string(FullScaleFor(largest)) +
                        ", which the recipe keeps.";
    }
    const bool mosaic = reading.bayer != Bayer_None && reading.demosaic == Demosaic_Off;
    if (reading.channel == Channel_Auto && colours && !mosaic)
    {
        const ImageReading common = choice.readings.front();
        choice.readings.clear();
        for (const Channel channel : {Channel_Luma, Channel_Red, Channel_Green, Channel_Blue, Channel_Each})
            choice.readings.emplace_back(common).channel = channel;
    }
    return choice;
}

} // namespace narvo
