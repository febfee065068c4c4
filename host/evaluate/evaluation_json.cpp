// SPDX-License-Identifier: MIT
// The results of an evaluation as JSON.
#include <nlohmann/json.hpp>

#include "host/evaluate/evaluation.h"
#include "host/file/name_text.h"

namespace narvo
{

using nlohmann::ordered_json;

namespace
{

ordered_json OptionalToJson(const std::optional<double>& value)
{
    return value ? ordered_json(*value) : ordered_json(nullptr);
}

ordered_json FigureToJson(const Figure& figure)
{
    if (!figure.value)
        return nullptr;
    return {{"value", *figure.value}, {"low", figure.low}, {"high", figure.high}};
}

ordered_json CurveToJson(const std::vector<CurvePoint>& curve)
{
    ordered_json points = ordered_json::array();
    for (const CurvePoint& point : curve)
        points.push_back({point.x, point.y});
    return points;
}

ordered_json ImageToJson(const EvaluatedImage& image)
{
    ordered_json entry = {{"name", NameToText(image.name)}, {"defective", image.defective},
                          {"score", image.score},           {"regions", image.regions},
                          {"found", image.found},           {"false", image.falseBlobs}};
    for (const Problem& problem : image.problems)
        entry["problems"].push_back(
            {{"field", NameToText(problem.field)}, {"value", problem.value}, {"allowed", problem.allowed}});
    return entry;
}

} // namespace

ordered_json MethodToJson(const MethodResult& method)
{
    ordered_json entry = {{"name", method.name},
                          {"image_auroc", FigureToJson(method.imageAuroc)},
                          {"pixel_auroc", FigureToJson(method.pixelAuroc)},
                          {"region_overlap", FigureToJson(method.regionOverlap)},
                          {"image_f1", FigureToJson(method.imageF1)},
                          {"found", FigureToJson(method.found)},
                          {"false_an_image", FigureToJson(method.falseAnImage)},
                          {"best_image_f1", OptionalToJson(method.bestImageF1)},
                          {"best_pixel_f1", OptionalToJson(method.bestPixelF1)},
                          {"refused", method.refused}};
    entry["kinds"] = ordered_json::object();
    for (const auto& [kind, count] : method.kinds)
        entry["kinds"][NameToText(kind)] = {{"regions", count.regions}, {"found", count.found}};
    entry["factors"] = ordered_json::array();
    for (const FactorPoint& point : method.factors)
        entry["factors"].push_back({{"factor", point.factor},
                                    {"found", point.found >= 0.0 ? ordered_json(point.found) : ordered_json(nullptr)},
                                    {"false_an_image", point.falseAnImage}});
    entry["image_curve"] = CurveToJson(method.imageCurve);
    entry["images"] = ordered_json::array();
    for (const EvaluatedImage& image : method.images)
        entry["images"].push_back(ImageToJson(image));
    return entry;
}

ordered_json EvaluationToJson(const std::string& set, const std::string& layout,
                              const std::vector<SetImage>& learntFrom, const ScoringRules& rules,
                              const std::vector<MethodResult>& methods)
{
    ordered_json document = {{"version", 1},
                             {"set", NameToText(set)},
                             {"layout", layout},
                             {"learnt_from", ordered_json::array()},
                             {"margin", rules.margin},
                             {"smallest_blob", rules.smallest},
                             {"largest_blob", rules.largest},
                             {"patch", rules.patch},
                             {"methods", ordered_json::array()}};
    for (const SetImage& image : learntFrom)
        document["learnt_from"].push_back(NameToText(image.name));
    for (const MethodResult& method : methods)
        document["methods"].push_back(MethodToJson(method));
    return document;
}

} // namespace narvo
