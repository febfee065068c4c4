// SPDX-License-Identifier: MIT
// What a recipe can find, as JSON.
#include <nlohmann/json.hpp>

#include "host/capability/capability.h"
#include "host/file/name_text.h"

namespace narvo
{

using nlohmann::ordered_json;

namespace
{

const char* OutcomeName(FitOutcome outcome)
{
    switch (outcome)
    {
    case Fit_NothingFound:
        return "nothing_found";
    case Fit_EverythingFound:
        return "everything_found";
    case Fit_Step:
        return "step";
    case Fit_NotGrowing:
        return "not_growing";
    case Fit_Curve:
        return "curve";
    case Fit_NoTrials:
        break;
    }
    return "no_trials";
}

/// A size, or the sizes between which it lies; null where the trials do not show one.
ordered_json SizeToJson(const SizeFigure& figure)
{
    switch (figure.place)
    {
    case SizeFigure::Within:
        return {{"value", figure.high}};
    case SizeFigure::Between:
        return {{"above", figure.low}, {"up_to", figure.high}};
    case SizeFigure::UpTo:
        return {{"up_to", figure.high}};
    case SizeFigure::Above:
        return {{"above", figure.low}};
    case SizeFigure::Unknown:
        break;
    }
    return nullptr;
}

ordered_json CurveToJson(const CapabilityCurve& curve)
{
    ordered_json counts = ordered_json::array();
    for (const SizeCount& count : curve.counts)
        counts.push_back({{"size", count.size}, {"planted", count.planted}, {"found", count.found}});
    const bool fitted = curve.fit.outcome == Fit_Curve;
    return {{"shape", PlantedShapeName(curve.shape)},
            {"contrast", curve.contrast},
            {"place", PlantedPlaceName(curve.place)},
            {"counts", counts},
            {"outcome", OutcomeName(curve.fit.outcome)},
            {"intercept", fitted ? ordered_json(curve.fit.intercept) : ordered_json(nullptr)},
            {"slope", fitted ? ordered_json(curve.fit.slope) : ordered_json(nullptr)},
            {"suits_counts", curve.fit.suitsCounts},
            {"a90", SizeToJson(curve.fit.a90)},
            {"a90_95", SizeToJson(curve.fit.a9095)},
            {"sentence", DescribeFit(curve.fit, curve.counts)}};
}

} // namespace

ordered_json CapabilityToJson(const CapabilityResult& result)
{
    ordered_json document = {{"version", 1},
                             {"seed", result.settings.seed},
                             {"count", result.settings.count},
                             {"false_blobs", result.falseBlobs},
                             {"megapixels", result.megapixels},
                             {"false_per_megapixel", result.falseRate},
                             {"false_per_megapixel_95", result.falseBound},
                             {"warnings", result.warnings},
                             {"curves", ordered_json::array()},
                             {"images", ordered_json::array()}};
    for (const CapabilityCurve& curve : result.curves)
        document["curves"].push_back(CurveToJson(curve));
    for (const CapabilityImage& image : result.images)
        document["images"].push_back({{"name", NameToText(image.name)},
                                      {"width", image.width},
                                      {"height", image.height},
                                      {"megapixels", image.megapixels},
                                      {"false_blobs", image.falseBlobs}});
    return document;
}

} // namespace narvo
