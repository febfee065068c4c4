// SPDX-License-Identifier: MIT
// One pixel's way through an inspection, on the terminal.
#include "tools/command.h"

#include <charconv>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/explain/explain.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/quiet_codecs.h"

namespace narvo::tools
{

namespace
{

struct ExplainOptions
{
    std::string image;
    std::string recipe;
    std::vector<std::string> places; ///< each "x,y"
    bool json = false;
};

/// @throws HostError unless the text is two whole numbers
CPoint PlaceOf(const std::string& text)
{
    CPoint place;
    const char* const end = text.data() + text.size();
    const auto x = std::from_chars(text.data(), end, place.x);
    const bool comma = x.ec == std::errc() && x.ptr != end && *x.ptr == ',';
    const auto y = std::from_chars(comma ? x.ptr + 1 : end, end, place.y);
    if (!comma || y.ec != std::errc() || y.ptr != end)
        throw HostError({{"--at", text, "x,y in whole pixels"}});
    return place;
}

int RunExplain(const ExplainOptions& options)
{
    std::vector<Problem> found;
    GreyImage image;
    std::optional<CheckedRecipe> recipe;
    const auto collect = [&](auto&& step)
    {
        const QuietCodecs quiet;
        CollectProblems(found, step);
    };
    collect(
        [&]
        {
            recipe = LoadRecipeByOptions(options.recipe);
            if ((*recipe)->channel == Channel_Each)
                throw HostError({{"image.channel", "each",
                                  "one channel to explain: --channel red, --channel green or --channel blue"}});
        });
    collect([&] { image = LoadImage(options.image, recipe ? ImageReading(**recipe) : ReadingOf()); });
    std::vector<CPoint> places;
    for (const std::string& text : options.places)
        collect([&] { places.push_back(PlaceOf(text)); });
    std::vector<Explanation> told;
    if (found.empty())
        collect(
            [&]
            {
                Explainer explainer(image, *recipe);
                for (const CPoint& place : places)
                    told.push_back(explainer.Explain(place));
            });
    if (!found.empty())
    {
        PrintProblems(found);
        return ExitCode_BadInput;
    }

    if (options.json)
    {
        nlohmann::ordered_json document = nlohmann::ordered_json::array();
        for (const Explanation& one : told)
            document.push_back(ExplanationToJson(one));
        std::cout << (document.size() == 1 ? document[0] : document).dump(2) << '\n';
        return ExitCode_Done;
    }
    for (std::size_t i = 0; i < told.size(); ++i)
        std::cout << (i > 0 ? "\n" : "") << DescribeExplanation(told[i]);
    return ExitCode_Done;
}

} // namespace

void AddExplainCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<ExplainOptions>();
    CLI::App* command = app.add_subcommand("explain", "Tell why a pixel was reported, or why it was not");
    command->add_option("image", options->image, "image file, as for inspect")->required();
    command->add_option("-r,--recipe", options->recipe, "recipe file; its fields: narvo recipe")->required();
    command->add_option("--at", options->places, "x,y of the pixel, from 0; may be given several times")
        ->required()
        ->expected(1, 1000)
        ->type_name("X,Y");
    command->add_flag("--json", options->json, "print JSON; a list where several pixels are asked for");
    command->callback([options, &action] { action = [options] { return RunExplain(*options); }; });
}

} // namespace narvo::tools
