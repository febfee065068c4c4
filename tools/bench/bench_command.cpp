// SPDX-License-Identifier: MIT
// Throughput of the user's own recipe on his own image, by vector level and number of lanes, beside what merely reading
// the image would reach.
#include "tools/command.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/file/name_text.h"
#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/image/grey_image.h"
#include "host/inspect/inspector.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"
#include "measure/level_choice.h"
#include "measure/read_pass.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/number_option.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"

namespace narvo::tools
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr int nBenchVersion = 1;

struct BenchOptions
{
    std::string image;
    std::string recipe;
    std::vector<int> lanes;
    std::vector<std::string> levels; ///< empty: all of the machine
    double seconds = 1.0;
    std::string json; ///< empty: none, - for the standard output
};

struct BenchRow
{
    std::string level;
    int lanes = 0;
    double perSecond = 0.0;          ///< images
    double milliseconds = 0.0;       ///< median of one image on one lane, tables and copies included
    double engineMilliseconds = 0.0; ///< likewise, in the engine alone
    double megapixels = 0.0;         ///< inspected per second
    double readMegapixels = 0.0;     ///< read per second by as many threads
};

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Calls `work(lane)` on each of `lanes` threads over and over until the time is up. @return calls per second
/// @throws what a call throws
double Repeat(int lanes, double seconds, const std::function<void(int)>& work)
{
    std::atomic<long> calls = 0;
    std::vector<std::exception_ptr> failures(static_cast<std::size_t>(lanes));
    const Clock::time_point start = Clock::now();
    const auto serve = [&](int lane)
    {
        try
        {
            do
            {
                work(lane);
                ++calls;
            } while (SecondsSince(start) < seconds);
        }
        catch (...)
        {
            failures[static_cast<std::size_t>(lane)] = std::current_exception();
        }
    };
    {
        std::vector<std::jthread> threads;
        for (int lane = 0; lane < lanes; ++lane)
            threads.emplace_back(serve, lane);
    }
    const double perSecond = static_cast<double>(calls) / SecondsSince(start);
    for (const std::exception_ptr& failure : failures)
        if (failure != nullptr)
            std::rethrow_exception(failure);
    return perSecond;
}

class Measurement
{
public:
    Measurement(const GreyImage& image, const std::vector<CheckedRecipe>& recipes, double seconds)
        : m_image(image), m_recipes(recipes), m_seconds(seconds)
    {
        for (const CheckedRecipe& recipe : recipes)
            m_maxBlobs = std::max(m_maxBlobs, recipe->maxBlobs);
    }

    BenchRow Run(const measure::SLevel& level, int lanes)
    {
        measure::UseLevel(level.nTarget);
        Inspector inspector(lanes, m_maxBlobs);
        std::vector<std::vector<double>> total(static_cast<std::size_t>(lanes));
        std::vector<std::vector<double>> engine(static_cast<std::size_t>(lanes));
        const auto inspect = [&](int lane)
        {
            double all = 0.0;
            double inside = 0.0;
            for (const CheckedRecipe& recipe : m_recipes)
            {
                const InspectionResult result = inspector.Inspect(lane, m_image, recipe);
                all += result.totalMilliseconds;
                inside += result.inspectMilliseconds;
                if (lane == 0)
                    m_pixels[&*recipe] = static_cast<double>(result.region.Width()) * result.region.Height();
            }
            total[static_cast<std::size_t>(lane)].push_back(all);
            engine[static_cast<std::size_t>(lane)].push_back(inside);
        };
        // What a problem of recipe and image throws must not end on a thread, and the first run is not like the others.
        inspect(0);
        total[0].clear();
        engine[0].clear();

        BenchRow row;
        row.level = level.pName;
        row.lanes = lanes;
        row.perSecond = Repeat(lanes, m_seconds, inspect);
        std::vector<double> totals;
        std::vector<double> engines;
        for (std::size_t lane = 0; lane < total.size(); ++lane)
        {
            totals.insert(totals.end(), total[lane].begin(), total[lane].end());
            engines.insert(engines.end(), engine[lane].begin(), engine[lane].end());
        }
        row.milliseconds = Median(std::move(totals));
        row.engineMilliseconds = Median(std::move(engines));
        row.megapixels = row.perSecond * Pixels() * 1e-6;

        const auto bytes = static_cast<std::size_t>(m_image.Stride()) * static_cast<std::size_t>(m_image.Height());
        std::atomic<std::uint64_t> sum = 0;
        const double reads =
            Repeat(lanes, std::min(m_seconds, 0.3), [&](int) { sum += measure::BestReadPass(m_image.Row(0), bytes); });
        row.readMegapixels = reads * static_cast<double>(bytes) * 1e-6;
        measure::UseWidestLevel();
        return row;
    }

    /// Of all regions.
    double Pixels() const
    {
        double pixels = 0.0;
        for (const auto& [recipe, area] : m_pixels)
            pixels += area;
        return pixels;
    }

private:
    const GreyImage& m_image;
    const std::vector<CheckedRecipe>& m_recipes;
    double m_seconds;
    int m_maxBlobs = 1;
    std::map<const Recipe*, double> m_pixels;
};

