// SPDX-License-Identifier: MIT
// From the records of a store to those of a lot, image by image.
#include "host/lot/lot_reader.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/limits.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"

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

/// Pixels within the corners, of several parts together.
double AreaOf(const InspectionResult& region)
{
    const double box = std::max(0.0, static_cast<double>(region.region.right) - region.region.left) *
                       std::max(0.0, static_cast<double>(region.region.bottom) - region.region.top);
    if (region.outlines.empty())
        return box;
    double area = 0.0;
    for (const std::vector<CPoint>& corners : region.outlines)
    {
        double twice = 0.0;
        for (std::size_t i = 0; i < corners.size(); ++i)
        {
            const CPoint& next = corners[(i + 1) % corners.size()];
            twice += static_cast<double>(corners[i].x) * next.y - static_cast<double>(next.x) * corners[i].y;
        }
        area += 0.5 * std::abs(twice);
    }
    return area > 0.0 ? std::min(area, box) : box;
}

/// Size and regions: images that agree in them can be compared place by place.
using Layout = std::vector<int>;

Layout LayoutOf(const ImageResult& result)
{
    Layout layout = {result.width, result.height};
    for (const InspectionResult& region : result.regions)
        layout.insert(layout.end(), {region.region.left, region.region.top, region.region.right, region.region.bottom});
    return layout;
}

/// Means over the defects of an image.
void SetMeans(LotImage& image, const ImageResult& result)
{
    double logarithm = 0.0;
    double grey = 0.0;
    double contrast = 0.0;
    for (const InspectionResult& region : result.regions)
        for (const Blob& blob : region.blobs)
        {
            logarithm += std::log(std::max(1, blob.area));
            grey += blob.meanReference;
            contrast += std::abs(static_cast<double>(blob.meanDifference));
        }
    if (image.defects == 0)
        return;
    const auto count = static_cast<double>(image.defects);
    image.size = std::exp(logarithm / count);
    image.grey = grey / count;
    image.contrast = contrast / count;
}

class LotBuilder
{
public:
    void Add(const StoredImage& stored)
    {
        const ImageResult& result = stored.result;
        LotImage& image = m_lot.images.emplace_back();
        image.name = result.name.empty() ? stored.Key() : result.name;
        image.refused = !result.IsInspected() || result.regions.empty();
        m_layoutOf.push_back(-1);
        if (image.refused)
            return;
        const Layout layout = LayoutOf(result);
        const auto [known, added] = m_layouts.emplace(layout, static_cast<int>(m_images.size()));
        if (added)
        {
            m_images.push_back(0);
            m_regions.push_back(RegionsOf(result));
        }
        m_layoutOf.back() = known->second;
        ++m_images[static_cast<std::size_t>(known->second)];
        for (std::size_t i = 0; i < result.regions.size(); ++i)
            AddRegion(image, result.regions[i], i);
        SetMeans(image, result);
    }

    Lot Finish()
    {
        if (m_images.empty())
            return std::move(m_lot);
        const auto most = std::max_element(m_images.begin(), m_images.end()) - m_images.begin();
        m_lot.regions = m_regions[static_cast<std::size_t>(most)];
        for (std::size_t i = 0; i < m_lot.images.size(); ++i)
            m_lot.images[i].comparable = m_layoutOf[i] == most;
        std::erase_if(m_lot.defects, [&](const LotDefect& defect) { return !m_lot.images[defect.image].comparable; });
        return std::move(m_lot);
    }

private:
    static std::vector<LotRegion> RegionsOf(const ImageResult& result)
    {
        std::vector<LotRegion> regions;
        for (const InspectionResult& region : result.regions)
        {
            LotRegion& one = regions.emplace_back();
            one.name = region.name;
            one.box = region.region;
            one.area = AreaOf(region);
        }
        return regions;
    }

