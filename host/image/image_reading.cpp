// SPDX-License-Identifier: MIT
// Packings, and the rules that tie settings together.
#include "host/image/image_reading.h"

#include <array>

namespace narvo
{

namespace
{

struct Packing
{
    const char* name;
    int packedBits;
    int fullScale;
};

constexpr std::array<Packing, 7> packings = {{{"none", 0, 0},
                                              {"Mono8", 8, 255},
                                              {"Mono10", 16, 1023},
                                              {"Mono10p", 10, 1023},
                                              {"Mono12", 16, 4095},
                                              {"Mono12p", 12, 4095},
                                              {"Mono16", 16, 65535}}};

const Packing& PackingOf(int rawFormat)
{
    return packings.at(static_cast<std::size_t>(rawFormat));
}

} // namespace

const char* ChannelName(int channel)
{
    switch (channel)
    {
    case Channel_Red:
        return "red";
    case Channel_Green:
        return "green";
    case Channel_Blue:
        return "blue";
    default:
        return "grey";
    }
}

std::optional<Channel> ChannelOfName(std::string_view name)
{
    for (const Channel channel : {Channel_Auto, Channel_Red, Channel_Green, Channel_Blue})
        if (name == ChannelName(channel))
            return channel;
    return std::nullopt;
}

int PackedBits(int rawFormat)
{
    return PackingOf(rawFormat).packedBits;
}

int FullScaleOf(int rawFormat)
{
    return PackingOf(rawFormat).fullScale;
}

const char* RawFormatName(int rawFormat)
{
    return PackingOf(rawFormat).name;
}

std::int64_t FrameBytes(const ImageReading& reading)
{
    const std::int64_t bits = std::int64_t{reading.rawWidth} * reading.rawHeight * PackedBits(reading.rawFormat);
    return (bits + 7) / 8;
}

void SetFields(ImageReading& reading, const FieldImage* flat, const FieldImage* dark)
{
    reading.fields = FieldImages(flat != nullptr ? *flat : reading.fields.Flat(),
                                 dark != nullptr ? *dark : reading.fields.Dark(), reading.bayer != Bayer_None);
}

void LoadFields(ImageReading& reading, const std::filesystem::path& folder)
{
    const auto load = [&](const std::string& name, const char* field)
    { return name.empty() ? FieldImage() : LoadFieldImage(folder / name, field); };
    const FieldImage flat = load(reading.flatFieldFile, "image.flat_field");
    const FieldImage dark = load(reading.darkFieldFile, "image.dark_field");
    if (!flat.IsEmpty() || !dark.IsEmpty())
        SetFields(reading, flat.IsEmpty() ? nullptr : &flat, dark.IsEmpty() ? nullptr : &dark);
}

std::vector<Problem> CheckCombination(const ImageReading& reading, const std::string& prefix)
{
    std::vector<Problem> found;
    const auto demand = [&](bool holds, const char* field, const std::string& value, const std::string& allowed)
    {
        if (!holds)
            found.push_back({prefix + field, value, allowed});
    };
    const bool mixture = reading.channel == Channel_Mixture;
    const auto demandWeight = [&](const char* field, double weight)
    { demand(mixture || weight == 0.0, field, FormatNumber(weight), "0 unless " + prefix + "channel is mixture"); };
    demandWeight("weights.red", reading.weightRed);
    demandWeight("weights.green", reading.weightGreen);
    demandWeight("weights.blue", reading.weightBlue);
    demand(!mixture || reading.weightRed != 0.0 || reading.weightGreen != 0.0 || reading.weightBlue != 0.0, "weights",
           "0, 0, 0", "a weight other than 0 where " + prefix + "channel is mixture");
    demand(reading.bayer != Bayer_None || reading.demosaic == Demosaic_Bilinear, "demosaic",
           reading.demosaic == Demosaic_Off ? "off" : "edge_aware", "bilinear where " + prefix + "bayer is none");
    demand(reading.demosaic != Demosaic_Off || reading.channel == Channel_Auto, "channel", "given",
           "auto where " + prefix + "demosaic is off");
    demand(reading.levelHigh == 0 || reading.levelHigh > reading.levelLow, "levels.high",
           std::to_string(reading.levelHigh),
           "more than " + prefix + "levels.low, " + std::to_string(reading.levelLow) +
               ", or 0 for the largest value of the pixels");
    const bool raw = reading.rawFormat != RawFormat_None;
    const auto demandRaw = [&](const char* field, int value, int low)
    {
        demand(raw ? value >= low : value == 0, field, std::to_string(value),
               raw ? std::to_string(low) + " or more where " + prefix + "raw.format is given"
                   : "0 where " + prefix + "raw.format is none");
    };
    demandRaw("raw.width", reading.rawWidth, 1);
    demandRaw("raw.height", reading.rawHeight, 1);
    demandRaw("raw.offset", reading.rawOffset, 0);
    demand(reading.flatFieldFile.empty() || !reading.fields.Flat().IsEmpty(), "flat_field", reading.flatFieldFile,
           "a file that has been read");
    demand(reading.darkFieldFile.empty() || !reading.fields.Dark().IsEmpty(), "dark_field", reading.darkFieldFile,
           "a file that has been read");
    return found;
}

} // namespace narvo
