// Rows of the field table, and the texts that follow from a row.
#include "host/recipe_fields.h"

#include <array>
#include <cmath>
#include <limits>
#include <type_traits>

#include "host/problem.h"

namespace narvo
{

namespace
{

constexpr double dPitchLow = 1.0;
constexpr double dPitchHigh = 16384.0;
constexpr double dCountHigh = 1000.0;
constexpr double dGreyHigh = 255.0;
// Greater gains would overflow the engine's 16-bit product with a grey value of 255.
constexpr double dGainHigh = 256.0;
// An offset and the highest gain product together still fit 16 bits; from 256 on, no pixel passes.
constexpr double dOffsetHigh = 32512.0;
constexpr double dIntLow = std::numeric_limits<int>::min();
constexpr double dIntHigh = std::numeric_limits<int>::max();
constexpr double dOriginHigh = 1000000.0;

constexpr std::array<std::string_view, 1> modeWords = {"zone"};
constexpr std::array<std::string_view, 2> directionWords = {"horizontal", "vertical"};
constexpr std::array<std::string_view, 2> testWords = {"cross", "jump"};
constexpr std::array<std::string_view, 2> sampleWords = {"pixel", "block"};

const Field<Recipe> recipeFields[] = {
    {"version", "", &Recipe::version, nRecipeVersion, nRecipeVersion, true, "form of this file"},
    {"mode", "", Choice<Recipe>{&Recipe::mode, modeWords}, 0, 0, false, "zone: thresholds from zones of the cell"},
    {"direction", "", Choice<Recipe>{&Recipe::direction, directionWords}, 0, 0, false,
     "axis along which a pixel is compared with the one a pitch on"},
    {"auto_direction", "", &Recipe::autoDirection, 0, 0, false,
     "take the other direction where the region is too small for three pitches"},
    {"max_reruns", "runs", &Recipe::maxReruns, 0, dCountHigh, false,
     "runs that may follow an overflow, for each image"},
    {"max_blobs", "blobs", &Recipe::maxBlobs, 1, 1000000, false, "room for blobs; what does not fit is lost"},
    {"min_area", "pixels", &Recipe::minArea, 1, 1000000, false, "smaller blobs are not reported"},
    {"label", "", &Recipe::label, dIntLow, dIntHigh, false, "copied into every blob"},
    {"pitch.x", "pixels", &Recipe::pitchX, dPitchLow, dPitchHigh, true, "period of the pattern along x"},
    {"pitch.y", "pixels", &Recipe::pitchY, dPitchLow, dPitchHigh, true, "period of the pattern along y"},
    {"multiple.x", "periods", &Recipe::multipleX, 1, dCountHigh, false, "periods that a comparison spans along x"},
    {"multiple.y", "periods", &Recipe::multipleY, 1, dCountHigh, false, "periods that a comparison spans along y"},
    {"window.width", "pixels", &Recipe::windowWidth, 1, 1023, false, "window of the block filters"},
    {"window.height", "pixels", &Recipe::windowHeight, 1, 1023, false, "window of the block filters"},
    {"grey_limit", "grey levels", &Recipe::greyLimit, 1, dGreyHigh, false, "brighter values count as this"},
    {"threshold_extra", "grey levels", &Recipe::thresholdExtra, 0, dGreyHigh, false,
     "what an unpaired hit must rise above its threshold, and an addend of the edge filters"},
    {"keep_singles", "", &Recipe::keepSingles, 0, 0, false, "keep unpaired hits of the edge bands"},
    {"band_split", "", &Recipe::bandSplit, 0, 0, false, "inspect wide vertical regions in parallel bands"},
    {"merge_distance", "pixels", &Recipe::mergeDistance, 0, 10000, false, "blobs of one polarity this near are one"},
    {"pixel_size.x", "length units", &Recipe::pixelSizeX, 0, 1e6, false, "size of a pixel along x, for the diameter"},
    {"pixel_size.y", "length units", &Recipe::pixelSizeY, 0, 1e6, false, "size of a pixel along y, for the diameter"},
    {"kernel.extended", "", &Recipe::extendedKernel, 0, 0, false, "take the extended kernels"},
    {"kernel.average_2by2", "", &Recipe::average2by2, 0, 0, false, "compare means of 2 by 2 pixels"},
    {"kernel.line_buffer", "", &Recipe::lineBuffer, 0, 0, false, "false: read the image without a line buffer"},
    {"kernel.two_segment", "", &Recipe::twoSegment, 0, 0, false, "zones have an upper threshold segment"},
    {"kernel.zone_tables", "", &Recipe::zoneTables, 0, 0, false, "thresholds by the zones' table values"},
    {"kernel.cross_shift", "pixels", &Recipe::crossShift, -1, 1, false,
     "displacement across the vertical compare, in steps of 1/16"},
    {"kernel.class_pitch", "pixels", &Recipe::classPitch, 0, dPitchHigh, false,
     "nonzero: take the extended kernel that is handed its pitches as real numbers"},
    {"kernel.dark_base", "grey levels", &Recipe::darkFilterBase, 0, dGreyHigh, false,
     "second threshold of dark hits; 0 is off"},
    {"kernel.dark_gain", "in 1/256", &Recipe::darkFilterGain, 0, dGainHigh, false, "gain of that threshold"},
    {"filters.enabled", "", &Recipe::filters, 0, 0, false,
     "false: the edge test alone, and none in horizontal direction"},
    {"filters.margin", "", &Recipe::marginFilter, 0, 0, false, "test hits of the edge bands to their other side"},
    {"filters.test", "", Choice<Recipe>{&Recipe::filterTest, testWords}, 0, 0, false, "further reference of the test"},
    {"filters.all_pairs", "", &Recipe::filterPairs, 0, 0, false, "test true pairs too, not only single hits"},
    {"filters.sample", "", Choice<Recipe>{&Recipe::filterSample, sampleWords}, 0, 0, false, "what the test compares"},
    {"filters.zone_thresholds", "", &Recipe::zoneFilterThresholds, 0, 0, false,
     "the test takes the zones' filter values in place of the hit's threshold"},
    {"zones.multiple.x", "periods", &Recipe::zoneMultipleX, 1, dCountHigh, false, "width of a zone cell"},
    {"zones.multiple.y", "periods", &Recipe::zoneMultipleY, 1, dCountHigh, false, "height of a zone cell"},
    {"zones.origin.x", "pixels", &Recipe::zoneOriginX, -dOriginHigh, dOriginHigh, false, "left side of some cell"},
    {"zones.origin.y", "pixels", &Recipe::zoneOriginY, -dOriginHigh, dOriginHigh, false, "top side of some cell"},
    {"zones.image", "", &Recipe::zoneImageFile, 0, 0, false,
     "painted cell, a pixel's value is its zone; empty: one flat zone"},
    {"zones.class_image", "", &Recipe::classImageFile, 0, 0, false, "painted cell of class ids; empty: none"},
};

const Field<ZoneSettings> zoneFields[] = {
    {"index", "", &ZoneSettings::index, 0, nRecipeZoneLimit - 1, true, "value in the painted cell"},
    {"offset", "grey levels", &ZoneSettings::offset, 0, dOffsetHigh, false, "fixed part of the threshold"},
    {"gain", "in 1/256", &ZoneSettings::gain, 0, dGainHigh, false, "part that grows with the larger compared value"},
    {"upper.knee", "grey levels", &ZoneSettings::knee, 0, dGreyHigh, false, "above it the upper segment applies"},
    {"upper.offset", "grey levels", &ZoneSettings::upperOffset, 0, dOffsetHigh, false, "offset of the upper segment"},
    {"upper.gain", "in 1/256", &ZoneSettings::upperGain, 0, dGainHigh, false, "gain of the upper segment"},
    {"filter.dark_offset", "grey levels", &ZoneSettings::darkFilterOffset, 0, dGreyHigh, false, "filters, dark hits"},
    {"filter.dark_gain", "in 1/256", &ZoneSettings::darkFilterGain, 0, dGainHigh, false, "filters, dark hits"},
    {"filter.bright_offset", "grey levels", &ZoneSettings::brightFilterOffset, 0, dGreyHigh, false,
     "filters, bright hits"},
    {"filter.bright_gain", "in 1/256", &ZoneSettings::brightFilterGain, 0, dGainHigh, false, "filters, bright hits"},
    {"table.offset", "grey levels", &ZoneSettings::tableOffset, 0, dGreyHigh, false, "zone tables"},
    {"table.gain", "in 1/256", &ZoneSettings::tableGain, 0, dGainHigh, false, "zone tables"},
    {"dark_grey_limit", "grey levels", &ZoneSettings::darkGreyLimit, 0, dGreyHigh, false,
     "dark pairs at or above this grey are dropped; 0 is off"},
    {"bright_min_difference", "grey levels", &ZoneSettings::brightMinDifference, 0, dGreyHigh, false,
     "bright pairs that stand out by less are dropped; 0 is off"},
};

template <typename... Functions>
struct Overload : Functions...
{
    using Functions::operator()...;
};
template <typename... Functions>
Overload(Functions...) -> Overload<Functions...>;

template <typename Owner>
std::string Words(const Choice<Owner>& choice)
{
    std::string text;
    for (std::size_t i = 0; i < choice.words.size(); ++i)
        text += (i == 0 ? "" : i + 1 == choice.words.size() ? " or " : ", ") + std::string(choice.words[i]);
    return text;
}

} // namespace

std::span<const Field<Recipe>> RecipeFields()
{
    return recipeFields;
}

std::span<const Field<ZoneSettings>> ZoneFields()
{
    return zoneFields;
}

template <typename Owner>
std::string AllowedText(const Field<Owner>& field)
{
    const auto numberText = [&](const char* kind)
    {
        const std::string range = field.low == field.high ? FormatNumber(field.low)
                                                          : FormatNumber(field.low) + " to " + FormatNumber(field.high);
        return kind + range + (field.unit.empty() ? "" : " " + std::string(field.unit));
    };
    return std::visit(Overload{[&](int Owner::*) { return numberText("whole number, "); },
                               [&](double Owner::*) { return numberText(""); },
                               [](bool Owner::*) { return std::string("true or false"); },
                               [](std::string Owner::*) { return std::string("name of an image file, or empty"); },
                               [](const Choice<Owner>& choice) { return Words(choice); }},
                      field.member);
}

template <typename Owner>
std::string ValueText(const Field<Owner>& field, const Owner& owner)
{
    return std::visit(Overload{[&](int Owner::*member) { return std::to_string(owner.*member); },
                               [&](double Owner::*member) { return FormatNumber(owner.*member); },
                               [&](bool Owner::*member) { return std::string(owner.*member ? "true" : "false"); },
                               [&](std::string Owner::*member) { return "\"" + owner.*member + "\""; },
                               [&](const Choice<Owner>& choice)
                               {
                                   const int value = owner.*choice.member;
                                   const bool known = value >= 0 && value < static_cast<int>(choice.words.size());
                                   return known ? std::string(choice.words[static_cast<std::size_t>(value)])
                                                : std::to_string(value);
                               }},
                      field.member);
}

template <typename Owner>
bool IsInRange(const Field<Owner>& field, const Owner& owner)
{
    const auto inside = [&](double value) { return value >= field.low && value <= field.high; };
    return std::visit(Overload{[&](int Owner::*member) { return inside(owner.*member); },
                               [&](double Owner::*member) { return inside(owner.*member); },
                               [](bool Owner::*) { return true; }, [](std::string Owner::*) { return true; },
                               [&](const Choice<Owner>& choice)
                               {
                                   const int value = owner.*choice.member;
                                   return value >= 0 && value < static_cast<int>(choice.words.size());
                               }},
                      field.member);
}

template std::string AllowedText(const Field<Recipe>&);
template std::string AllowedText(const Field<ZoneSettings>&);
template std::string ValueText(const Field<Recipe>&, const Recipe&);
template std::string ValueText(const Field<ZoneSettings>&, const ZoneSettings&);
template bool IsInRange(const Field<Recipe>&, const Recipe&);
template bool IsInRange(const Field<ZoneSettings>&, const ZoneSettings&);

} // namespace narvo