    void AddRegion(LotImage& image, const InspectionResult& region, std::size_t place)
    {
        image.defects += region.blobs.size();
        image.pairs += std::max(0, region.pairs);
        image.area += AreaOf(region);
        // What another program adds meanwhile.
        if (m_lot.defects.size() + region.blobs.size() > nLotDefectLimit)
            throw HostError({{"defects of the lot", "more than " + std::to_string(nLotDefectLimit),
                              "at most " + std::to_string(nLotDefectLimit) + "; name fewer runs"}});
        for (const Blob& blob : region.blobs)
            m_lot.defects.push_back({static_cast<std::uint32_t>(m_lot.images.size() - 1),
                                     static_cast<std::uint32_t>(place), blob.center.x, blob.center.y});
    }

    Lot m_lot;
    std::map<Layout, int> m_layouts;
    std::vector<std::size_t> m_images; ///< of each layout
    std::vector<std::vector<LotRegion>> m_regions;
    std::vector<int> m_layoutOf; ///< of each image; -1: none
};

/// A recipe without the images that it names, and what goes with them: its cells do not depend on either.
void RemoveImages(nlohmann::json& fields)
{
    if (!fields.is_object())
        return;
    fields.erase("dead_image");
    const auto remove = [&](const char* section, std::initializer_list<const char*> names)
    {
        if (const auto part = fields.find(section); part != fields.end() && part->is_object())
            for (const char* name : names)
                part->erase(name);
    };
    remove("zones", {"image", "class_image", "list", "skip"});
    remove("image", {"flat_field", "dark_field"});
    if (const auto regions = fields.find("regions"); regions != fields.end() && regions->is_array())
        for (nlohmann::json& region : *regions)
            RemoveImages(region);
}

/// The cell of one region, or why it has none.
void SetCell(const Recipe& recipe, LotRegion& region)
{
    constexpr double dLeastArea = 4.0;
    LotCell cell;
    if (recipe.mode == Mode_Lattice)
    {
        cell.lattice.vectors = {{recipe.latticeAX, recipe.latticeAY}, {recipe.latticeBX, recipe.latticeBY}};
        const auto& [a, b] = std::pair(cell.lattice.vectors[0], cell.lattice.vectors[1]);
        if (std::abs(a.x * b.y - a.y * b.x) < dLeastArea)
            region.noCell = "the recipe does not give both vectors of the lattice";
    }
    else if (!recipe.ComparesAtAPitch())
        region.noCell = "the recipe's mode has no pitch";
    else if (!recipe.scanPitches.empty() || !recipe.convPitches.empty() || !recipe.rowPitches.empty() ||
             !recipe.columnPitches.empty())
        region.noCell = "the recipe's pitch differs from place to place";
    else if (recipe.pitchX * recipe.pitchY < dLeastArea)
        region.noCell = "the recipe has no pitch along both axes";
    else
        cell = {{{{recipe.pitchX, 0.0}, {0.0, recipe.pitchY}}}, recipe.zoneOriginX, recipe.zoneOriginY};
    if (region.noCell.empty())
        region.cell = cell;
}

} // namespace

void ReadCells(const std::string& recipeText, std::vector<LotRegion>& regions)
{
    std::string reason;
    try
    {
        nlohmann::json document = ParseJsonText(recipeText, "the store's recipe");
        RemoveImages(document);
        const std::vector<CheckedRecipe> recipes = ParseRecipes(document, {});
        if (recipes.size() == regions.size())
        {
            for (std::size_t i = 0; i < regions.size(); ++i)
                SetCell(*recipes[i], regions[i]);
            return;
        }
        reason = "the store's recipe has other regions";
    }
    catch (const HostError& error)
    {
        reason = "the store's recipe is none that has a pitch: " + error.Problems().front().Text();
    }
    for (LotRegion& region : regions)
        region.noCell = reason;
}

Lot ReadLot(ResultStore& store, const LotChoice& choice)
{
    const std::vector<StoredRun> runs = ChooseRuns(store, choice);
    LotBuilder builder;
    for (const StoredRun& run : runs)
        store.Images(run.number, [&](const StoredImage& image) { builder.Add(image); });
    Lot lot = builder.Finish();
    lot.store = store.Place();
    for (const StoredRun& run : runs)
        lot.runs.push_back(run.description.key);
    const StoredRecipe& recipe = runs.front().description.recipe;
    lot.recipe = recipe.name;
    ReadCells(store.RecipeOf(recipe.digest).text, lot.regions);
    return lot;
}

} // namespace narvo
