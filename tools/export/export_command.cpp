// SPDX-License-Identifier: MIT
// Results for other programs: defects from result files or KLARF files, written in another form.
#include "tools/command.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/exchange/klarf.h"
#include "host/exchange/label_files.h"
#include "host/file/input_file.h"
#include "host/file/name_text.h"
#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/image/image_header.h"
#include "host/problem.h"
#include "host/result/result_reader.h"
#include "tools/exit_code.h"
#include "tools/number_option.h"
#include "tools/output_names.h"

namespace narvo::tools
{

namespace
{

namespace fs = std::filesystem;

enum class Form
{
    Klarf12,
    Klarf18,
    Coco,
    Voc,
    Yolo,
    Table,
};

const std::map<std::string, Form> forms = {{"klarf-1.2", Form::Klarf12}, {"klarf-1.8", Form::Klarf18},
                                           {"coco", Form::Coco},         {"voc", Form::Voc},
                                           {"yolo", Form::Yolo},         {"csv", Form::Table}};

struct ExportOptions
{
    std::vector<std::string> inputs;
    Form form = Form::Klarf12;
    std::string output;
    KlarfHead head;
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

/// A file of its own for each image.
bool WritesFolder(Form form)
{
    return form == Form::Voc || form == Form::Yolo;
}

/// The image's size, from the file where the result does not say it.
void FindSize(DefectList& image, const std::string& input)
{
    if (image.width > 0 && image.height > 0)
        return;
    const fs::path beside = fs::path(input).parent_path() / fs::path(image.image).filename();
    for (const fs::path& file : {fs::path(image.image), beside})
        if (const auto header = ReadImageHeader(file);
            header && header->width > 0 && header->height > 0 && header->width < 1 << 30 && header->height < 1 << 30)
        {
            image.width = static_cast<int>(header->width);
            image.height = static_cast<int>(header->height);
            return;
        }
}

/// Regions of one image become one list.
void ReadResults(const std::string& input, std::vector<DefectList>& images)
{
    std::map<std::string, std::size_t> places;
    for (const SavedResult& saved : LoadResults(input))
    {
        const std::string name = saved.image.empty() ? fs::path(input).stem().string() : saved.image;
        const auto [place, added] = places.emplace(name, images.size());
        if (added)
        {
            DefectList image;
            image.image = name;
            image.width = saved.width;
            image.height = saved.height;
            FindSize(image, input);
            images.push_back(std::move(image));
        }
        for (const Blob& blob : saved.result.blobs)
            images[place->second].defects.push_back(
                {blob.box, static_cast<double>(blob.area), blob.bright ? "bright" : "dark"});
    }
}

bool HoldsKlarf(const std::string& input)
{
    const std::string ending = fs::path(input).extension().string();
    return ending != ".json" && ending != ".jsonl" && IsKlarf(ReadTextFile(input, input, "a readable result file"));
}

std::vector<DefectList> ReadInputs(const ExportOptions& options)
{
    std::vector<DefectList> images;
    std::vector<Problem> found;
    for (const std::string& input : options.inputs)
        CollectProblems(found,
                        [&]
                        {
                            if (!HoldsKlarf(input))
                                return ReadResults(input, images);
                            KlarfContent content = ReadKlarf(input, options.head.pixelSize);
                            std::move(content.images.begin(), content.images.end(), std::back_inserter(images));
                        });
    ThrowIfAny(std::move(found));
    return images;
}

/// What is to be written: file names and texts.
std::vector<std::pair<fs::path, std::string>> FilesOf(const ExportOptions& options,
                                                      const std::vector<DefectList>& images)
{
    const auto whole = [&](std::string text) { return std::vector{std::pair{fs::path(options.output), text}}; };
    if (options.form == Form::Klarf12 || options.form == Form::Klarf18)
        return whole(KlarfText(images, options.head, options.form == Form::Klarf18 ? Klarf_1_8 : Klarf_1_2));
    if (options.form == Form::Coco)
        return whole(CocoText(images));
    if (options.form == Form::Table)
        return whole(DefectTable(images));
    const std::vector<std::string> kinds = KindsOf(images);
    const fs::path folder = options.output;
    std::vector<std::pair<fs::path, std::string>> files;
    for (const DefectList& image : images)
    {
        const fs::path name = folder / fs::path(image.image).stem();
        if (options.form == Form::Voc)
            files.emplace_back(name.string() + ".xml", VocText(image));
        else
            files.emplace_back(name.string() + ".txt", YoloText(image, kinds));
    }
    if (options.form == Form::Yolo)
        files.emplace_back(folder / "classes.txt", YoloClasses(kinds));
    return files;
}

int RunExport(const ExportOptions& options)
{
    const std::vector<DefectList> images = ReadInputs(options);
    const std::vector<std::pair<fs::path, std::string>> files = FilesOf(options, images);
    OutputNames names;
    for (const std::string& input : options.inputs)
        names.AddInput(input);
    for (std::size_t i = 0; i < files.size(); ++i)
        names.AddOutputs(i < images.size() ? Printable(images[i].image) : "the classes", files[i].first.string());
    names.Check();
    if (WritesFolder(options.form))
    {
        std::error_code error;
        fs::create_directories(options.output, error);
        if (error)
            throw WriteError(options.output, error.message(), "a folder that can be made");
    }
    std::size_t defects = 0;
    for (const DefectList& image : images)
        defects += image.defects.size();
    for (const auto& [file, text] : files)
        WriteTextFile(file, text);
    if (!options.quiet)
        std::cout << Printable(options.output) << ": images " << images.size() << ", defects " << defects << std::endl;
    return ExitCode_Done;
}

} // namespace

void AddExportCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<ExportOptions>();
    options->head.time = TimeStamp();
    KlarfHead& head = options->head;
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
