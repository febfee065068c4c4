// SPDX-License-Identifier: MIT
// Fields by name, the choice of a value, and the tables.
#include "tools/tune/sweep.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <span>
#include <variant>

#include "host/problem.h"
#include "host/recipe/recipe_fields.h"

namespace narvo::tools
{

namespace
{

constexpr std::string_view zonePrefix = "zones.list";
constexpr std::string_view imagePrefix = "image.";

template <typename Owner>
bool IsNumeric(const Field<Owner>& field)
{
    return std::holds_alternative<int Owner::*>(field.member) || std::holds_alternative<double Owner::*>(field.member);
}

/// Names of the numeric fields that a kind reads.
std::string NumericNames(Kind kind)
{
    std::string names;
    const auto add = [&](const auto& field, const std::string& prefix)
    {
        if ((field.kinds & SetOf(kind)) != 0 && IsNumeric(field) && field.path != "version" && field.path != "index" &&
            !field.path.starts_with(imagePrefix))
            names += (names.empty() ? "" : ", ") + prefix + std::string(field.path);
    };
    for (const Field<Recipe>& field : RecipeFields())
        add(field, "");
    if (kind == Kind_Zone || kind == Kind_Asg)
        for (const Field<ZoneSettings>& field : ZoneFields())
            add(field, std::string(zonePrefix) + ".");
    return names;
}

template <typename Owner>
double Get(const Field<Owner>& field, const Owner& owner)
{
    if (const auto* const whole = std::get_if<int Owner::*>(&field.member))
        return owner.**whole;
    return owner.**std::get_if<double Owner::*>(&field.member);
}

template <typename Owner>
void Set(const Field<Owner>& field, Owner& owner, double value, bool shift)
{
    if (const auto* const whole = std::get_if<int Owner::*>(&field.member))
        owner.** whole = static_cast<int>(std::lround(value)) + (shift ? owner.**whole : 0);
    else if (const auto* const real = std::get_if<double Owner::*>(&field.member))
        owner.** real = value + (shift ? owner.**real : 0.0);
    if (!IsInRange(field, owner))
        throw HostError({{std::string(field.path), ValueText(field, owner), AllowedText(field)}});
}

} // namespace

SweepField::SweepField(const Recipe& recipe, const std::string& path) : m_path(path)
{
    const Kind kind = recipe.GetKind();
    const HostError unknown(
        {{"field", path, "a number of the recipe in " + std::string(KindName(kind)) + ": " + NumericNames(kind)}});
    const auto take = [&](const auto* field)
    {
        // Each image is read once, before the sweep.
        if (field == nullptr || field->path.starts_with(imagePrefix) || (field->kinds & SetOf(kind)) == 0 ||
            !IsNumeric(*field))
            throw unknown;
        m_unit = field->unit;
        m_whole = field->member.index() == 0;
    };
    if (!path.starts_with(zonePrefix))
    {
        take(FindField(RecipeFields(), path, kind));
        return;
    }
    if (kind != Kind_Zone && kind != Kind_Asg)
        throw unknown;
    m_zones = true;
    std::string_view rest = std::string_view(path).substr(zonePrefix.size());
    if (rest.starts_with('['))
    {
        const std::size_t end = rest.find(']');
        const std::string index(rest.substr(1, end == std::string_view::npos ? end : end - 1));
        const auto isZone = [&](const ZoneSettings& zone) { return std::to_string(zone.index) == index; };
        if (end == std::string_view::npos || std::none_of(recipe.zones.begin(), recipe.zones.end(), isZone))
            throw HostError({{"field", path, "a zone of the recipe"}});
        m_zone = std::stoi(index);
        rest.remove_prefix(end + 1);
    }
    if (!rest.starts_with('.'))
        throw unknown;
    m_name = rest.substr(1);
    if (m_name == "index")
        throw unknown;
    take(FindField(ZoneFields(), m_name, kind));
}

double SweepField::Own(const Recipe& recipe) const
{
    const Kind kind = recipe.GetKind();
    if (!m_zones)
        return Get(*FindField(RecipeFields(), m_path, kind), recipe);
    double least = std::numeric_limits<double>::infinity();
    for (const ZoneSettings& zone : recipe.zones)
        if (!m_zone || zone.index == *m_zone)
            least = std::min(least, Get(*FindField(ZoneFields(), m_name, kind), zone));
    return least;
}

Recipe SweepField::With(const Recipe& recipe, double value, bool shift) const
{
    Recipe changed = recipe;
    const Kind kind = recipe.GetKind();
    if (!m_zones)
        Set(*FindField(RecipeFields(), m_path, kind), changed, value, shift);
    else
        for (ZoneSettings& zone : changed.zones)
            if (!m_zone || zone.index == *m_zone)
                Set(*FindField(ZoneFields(), m_name, kind), zone, value, shift);
    return changed;
}

std::vector<double> SweepValues(double from, double to, int steps, bool whole)
{
    std::vector<double> values;
    for (int i = 0; i < steps; ++i)
    {
        double value = steps == 1 ? from : from + (to - from) * i / (steps - 1);
        // Steps of 0.1 and the like should read as such.
        value = whole ? std::round(value) : std::round(value * 1e9) / 1e9;
        values.push_back(value);
    }
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    return values;
}

double SweepPoint::Score() const
{
    const double wanted = static_cast<double>(2 * found + (defects - found) + falseBlobs);
    return wanted == 0.0 ? 1.0 : static_cast<double>(2 * found) / wanted;
}

std::string ShareText(double share)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f %%", share * 100.0);
    return text.data();
}

