// SPDX-License-Identifier: MIT
// Making of a folder of cloth images, good and defective.
#include "tools/command.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "host/foreign_text.h"
#include "host/problem.h"
#include "tools/exit_code.h"
#include "tools/number_option.h"
#include "tools/synthetic/cloth.h"

namespace narvo::tools
{

namespace
{

struct ClothOptions
{
    ClothPlan plan;
    int good = 6;
    int bad = 3;
    std::string output = "cloth"; ///< the folder
    bool quiet = false;
};

int RunCloth(const ClothOptions& options)
{
    namespace fs = std::filesystem;
    const fs::path folder = options.output;
    try
    {
        for (int i = 0; i < options.good + options.bad; ++i)
        {
            ClothPlan plan = options.plan;
            // Each image has a seed of its own; 1000 are kept apart for each given one.
            plan.seed = options.plan.seed * 1000 + static_cast<std::uint64_t>(i);
            const bool isGood = i < options.good;
            plan.defects = isGood ? 0 : options.plan.defects;
            const Cloth cloth = MakeCloth(plan);
            char name[16];
            std::snprintf(name, sizeof name, "%03d", isGood ? i + 1 : i + 1 - options.good);
            const auto fileIn = [&](const char* part, const char* ending)
            {
                std::error_code error; // writing tells what is wrong with the folder
                fs::create_directories(folder / part, error);
                return folder / part / (std::string(name) + ending);
            };
            SaveGreyImage(fileIn(isGood ? "good" : "defective", ".png"), cloth.image);
            if (isGood)
                continue;
            SaveGreyImage(fileIn("mask", ".png"), cloth.mask);
            SaveTruth(fileIn("truth", ".json"), std::string(name) + ".png", cloth.truth);
        }
    }
    catch (const HostError& error)
    {
        PrintProblems(error.Problems());
        return ExitCode_BadInput;
    }
    if (!options.quiet)
        std::cout << options.good << " good images in " << Printable((folder / "good").string()) << ", " << options.bad
                  << " with defects in " << Printable((folder / "defective").string()) << ", their masks in "
                  << Printable((folder / "mask").string()) << std::endl;
    return ExitCode_Done;
}

} // namespace

void AddClothCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<ClothOptions>();
    ClothPlan& plan = options->plan;
    plan.defects = 2;
    CLI::App* command = app.add_subcommand("cloth", "Make images of woven cloth, good and with known defects");
    command->add_option("--good", options->good, "images without defects, 0 to 500")
        ->check(CLI::Range(0, 500))
        ->capture_default_str();
    command->add_option("--bad", options->bad, "images with defects, 0 to 499")
        ->check(CLI::Range(0, 499))
        ->capture_default_str();
    command->add_option("--width", plan.width, "pixels, 128 to 8192")->capture_default_str();
    command->add_option("--height", plan.height, "pixels, 128 to 8192")->capture_default_str();
    command->add_option("--pitch-x", plan.pitchX, "from thread to thread along x, pixels, 4 to 40")
        ->capture_default_str();
    command->add_option("--pitch-y", plan.pitchY, "along y, pixels, 4 to 40")->capture_default_str();
    command->add_option("--slope", plan.slope, "rows that threads rise for each column, -0.2 to 0.2")
        ->capture_default_str();
    command->add_option("--drift", plan.drift, "change of pitch within and between images, share of it, 0 to 0.1")
        ->capture_default_str();
    command->add_option("--noise", plan.noise, "standard deviation, grey levels, 0 to 20")->capture_default_str();
    command->add_option("--light", plan.light, "fall of the light to the sides, share of the mean, 0 to 0.5")
        ->capture_default_str();
    command->add_option("--margin", plan.margin, "table on either side, pixels, 0 to a quarter of the width")
        ->capture_default_str();
    command->add_option("--defects", plan.defects, "defects in each image that has any, 0 to 200")
        ->capture_default_str();
    command->add_option("--seed", plan.seed, "the same numbers give the same images, 0 to 1000000000")
        ->check(CLI::Range(std::uint64_t{0}, std::uint64_t{1000000000}))
        ->capture_default_str();
    command->add_option("-o,--output", options->output, "folder, with good, defective, mask and truth in it")
        ->capture_default_str();
    command->add_flag("-q,--quiet", options->quiet, "print problems only");
    command->callback([options, &action] { action = [options] { return RunCloth(*options); }; });
}

} // namespace narvo::tools
