// SPDX-License-Identifier: MIT
// Golden cells in the public form.
#include "narvo/host_cell.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/cell/golden_cell.h"
#include "host/cell/golden_cell_file.h"
#include "host/library/named_settings.h"
#include "host/library/public_report.h"
#include "host/library/recipe_parts.h"
#include "host/library/translate.h"
#include "host/problem.h"

namespace narvo::v1
{

struct GoldenCell::Content
{
    std::vector<narvo::GoldenCell> regions;
};

namespace
{

std::vector<float> ValuesOf(const cv::Mat& matrix)
{
    return {matrix.begin<float>(), matrix.end<float>()};
}

CellReport PublicCell(const narvo::GoldenCell& golden, const CellComparison& comparison)
{
    const ShownCell& shown = comparison.shown;
    CellReport made;
    made.region = golden.region;
    for (const CellDeviation& one : comparison.found)
        made.places.push_back({library::PublicBox(one.box), one.x, one.y, one.area, one.difference, one.errors});
    made.parts = shown.parts;
    made.partsLeftOut = shown.leftOut;
    made.displacementX = shown.displacement.x;
    made.displacementY = shown.displacement.y;
    made.gain = shown.light.gain;
    made.offset = shown.light.offset;
    made.resemblance = shown.light.resemblance;
    made.width = shown.mean.cols;
    made.height = shown.mean.rows;
    made.mean = ValuesOf(shown.mean);
    made.difference = ValuesOf(comparison.difference);
    made.text = ComparisonText(comparison);
    return made;
}

/// Runs `call`; problems of "image" are told as of `name`.
template <typename Call>
auto NamingImage(const std::string& name, Call call)
{
    try
    {
        return call();
    }
    catch (const HostError& error)
    {
        std::vector<narvo::Problem> found = error.Problems();
        for (narvo::Problem& problem : found)
            if (problem.field == "image")
                problem.field = name;
        throw HostError(std::move(found));
    }
}

const narvo::GoldenCell& RegionOf(const GoldenCell::Content& content, std::size_t region)
{
    if (region >= content.regions.size())
        throw HostError({{"region", std::to_string(region), "0 to " + std::to_string(content.regions.size() - 1)}});
    return content.regions[region];
}

const std::vector<CheckedRecipe>& FittingRegions(const GoldenCell::Content& content, const Recipe& recipe)
{
    const std::vector<CheckedRecipe>& regions = recipe.GetParts().regions;
    if (regions.size() != content.regions.size())
        throw HostError({{"recipe", std::to_string(regions.size()) + " regions",
                          "the " + std::to_string(content.regions.size()) + " that the cell was learnt by"}});
    for (std::size_t i = 0; i < regions.size(); ++i)
        CheckCellFits(content.regions[i], *regions[i]);
    return regions;
}

} // namespace

const GoldenCell::Content& GoldenCell::Own() const
{
    if (m_content == nullptr)
        throw Error({{"cell", "none", "one that was not moved from"}});
    return *m_content;
}

GoldenCell GoldenCell::Learn(const Recipe& recipe, const std::vector<ImagePixels>& images)
{
    return library::Translated(
        [&]
        {
            std::vector<GoldenCellLearner> learners;
            for (const CheckedRecipe& region : recipe.GetParts().regions)
                learners.emplace_back(*region);
            for (std::size_t i = 0; i < images.size(); ++i)
            {
                const std::string name = "images[" + std::to_string(i) + "]";
                GreyImage copy;
                const GreyView view = library::ReadableView(images[i], *recipe.GetParts().regions.front(), copy, name);
                NamingImage(name,
                            [&]
                            {
                                for (GoldenCellLearner& learner : learners)
                                    learner.Add(view);
                            });
            }
            auto content = std::make_shared<Content>();
            for (const GoldenCellLearner& learner : learners)
                content->regions.push_back(learner.Finish());
            return GoldenCell(std::move(content));
        });
}

GoldenCell GoldenCell::FromFile(const std::filesystem::path& file)
{
    return library::Translated([&]
                               { return GoldenCell(std::make_shared<const Content>(Content{LoadGoldenCells(file)})); });
}

void GoldenCell::Save(const std::filesystem::path& file) const
{
    const Content& own = Own();
    library::Translated([&] { SaveGoldenCells(file, own.regions); });
}

std::size_t GoldenCell::Regions() const
{
    return Own().regions.size();
}

int GoldenCell::Images() const
{
    return Own().regions.front().images;
}

std::pair<int, int> GoldenCell::Size(std::size_t region) const
{
    const Content& own = Own();
    return library::Translated(
        [&]
        {
            const cv::Mat& mean = RegionOf(own, region).mean;
            return std::pair(mean.cols, mean.rows);
        });
}

std::vector<float> GoldenCell::Mean(std::size_t region) const
{
    const Content& own = Own();
    return library::Translated([&] { return ValuesOf(RegionOf(own, region).mean); });
}

void GoldenCell::Check(const Recipe& recipe) const
{
    const Content& own = Own();
    library::Translated([&] { FittingRegions(own, recipe); });
}

std::vector<CellReport> GoldenCell::Compare(const ImagePixels& image, const Recipe& recipe,
                                            const Settings& settings) const
{
    std::string unread;
    return Compare(image, recipe, settings, unread);
}

std::vector<CellReport> GoldenCell::Compare(const ImagePixels& image, const Recipe& recipe, const Settings& settings,
                                            std::string& json) const
{
    const Content& own = Own();
    return library::Translated(
        [&]
        {
            CellSettings values;
            library::TakeSettings(settings,
                                  {{"least_difference", &values.leastDifference},
                                   {"tolerance", &values.tolerance},
                                   {"certainty", &values.certainty}},
                                  [] { return std::vector<narvo::Problem>(); });
            const std::vector<CheckedRecipe>& regions = FittingRegions(own, recipe);
            GreyImage copy;
            const GreyView view = library::ReadableView(image, *regions.front(), copy);
            std::vector<CellReport> reports;
            nlohmann::ordered_json found = {{"regions", nlohmann::ordered_json::array()}};
            for (std::size_t i = 0; i < regions.size(); ++i)
            {
                const CellComparison comparison = CompareCell(own.regions[i], view, *regions[i], values);
                reports.push_back(PublicCell(own.regions[i], comparison));
                found["regions"].push_back(ComparisonToJson(own.regions[i], comparison));
            }
            json = found.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
            return reports;
        });
}

} // namespace narvo::v1
