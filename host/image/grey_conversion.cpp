// SPDX-License-Identifier: MIT
// The steps in their order: fields, mosaic, channel, levels; and what each of them loses.
#include "host/image/grey_conversion.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "host/image/colour.h"
#include "host/image/cv_image.h"
#include "host/image/field_correction.h"
#include "host/image/levels.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

void CheckPixels(const cv::Mat& pixels, int low, int high, const ImageReading& reading, const std::string& name)
{
    std::vector<Problem> found;
    if (pixels.channels() == 2 || pixels.channels() > 4)
        found.push_back({name, std::to_string(pixels.channels()) + " channels", "1, 3 or 4 channels"});
    if (reading.bayer != Bayer_None && pixels.channels() != 1)
        found.push_back(
            {name, std::to_string(pixels.channels()) + " channels", "1 channel where image.bayer names a mosaic"});
    if (reading.bayer != Bayer_None && std::min(pixels.cols, pixels.rows) < nMosaicSideLow)
        found.push_back(
            {name, std::to_string(pixels.cols) + " by " + std::to_string(pixels.rows) + " pixels",
             "sides of " + std::to_string(nMosaicSideLow) + " pixels or more where image.bayer names a mosaic"});
    if (low >= high)
        found.push_back({"image.levels.low", std::to_string(low),
                         "less than " + std::to_string(high) + ", the largest value of a pixel of " + name});
    ThrowIfAny(std::move(found));
}

void NoteDepth(const cv::Mat& values, int low, int high, const std::string& name, ConversionNotes& notes)
{
    if (!notes.Wants(Loss_Depth) || IsExact(values, low, high))
        return;
    double least = 0.0;
    double most = 0.0;
    cv::minMaxLoc(values, &least, &most);
    notes.Add(Loss_Depth, name + ": values from " + FormatNumber(least) + " to " + FormatNumber(most) +
                              " are read as 8-bit grey over " + std::to_string(low) + " to " + std::to_string(high) +
                              "; image.levels of the recipe, or --levels, chooses other ends");
}

GreyImage LevelledImage(const cv::Mat& values, int low, int high)
{
    GreyImage image(values.cols, values.rows);
    cv::Mat grey = ViewOf(image);
    ApplyLevels(values, low, high, grey);
    image.FillUpRows();
    return image;
}

} // namespace

GreyImage ConvertToGrey(const cv::Mat& pixels, int fullScale, const ImageReading& reading, const std::string& name,
                        ConversionNotes* notes)
{
    const int low = reading.levelLow;
    const int high = reading.levelHigh != 0 ? reading.levelHigh : fullScale;
    CheckPixels(pixels, low, high, reading, name);
    const cv::Mat corrected =
        reading.fields.IsEmpty() ? pixels : CorrectFields(pixels, fullScale, reading.fields.Tables(), name, notes);
    const bool mosaic = reading.bayer != Bayer_None && reading.demosaic != Demosaic_Off;
    const cv::Mat colours = mosaic ? ColoursOfMosaic(corrected, reading) : corrected;

    GreyImage image(pixels.cols, pixels.rows);
    if (reading.channel == Channel_Mixture)
    {
        cv::Mat grey = ViewOf(image);
        MixChannels(colours, reading, low, high, grey);
    }
    else
    {
        const cv::Mat values = ChannelOf(colours, reading);
        image = LevelledImage(values, low, high);
        if (notes != nullptr && reading.levelLow == 0 && reading.levelHigh == 0 && values.depth() != CV_8U)
            NoteDepth(values, low, high, name, *notes);
    }
    image.FillUpRows();
    // A grey image has the same value in every channel: one inspection says all.
    if (reading.channel == Channel_Each && colours.channels() >= 3)
    {
        std::vector<GreyImage> channels;
        for (const Channel channel : inspectedChannels)
        {
            ImageReading one = reading;
            one.channel = channel;
            channels.push_back(LevelledImage(ChannelOf(colours, one), low, high));
        }
        image.SetChannels(std::move(channels));
    }

    if (notes != nullptr && reading.channel == Channel_Auto && notes->Wants(Loss_Colour) && IsColoured(colours))
        notes->Add(Loss_Colour,
                   name + ": colours are read as their luma (0.299 red + 0.587 green + 0.114 blue); image.channel of "
                          "the recipe, or --channel, chooses another channel");
    if (notes != nullptr && notes->Wants(Loss_Alpha) && IsTransparent(pixels))
        notes->Add(Loss_Alpha, name + ": transparency is left out");
    return image;
}

} // namespace narvo
