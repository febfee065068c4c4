// SPDX-License-Identifier: MIT
// Images in the public form.
#include "narvo/host_images.h"

#include <cstring>
#include <span>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/image/field_images.h"
#include "host/image/field_mean.h"
#include "host/library/image_parts.h"
#include "host/library/recipe_parts.h"
#include "host/library/translate.h"
#include "host/limits.h"
#include "host/recipe/image_section.h"
#include "host/result/overlay.h"

namespace narvo::v1
{

namespace
{

constexpr std::int64_t nColourSideHigh = 65500;       // of images in colour that are written
constexpr std::int64_t nSavedPixelsHigh = 2147483639; // of grey ones

static_assert(DefaultMaxPixels == nDefaultMaxPixels && HighestMaxPixels == nHighestMaxPixels);

const ImageReading& ReadingOf(const ImageRules& rules)
{
    static const ImageReading plain;
    return rules.GetContent() == nullptr ? plain : rules.GetContent()->reading;
}

ConversionNotes* LayerNotes(ImageNotes* notes)
{
    return notes == nullptr ? nullptr : &notes->GetContent().notes;
}

Image MakeImage(GreyImage grey)
{
    return library::MakeImage(std::make_shared<const GreyImage>(std::move(grey)));
}

ImagePixels PixelsOf(const GreyImage& grey)
{
    return {grey.Row(0), grey.Width(), grey.Height(), grey.Stride()};
}

} // namespace

ImageRules::ImageRules() = default;

ImageRules ImageRules::FromText(const std::string& json, const std::filesystem::path& folder)
{
    return library::Translated(
        [&]
        {
            const nlohmann::json section = nlohmann::json::parse(json, nullptr, false);
            if (!section.is_object())
                throw HostError({{"image", section.is_discarded() ? "no JSON" : section.type_name(),
                                  "a JSON object with the members of the recipe's section image"}});
            return ImageRules(std::make_shared<const Content>(Content{ParseImageSection(section, folder)}));
        });
}

ImageRules ImageRules::Of(const Recipe& recipe, std::size_t region)
{
    return library::Translated(
        [&] { return ImageRules(std::make_shared<const Content>(Content{*library::RegionOf(recipe, region)})); });
}

bool ImageRules::NamesRawFormat() const noexcept
{
    return ReadingOf(*this).rawFormat != RawFormat_None;
}

bool ImageRules::InspectsEachColour() const noexcept
{
    return ReadingOf(*this).channel == Channel_Each;
}

ImageNotes::ImageNotes() : m_content(std::make_unique<Content>())
{
}

ImageNotes::~ImageNotes() = default;

std::vector<std::string> ImageNotes::Take()
{
    return m_content->notes.Take();
}

Image Image::FromFile(const std::filesystem::path& file, const ImageRules& rules, ImageNotes* notes,
                      std::int64_t maxPixels)
{
    return library::Translated(
        [&]
        {
            CheckMaxImagePixels(maxPixels);
            return MakeImage(LoadGreyImage(file, ReadingOf(rules), LayerNotes(notes), maxPixels));
        });
}

Image Image::FromPixels(const PixelArray& pixels, const ImageRules& rules, ImageNotes* notes, const std::string& name)
{
    return library::Translated(
        [&]
        {
            const ImageReading& reading = ReadingOf(rules);
            const PixelBlock block = library::LayerBlock(pixels, name, nImageSideLimit, nHighestMaxPixels);
            return MakeImage(ConvertPixels(block, reading, name, LayerNotes(notes)));
        });
}

Image Image::FromFrame(const std::uint8_t* bytes, std::size_t count, const ImageRules& rules, ImageNotes* notes,
                       const std::string& name)
{
    return library::Translated(
        [&]
        {
            if (!rules.NamesRawFormat())
                throw HostError({{"rules", "no raw format", "rules with raw.format and the frame's size"}});
            if (bytes == nullptr && count > 0)
                throw HostError({{name, "null", "the bytes of a frame"}});
            return MakeImage(ConvertRawFrame(std::span(bytes, count), ReadingOf(rules), name, LayerNotes(notes)));
        });
}

const Image::Content& Image::GetContent() const
{
    if (m_content == nullptr)
        throw Error({{"image", "moved from", "an image"}});
    return *m_content;
}

int Image::Width() const
{
    return GetContent().image->Width();
}

int Image::Height() const
{
    return GetContent().image->Height();
}

int Image::Channels() const
{
    const auto& channels = GetContent().image->Channels();
    return channels == nullptr ? 1 : static_cast<int>(channels->size());
}

ImagePixels Image::Pixels() const
{
    return PixelsOf(*GetContent().image);
}

ImagePixels Image::ChannelPixels(int channel) const
{
    const int count = Channels();
    if (count == 1 || channel < 0 || channel >= count)
        throw Error({{"channel", std::to_string(channel),
                      count == 1 ? "none: the image is grey" : "0 to " + std::to_string(count - 1)}});
    return PixelsOf((*GetContent().image->Channels())[static_cast<std::size_t>(channel)]);
}

FieldMean MeanOfFiles(const std::vector<std::filesystem::path>& files, const ImageRules& rules, bool line)
{
    return library::Translated(
        [&]
        {
            const MeanField made = MeanOfFrames(files, ReadingOf(rules), line);
            const FieldImage& field = made.image;
            FieldMean mean{field.width, field.height, field.channels, {},
                           made.mean,   made.low,     made.high,      made.saturated};
            mean.values.resize(field.pixels.size() / sizeof(std::uint16_t));
            std::memcpy(mean.values.data(), field.pixels.data(), mean.values.size() * sizeof(std::uint16_t));
            // The layer has them in the order blue, green, red.
            for (std::size_t i = 0; field.channels == 3 && i < mean.values.size(); i += 3)
                std::swap(mean.values[i], mean.values[i + 2]);
            return mean;
        });
}

void SaveField(const std::filesystem::path& file, const FieldMean& field)
{
    library::Translated(
        [&]
        {
            // Sides and pixels first: the number of values follows from them.
            const PixelArray checked{field.values.empty() ? nullptr : field.values.data(), field.width, field.height,
                                     field.channels, 16};
            library::LayerBlock(checked, "field", nImageSideLimit, nHighestMaxPixels);
            if (field.channels != 1 && field.channels != 3)
                throw HostError({{"field.channels", std::to_string(field.channels), "1 or 3"}});
            const std::size_t count = static_cast<std::size_t>(field.width) * static_cast<std::size_t>(field.height) *
                                      static_cast<std::size_t>(field.channels);
            if (field.values.size() != count)
                throw HostError({{"field.values", std::to_string(field.values.size()), std::to_string(count)}});
            FieldImage made{field.width, field.height, field.channels, 2, {}};
            made.pixels.resize(count * sizeof(std::uint16_t));
            std::memcpy(made.pixels.data(), field.values.data(), made.pixels.size());
            if (made.channels == 3)
                library::TurnColours(made);
            SaveFieldImage(file, made);
        });
}

void SaveImage(const std::filesystem::path& file, const PixelArray& pixels)
{
    library::Translated(
        [&]
        {
            const PixelBlock block = library::LayerBlock(pixels, "pixels", nSavedPixelsHigh, nSavedPixelsHigh);
            if (pixels.bits != 8)
                throw HostError({{"pixels.bits", std::to_string(pixels.bits), "8"}});
            if (pixels.channels == 4)
                throw HostError({{"pixels.channels", "4", "1 or 3"}});
            const auto* bytes = static_cast<const std::uint8_t*>(block.pixels);
            if (pixels.channels == 1)
                return SaveGreyImage(file, GreyImage(bytes, pixels.width, pixels.height, pixels.width));
            if (pixels.width > nColourSideHigh || pixels.height > nColourSideHigh)
                throw HostError(
                    {{"pixels.width", std::to_string(pixels.width) + " by " + std::to_string(pixels.height) + " pixels",
                      "sides up to " + std::to_string(nColourSideHigh)}});
            SaveColourImage(file, bytes, pixels.width, pixels.height);
        });
}

} // namespace narvo::v1
