// SPDX-License-Identifier: MIT
// Options as texts, and what they stand for.
#include "tools/image_options.h"

#include <array>
#include <charconv>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/foreign_text.h"
#include "host/problem.h"
#include "host/recipe/image_section.h"
#include "host/recipe/recipe_file.h"
#include "tools/output_names.h"

namespace narvo::tools
{

namespace
{

/// Texts as given; empty: not given.
struct ImageOptions
{
    std::string channel;
    std::string weights;
    std::string bayer;
    std::string demosaic;
    std::string levels;
    std::string raw;
    std::string flatField;
    std::string darkField;
};

ImageOptions given;
ConversionNotes notes;

/// The numbers between separators, all of `text`. @return nothing where it is anything else
template <typename Number, std::size_t nCount>
std::optional<std::array<Number, nCount>> NumbersOf(std::string_view text, const char (&separators)[nCount])
{
    std::array<Number, nCount> numbers{};
    const char* place = text.data();
    const char* const end = place + text.size();
    for (std::size_t i = 0; i < nCount; ++i)
    {
        const auto [next, error] = std::from_chars(place, end, numbers[i]);
        const bool last = i + 1 == nCount;
        if (error != std::errc() || (last ? next != end : next == end || *next != separators[i]))
            return std::nullopt;
        place = next + 1;
    }
    return numbers;
}

[[noreturn]] void RefuseOption(const char* option, const std::string& text, const char* allowed)
{
    throw HostError({{option, text, allowed}});
}

void ReadWeights(ImageReading& reading)
{
    const auto weights = NumbersOf<double>(given.weights, ",,");
    if (!weights)
        RefuseOption("--weights", given.weights, "RED,GREEN,BLUE, three numbers from -100 to 100");
    reading.channel = Channel_Mixture;
    reading.weightRed = (*weights)[0];
    reading.weightGreen = (*weights)[1];
    reading.weightBlue = (*weights)[2];
}

void ReadLevels(ImageReading& reading)
{
    const auto levels = NumbersOf<int>(given.levels, ":");
    if (!levels || (*levels)[1] <= (*levels)[0] || (*levels)[1] == 0)
        RefuseOption("--levels", given.levels, "LOW:HIGH, the values that become 0 and 255, HIGH above LOW and not 0");
    reading.levelLow = (*levels)[0];
    reading.levelHigh = (*levels)[1];
}

void ReadRaw(ImageReading& reading)
{
    static constexpr const char* szAllowed =
        "FORMAT:WIDTHxHEIGHT or FORMAT:WIDTHxHEIGHT+OFFSET, such as Mono12p:4096x3072";
    const std::string& text = given.raw;
    const std::size_t colon = text.find(':');
    const std::string_view shape =
        colon == std::string::npos ? std::string_view() : std::string_view(text).substr(colon + 1);
    if (const auto sides = NumbersOf<int>(shape, "x"))
        reading.rawOffset = 0, reading.rawWidth = (*sides)[0], reading.rawHeight = (*sides)[1];
    else if (const auto all = NumbersOf<int>(shape, "x+"))
        reading.rawOffset = (*all)[2], reading.rawWidth = (*all)[0], reading.rawHeight = (*all)[1];
    else
        RefuseOption("--raw", text, szAllowed);
    reading.rawFormat = ImageWord("image.raw.format", text.substr(0, colon), "--raw");
    if (reading.rawFormat == RawFormat_None)
        RefuseOption("--raw", text, szAllowed);
}

/// Files that options name are read once in a run, whatever asks for them.
const FieldImage& FieldFile(const std::string& name, const char* field)
{
    static std::map<std::string, FieldImage> known;
    const auto place = known.find(name);
    return place != known.end() ? place->second : known.emplace(name, LoadFieldImage(name, field)).first->second;
}

void ReadFields(ImageReading& reading, const ImageReading& recipe)
{
    const FieldImage* flat = nullptr;
    const FieldImage* dark = nullptr;
    if (!given.flatField.empty())
    {
        flat = &FieldFile(given.flatField, "--flat-field");
        reading.flatFieldFile = given.flatField;
    }
    if (!given.darkField.empty())
    {
        dark = &FieldFile(given.darkField, "--dark-field");
        reading.darkFieldFile = given.darkField;
    }
    if (flat != nullptr || dark != nullptr || reading.bayer != recipe.bayer)
        SetFields(reading, flat, dark);
}

CheckedRecipe ByOptions(const CheckedRecipe& recipe)
{
    const ImageReading reading = ReadingOf(*recipe);
    if (reading == static_cast<const ImageReading&>(*recipe))
        return recipe;
    Recipe changed = *recipe;
    static_cast<ImageReading&>(changed) = reading;
    return CheckedRecipe(std::move(changed));
}

} // namespace

void AddImageOptions(CLI::App& app)
{
    app.add_option(
        "--channel", given.channel,
        "what of colour images is inspected: luma, red, green, blue, or each of these three by itself (each); in place "
        "of image.channel of a recipe");
    app.add_option("--weights", given.weights, "RED,GREEN,BLUE: colour images become this sum, -100 to 100 each");
    app.add_option("--bayer", given.bayer,
                   "colour filters of a mosaic's first pixels: none, rggb, grbg, gbrg, bggr; in place of image.bayer");
    app.add_option("--demosaic", given.demosaic,
                   "how its colours are made: bilinear, edge_aware, off; in place of image.demosaic");
    app.add_option("--levels", given.levels,
                   "LOW:HIGH: values that become 0 and 255, -1000000 to 1000000; in place of image.levels");
    app.add_option("--raw", given.raw,
                   "FORMAT:WIDTHxHEIGHT[+OFFSET]: images are frames without a header: Mono8, Mono10, Mono10p, Mono12, "
                   "Mono12p or Mono16, pixels, bytes before the first; in place of image.raw");
    app.add_option("--flat-field", given.flatField,
                   "image file: what the camera shows of an even white, one row for a line camera (see narvo field); "
                   "in place of image.flat_field");
    app.add_option("--dark-field", given.darkField,
                   "image file: what the camera shows without light; in place of image.dark_field");
}

ImageReading ReadingOf(const ImageReading& recipe)
{
    ImageReading reading = recipe;
    if (!given.channel.empty() || !given.weights.empty())
    {
        reading.weightRed = reading.weightGreen = reading.weightBlue = 0.0;
        if (!given.channel.empty() && !given.weights.empty())
            RefuseOption("--channel", given.channel, "left out where --weights is given");
        if (!given.channel.empty())
            reading.channel = ImageWord("image.channel", given.channel, "--channel");
        else
            ReadWeights(reading);
    }
    if (!given.bayer.empty())
        reading.bayer = ImageWord("image.bayer", given.bayer, "--bayer");
    if (!given.demosaic.empty())
        reading.demosaic = ImageWord("image.demosaic", given.demosaic, "--demosaic");
    if (!given.levels.empty())
        ReadLevels(reading);
    if (!given.raw.empty())
        ReadRaw(reading);
    ReadFields(reading, recipe);
    ThrowIfAny(CheckImageReading(reading));
    return reading;
}

v1::ImageRules RulesOfFrames()
{
    const ImageReading reading = ReadingOf();
    if (reading.rawFormat == RawFormat_None)
        return {};
    const nlohmann::json raw = {{"format", given.raw.substr(0, given.raw.find(':'))},
                                {"width", reading.rawWidth},
                                {"height", reading.rawHeight},
                                {"offset", reading.rawOffset}};
    return v1::ImageRules::FromText(nlohmann::json{{"raw", raw}}.dump());
}

std::vector<std::filesystem::path> FieldFilesByOption()
{
    std::vector<std::filesystem::path> files;
    for (const std::string& name : {given.flatField, given.darkField})
        if (!name.empty())
            files.emplace_back(name);
    return files;
}

void AddFieldOutputs(OutputNames& names, const std::filesystem::path& recipe)
{
    const auto add = [&](const std::string& field, const char* ending)
    {
        if (field.empty())
            return;
        names.AddOutputs("the recipe's fields", std::filesystem::path(recipe).replace_extension(ending).string());
    };
    add(given.flatField, ".flat_field.png");
    add(given.darkField, ".dark_field.png");
}

CheckedRecipe LoadRecipeByOptions(const std::filesystem::path& file)
{
    return ByOptions(LoadRecipe(file));
}

std::vector<CheckedRecipe> LoadRecipesByOptions(const std::filesystem::path& file)
{
    std::vector<CheckedRecipe> recipes = LoadRecipes(file);
    for (CheckedRecipe& recipe : recipes)
        recipe = ByOptions(recipe);
    return recipes;
}

GreyImage LoadImage(const std::filesystem::path& file, const ImageReading& reading)
{
    return LoadGreyImage(file, reading, &notes);
}

ConversionNotes& ProgramNotes()
{
    return notes;
}

void TellConversions()
{
    for (const std::string& note : notes.Take())
        std::cerr << "narvo: note: " << Printable(note) << '\n';
}

} // namespace narvo::tools
