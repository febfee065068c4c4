// SPDX-License-Identifier: MIT
// A flat-field or dark-field image from frames of the camera, and what it shows of them.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/foreign_text.h"
#include "narvo/host_images.h"
#include "tools/command.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"

namespace narvo::tools
{

namespace
{

struct FieldOptions
{
    std::vector<std::string> frames;
    std::string output;
    bool line = false;
};

int RunField(const FieldOptions& options)
{
    OutputNames names;
    for (const std::string& frame : options.frames)
        names.AddInput(frame);
    names.AddOutputs("--output", options.output);
    names.Check();
    v1::FieldMean made;
    {
        const QuietCodecs quiet;
        made = v1::MeanOfFiles({options.frames.begin(), options.frames.end()}, RulesOfFrames(), options.line);
    }
    v1::SaveField(options.output, made);
    char values[120];
    std::snprintf(values, sizeof values, "values: %.2f to %.2f, mean %.2f", made.low, made.high, made.mean);
    std::cout << "frames: " << options.frames.size() << '\n'
              << "field:  " << made.width << " by " << made.height << " pixels\n"
              << values << '\n'
              << "written: " << Printable(options.output) << std::endl;
    if (made.saturated > 0)
        std::cerr << "narvo: warning: " << made.saturated
                  << " values of the frames are the largest that these can hold: what is corrected by them becomes too "
                     "bright; expose the frames less\n";
    return ExitCode_Done;
}

} // namespace

void AddFieldCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<FieldOptions>();
    CLI::App* command = app.add_subcommand(
        "field", "Make a flat-field or dark-field image: the mean of frames of an even white, or without light");
    command
        ->add_option("frames", options->frames,
                     "image files of one size and kind, not converted; with --raw, frames without a header")
        ->required();
    command->add_option("-o,--output", options->output, "file for the field, .png or .tif; 16 bits")->required();
    command->add_flag("--line", options->line,
                      "frames of a line camera: the mean of all rows, one row that stands for every row of an image");
    command->footer("The field is used by --flat-field or --dark-field of every command that reads images, or by the "
                    "recipe's\nimage.flat_field and image.dark_field.");
    command->callback([options, &action] { action = [options] { return RunField(*options); }; });
}

} // namespace narvo::tools
