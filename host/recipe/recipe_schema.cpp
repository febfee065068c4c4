// SPDX-License-Identifier: MIT
// From rows of the field table to a schema.
#include "host/recipe/recipe_schema.h"

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/limits.h"
#include "host/recipe/recipe.h"
#include "host/recipe/recipe_fields.h"

namespace narvo
{

using nlohmann::ordered_json;

namespace
{

constexpr Kind kinds[] = {Kind_Zone,     Kind_Pixel,   Kind_Float, Kind_Trapezium, Kind_FreeForm,
                          Kind_Binarise, Kind_Average, Kind_Asg,   Kind_Texture,   Kind_Lattice};

/// The object that holds a dotted path's last name, made on the way; `last` is that name.
ordered_json& Holder(ordered_json& object, std::string_view path, std::string& last)
{
    ordered_json* place = &object;
    for (std::size_t dot = path.find('.'); dot != std::string_view::npos; dot = path.find('.'))
    {
        ordered_json& inner = (*place)["properties"][std::string(path.substr(0, dot))];
        inner["type"] = "object";
        place = &inner;
        path.remove_prefix(dot + 1);
    }
    last = std::string(path);
    return *place;
}

void Put(ordered_json& object, std::string_view path, ordered_json value)
{
    std::string last;
    ordered_json& holder = Holder(object, path, last);
    holder["properties"][last] = std::move(value);
}

void Require(ordered_json& object, std::string_view path)
{
    for (std::string_view rest = path;;)
    {
        const std::size_t dot = rest.find_last_of('.');
        std::string last;
        ordered_json& required = Holder(object, rest, last)["required"];
        if (std::find(required.begin(), required.end(), last) == required.end())
            required.push_back(last);
        if (dot == std::string_view::npos)
            return;
        rest = rest.substr(0, dot);
    }
}

/// Nothing but what was named, at every level.
void Close(ordered_json& object)
{
    if (!object.is_object() || !object.contains("properties"))
        return;
    object["additionalProperties"] = false;
    for (auto& [name, member] : object["properties"].items())
        Close(member);
}

template <typename Owner>
ordered_json DefaultOf(const Field<Owner>& field)
{
    static const Owner defaults;
    return std::visit(
        [&](const auto& member) -> ordered_json
        {
            if constexpr (std::is_same_v<std::decay_t<decltype(member)>, Choice<Owner>>)
                return ValueText(field, defaults);
            else
                return defaults.*member;
        },
        field.member);
}

template <typename Owner>
ordered_json RangeOf(const Field<Owner>& field)
{
    return std::visit(
        [&](const auto& member) -> ordered_json
        {
            using Member = std::decay_t<decltype(member)>;
            if constexpr (std::is_same_v<Member, int Owner::*>)
                return {{"type", "integer"},
                        {"minimum", static_cast<std::int64_t>(field.low)},
                        {"maximum", static_cast<std::int64_t>(field.high)}};
            else if constexpr (std::is_same_v<Member, double Owner::*>)
                return {{"type", "number"}, {"minimum", field.low}, {"maximum", field.high}};
            else if constexpr (std::is_same_v<Member, bool Owner::*>)
                return {{"type", "boolean"}};
            else if constexpr (std::is_same_v<Member, std::string Owner::*>)
                return {{"type", "string"}};
            else
                return {{"type", "string"},
                        {"enum", std::vector<std::string>(member.words.begin(), member.words.end())}};
        },
        field.member);
}

template <typename Owner>
std::string Describe(const Field<Owner>& field)
{
    const std::string modes = KindsText(field.kinds);
    return std::string(field.meaning) + (field.unit.empty() ? "" : "; " + std::string(field.unit)) +
           (modes.empty() ? "" : "; " + modes);
}

/// Whether the default lies outside a number's range, as it does where a mode that reads the field wants it given.
template <typename Owner>
bool WantsAValue(const Field<Owner>& field)
{
    const ordered_json range = RangeOf(field);
    if (!range.contains("minimum"))
        return false;
    const double standard = DefaultOf(field).template get<double>();
    return standard < field.low || standard > field.high;
}

/// A row of the table, widened where a path has several, and to the default, which modes that do not read it allow.
template <typename Owner>
void PutField(std::span<const Field<Owner>> fields, const Field<Owner>& field, ordered_json& object)
{
    ordered_json entry = RangeOf(field);
    std::string text = Describe(field);
    for (const Field<Owner>& other : fields)
        if (&other != &field && other.path == field.path)
        {
            if (&other < &field)
                return;
            const ordered_json range = RangeOf(other);
            entry["minimum"] = std::min(entry["minimum"].get<double>(), range["minimum"].get<double>());
            entry["maximum"] = std::max(entry["maximum"].get<double>(), range["maximum"].get<double>());
            text += "; or: " + Describe(other);
        }
    if (WantsAValue(field))
    {
        entry["minimum"] = std::min(entry["minimum"].get<double>(), DefaultOf(field).template get<double>());
        entry["maximum"] = std::max(entry["maximum"].get<double>(), DefaultOf(field).template get<double>());
    }
    if (field.required == 0)
        entry["default"] = DefaultOf(field);
    entry["description"] = text;
    Put(object, field.path, std::move(entry));
}

ordered_json Place(const char* text)
{
    return {{"type", "array"},
            {"prefixItems", {{{"type", "integer"}}, {{"type", "integer"}}}},
            {"items", false},
            {"minItems", 2},
            {"description", text}};
}

ordered_json Rectangle(const char* text)
{
    ordered_json object = {{"type", "object"}, {"description", text}};
    for (const char* side : {"left", "top", "right", "bottom"})
    {
        object["properties"][side] = {{"type", "integer"}, {"description", "pixels; right and bottom exclusive"}};
        object["required"].push_back(side);
    }
    return object;
}

ordered_json List(ordered_json items, std::size_t limit, const char* text)
{
    return {{"type", "array"},
            {"default", ordered_json::array()},
            {"maxItems", limit},
            {"items", std::move(items)},
            {"description", text}};
}

ordered_json Pitches(const char* text)
{
    return List({{"type", "number"}, {"minimum", 1}, {"maximum", 16384}}, nTableEntryLimit, text);
}

ordered_json Region()
{
    ordered_json rectangle = Rectangle("what is inspected");
    rectangle["properties"]["shape"] = {{"const", "rectangle"}};
    Close(rectangle);
    const auto corners = [](const char* shape)
    {
        ordered_json points = List(Place("x and y, pixels"), nCornerLimit, "corners");
        points["minItems"] = 3;
        return ordered_json{{"type", "object"},
                            {"properties", {{"shape", {{"const", shape}}}, {"points", points}}},
                            {"required", {"shape", "points"}}};
    };
    ordered_json trapezium = corners("trapezium");
    trapezium["properties"]["columns"] = Place("first and last column that the polygon is cut to");
    ordered_json polygon = corners("polygon");
    Close(trapezium);
    Close(polygon);
    return {{"description", "what is inspected; default the whole image"}, {"oneOf", {rectangle, trapezium, polygon}}};
}

ordered_json ZoneEntry()
{
    ordered_json zone = {{"type", "object"}};
    for (const Field<ZoneSettings>& field : ZoneFields())
        PutField(ZoneFields(), field, zone);
    const auto words = VerifyAlongWords();
    ordered_json check = {
        {"type", "object"},
        {"properties",
         {{"along", {{"type", "string"}, {"enum", std::vector<std::string>(words.begin(), words.end())}}},
          {"cycles", {{"type", "integer"}, {"minimum", 1}, {"maximum", 99}, {"default", 1}}}}},
        {"required", {"along"}}};
    Close(check);
    Put(zone, "verify.checks",
        List(check, nVerifyCheckLimit, "where a pair that fits is no defect; cycles: short periods to go, by tables"));
    zone["required"] = {"index"};
    Close(zone);
    return zone;
}

ordered_json TextureEntry()
{
    ordered_json feature = {{"type", "object"}};
    for (const Field<TextureFeature>& field : TextureFields())
        PutField(TextureFields(), field, feature);
    feature["properties"]["fold"] = {{"enum", {1, 2, 4, 8}},
                                     {"description", feature["properties"]["fold"]["description"]}};
    feature["required"] = {"fold", "size"};
    Close(feature);
    return feature;
}

/// All fields, none of them required.
ordered_json Fields()
{
    ordered_json object = {{"type", "object"}};
    for (const Field<Recipe>& field : RecipeFields())
        PutField(RecipeFields(), field, object);
    Put(object, "region", Region());
    ordered_json frame = Rectangle("frame of the edge tests; default none");
    Close(frame);
    Put(object, "margin_frame", frame);
    ordered_json dead = Rectangle("a rectangle without hits");
    Close(dead);
    Put(object, "dead_zones", List(dead, nDeadZoneHigh, "no hits inside"));
    ordered_json feature = {
        {"type", "object"},
        {"minProperties", 1},
        {"maxProperties", 1},
        {"additionalProperties", {{"anyOf", {{{"type", "number"}}, {{"type", "string"}}, {{"type", "boolean"}}}}}}};
    Put(object, "camera.features",
        List(feature, nCameraFeatureLimit, "GenICam features that a camera is set to, in this order"));
    Put(object, "tables.scan_pitch", Pitches("pitches along y, pixels, one for each 16 rows"));
    Put(object, "tables.conv_pitch", Pitches("pitches along x, pixels, one for each 16 columns"));
    Put(object, "tables.scan_tilt",
        List({{"type", "number"}, {"minimum", -1}, {"maximum", 1}}, nTableEntryLimit,
             "shifts along x over one pitch down, pixels, one for each 16 rows"));
    Put(object, "tables.row_pitch", Pitches("horizontal trapezia: pitches along x, pixels, one for each 16 rows"));
    Put(object, "tables.column_pitch", Pitches("vertical trapezia: pitches along y, pixels, one for each 16 columns"));
    ordered_json zones = List(ZoneEntry(), nRecipeZoneLimit, "the zones that the painted cell holds");
    zones["minItems"] = 1;
    zones.erase("default");
    Put(object, "zones.list", std::move(zones));
    Put(object, "zones.skip",
        List(Place("column and row of a cell"), nSkippedCellLimit, "cells that are not inspected"));
    ordered_json features = List(TextureEntry(), nTextureFeatureLimit, "what texture mode measures, with limits");
    features["minItems"] = 1;
    features.erase("default");
    Put(object, "texture.features", std::move(features));
    return object;
}

/// When a document is of a kind.
ordered_json Condition(Kind kind)
{
    static constexpr const char* modes[] = {"zone",     "pixel",   "float", "float",   "float",
                                            "binarise", "average", "asg",   "texture", "lattice"};
    ordered_json condition = {{"properties", {{"mode", {{"const", modes[kind]}}}}}};
    if (kind != Kind_Zone)
        condition["required"] = {"mode"};
    const auto shape = [](const char* word) {
        return ordered_json{{"properties", {{"shape", {{"const", word}}}}}, {"required", {"shape"}}};
    };
    if (kind == Kind_Trapezium || kind == Kind_FreeForm)
    {
        condition["properties"]["region"] = shape(kind == Kind_Trapezium ? "trapezium" : "polygon");
        condition["required"].push_back("region");
    }
    if (kind == Kind_Float)
        condition["properties"]["region"] = {{"properties", {{"shape", {{"const", "rectangle"}}}}}};
    return condition;
}

/// What a kind asks for: fields without a default, ranges of its own, and defaults in fields that it does not read.
ordered_json Demands(Kind kind)
{
    ordered_json object = ordered_json::object();
    for (const Field<Recipe>& field : RecipeFields())
    {
        if (FindField(RecipeFields(), field.path, kind) != &field)
            continue;
        const auto rows = std::count_if(RecipeFields().begin(), RecipeFields().end(),
                                        [&](const Field<Recipe>& other) { return other.path == field.path; });
        if ((field.kinds & SetOf(kind)) == 0)
            Put(object, field.path, {{"const", DefaultOf(field)}});
        else if (rows > 1 || WantsAValue(field))
            Put(object, field.path, RangeOf(field));
        if ((field.required & SetOf(kind)) != 0)
            Require(object, field.path);
    }
    if (kind == Kind_Texture)
        Require(object, "texture.features");
    return object;
}

} // namespace

ordered_json RecipeSchema()
{
    ordered_json schema = {{"$schema", "https://json-schema.org/draft/2020-12/schema"},
                           {"title", "Recipe of an inspection, version " + std::to_string(nRecipeVersion)}};
    ordered_json fields = Fields();
    ordered_json fragment = fields;
    fragment["properties"].erase("version");
    Close(fragment);
    for (auto& [name, member] : fragment["properties"].items())
        member = {{"anyOf", {member, {{"type", "null"}}}}};
    fields["properties"]["$schema"] = {{"type", "string"}, {"description", "where editors find this schema"}};
    fields["properties"]["regions"] = {
        {"type", "array"},
        {"minItems", 1},
        {"maxItems", nRegionLimit},
        {"items", {{"$ref", "#/$defs/region"}}},
        {"description", "several regions, each with the fields in which it differs from those beside the list"}};
    fields["required"] = {"version"};
    Close(fields);
    schema.update(fields);
    ordered_json demands = ordered_json::array();
    for (const Kind kind : kinds)
        demands.push_back({{"if", Condition(kind)}, {"then", Demands(kind)}});
    schema["if"] = {{"not", {{"required", {"regions"}}}}};
    schema["then"] = {{"allOf", demands}};
    schema["$defs"]["region"] = std::move(fragment);
    return schema;
}

} // namespace narvo
