// SPDX-License-Identifier: MIT
// From results or images to the page: the options, the steps, and the file.
#include "tools/command.h"

#include <ctime>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/problem.h"
#include "host/store/result_store.h"
#include "tools/exit_code.h"
#include "tools/output_names.h"
#include "tools/report/report_choice.h"
#include "tools/report/report_illustration.h"
#include "tools/report/report_inputs.h"
#include "tools/report/report_page.h"

namespace narvo::tools
{

namespace
{

namespace fs = std::filesystem;

struct ReportOptions
{
    ReportInputs inputs;
    std::string output;   ///< empty: the first input's name with .report.html
    std::string title;    ///< empty: made from the inputs
    std::string cell;     ///< file with the golden cell that the images are held against; empty: none
    int thumbnails = 400; ///< defects whose crops the page keeps
};

std::string LocalTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts);
    return text;
}

std::string OutputOf(const ReportOptions& options)
{
    if (!options.output.empty())
        return options.output;
    const ReportInputs& inputs = options.inputs;
    const fs::path first(!inputs.files.empty()         ? inputs.files.front()
                         : IsServerPlace(inputs.store) ? "results"
                                                       : inputs.store);
    std::string stem = (first.parent_path() / first.stem()).string();
    if (IsResultFile(first.string()) && stem.ends_with(".blobs"))
        stem.resize(stem.size() - 6);
    return stem + ".report.html";
}

void CheckOutputName(const ReportOptions& options, const ReportDraft& draft)
{
    OutputNames names;
    for (const std::string& file : options.inputs.files)
        names.AddInput(file);
    names.AddInput(options.inputs.recipe);
    names.AddInput(options.cell);
    if (!IsServerPlace(options.inputs.store))
        names.AddInput(options.inputs.store);
    for (const ReportSource& source : draft.sources)
        names.AddInput(source.imageFile);
    names.AddOutputs("the page", OutputOf(options));
    names.Check();
}

int WriteReport(const ReportOptions& options, ReportPage& page)
{
    const std::string output = OutputOf(options);
    page.title = !options.title.empty()    ? options.title
                 : page.images.size() == 1 ? "Inspection of " + page.images.front().name
                                           : "Inspection of " + std::to_string(page.images.size()) + " images";
    page.made = "narvo " + VersionText() + ", " + LocalTime();
    const std::string text = BuildReportPage(page);
    WriteTextFile(output, text);
    std::size_t defects = 0;
    bool complete = true;
    for (const ReportImage& image : page.images)
    {
        defects += image.result.blobs.size();
        complete = complete && image.result.warnings.empty();
    }
    for (const std::string& note : page.notes)
        std::cerr << "narvo: note: " << Printable(note) << '\n';
    if (!options.inputs.quiet)
        std::cout << "report: " + Printable(output) + ", " + CountText(page.images.size(), "image", "images") + ", " +
                         CountText(defects, "defect", "defects") + ", " + std::to_string((text.size() + 1023) / 1024) +
                         " kB"
                  << std::endl;
    return complete ? ExitCode_Done : ExitCode_Incomplete;
}

int RunReport(const ReportOptions& options)
{
    std::optional<ReportCell> cell;
    if (!options.cell.empty())
        cell.emplace(OpenCellReference(options.cell, options.inputs.recipe));
    ReportDraft draft;
    if (const std::vector<Problem> found = GatherInputs(options.inputs, draft); !found.empty())
    {
        PrintProblems(found);
        return ExitCode_BadInput;
    }
    CheckOutputName(options, draft);
    Illustrate(draft, ChooseBlobs(draft.page, options.thumbnails), cell ? &*cell : nullptr);
    if (cell)
        cell->Finish(draft.page);
    return WriteReport(options, draft.page);
}

} // namespace

void AddReportCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<ReportOptions>();
    CLI::App* command = app.add_subcommand("report", "Write results as one HTML page that needs nothing else");
    CLI::Option* inputs =
        command->add_option("inputs", options->inputs.files,
                            "result files of narvo inspect (.json, .jsonl), or image files to inspect by --recipe");
    CLI::Option* store = command->add_option("--store", options->inputs.store,
                                             "database with a run to show, a file of SQLite or "
                                             "postgresql://USER@HOST/DATABASE");
    command->add_option("--run", options->inputs.run, "name of the run in the store (default: the latest)")
        ->needs(store);
    CLI::Option* recipe =
        command->add_option("-r,--recipe", options->inputs.recipe,
                            "recipe file for images; for result files, in place of the one that they name");
    command->add_option("-o,--output", options->output,
                        "HTML file (default: the first input's name with .report.html)");
    command
        ->add_option("--cell", options->cell,
                     "file with the golden cell, by narvo cell --learn; shows where images differ from it")
        ->needs(recipe);
    command->add_option("--title", options->title, "title of the page (default: from the inputs)");
    command
        ->add_option("--thumbnails", options->thumbnails,
                     "defects that come with crops of image, reference and difference, the largest dark and bright "
                     "ones; 0 to 5000")
        ->check(CLI::Range(0, 5000))
        ->capture_default_str();
    command
        ->add_option("-j,--lanes", options->inputs.lanes,
                     "inspections at once, 1 to 256 (default: one for each processor)")
        ->check(CLI::Range(1, 256));
    command->add_flag("-q,--quiet", options->inputs.quiet, "print notes and problems only");
    command->callback(
        [options, inputs, store, &action]
        {
            if (inputs->count() == 0 && store->count() == 0)
                throw CLI::RequiredError("inputs or --store");
            action = [options] { return RunReport(*options); };
        });
}

} // namespace narvo::tools
