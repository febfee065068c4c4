// SPDX-License-Identifier: MIT
// References, images, result files and summaries, one image after the other.
#include "tools/golden/golden_run.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include <nlohmann/json.hpp>

#include "host/file/name_text.h"
#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/golden/golden.h"
#include "host/golden/golden_file.h"
#include "host/problem.h"
#include "host/result/overlay.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/inspect/interrupt.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"
#include "tools/truth/truth.h"
#include "tools/truth/truth_files.h"

namespace narvo::tools
{

namespace
{

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
                            images.push_back(LoadImage(file));
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
        const std::vector<std::string> references = m_options.References();
        const std::vector<std::string> files = m_options.Images();
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
            truth = LoadTruths({m_options.truth}, {files.front()}).front();
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
        if (!m_options.many.quiet)
            std::cout << text << std::endl;
    }

    /// What the names of an image's files begin with.
    std::string PrefixOf(const std::filesystem::path& file, std::size_t files) const
    {
        if (m_options.many.output.empty())
            return std::filesystem::path(file).replace_extension().string();
        return m_options.many.output + (files > 1 ? file.stem().string() : "");
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
            names.AddOutputs(file, prefix, {".blobs.json", ".blobs.csv"});
            if (m_options.overlay.IsWanted())
                names.AddOutputs(file, prefix, {".overlay.png"});
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
        for (const std::string& reference : m_options.References())
            document["references"].push_back(NameToText(reference));
        WriteTextFile(prefix + ".blobs.json", document.dump(2) + "\n");
        WriteTextFile(prefix + ".blobs.csv", GoldenToCsv(result));
        std::string written = prefix + ".blobs.json, " + prefix + ".blobs.csv";
        if (m_options.overlay.IsWanted())
        {
            SaveOverlay(prefix + ".overlay.png", image, result.inspection, missed, m_options.overlay.MostPixels());
            written += ", " + prefix + ".overlay.png";
        }
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

} // namespace

int RunGoldenImages(const GoldenOptions& options)
{
    return GoldenRun(options).Run();
}

} // namespace narvo::tools
