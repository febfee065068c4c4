// SPDX-License-Identifier: MIT
// `narvo cell`: learns the golden cell of a pattern, and holds images against it.
#include "tools/command.h"

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/cell/golden_cell.h"
#include "host/cell/golden_cell_file.h"
#include "host/file/name_text.h"
#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/problem.h"
#include "tools/cell/cell_picture.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/inspect/image_list.h"
#include "tools/number_option.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"

namespace narvo::tools
{

namespace
{

struct CellOptions
{
    ImageSelection images;
    std::string recipe;
    std::string learn;  ///< file for the golden cell; empty: images are compared
    std::string golden; ///< file with the golden cell; empty: it is learnt
    CellSettings settings;
    std::string json;    ///< empty: none
    std::string picture; ///< empty: none
    bool quiet = false;
};

/// Problems of an image, with its name.
std::vector<Problem> NamedProblems(const HostError& error, const std::string& image)
{
    std::vector<Problem> named;
    for (const Problem& problem : error.Problems())
        named.push_back(
            {problem.field == "image" ? image : image + ": " + problem.field, problem.value, problem.allowed});
    return named;
}

class CellRun
{
public:
    explicit CellRun(const CellOptions& options) : m_options(options) {}

    int Run()
    {
        CheckCellSettings(m_options.settings);
        m_recipes = LoadRecipesByOptions(m_options.recipe);
        if (m_recipes[0]->channel == Channel_Each)
            throw HostError({{"image.channel", "each",
                              "one channel: --channel luma, --channel red, --channel green or --channel blue"}});
        if (!m_options.golden.empty())
            LoadGolden();
        const std::vector<std::string> images = ListImages(m_options.images);
        CheckNames(images);
        if (!m_options.learn.empty())
            Learn(images);
        else
            Compare(images);
        TellConversions();
        if (!m_problems.empty())
            PrintProblems(m_problems);
        if (m_refused == images.size())
            return ExitCode_BadInput;
        return m_refused > 0 ? ExitCode_SomeRefused : ExitCode_Done;
    }

private:
    void LoadGolden()
    {
        m_golden = LoadGoldenCells(m_options.golden);
        if (m_golden.size() != m_recipes.size())
            throw HostError({{m_options.golden, std::to_string(m_golden.size()) + " regions",
                              "the recipe's " + std::to_string(m_recipes.size())}});
    }

    void CheckNames(const std::vector<std::string>& images) const
    {
        OutputNames names;
        names.AddRecipe(m_options.recipe, m_recipes);
        names.AddInput(m_options.golden);
        for (const std::string& image : images)
            names.AddInput(image);
        for (const auto& [owner, name] : {std::pair("--learn", &m_options.learn), std::pair("--json", &m_options.json),
                                          std::pair("--picture", &m_options.picture)})
            if (!name->empty())
                names.AddOutputs(owner, *name);
        names.Check();
    }

    /// Calls step(image) with each image that can be read; what it throws is kept with the image's name.
    template <typename Step>
    void ForEach(const std::vector<std::string>& images, const Step& step)
    {
        for (const std::string& name : images)
            try
            {
                GreyImage image;
                {
                    const QuietCodecs quiet;
                    image = LoadImage(name, *m_recipes[0]);
                }
                step(name, image);
            }
            catch (const HostError& error)
            {
                ++m_refused;
                // A problem of reading names the file itself.
                const bool named = error.Problems().front().field.find(name) != std::string::npos;
                const std::vector<Problem> found = named ? error.Problems() : NamedProblems(error, Printable(name));
                m_problems.insert(m_problems.end(), found.begin(), found.end());
            }
    }

    void Learn(const std::vector<std::string>& images)
    {
        std::vector<GoldenCellLearner> learners;
        for (const CheckedRecipe& recipe : m_recipes)
            learners.emplace_back(*recipe);
        ForEach(images,
                [&](const std::string&, const GreyImage& image)
                {
                    std::vector<GoldenCellLearner> tried = learners; // an image counts in all regions or in none
                    for (GoldenCellLearner& learner : tried)
                        learner.Add(image);
                    learners = std::move(tried);
                });
        if (m_refused == images.size())
            return;
        std::vector<GoldenCell> cells;
        for (const GoldenCellLearner& learner : learners)
            cells.push_back(learner.Finish());
        SaveGoldenCells(m_options.learn, cells);
        if (m_options.quiet)
            return;
        for (const GoldenCell& cell : cells)
            std::cout << RegionText(cell.region) << "a cell of " << cell.mean.cols << " by " << cell.mean.rows
                      << " places, " << LatticeText(cell.cell.lattice) << ", from " << cell.images
                      << (cell.images == 1 ? " image\n" : " images\n");
        std::cout << "written: " << Printable(m_options.learn) << std::endl;
    }