std::string ValueText(const Sweep& sweep, std::size_t point)
{
    const double value = sweep.points[point].value;
    return (sweep.shift && value > 0.0 ? "+" : "") + FormatNumber(value);
}

std::string SweepTable(const Sweep& sweep, std::optional<std::size_t> proposed)
{
    std::string table = sweep.hasTruth ? "       value     blobs     found    recall     false     score\n"
                                       : "       value     blobs  blobs per image\n";
    for (std::size_t i = 0; i < sweep.points.size(); ++i)
    {
        const SweepPoint& point = sweep.points[i];
        std::array<char, 160> line{};
        const std::string value = ValueText(sweep, i);
        if (sweep.hasTruth)
            std::snprintf(line.data(), line.size(), "%12s %9ld %9ld %9s %9ld %9.3f", value.c_str(), point.blobs,
                          point.found, ShareText(point.Recall()).c_str(), point.falseBlobs, point.Score());
        else
            std::snprintf(line.data(), line.size(), "%12s %9ld %16.1f", value.c_str(), point.blobs,
                          static_cast<double>(point.blobs) / std::max(sweep.images, 1));
        table += line.data();
        if (point.incomplete > 0)
            table +=
                "  incomplete in " + std::to_string(point.incomplete) + (point.incomplete == 1 ? " image" : " images");
        if (proposed == i)
            table += "  <- proposed";
        table += '\n';
    }
    return table;
}

std::string SweepCsv(const Sweep& sweep)
{
    std::string csv = sweep.hasTruth ? "value,images,blobs,defects,found,recall,false,score,incomplete\n"
                                     : "value,images,blobs,incomplete\n";
    for (const SweepPoint& point : sweep.points)
    {
        csv += FormatNumber(point.value) + "," + std::to_string(sweep.images) + "," + std::to_string(point.blobs) + ",";
        if (sweep.hasTruth)
            csv += std::to_string(point.defects) + "," + std::to_string(point.found) + "," +
                   FormatNumber(point.Recall()) + "," + std::to_string(point.falseBlobs) + "," +
                   FormatNumber(point.Score()) + ",";
        csv += std::to_string(point.incomplete) + "\n";
    }
    return csv;
}

} // namespace narvo::tools
