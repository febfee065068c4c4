// SPDX-License-Identifier: MIT
// Reading of results, inspection of images, and the names that images take on the page.
#include "tools/report/report_inputs.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <thread>
#include <utility>

#include "host/file/name_text.h"
#include "host/foreign_text.h"
#include "host/image/grey_image.h"
#include "host/inspect/batch.h"
#include "host/limits.h"
#include "host/lot/lot_reader.h"
#include "host/lot/lot_statistics.h"
#include "host/recipe/recipe_file.h"
#include "host/result/digest.h"
#include "host/result/result_reader.h"
#include "host/store/result_store.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/quiet_codecs.h"
#include "tools/report/report_findings.h"

namespace narvo::tools
{

namespace
{

namespace fs = std::filesystem;

/// A file that a result names: as it stands, or else beside the result.
std::string FindBeside(const std::string& named, const std::string& result)
{
    std::error_code error;
    if (named.empty() || fs::exists(named, error))
        return named;
    const fs::path beside = fs::path(result).parent_path() / fs::path(named).filename();
    return fs::exists(beside, error) ? beside.string() : std::string();
}

class InputReader
{
public:
    InputReader(const ReportInputs& inputs, ReportDraft& draft) : m_inputs(inputs), m_draft(draft) {}

    std::vector<Problem> Run()
    {
        std::vector<Problem> found;
        const bool images =
            std::any_of(m_inputs.files.begin(), m_inputs.files.end(), [](const auto& n) { return !IsResultFile(n); });
        if (images && m_inputs.recipe.empty())
            found.push_back({"--recipe", "missing", "a recipe file, since images are to be inspected"});
        const auto collect = [&](auto&& step) { CollectProblems(found, step); };
        std::vector<int> recipes;
        if (!m_inputs.recipe.empty())
            collect([&] { recipes = RecipesOf(m_inputs.recipe); });
        for (const std::string& input : m_inputs.files)
            if (IsResultFile(input))
                collect([&] { ReadResults(LoadResults(input), input, recipes); });
        if (!m_inputs.store.empty())
            collect([&] { ReadStore(recipes); });
        if (images && !recipes.empty())
            collect([&] { InspectImages(recipes, found); });
        else // told along with the other problems
            for (const std::string& input : m_inputs.files)
                if (!IsResultFile(input))
                    collect(
                        [&]
                        {
                            const QuietCodecs quiet;
                            LoadImage(input);
                        });
        if (found.empty())
            NameImages();
        return found;
    }

private:
    /// Where the regions of a recipe file stand among the page's recipes.
    const std::vector<int>& RecipesOf(const std::string& file)
    {
        const auto known = m_recipesOf.find(file);
        if (known != m_recipesOf.end())
            return known->second;
        std::vector<CheckedRecipe> recipes;
        {
            const QuietCodecs quiet;
            recipes = LoadRecipesByOptions(file);
        }
        std::vector<int> places;
        for (const CheckedRecipe& recipe : recipes)
        {
            const std::string name = fs::path(file).filename().string();
            m_draft.page.recipes.push_back({recipes.size() == 1 ? name : name + ", " + recipe->name, recipe});
            places.push_back(static_cast<int>(m_draft.page.recipes.size()) - 1);
        }
        return m_recipesOf[file] = places;
    }

    /// One run of a store, as the result files of its images would be read.
    void ReadStore(const std::vector<int>& given)
    {
        const std::unique_ptr<ResultStore> store = OpenResultStore(m_inputs.store, StoreAccess_Read);
        const StoredRun run = ChooseRun(*store);
        const std::string recipe = RecipeFileOf(run.description.recipe);
        std::vector<SavedResult> results;
        store->Images(run.number,
                      [&](StoredImage image)
                      {
                          ImageResult& result = image.result;
                          for (std::size_t i = 0; i < result.regions.size(); ++i)
                              results.push_back({std::move(result.regions[i]),
                                                 result.name,
                                                 recipe,
                                                 {},
                                                 static_cast<int>(i),
                                                 static_cast<int>(result.regions.size()),
                                                 result.width,
                                                 result.height});
                      });
        if (results.empty())
            throw HostError({{"run " + run.description.key + " in " + store->Place(), "no inspected image",
                              "a run with inspected images"}});
        CompareImages(*store, run);
        ReadResults(std::move(results), IsServerPlace(m_inputs.store) ? store->Place() : m_inputs.store, given);
    }

    /// What the images of a run have in common, where there are several.
    void CompareImages(ResultStore& store, const StoredRun& run)
    {
        if (run.images < 2 || run.images > nLotImageLimit || run.blobs > nLotDefectLimit)
            return;
        const Lot lot = ReadLot(store, {{run.description.key}, false});
        m_draft.page.comparesImages = true;
        m_draft.page.findings = FindingsOf(lot, MakeLotStatistics(lot, {}));
    }

    StoredRun ChooseRun(ResultStore& store) const
    {
        const std::vector<StoredRun> runs = store.Runs();
        if (runs.empty())
            throw HostError({{"--store " + store.Place(), "no runs", "a store that narvo inspect has written"}});
        if (m_inputs.run.empty())
            return runs.back();
        std::string names;
        for (const StoredRun& run : runs)
        {
            if (run.description.key == m_inputs.run)
                return run;
            names += (names.empty() ? "" : ", ") + run.description.key;
        }
        throw HostError({{"--run", m_inputs.run, "one of the store's runs: " + names}});
    }

