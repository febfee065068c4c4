// SPDX-License-Identifier: MIT
// Results for other programs: defects from result files or KLARF files, written in another form.
#include "tools/command.h"

#include <algorithm>
#include <ctime>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/foreign_text.h"
#include "host/problem.h"
#include "narvo/host_exchange.h"
#include "tools/exit_code.h"
#include "tools/number_option.h"
#include "tools/output_names.h"

namespace narvo::tools
{

namespace
{

const std::map<std::string, v1::ExchangeForm> forms = {
    {"klarf-1.2", v1::ExchangeForm::Klarf12}, {"klarf-1.8", v1::ExchangeForm::Klarf18},
    {"coco", v1::ExchangeForm::Coco},         {"voc", v1::ExchangeForm::Voc},
    {"yolo", v1::ExchangeForm::Yolo},         {"csv", v1::ExchangeForm::Table}};

struct ExportOptions
{
    std::vector<std::string> inputs;
    v1::ExchangeForm form = v1::ExchangeForm::Klarf12;
    std::string output;
    v1::KlarfHead head;
    bool quiet = false;
};

std::string TimeStamp()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

std::vector<v1::DefectList> ReadInputs(const ExportOptions& options)
{
    std::vector<v1::DefectList> images;
    std::vector<Problem> found;
    for (const std::string& input : options.inputs)
        CollectProblems(found,
                        [&]
                        {
                            std::vector<v1::DefectList> read = v1::ReadDefects(input, options.head.pixelSize);
                            std::move(read.begin(), read.end(), std::back_inserter(images));
                        });
    ThrowIfAny(std::move(found));
    return images;
}

int RunExport(const ExportOptions& options)
{
    const std::vector<v1::DefectList> images = ReadInputs(options);
    const v1::ExchangeFiles made = v1::MakeExchangeFiles(options.output, images, options.form, options.head);
    OutputNames names;
    for (const std::string& input : options.inputs)
        names.AddInput(input);
    for (std::size_t i = 0; i < made.files.size(); ++i)
        names.AddOutputs(i < images.size() ? Printable(images[i].image) : "the classes", made.files[i].name.string());
    names.Check();
    std::size_t defects = 0;
    for (const v1::DefectList& image : images)
        defects += image.defects.size();
    v1::SaveExchangeFiles(made);
    if (!options.quiet)
        std::cout << Printable(options.output) << ": images " << images.size() << ", defects " << defects << std::endl;
    return ExitCode_Done;
}

} // namespace

void AddExportCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<ExportOptions>();
    options->head.time = TimeStamp();
    v1::KlarfHead& head = options->head;
    CLI::App* command = app.add_subcommand("export", "Write defects in the forms of other programs");
    command
        ->add_option("inputs", options->inputs,
                     "result files of narvo inspect and narvo golden (.json, .jsonl), or KLARF files of any other name")
        ->required();
    command->add_option("-f,--format", options->form, "klarf-1.2, klarf-1.8, coco, voc, yolo or csv")
        ->required()
        ->transform(CLI::CheckedTransformer(forms).description(""));
    command
        ->add_option("-o,--output", options->output,
                     "file to write; of voc and yolo, the folder, which gets a file for each image")
        ->required();
    command
        ->add_option("--pixel-size", head.pixelSize,
                     "micrometres that a pixel is wide and high, 0.01 to 1000, for KLARF in both directions")
        ->check(RealRange(0.01, 1000.0, "micrometres"))
        ->capture_default_str();
    command->add_option("--lot", head.lot, "KLARF: name of the lot")->capture_default_str();
    command->add_option("--wafer", head.wafer, "KLARF: name of the wafer or panel")->capture_default_str();
    command->add_option("--slot", head.slot, "KLARF: its slot, 1 to 1000")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    command->add_option("--device", head.device, "KLARF: name of the product")->capture_default_str();
    command->add_option("--setup", head.setup, "KLARF: name of the recipe")->capture_default_str();
    command->add_option("--step", head.step, "KLARF: name of the process step")->capture_default_str();
    command->add_option("--station", head.stationId, "KLARF: id of the inspection station")->capture_default_str();
    command->add_option("--time", head.time, "KLARF: time of the result, YYYY-MM-DD hh:mm:ss (default: now)");
    command->add_flag("-q,--quiet", options->quiet, "print problems only");
    command->callback([options, &action] { action = [options] { return RunExport(*options); }; });
}

} // namespace narvo::tools
