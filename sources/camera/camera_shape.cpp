// SPDX-License-Identifier: MIT
// Names of pixel formats, put together from the mosaic and the packing.
#include "sources/camera/camera_shape.h"

#include <array>
#include <utility>

#include "host/limits.h"
#include "host/problem.h"
#include "sources/frame_source.h"

namespace narvo::sources
{

namespace
{

constexpr std::string_view szMono = "Mono";

/// By the filters of the first two pixels; the second row follows from them.
constexpr std::array<std::pair<std::string_view, Bayer>, 5> prefixes = {{{szMono, Bayer_None},
                                                                         {"BayerRG", Bayer_Rggb},
                                                                         {"BayerGR", Bayer_Grbg},
                                                                         {"BayerGB", Bayer_Gbrg},
                                                                         {"BayerBG", Bayer_Bggr}}};

constexpr std::array<RawFormat, 6> formats = {RawFormat_Mono8,  RawFormat_Mono10,  RawFormat_Mono10p,
                                              RawFormat_Mono12, RawFormat_Mono12p, RawFormat_Mono16};

/// "12p" of Mono12p.
std::string_view PackingOf(RawFormat format)
{
    return std::string_view(RawFormatName(format)).substr(szMono.size());
}

std::string RawShapeText(const ImageReading& reading)
{
    return std::string(RawFormatName(reading.rawFormat)) + ", " + std::to_string(reading.rawWidth) + " by " +
           std::to_string(reading.rawHeight) + " pixels, " + std::to_string(reading.rawOffset) + " bytes before them";
}

} // namespace

bool FindPixelFormat(std::string_view name, RawFormat& format, Bayer& bayer)
{
    for (const auto& [prefix, mosaic] : prefixes)
        for (const RawFormat candidate : formats)
            if (name.starts_with(prefix) && name.substr(prefix.size()) == PackingOf(candidate))
            {
                format = candidate;
                bayer = mosaic;
                return true;
            }
    return false;
}

std::string KnownPixelFormats()
{
    std::string list;
    for (const auto& [prefix, mosaic] : prefixes)
        for (const RawFormat format : formats)
            list += (list.empty() ? "" : ", ") + std::string(prefix) + std::string(PackingOf(format));
    return list;
}

std::string ShapeText(const CameraShape& shape)
{
    return shape.pixelFormat + ", " + std::to_string(shape.width) + " by " + std::to_string(shape.height) + " pixels";
}

void TakeShape(const CameraShape& shape, const std::string& source, ImageReading& reading)
{
    RawFormat format = RawFormat_None;
    Bayer bayer = Bayer_None;
    if (!FindPixelFormat(shape.pixelFormat, format, bayer))
        throw HostError({{source + ", PixelFormat", shape.pixelFormat,
                          "one of " + KnownPixelFormats() + "; camera.features of the recipe sets it"}});
    if (shape.width < 1 || shape.height < 1 || shape.width > nImageSideLimit || shape.height > nImageSideLimit)
        throw HostError({{source, ShapeText(shape), "sides of 1 to " + std::to_string(nImageSideLimit) + " pixels"}});
    ImageReading sent = reading;
    sent.rawFormat = format;
    sent.rawWidth = static_cast<int>(shape.width);
    sent.rawHeight = static_cast<int>(shape.height);
    sent.rawOffset = 0;
    if (reading.rawFormat != RawFormat_None && RawShapeText(reading) != RawShapeText(sent))
        throw HostError({{"image.raw", RawShapeText(reading),
                          RawShapeText(sent) + ", as " + source + " sends them, or nothing: the camera says it"}});
    if (bayer != Bayer_None && reading.bayer != Bayer_None && reading.bayer != bayer)
        throw HostError(
            {{"image.bayer", "another mosaic",
              "that of " + shape.pixelFormat + ", which " + source + " sends, or none: the camera says it"}});
    RequireRawShape(sent, source);
    if (shape.payload < FrameBytes(sent))
        throw HostError({{source + ", PayloadSize", std::to_string(shape.payload) + " bytes",
                          "at least " + std::to_string(FrameBytes(sent)) + " bytes for " + ShapeText(shape)}});
    // The memory is the camera's wish; what goes with an image is small against it.
    constexpr std::int64_t nBesides = std::int64_t{1} << 26;
    if (shape.payload > 2 * FrameBytes(sent) + nBesides)
        throw HostError(
            {{source + ", PayloadSize", std::to_string(shape.payload) + " bytes",
              "at most " + std::to_string(2 * FrameBytes(sent) + nBesides) + " bytes for " + ShapeText(shape)}});
    if (bayer != Bayer_None && reading.bayer == Bayer_None)
    {
        sent.bayer = bayer;
        SetFields(sent, nullptr, nullptr);
    }
    ThrowIfAny(CheckCombination(sent));
    reading = std::move(sent);
}

} // namespace narvo::sources
