// SPDX-License-Identifier: MIT
// The C interface: images that the library owns, and the rules by which they become grey.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "host/library/c_arrays.h"
#include "host/library/c_call.h"
#include "host/library/c_records.h"
#include "narvo/host_images.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::DefaultMaxPixels;
using narvo::v1::HighestMaxPixels;
using narvo::v1::Image;
using narvo::v1::ImageNotes;
using narvo::v1::ImagePixels;
using narvo::v1::ImageRules;
using narvo::v1::PixelArray;

namespace
{

constexpr std::int32_t nGreyChannel = -1;

/// Null: those of a new object.
ImageRules RulesOf(const narvo_rules* rules)
{
    return rules == nullptr ? ImageRules() : *RulesHandles().Find(rules, "rules");
}

PixelArray ArrayOf(const narvo_pixel_array* pixels)
{
    const narvo_pixel_array record = ReadRecord(pixels, "pixels");
    return {record.pixels, record.width, record.height, record.channels, record.bits};
}

/// Hands out what `make` reads by the rules, with its notes.
template <typename Make>
std::int32_t HandOutPicture(narvo_picture** picture, const narvo_rules* rules, const Make& make)
{
    return HandOut(PictureHandles(), picture, "picture",
                   [&]
                   {
                       ImageNotes notes;
                       Image image = make(RulesOf(rules), notes);
                       return std::make_shared<PictureObject>(PictureObject{std::move(image), notes.Take()});
                   });
}

} // namespace

std::int32_t narvo_rules_from_text(const char* json, const char* folder, narvo_rules** rules)
{
    return HandOut(RulesHandles(), rules, "rules",
                   [&] {
                       return std::make_shared<ImageRules>(
                           ImageRules::FromText(Given(json, "json"), folder == nullptr ? "." : folder));
                   });
}

std::int32_t narvo_rules_of(const narvo_recipe* recipe, narvo_rules** rules)
{
    return HandOut(RulesHandles(), rules, "rules",
                   [&]
                   {
                       const auto owner = RecipeHandles().Find(recipe, "recipe");
                       return std::make_shared<ImageRules>(ImageRules::Of(*owner));
                   });
}

std::int32_t narvo_rules_get(const narvo_rules* rules, std::int32_t* raw, std::int32_t* each_colour)
{
    return Guarded(
        [&]
        {
            Given(raw, "raw");
            Given(each_colour, "each_colour");
            const auto found = RulesHandles().Find(rules, "rules");
            *raw = found->NamesRawFormat() ? 1 : 0;
            *each_colour = found->InspectsEachColour() ? 1 : 0;
        });
}

std::int32_t narvo_rules_free(narvo_rules* rules)
{
    return GuardedQuietly([&] { RulesHandles().Remove(rules, "rules"); });
}

std::int32_t narvo_picture_from_file(const char* file, const narvo_rules* rules, std::int64_t max_pixels,
                                     narvo_picture** picture)
{
    return HandOutPicture(picture, rules,
                          [&](const ImageRules& own, ImageNotes& notes)
                          {
                              CheckCount(max_pixels, 0, HighestMaxPixels, "max_pixels");
                              return Image::FromFile(Given(file, "file"), own, &notes,
                                                     max_pixels == 0 ? DefaultMaxPixels : max_pixels);
                          });
}

std::int32_t narvo_picture_from_pixels(const narvo_pixel_array* pixels, const narvo_rules* rules, const char* name,
                                       narvo_picture** picture)
{
    return HandOutPicture(picture, rules,
                          [&](const ImageRules& own, ImageNotes& notes) {
                              return Image::FromPixels(ArrayOf(pixels), own, &notes, name == nullptr ? "pixels" : name);
                          });
}

std::int32_t narvo_picture_from_frame(const std::uint8_t* bytes, std::int64_t count, const narvo_rules* rules,
                                      const char* name, narvo_picture** picture)
{
    return HandOutPicture(picture, rules,
                          [&](const ImageRules& own, ImageNotes& notes)
                          {
                              CheckCount(count, 0, std::numeric_limits<std::ptrdiff_t>::max(), "count");
                              return Image::FromFrame(Given(bytes, "bytes"), static_cast<std::size_t>(count), own,
                                                      &notes, name == nullptr ? "frame" : name);
                          });
}

std::int32_t narvo_picture_channels(const narvo_picture* picture, std::int32_t* channels)
{
    return Guarded(
        [&]
        {
            Given(channels, "channels");
            *channels = PictureHandles().Find(picture, "picture")->image.Channels();
        });
}

std::int32_t narvo_picture_image(const narvo_picture* picture, std::int32_t channel, narvo_image* image)
{
    return Guarded(
        [&]
        {
            const std::uint32_t size = SizeOf(image, "image");
            const auto found = PictureHandles().Find(picture, "picture");
            const ImagePixels pixels =
                channel == nGreyChannel ? found->image.Pixels() : found->image.ChannelPixels(channel);
            narvo_image record = {};
            record.width = pixels.width;
            record.height = pixels.height;
            record.bits = pixels.bits;
            record.stride = pixels.stride;
            record.pixels = pixels.pixels;
            WriteRecord(image, size, record);
        });
}

std::int32_t narvo_picture_notes(const narvo_picture* picture, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            *count = static_cast<std::int64_t>(PictureHandles().Find(picture, "picture")->notes.size());
        });
}

std::int32_t narvo_picture_note(const narvo_picture* picture, std::int64_t index, const char** text)
{
    return HandOutText(text,
                       [&]
                       {
                           const auto found = PictureHandles().Find(picture, "picture");
                           return ElementAt(found->notes, index, "index").c_str();
                       });
}

std::int32_t narvo_picture_free(narvo_picture* picture)
{
    return GuardedQuietly([&] { PictureHandles().Remove(picture, "picture"); });
}

std::int32_t narvo_save_image(const char* file, const narvo_pixel_array* pixels)
{
    return Guarded([&] { narvo::v1::SaveImage(Given(file, "file"), ArrayOf(pixels)); });
}
