// SPDX-License-Identifier: MIT
// `narvo lot`: what the images of a store show together.
#include "tools/command.h"

#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/file/output_file.h"
#include "narvo/host_lot.h"
#include "narvo/host_store.h"
#include "tools/exit_code.h"
#include "tools/number_option.h"
#include "tools/output_names.h"

namespace narvo::tools
{

namespace
{

struct LotOptions
{
    LotOptions()
    {
        for (const auto& [name, value] : v1::Lot::Defaults())
            if (name == "distance")
                distance = static_cast<int>(value);
            else if (name == "risk")
                risk = value;
    }

    std::string store;
    std::vector<std::string> runs; ///< names; empty: the latest run
    bool all = false;              ///< every run that the latest run's recipe made
    int distance = 0;              ///< pixels
    double risk = 0.0;
    std::size_t baseline = 0; ///< images; 0: all
    std::string json;         ///< empty: none
    bool quiet = false;
};

/// Problems of a store in the words of the command line.
std::vector<Problem> ByOptions(const v1::Error& error)
{
    std::vector<Problem> found = ProblemsOf(error);
    for (Problem& problem : found)
        for (const auto& [name, option] : {std::pair<std::string_view, const char*>("place", "--store"),
                                           std::pair<std::string_view, const char*>("runs", "--run")})
            if (problem.field.compare(0, name.size(), name) == 0)
                problem.field.replace(0, name.size(), option);
    return found;
}

/// Runs `call`, which asks the store.
template <typename Call>
auto InStore(Call call)
{
    try
    {
        return call();
    }
    catch (const v1::WriteError& error)
    {
        throw WriteError(ByOptions(error));
    }
    catch (const v1::Error& error)
    {
        throw HostError(ByOptions(error));
    }
}

int RunLot(const LotOptions& options)
{
    v1::ResultStore store = InStore([&] { return v1::ResultStore::ForReading(options.store); });
    OutputNames names;
    if (!v1::IsServerPlace(options.store))
        names.AddInput(options.store);
    if (!options.json.empty())
        names.AddOutputs("--json", options.json);
    names.Check();
    v1::Lot lot =
        InStore([&] { return options.all ? v1::Lot::OfLatestRecipe(store) : v1::Lot::FromStore(store, options.runs); });
    std::string json;
    const v1::LotReport report = lot.Finish({{"distance", static_cast<double>(options.distance)},
                                             {"risk", options.risk},
                                             {"baseline", static_cast<double>(options.baseline)}},
                                            options.json.empty() ? nullptr : &json);
    if (!options.quiet)
        std::cout << report.text << std::flush;
    if (!options.json.empty())
        WriteTextFile(options.json, json + "\n");
    return ExitCode_Done;
}

} // namespace

void AddLotCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<LotOptions>();
    CLI::App* command = app.add_subcommand(
        "lot", "Find what many images in a database have in common: places that come back, streaks, changes");
    command
        ->add_option("store", options->store,
                     "database with results, a file of SQLite or postgresql://USER@HOST/DATABASE")
        ->required();
    CLI::Option* run = command->add_option(
        "--run", options->runs, "name of a run of the lot, may be given several times (default: the latest)");
    command->add_flag("--all", options->all, "every run that was made by the recipe of the latest")->excludes(run);
    command
        ->add_option("--distance", options->distance,
                     "pixels within which defects are at the same place, 1 to " +
                         std::to_string(v1::HighestLotDistance))
        ->check(CLI::Range(1, v1::HighestLotDistance))
        ->capture_default_str();
    command
        ->add_option("--risk", options->risk,
                     "probability at which a test may report what is chance alone, 1e-9 to 0.1")
        ->check(RealRange(v1::LowestLotRisk, v1::HighestLotRisk, "of each test"))
        ->capture_default_str();
    command
        ->add_option("--baseline", options->baseline,
                     "images from the first on that give centre and limits of the charts, 2 to " +
                         std::to_string(v1::HighestLotImages) + " (default: all)")
        ->check(CLI::Range(std::size_t{2}, v1::HighestLotImages));
    command->add_option("--json", options->json, "file for everything, the points of the charts included");
    command->add_flag("-q,--quiet", options->quiet, "print problems only");
    command->callback([options, &action] { action = [options] { return RunLot(*options); }; });
}

} // namespace narvo::tools