std::vector<measure::SLevel> ChooseLevels(const std::vector<std::string>& wanted)
{
    const std::vector<measure::SLevel> known = measure::Levels();
    if (wanted.empty())
        return known;
    std::vector<measure::SLevel> chosen;
    std::vector<Problem> found;
    for (const std::string& name : wanted)
    {
        const auto level =
            std::find_if(known.begin(), known.end(), [&](const measure::SLevel& one) { return name == one.pName; });
        if (level != known.end())
        {
            chosen.push_back(*level);
            continue;
        }
        std::string names;
        for (const measure::SLevel& one : known)
            names += (names.empty() ? "" : ", ") + std::string(one.pName);
        found.push_back({"--level", name, "the levels of this machine: " + names});
    }
    ThrowIfAny(std::move(found));
    return chosen;
}

std::vector<int> ChooseLaneCounts(const std::vector<int>& wanted)
{
    if (!wanted.empty())
        return wanted;
    const int processors = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 64U));
    std::vector<int> lanes;
    for (int count = 1; count < processors; count *= 2)
        lanes.push_back(count);
    lanes.push_back(processors);
    return lanes;
}

nlohmann::ordered_json RowToJson(const BenchRow& row)
{
    return {{"level", row.level},
            {"lanes", row.lanes},
            {"images_per_second", row.perSecond},
            {"megapixels_per_second", row.megapixels},
            {"milliseconds", row.milliseconds},
            {"engine_milliseconds", row.engineMilliseconds},
            {"read_megapixels_per_second", row.readMegapixels},
            {"share_of_read", row.megapixels / row.readMegapixels}};
}

void PrintRow(const BenchRow& row)
{
    char text[160];
    std::snprintf(text, sizeof text, "%-8s %5d %11.2f %11.0f %11.2f %11.2f %11.0f %8.1f %%\n", row.level.c_str(),
                  row.lanes, row.perSecond, row.megapixels, row.milliseconds, row.engineMilliseconds,
                  row.readMegapixels, 100.0 * row.megapixels / row.readMegapixels);
    std::cout << text << std::flush;
}

void Measure(const BenchOptions& options, const GreyImage& image, const std::vector<CheckedRecipe>& recipes)
{
    const bool table = options.json != "-";
    if (table)
        std::cout << Printable(options.image) << ", " << image.Width() << " by " << image.Height() << " pixels, "
                  << recipes.size() << (recipes.size() == 1 ? " region" : " regions") << ", "
                  << std::thread::hardware_concurrency() << " processors\n"
                  << "level    lanes    images/s    Mpixel/s    ms/image   engine ms  read Mp/s  of reading\n";
    Measurement measurement(image, recipes, options.seconds);
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (const measure::SLevel& level : ChooseLevels(options.levels))
        for (const int lanes : ChooseLaneCounts(options.lanes))
        {
            const BenchRow row = measurement.Run(level, lanes);
            rows.push_back(RowToJson(row));
            if (table)
                PrintRow(row);
        }
    if (options.json.empty())
        return;
    const nlohmann::ordered_json document = {{"version", nBenchVersion},
                                             {"image", NameToText(options.image)},
                                             {"recipe", NameToText(options.recipe)},
                                             {"width", image.Width()},
                                             {"height", image.Height()},
                                             {"inspected_pixels", measurement.Pixels()},
                                             {"processors", std::thread::hardware_concurrency()},
                                             {"seconds", options.seconds},
                                             {"rows", rows}};
    if (table)
        WriteTextFile(options.json, document.dump(2) + "\n");
    else
        std::cout << document.dump(2) << '\n';
}

int RunBench(const BenchOptions& options)
{
    GreyImage image;
    std::vector<CheckedRecipe> recipes;
    {
        const QuietCodecs quiet;
        recipes = LoadRecipesByOptions(options.recipe);
        image = LoadImage(options.image, *recipes.front());
    }
    if (!options.json.empty() && options.json != "-")
    {
        OutputNames names;
        names.AddInput(options.image);
        names.AddRecipe(options.recipe, recipes);
        names.AddOutputs("--json", options.json);
        names.Check();
    }
    Measure(options, image, recipes);
    return ExitCode_Done;
}

} // namespace

void AddBenchCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<BenchOptions>();
    CLI::App* command =
        app.add_subcommand("bench", "Measure how fast a recipe is on an image, by vector level and lanes");
    command->add_option("image", options->image, "image file, as for inspect")->required();
    command->add_option("-r,--recipe", options->recipe, "recipe file")->required();
    command
        ->add_option("-j,--lanes", options->lanes,
                     "inspections at once, 1 to 256, one or more numbers (default: 1, 2, 4, ... up to the processors)")
        ->delimiter(',')
        ->check(CLI::Range(1, 256));
    command
        ->add_option("--level", options->levels,
                     "vector levels by name, as AVX2 or NEON (default: all that this machine has)")
        ->delimiter(',');
    command->add_option("--seconds", options->seconds, "time for each line of the table, 0.01 to 600 s")
        ->check(RealRange(0.01, 600.0, "seconds"))
        ->capture_default_str();
    command->add_option("--json", options->json,
                        "file for the figures, - for the standard output instead of the table");
    command->footer("Of reading: inspected pixels against those that as many threads read, as fast as they can; "
                    "where the image\nfits into the processor's caches, that is the caches' speed. A lane cuts wide "
                    "vertical regions into bands of its own.");
    command->callback([options, &action] { action = [options] { return RunBench(*options); }; });
}

} // namespace narvo::tools
