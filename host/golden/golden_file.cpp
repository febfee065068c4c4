// SPDX-License-Identifier: MIT
// Writers of golden results.
#include "host/golden/golden_file.h"

#include <cmath>

#include <nlohmann/json.hpp>

#include "host/result/result_file.h"

namespace narvo
{

using nlohmann::ordered_json;

namespace
{

/// Without digits that the registration does not know.
double Rounded(double value, double steps)
{
    return std::round(value * steps) / steps;
}

ordered_json WithPlace(ordered_json blob, const ReferencePlace& place)
{
    blob["reference_left"] = place.box.left;
    blob["reference_top"] = place.box.top;
    blob["reference_right"] = place.box.right;
    blob["reference_bottom"] = place.box.bottom;
    blob["reference_center_x"] = Rounded(place.center.x, 1000.0);
    blob["reference_center_y"] = Rounded(place.center.y, 1000.0);
    return blob;
}

ordered_json RegistrationToJson(const GoldenResult& result)
{
    const Registration& registration = result.registration;
    ordered_json seam;
    if (registration.seam)
        seam = {{"axis", registration.seam->vertical ? "vertical" : "horizontal"},
                {"place", registration.seam->place},
                {"step_x", Rounded(registration.seam->step.x, 1e4)},
                {"step_y", Rounded(registration.seam->step.y, 1e4)}};
    return {{"model", ModelName(registration.model)},
            {"at_limit", registration.atLimit},
            {"seam", seam},
            {"affine", registration.affine},
            {"shift_x", Rounded(registration.shiftX, 1e4)},
            {"shift_y", Rounded(registration.shiftY, 1e4)},
            {"rotation", Rounded(registration.rotation, 1e5)},
            {"scale_x", Rounded(registration.scaleX, 1e6)},
            {"scale_y", Rounded(registration.scaleY, 1e6)},
            {"shear", Rounded(registration.shear, 1e5)},
            {"largest_local", Rounded(registration.largestLocal, 1e4)},
            {"correlation", Rounded(registration.correlation, 1e5)},
            {"overlap", Rounded(registration.overlap, 1e5)},
            {"compared", Rounded(result.compared, 1e5)}};
}

} // namespace

ordered_json GoldenToJson(const GoldenResult& result)
{
    ordered_json document = ResultToJson(result.inspection);
    std::size_t i = 0;
    for (ordered_json& blob : document["blobs"])
        blob = WithPlace(blob, result.places[i++]);
    document["registration"] = RegistrationToJson(result);
    document["light"] = {{"gain", Rounded(result.light.whole.gain, 1e4)},
                         {"offset", Rounded(result.light.whole.offset, 1e2)},
                         {"uniform", result.light.IsUniform()}};
    document["edge_growth"] = Rounded(result.edgeGrowth, 1e3);
    document["noise"] = Rounded(result.base.noise, 1e3);
    document["threshold"] = {{"flat", result.base.flat}, {"near_edges", result.base.nearEdge}};
    return document;
}

std::string GoldenToCsv(const GoldenResult& result)
{
    std::string text = BlobColumns();
    const ordered_json place = WithPlace(ordered_json::object(), {});
    for (const auto& [name, value] : place.items())
        text += "," + name;
    text += "\n";
    const ordered_json document = GoldenToJson(result);
    for (const ordered_json& blob : document["blobs"])
        text += BlobRow(blob) + "\n";
    return text;
}

} // namespace narvo
