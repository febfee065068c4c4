// SPDX-License-Identifier: MIT
// Making of a board and its files.
#include "tools/command.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "host/foreign_text.h"
#include "host/problem.h"
#include "tools/exit_code.h"
#include "tools/number_option.h"
#include "tools/synthetic/board.h"

namespace narvo::tools
{

namespace
{

struct BoardOptions
{
    BoardPlan plan;
    std::string output = "board";
    bool quiet = false;
};

int RunBoard(const BoardOptions& options)
{
    Board board;
    try
    {
        board = MakeBoard(options.plan);
    }
    catch (const HostError& error)
    {
        PrintProblems(error.Problems());
        return ExitCode_BadInput;
    }
    const std::string image = options.output + ".png";
    const std::string truth = options.output + ".truth.json";
    std::string written;
    for (std::size_t i = 0; i < board.references.size(); ++i)
    {
        const std::string file = options.output + ".good" + (i == 0 ? "" : std::to_string(i + 1)) + ".png";
        SaveGreyImage(file, board.references[i]);
        written += "reference: " + Printable(file) + "\n";
    }
    SaveGreyImage(image, board.image);
    SaveTruth(truth, std::filesystem::path(image).filename().string(), board.truth);
    if (!options.quiet)
        std::cout << "defects placed: " << board.truth.size() << " of " << options.plan.defects << "\n"
                  << written << "image: " << Printable(image) << "\ntruth: " << Printable(truth) << std::endl;
    return ExitCode_Done;
}

} // namespace

void AddBoardCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<BoardOptions>();
    BoardPlan& plan = options->plan;
    CLI::App* command =
        app.add_subcommand("board", "Make photographs of a board that does not repeat, with known defects");
    command->add_option("--width", plan.width, "pixels, 256 to 8192")->capture_default_str();
    command->add_option("--height", plan.height, "pixels, 256 to 8192")->capture_default_str();
    command->add_option("--references", plan.references, "photographs of good boards, 1 to 100")->capture_default_str();
    command->add_option("--shift-x", plan.shiftX, "of the image against the reference, pixels, -100 to 100")
        ->capture_default_str();
    command->add_option("--shift-y", plan.shiftY, "pixels, -100 to 100")->capture_default_str();
    command->add_option("--rotation", plan.rotation, "of the image, clockwise, degrees, -15 to 15")
        ->capture_default_str();
    command->add_option("--scale-x", plan.scaleX, "of the image, 0.8 to 1.2")->capture_default_str();
    command->add_option("--scale-y", plan.scaleY, "of the image, 0.8 to 1.2")->capture_default_str();
    command->add_option("--sway", plan.sway, "uneven feed of the image's rows, pixels, 0 to 8")->capture_default_str();
    command->add_option("--noise", plan.noise, "standard deviation, grey levels, 0 to 20")->capture_default_str();
    command->add_option("--label-play", plan.labelPlay, "how far each board's label may lie off, pixels, 0 to 10")
        ->capture_default_str();
    command->add_option("--defects", plan.defects, "number of defects, 0 to 200")->capture_default_str();
    command->add_option("--seed", plan.seed, "the same numbers give the same board, 0 to 9223372036854775807")
        ->check(SeedRange())
        ->capture_default_str();
    command->add_option("-o,--output", options->output, "beginning of the files' names")->capture_default_str();
    command->add_flag("-q,--quiet", options->quiet, "print problems only");
    command->callback([options, &action] { action = [options] { return RunBoard(*options); }; });
}

} // namespace narvo::tools