    void Compare(const std::vector<std::string>& images)
    {
        nlohmann::ordered_json lines = nlohmann::ordered_json::array();
        std::optional<std::pair<const GoldenCell*, CellComparison>> drawn;
        ForEach(images,
                [&](const std::string& name, const GreyImage& image)
                {
                    std::vector<CellComparison> found;
                    for (std::size_t i = 0; i < m_recipes.size(); ++i)
                        found.push_back(CompareCell(m_golden[i], image, *m_recipes[i], m_options.settings));
                    nlohmann::ordered_json regions = nlohmann::ordered_json::array();
                    for (std::size_t i = 0; i < found.size(); ++i)
                    {
                        regions.push_back(ComparisonToJson(m_golden[i], found[i]));
                        if (!m_options.quiet)
                            std::cout << Printable(name) << ": " << RegionText(m_golden[i].region)
                                      << ComparisonText(found[i]) << std::flush;
                        if (!m_options.picture.empty() && (!drawn || Errors(found[i]) > Errors(drawn->second)))
                            drawn.emplace(&m_golden[i], std::move(found[i]));
                    }
                    lines.push_back({{"image", NameToText(name)}, {"regions", std::move(regions)}});
                });
        if (!m_options.json.empty())
            WriteTextFile(m_options.json, lines.dump(2) + "\n");
        if (drawn)
        {
            const cv::Mat picture = DrawCells(drawn->first->mean, drawn->second.shown.mean, drawn->second.difference);
            SaveGreyImage(m_options.picture, GreyImage(picture.data, picture.cols, picture.rows,
                                                       static_cast<std::ptrdiff_t>(picture.step)));
        }
    }

    static double Errors(const CellComparison& comparison)
    {
        return comparison.found.empty() ? 0.0 : comparison.found[0].errors;
    }

    /// A single region needs no name.
    std::string RegionText(const std::string& region) const
    {
        return m_recipes.size() == 1 ? std::string() : Printable(region) + ": ";
    }

    const CellOptions& m_options;
    std::vector<CheckedRecipe> m_recipes;
    std::vector<GoldenCell> m_golden;
    std::vector<Problem> m_problems;
    std::size_t m_refused = 0;
};

} // namespace

void AddCellCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<CellOptions>();
    CLI::App* command = app.add_subcommand(
        "cell", "Keep what the pattern's cell looks like in good images, and find what is wrong in every cell alike");
    command->add_option("images", options->images.places, "image files and folders")->required();
    command->add_option("-r,--recipe", options->recipe, "recipe file; its pitch or lattice gives the cell")->required();
    command->add_flag("--recursive", options->images.recursive, "folders with all that lies below them");
    CLI::Option* learn =
        command->add_option("--learn", options->learn, "file for the golden cell; the images are good ones");
    CLI::Option* golden =
        command->add_option("--golden", options->golden, "file with the golden cell that the images are held against");
    learn->excludes(golden);
    command
        ->add_option("--least", options->settings.leastDifference,
                     "grey levels below which nothing is reported, 0 to 255")
        ->check(RealRange(0.0, 255.0, "grey levels"))
        ->capture_default_str();
    command->add_option("--tolerance", options->settings.tolerance, "pixels by which edges may lie elsewhere, 0 to 4")
        ->check(RealRange(0.0, 4.0, "pixels"))
        ->capture_default_str();
    command
        ->add_option("--certainty", options->settings.certainty,
                     "standard errors that a difference must exceed, 3 to 100")
        ->check(RealRange(3.0, 100.0, "standard errors"))
        ->capture_default_str();
    command->add_option("--json", options->json, "file for everything that was found");
    command->add_option("--picture", options->picture,
                        "image file for golden cell, image's cell and difference, of the image that differs most");
    command->add_flag("-q,--quiet", options->quiet, "print problems only");
    command->callback(
        [options, &action]
        {
            if (options->learn.empty() == options->golden.empty())
                throw CLI::RequiredError("--learn or --golden");
            action = [options] { return CellRun(*options).Run(); };
        });
}

} // namespace narvo::tools
