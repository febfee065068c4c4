// SPDX-License-Identifier: MIT
// What a recipe can find, in the public form.
#include "narvo/host_capability.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/capability/capability.h"
#include "host/library/image_parts.h"
#include "host/library/public_progress.h"
#include "host/library/recipe_parts.h"
#include "host/library/translate.h"
#include "host/limits.h"

namespace narvo::v1
{

namespace
{

std::vector<std::string> NamesBy(const std::string& (*nameOf)(int), int count)
{
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i)
        names.push_back(nameOf(i));
    return names;
}

/// The numbers of names. @throws Error naming `field`
std::vector<int> NumbersOf(const std::vector<std::string>& given, const std::vector<std::string>& known,
                           const char* field)
{
    std::vector<int> numbers;
    for (const std::string& name : given)
    {
        const auto place = std::find(known.begin(), known.end(), name);
        if (place == known.end())
        {
            std::string allowed;
            for (std::size_t i = 0; i < known.size(); ++i)
                allowed += (i == 0 ? "" : i + 1 == known.size() ? " or " : ", ") + known[i];
            throw Error({{field, '"' + name + '"', allowed}});
        }
        numbers.push_back(static_cast<int>(place - known.begin()));
    }
    return numbers;
}

CapabilityReport PublicCapability(narvo::CapabilityResult result)
{
    CapabilityReport report;
    report.text = CapabilityToJson(result).dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    for (const CapabilityCurve& curve : result.curves)
    {
        PlantedCurve& made = report.curves.emplace_back();
        made.shape = PlantedShapeName(curve.shape);
        made.place = PlantedPlaceName(curve.place);
        made.contrast = curve.contrast;
        for (const SizeCount& count : curve.counts)
            made.counts.push_back({count.size, count.planted, count.found});
    }
    report.falseBlobs = result.falseBlobs;
    report.megapixels = result.megapixels;
    report.falseRate = result.falseRate;
    report.falseBound = result.falseBound;
    report.warnings = std::move(result.warnings);
    return report;
}

} // namespace

struct CapabilityPlan::Content
{
    CapabilitySettings settings;
};

const std::vector<std::string>& PlantedShapes()
{
    static const std::vector<std::string> names = NamesBy(&PlantedShapeName, nPlantedShapes);
    return names;
}

const std::vector<std::string>& PlantedPlaces()
{
    static const std::vector<std::string> names = NamesBy(&PlantedPlaceName, nPlantedPlaces);
    return names;
}

CapabilityPlan::CapabilityPlan() : m_content(std::make_unique<Content>())
{
}

CapabilityPlan::~CapabilityPlan() = default;

CapabilityPlan::CapabilityPlan(const CapabilityPlan& other) : m_content(std::make_unique<Content>(*other.m_content))
{
}

CapabilityPlan& CapabilityPlan::operator=(const CapabilityPlan& other)
{
    *m_content = *other.m_content;
    return *this;
}

CapabilityPlan& CapabilityPlan::SetSizes(const std::vector<int>& sizes)
{
    m_content->settings.sizes = sizes;
    return *this;
}

CapabilityPlan& CapabilityPlan::SetContrasts(const std::vector<int>& contrasts)
{
    m_content->settings.contrasts = contrasts;
    return *this;
}

CapabilityPlan& CapabilityPlan::SetShapes(const std::vector<std::string>& shapes)
{
    m_content->settings.shapes = NumbersOf(shapes, PlantedShapes(), "shapes");
    return *this;
}

CapabilityPlan& CapabilityPlan::SetPlaces(const std::vector<std::string>& places)
{
    m_content->settings.places = NumbersOf(places, PlantedPlaces(), "places");
    return *this;
}

CapabilityPlan& CapabilityPlan::SetCount(int count)
{
    m_content->settings.count = count;
    return *this;
}

CapabilityPlan& CapabilityPlan::SetSeed(std::uint64_t seed)
{
    m_content->settings.seed = seed;
    return *this;
}

CapabilityReport MeasureCapability(const Recipe& recipe, const std::vector<NamedPicture>& good,
                                   const CapabilityPlan& plan, int threads)
{
    return MeasureCapability(recipe, good, plan, threads, {});
}

CapabilityReport MeasureCapability(const Recipe& recipe, const std::vector<NamedPicture>& good,
                                   const CapabilityPlan& plan, int threads, const OnProgress& progress)
{
    return library::Translated(
        [&]
        {
            if (threads < 1 || threads > nLaneLimit)
                throw HostError({{"threads", std::to_string(threads), "1 to " + std::to_string(nLaneLimit)}});
            std::vector<BatchImage> images;
            for (const NamedPicture& picture : good)
            {
                const std::shared_ptr<const GreyImage>& image = picture.image.GetContent().image;
                library::CheckColours(*image, recipe.GetParts(), picture.name);
                images.push_back({picture.name, [image] { return image; }});
            }
            return PublicCapability(
                narvo::MeasureCapability(recipe.GetParts().regions, images, plan.GetContent().settings, threads,
                                         [&](std::size_t planted, std::size_t wanted)
                                         { library::Tell(progress, "planting defects", planted, wanted); }));
        });
}

} // namespace narvo::v1
