// SPDX-License-Identifier: MIT
// `narvo lot`: what the images of a store show together.
#include "tools/command.h"

#include <iostream>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/file/output_file.h"
#include "host/limits.h"
#include "host/lot/lot_reader.h"
#include "host/lot/lot_statistics.h"
#include "host/store/result_store.h"
#include "tools/exit_code.h"
#include "tools/number_option.h"
#include "tools/output_names.h"

namespace narvo::tools
{

namespace
{

struct LotOptions
{
    std::string store;
    LotChoice choice;
    LotSettings settings;
    std::string json; ///< empty: none
    bool quiet = false;
};

int RunLot(const LotOptions& options)
{
    const std::unique_ptr<ResultStore> store = OpenResultStore(options.store, StoreAccess_Read);
    OutputNames names;
    if (!IsServerPlace(options.store))
        names.AddInput(options.store);
    if (!options.json.empty())
        names.AddOutputs("--json", options.json);
    names.Check();
    const Lot lot = ReadLot(*store, options.choice);
    const LotStatistics statistics = MakeLotStatistics(lot, options.settings);
    if (!options.quiet)
        std::cout << LotText(lot, statistics) << std::flush;
    if (!options.json.empty())
        WriteTextFile(options.json, LotToJson(lot, statistics).dump(2) + "\n");
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
        "--run", options->choice.runs, "name of a run of the lot, may be given several times (default: the latest)");
    command->add_flag("--all", options->choice.all, "every run that was made by the recipe of the latest")
        ->excludes(run);
    command
        ->add_option("--distance", options->settings.distance,
                     "pixels within which defects are at the same place, 1 to " + std::to_string(nLotDistanceHigh))
        ->check(CLI::Range(1, nLotDistanceHigh))
        ->capture_default_str();
    command
        ->add_option("--risk", options->settings.risk,
                     "probability at which a test may report what is chance alone, 1e-9 to 0.1")
        ->check(RealRange(dLotRiskLow, dLotRiskHigh, "of each test"))
        ->capture_default_str();
    command
        ->add_option("--baseline", options->settings.baseline,
                     "images from the first on that give centre and limits of the charts, 2 to " +
                         std::to_string(nLotImageLimit) + " (default: all)")
        ->check(CLI::Range(std::size_t{2}, nLotImageLimit));
    command->add_option("--json", options->json, "file for everything, the points of the charts included");
    command->add_flag("-q,--quiet", options->quiet, "print problems only");
    command->callback([options, &action] { action = [options] { return RunLot(*options); }; });
}

} // namespace narvo::tools