    /// The file that a run names where it still is the recipe of the run.
    std::string RecipeFileOf(const StoredRecipe& recipe)
    {
        const std::string file = FindBeside(recipe.name, m_inputs.store);
        if (file.empty() || !m_inputs.recipe.empty())
            return {};
        try
        {
            const QuietCodecs quiet;
            return DigestOfRecipes(LoadRecipesByOptions(file)) == recipe.digest ? file : std::string();
        }
        catch (const HostError&)
        {
            return {};
        }
    }

    void ReadResults(std::vector<SavedResult> results, const std::string& input, const std::vector<int>& given)
    {
        bool imageMissing = false;
        bool recipeMissing = false;
        bool referenceMissing = false;
        for (SavedResult& saved : results)
        {
            ReportSource source;
            source.imageFile = FindBeside(saved.image, input);
            imageMissing = imageMissing || source.imageFile.empty();
            std::vector<int> recipes = given;
            if (const std::string file = FindBeside(saved.recipe, input); recipes.empty() && !file.empty())
                recipes = RecipesOf(file);
            if (static_cast<int>(recipes.size()) == saved.regions)
                source.recipe = recipes[static_cast<std::size_t>(saved.region)];
            for (const std::string& named : saved.references)
                source.references.push_back(FindBeside(named, input));
            if (std::count(source.references.begin(), source.references.end(), std::string()) > 0)
            {
                source.references.clear();
                referenceMissing = true;
            }
            recipeMissing = recipeMissing || (source.recipe < 0 && saved.references.empty());
            Add(saved.image.empty() ? input : saved.image, saved.regions, std::move(saved.result), source);
            ReportImage& image = m_draft.page.images.back();
            image.width = std::max(saved.width, image.result.region.right);
            image.height = std::max(saved.height, image.result.region.bottom);
        }
        if (imageMissing)
            m_draft.page.notes.push_back(input +
                                         ": images that it names are not there, so they come without pictures.");
        if (referenceMissing)
            m_draft.page.notes.push_back(input + ": references that it names are not there, so none are shown.");
        if (recipeMissing)
            m_draft.page.notes.push_back(input + ": its recipe is not there, so no references are shown (--recipe).");
    }

    void InspectImages(const std::vector<int>& indices, std::vector<Problem>& found)
    {
        std::vector<CheckedRecipe> recipes;
        recipes.reserve(indices.size());
        for (const int index : indices)
            recipes.push_back(m_draft.page.recipes[static_cast<std::size_t>(index)].recipe);
        const ImageReading reading = *recipes.front();
        std::vector<BatchImage> images;
        for (const std::string& input : m_inputs.files)
            if (!IsResultFile(input))
                images.push_back(ImageFromFile(input, reading, &ProgramNotes()));
        const int processors = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 256);
        Batch batch(std::move(recipes), m_inputs.lanes > 0 ? m_inputs.lanes : processors);
        const auto take = [&](const ImageResult& result)
        {
            found.insert(found.end(), result.problems.begin(), result.problems.end());
            for (std::size_t i = 0; i < result.regions.size(); ++i)
            {
                Add(result.name, static_cast<int>(result.regions.size()), result.regions[i], {result.name, indices[i]});
                m_draft.page.images.back().width = result.width;
                m_draft.page.images.back().height = result.height;
            }
            if (!m_inputs.quiet)
                std::cout << "inspected " + Printable(result.name) + ": " +
                                 CountText(result.BlobCount(), "defect", "defects")
                          << std::endl;
        };
        const QuietCodecs quiet;
        batch.Run(images, take);
    }

    void Add(const std::string& name, int regions, InspectionResult result, ReportSource source)
    {
        ReportImage& image = m_draft.page.images.emplace_back();
        image.name = NameToText(name);
        source.region = regions > 1 ? (result.name.empty() ? "region" : result.name) : "";
        image.result = std::move(result);
        m_draft.sources.push_back(std::move(source));
    }

    /// File names alone where they tell the images apart; and the region where there are several.
    void NameImages()
    {
        std::map<std::string, std::set<std::string>> places;
        for (const ReportImage& image : m_draft.page.images)
            places[fs::path(image.name).filename().string()].insert(image.name);
        const bool clear =
            std::all_of(places.begin(), places.end(), [](const auto& one) { return one.second.size() == 1; });
        for (std::size_t i = 0; i < m_draft.page.images.size(); ++i)
        {
            std::string& name = m_draft.page.images[i].name;
            if (clear)
                name = fs::path(name).filename().string();
            if (!m_draft.sources[i].region.empty())
                name += ", " + m_draft.sources[i].region;
        }
        for (const ReportImage& image : m_draft.page.images)
            for (const std::string& warning : image.result.warnings)
                m_draft.page.notes.push_back(image.name + ": " + warning);
    }

    const ReportInputs& m_inputs;
    ReportDraft& m_draft;
    std::map<std::string, std::vector<int>> m_recipesOf;
};

} // namespace

bool IsResultFile(const std::string& name)
{
    const fs::path extension = fs::path(name).extension();
    return extension == ".json" || extension == ".jsonl";
}

std::vector<Problem> GatherInputs(const ReportInputs& inputs, ReportDraft& draft)
{
    return InputReader(inputs, draft).Run();
}

} // namespace narvo::tools
