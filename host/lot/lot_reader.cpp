// SPDX-License-Identifier: MIT
// The images of a lot from a store.
#include "host/lot/lot_reader.h"

#include <algorithm>
#include <utility>

#include "host/limits.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

std::string NamesOfRuns(const std::vector<StoredRun>& runs)
{
    constexpr std::size_t nNamed = 20;
    std::string names;
    for (std::size_t i = 0; i < runs.size() && i < nNamed; ++i)
        names += (i == 0 ? "" : ", ") + runs[i].description.key;
    return runs.size() > nNamed ? names + " and " + std::to_string(runs.size() - nNamed) + " more" : names;
}

std::vector<StoredRun> ChooseRuns(ResultStore& store, const LotChoice& choice)
{
    const std::vector<StoredRun> runs = store.Runs();
    if (runs.empty())
        throw HostError({{"store " + store.Place(), "no runs", "a store that narvo inspect has written"}});
    std::vector<Problem> found;
    for (const std::string& name : choice.runs)
        if (std::none_of(runs.begin(), runs.end(), [&](const StoredRun& run) { return run.description.key == name; }))
            found.push_back({"--run", name, "one of the store's runs: " + NamesOfRuns(runs)});
    if (!found.empty())
        throw HostError(std::move(found));
    const auto isChosen = [&](const StoredRun& run)
    {
        if (choice.all)
            return run.description.recipe.digest == runs.back().description.recipe.digest;
        if (choice.runs.empty())
            return run.number == runs.back().number;
        return std::find(choice.runs.begin(), choice.runs.end(), run.description.key) != choice.runs.end();
    };
    std::vector<StoredRun> chosen;
    std::copy_if(runs.begin(), runs.end(), std::back_inserter(chosen), isChosen);
    for (const StoredRun& run : chosen)
        if (run.description.recipe.digest != chosen.front().description.recipe.digest)
            found.push_back({"run " + run.description.key,
                             "made by another recipe than " + chosen.front().description.key,
                             "runs of one recipe, whose places can be compared"});
    std::size_t images = 0;
    std::size_t defects = 0;
    for (const StoredRun& run : chosen)
    {
        images += run.images;
        defects += run.blobs;
    }
    if (images > nLotImageLimit)
        found.push_back({"images of the lot", std::to_string(images),
                         "at most " + std::to_string(nLotImageLimit) + "; name fewer runs"});
    if (defects > nLotDefectLimit)
        found.push_back({"defects of the lot", std::to_string(defects),
                         "at most " + std::to_string(nLotDefectLimit) + "; name fewer runs"});
    ThrowIfAny(std::move(found));
    return chosen;
}

} // namespace

LotBuilder ReadLotImages(ResultStore& store, const LotChoice& choice)
{
    const std::vector<StoredRun> runs = ChooseRuns(store, choice);
    LotSource source;
    source.store = store.Place();
    for (const StoredRun& run : runs)
        source.runs.push_back(run.description.key);
    const StoredRecipe& recipe = runs.front().description.recipe;
    source.recipe = recipe.name;
    source.recipeText = store.RecipeOf(recipe.digest).text;
    LotBuilder builder(std::move(source));
    for (const StoredRun& run : runs)
        store.Images(run.number, [&](const StoredImage& image)
                     { builder.Add(image.result.name.empty() ? image.Key() : image.result.name, image.result); });
    return builder;
}

Lot ReadLot(ResultStore& store, const LotChoice& choice)
{
    return ReadLotImages(store, choice).Finish();
}

} // namespace narvo
