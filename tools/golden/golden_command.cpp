// Golden inspection of image files: references, images, result files, summary.
#include "tools/command.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/file/name_text.h"
#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/golden/golden.h"
#include "host/golden/golden_file.h"
#include "host/problem.h"
#include "host/result/overlay.h"
#include "tools/exit_code.h"
#include "tools/golden/golden_score.h"
#include "tools/inspect/interrupt.h"
#include "tools/number_option.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"
#include "tools/synthetic/truth.h"

namespace narvo
{

namespace
{

struct GoldenOptions
{
    std::vector<std::string> files;      ///< reference and images, or images alone where `references` are given
    std::vector<std::string> references; ///< empty: the first of the files
    std::string truth;                   ///< a file for one image, a folder of pairs, or empty
    std::string output;                  ///< what the files' names begin with; empty: the image's name without ending
    bool steps = false;
    bool quiet = false;
    GoldenSettings settings;
    ScoreOptions score;
};

std::string Fixed(double value, int digits)
{
    char text[48];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

/// Loads the images, and tells of all that cannot be.
std::vector<GreyImage> Load(const std::vector<std::string>& files, std::vector<Problem>& found)
{
    std::vector<GreyImage> images;
    for (const std::string& file : files)
        CollectProblems(found,
                        [&]
                        {
                            const QuietCodecs quiet;
                            images.push_back(LoadGreyImage(file));
                        });
    return images;
}

/// What is told of several images: what was not written comes before what was refused, and that before what is
/// incomplete.
int Worse(int a, int b)
{
    const auto rank = [](int code) {
        return code == ExitCode_NotWritten ? 3 : code == ExitCode_BadInput ? 2 : code == ExitCode_Incomplete ? 1 : 0;
    };
    return rank(a) >= rank(b) ? a : b;
}

class GoldenRun
{
public:
    explicit GoldenRun(const GoldenOptions& options) : m_options(options) {}

    int Run()
    {
        std::vector<std::string> references = m_options.references;
        std::vector<std::string> files = m_options.files;
        if (references.empty() && !files.empty())
        {
            references.assign(1, files.front());
            files.erase(files.begin());
        }
        if (references.empty() || files.empty())
            throw HostError({{"images", references.empty() ? "no reference" : "no image to inspect",
                              "a reference and at least one image"}});
        if (!m_options.truth.empty() && files.size() != 1)
            throw HostError({{"truth", std::to_string(files.size()) + " images", "one image where truth is a file"}});

        CheckOutputNames(references, files);

        std::vector<Problem> found;
        const std::vector<GreyImage> golden = Load(references, found);
        std::vector<TruthDefect> truth;
        if (!m_options.truth.empty())
            truth = LoadTruth(m_options.truth);
        ThrowIfAny(std::move(found));
        const GoldenModel model(golden, m_options.settings);
        Say("reference: " + Printable(references.front()) +
            (references.size() == 1 ? "" : " and " + std::to_string(references.size() - 1) + " more") + ", " +
            std::to_string(model.Width()) + " by " + std::to_string(model.Height()) + " pixels");

        const InterruptRequest interrupt;
        Inspector inspector(1, m_options.settings.maxBlobs);
        int worst = ExitCode_Done;
        for (std::size_t i = 0; i < files.size(); ++i)
        {
            if (interrupt.Token().stop_requested())
            {
                Say("interrupted: " + std::to_string(files.size() - i) + " images are left");
                return ExitCode_Interrupted;
            }
            worst = Worse(worst, InspectOne(inspector, model, files[i], truth, PrefixOf(files[i], files.size())));
        }
        return worst;
    }

private:
    void Say(const std::string& text) const
    {
        if (!m_options.quiet)
            std::cout << text << std::endl;
    }

    /// What the names of an image's files begin with.
    std::string PrefixOf(const std::filesystem::path& file, std::size_t files) const
    {
        if (m_options.output.empty())
            return std::filesystem::path(file).replace_extension().string();
        return m_options.output + (files > 1 ? file.stem().string() : "");
    }

    void CheckOutputNames(const std::vector<std::string>& references, const std::vector<std::string>& files) const
    {
        OutputNames names;
        for (const std::string& reference : references)
            names.AddInput(reference);
        names.AddInput(m_options.truth);
        for (const std::string& file : files)
        {
            const std::string prefix = PrefixOf(file, files.size());
            names.AddInput(file);
            names.AddOutputs(file, prefix, {".blobs.json", ".blobs.csv", ".overlay.png"});
            if (m_options.steps)
                names.AddOutputs(file, prefix, {".reference.png", ".threshold.png"});
        }
        names.Check();
    }

    /// One image of several must not keep the others from being inspected. @return exit code
    int InspectOne(Inspector& inspector, const GoldenModel& model, const std::string& file,
                   const std::vector<TruthDefect>& truth, const std::string& prefix) const
    {
        GreyImage image;
        GoldenResult result;
        try
        {
            std::vector<Problem> found;
            std::vector<GreyImage> loaded = Load({file}, found);
            ThrowIfAny(std::move(found));
            image = std::move(loaded.front());
            result = InspectGolden(inspector, 0, model, image);
        }
        catch (const HostError& error)
        {
            std::vector<Problem> found = error.Problems();
            for (Problem& problem : found)
                if (problem.field == "image")
                    problem.field += " " + file;
            PrintProblems(found);
            return ExitCode_BadInput;
        }
        Summarise(file, result);
        const std::vector<CRect> missed = Judge(result, truth);
        try
        {
            Write(prefix, file, image, result, missed);
        }
        catch (const HostError& error)
        {
            PrintProblems(error.Problems());
            return ExitCode_NotWritten;
        }
        return result.inspection.warnings.empty() ? ExitCode_Done : ExitCode_Incomplete;
    }

    void Summarise(const std::string& file, const GoldenResult& result) const
    {
        const Registration& pose = result.registration;
        const std::vector<Blob>& blobs = result.inspection.blobs;
        const auto bright = std::count_if(blobs.begin(), blobs.end(), [](const Blob& blob) { return blob.bright; });
        Say("image: " + Printable(file) + "\n  lies " + Fixed(pose.shiftX, 2) + ", " + Fixed(pose.shiftY, 2) +
            " pixels off, turned by " + Fixed(pose.rotation, 3) + " degrees, scaled by " + Fixed(pose.scaleX, 4) +
            " and " + Fixed(pose.scaleY, 4) + ", locally off by up to " + Fixed(pose.largestLocal, 2) +
            " pixels\n  correlation " + Fixed(pose.correlation, 4) + ", compared " + Fixed(100.0 * result.compared, 1) +
            " percent of the image\n  blobs: " + std::to_string(blobs.size()) + " (" +
            std::to_string(static_cast<long>(blobs.size()) - bright) + " dark, " + std::to_string(bright) + " bright)");
        for (const std::string& warning : result.inspection.warnings)
            std::cerr << "narvo: warning: " << Printable(file) << ": " << warning << '\n';
    }

    /// @return boxes of the defects that were not found
    std::vector<CRect> Judge(const GoldenResult& result, const std::vector<TruthDefect>& truth) const
    {
        std::vector<CRect> missed;
        if (m_options.truth.empty())
            return missed;
        const TruthScore score = CompareWithTruth(truth, result.inspection.blobs);
        for (std::size_t i = 0; i < truth.size(); ++i)
            if (!score.found[i])
                missed.push_back(truth[i].box);
        Say("true defects found, by kind:\n" + DescribeScore(truth, score) + "recall: " + Fixed(score.Recall(), 3) +
            " (" + std::to_string(score.FoundCount()) + " of " + std::to_string(truth.size()) +
            ")\nfalse blobs: " + std::to_string(score.FalseCount()));
        return missed;
    }

    void Write(const std::string& prefix, const std::string& file, const GreyImage& image, const GoldenResult& result,
               const std::vector<CRect>& missed) const
    {
        nlohmann::ordered_json document = GoldenToJson(result);
        document["image"] = NameToText(file);
        document["references"] = nlohmann::ordered_json::array();
        if (m_options.references.empty())
            document["references"].push_back(NameToText(m_options.files.front()));
        for (const std::string& reference : m_options.references)
            document["references"].push_back(NameToText(reference));
        WriteTextFile(prefix + ".blobs.json", document.dump(2) + "\n");
        WriteTextFile(prefix + ".blobs.csv", GoldenToCsv(result));
        SaveOverlay(prefix + ".overlay.png", image, result.inspection, missed);
        std::string written = prefix + ".blobs.json, " + prefix + ".blobs.csv, " + prefix + ".overlay.png";
        if (m_options.steps)
        {
            SaveGreyImage(prefix + ".reference.png", result.reference);
            SaveGreyImage(prefix + ".threshold.png", result.threshold);
            written += ", " + prefix + ".reference.png, " + prefix + ".threshold.png";
        }
        Say("  written: " + Printable(written));
    }

    const GoldenOptions& m_options;
};

int RunGolden(const GoldenOptions& options)
{
    std::error_code error;
    if (!options.truth.empty() && !std::filesystem::exists(options.truth, error))
        throw HostError(
            {{"truth " + options.truth, "no such file or folder", "a file of true defects, or a folder of pairs"}});
    if (options.truth.empty() || !std::filesystem::is_directory(options.truth, error))
        return GoldenRun(options).Run();
    ScoreOptions score = options.score;
    score.folder = options.truth;
    if (!options.files.empty() || !options.references.empty())
        throw HostError({{"images", "given", "none where truth is a folder of pairs"}});
    return RunGoldenScore(score, options.settings, options.quiet);
}

} // namespace

void AddGoldenCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<GoldenOptions>();
    GoldenSettings& settings = options->settings;
    RegistrationSettings& registration = settings.registration;
    CLI::App* command = app.add_subcommand(
        "golden", "Inspect images of a pattern that does not repeat against one or more good references");
    command->add_option("files", options->files,
                        "the reference and the images to inspect (PNG, TIFF, BMP, PGM, JPEG; 8-bit grey or equal to "
                        "it); images alone where --reference is given");
    command
        ->add_option("--reference", options->references,
                     "reference, once for each of several: their spread widens the thresholds; results are told in "
                     "the first one's coordinates too")
        ->allow_extra_args(false);
    command
        ->add_option("--max-shift", registration.maxShift,
                     "how far an image may lie off along x and y, pixels, 0 to 1024 and at most a quarter of the "
                     "shortest side; sizes may differ by as much")
        ->capture_default_str();
    command->add_option("--max-rotation", registration.maxRotation, "how far it may be turned, degrees, 0 to 10")
        ->capture_default_str();
    command
        ->add_option("--max-scale", registration.maxScale,
                     "how far its scales and its shear may be off, percent, 0 to 10")
        ->capture_default_str();
    command
        ->add_option("--mesh", registration.meshSpacing,
                     "distance between the nodes of the local correction, pixels, 16 to 1024, or 0 for none")
        ->capture_default_str();
    command
        ->add_option("--min-correlation", registration.minCorrelation,
                     "least correlation of image and registered reference, 0 to 1; below, the image is refused")
        ->capture_default_str();
    command
        ->add_option("--edge-tolerance", settings.edgeTolerance,
                     "how far an edge may lie elsewhere without being a difference, pixels, 0 to 16")
        ->capture_default_str();
    command
        ->add_option(
            "--threshold", settings.threshold,
            "difference beyond what the references allow, grey levels, 1 to 255, or 0 to take it from the noise")
        ->capture_default_str();
    command->add_option("--min-pixels", settings.minPixels, "smallest blob that is reported, pixels, 1 to 1000000")
        ->capture_default_str();
    command->add_option("--max-blobs", settings.maxBlobs, "room for blobs, 1 to 1000000")->capture_default_str();
    command->add_option("-t,--truth", options->truth,
                        "true defects of the one image to compare with; or a folder of pairs NAME_temp.*, NAME_test.* "
                        "with boxes in NAME.txt (left top right bottom kind), which is measured instead");
    command
        ->add_option("--displace", options->score.displacement,
                     "folder of pairs: move the images at random by up to this, pixels, 0 to 64")
        ->capture_default_str();
    command
        ->add_option("--seed", options->score.seed,
                     "folder of pairs: the same number gives the same moves, 0 to 9223372036854775807")
        ->check(SeedRange())
        ->capture_default_str();
    command->add_flag("--cross-check", options->score.crossCheck,
                      "folder of pairs: choose mesh, edge tolerance and threshold on each half and measure on the "
                      "other");
    command->add_option("-o,--output", options->output,
                        "beginning of the result files' names, followed by the image's where there are several "
                        "(default: the image's name without its ending)");
    command->add_flag("--steps", options->steps, "also write the registered reference and the threshold of each pixel");
    command->add_flag("-q,--quiet", options->quiet, "print warnings and problems only");
    command->callback([options, &action] { action = [options] { return RunGolden(*options); }; });
}

} // namespace narvo
