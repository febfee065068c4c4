// The recipe's JSON form: reading with all problems collected, writing with every field shown.
#include "host/recipe/recipe.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <limits>
#include <set>

#include <nlohmann/json.hpp>

#include "host/problem.h"
#include "host/recipe/recipe_check.h"
#include "host/recipe/recipe_fields.h"

namespace narvo
{

namespace
{

using nlohmann::json;
using nlohmann::ordered_json;
using Problems = std::vector<Problem>;

constexpr const char* szRegion = "region";
constexpr const char* szRegions = "regions";
constexpr const char* szSchema = "$schema";
constexpr const char* szMarginFrame = "margin_frame";
constexpr const char* szDeadZones = "dead_zones";
constexpr const char* szScanPitch = "tables.scan_pitch";
constexpr const char* szConvPitch = "tables.conv_pitch";
constexpr const char* szScanTilt = "tables.scan_tilt";
constexpr const char* szRowPitch = "tables.row_pitch";
constexpr const char* szColumnPitch = "tables.column_pitch";
constexpr const char* szZoneList = "zones.list";
constexpr const char* szZoneSkip = "zones.skip";

constexpr std::string_view shapeWords[] = {"rectangle", "trapezium", "polygon"};

std::string Shorten(const json& value)
{
    constexpr std::size_t nLimit = 60;
    std::string text = value.dump(-1, ' ', false, json::error_handler_t::replace);
    return text.size() <= nLimit ? text : text.substr(0, nLimit) + "...";
}

bool FitsInt(const json& value)
{
    if (value.is_number_unsigned())
        return value.get<std::uint64_t>() <= static_cast<std::uint64_t>(std::numeric_limits<int>::max());
    return value.is_number_integer() && value.get<std::int64_t>() >= std::numeric_limits<int>::min() &&
           value.get<std::int64_t>() <= std::numeric_limits<int>::max();
}

/// Stores `value` when it has the field's type. @return false when it has not
template <typename Owner>
bool Store(const Field<Owner>& field, const json& value, Owner& owner)
{
    return std::visit(
        [&](const auto& member)
        {
            using Member = std::decay_t<decltype(member)>;
            if constexpr (std::is_same_v<Member, int Owner::*>)
            {
                if (!FitsInt(value))
                    return false;
                owner.*member = value.get<int>();
            }
            else if constexpr (std::is_same_v<Member, double Owner::*>)
            {
                if (!value.is_number())
                    return false;
                owner.*member = value.get<double>();
            }
            else if constexpr (std::is_same_v<Member, bool Owner::*>)
            {
                if (!value.is_boolean())
                    return false;
                owner.*member = value.get<bool>();
            }
            else if constexpr (std::is_same_v<Member, std::string Owner::*>)
            {
                if (!value.is_string())
                    return false;
                owner.*member = value.get<std::string>();
            }
            else
            {
                if (!value.is_string())
                    return false;
                const auto word = std::find(member.words.begin(), member.words.end(), value.get<std::string>());
                if (word == member.words.end())
                    return false;
                owner.*member.member = static_cast<int>(word - member.words.begin());
            }
            return true;
        },
        field.member);
}

/// Reads the scalar fields of one JSON object and notes everything else in it.
template <typename Owner>
class FieldReader
{
public:
    FieldReader(std::span<const Field<Owner>> fields, std::span<const StructuredField> structured, Kind kind,
                Owner& owner, std::string prefix, Problems& found)
        : m_fields(fields), m_structured(structured), m_kind(kind), m_owner(owner), m_prefix(std::move(prefix)),
          m_found(found)
    {
    }

    /// Structured members met on the way are handed to `visit(path, value)`.
    template <typename Visit>
    void Read(const json& document, Visit visit)
    {
        Walk(document, "", visit);
        for (const Field<Owner>& field : m_fields)
            if ((field.required & SetOf(m_kind)) != 0 && !m_given.contains(field.path))
                m_found.push_back({m_prefix + std::string(field.path), "missing", AllowedText(field)});
    }

private:
    template <typename Visit>
    void Walk(const json& object, const std::string& parent, Visit& visit)
    {
        for (const auto& [key, value] : object.items())
        {
            const std::string path = parent + key;
            if (const Field<Owner>* field = FindField(m_fields, path, m_kind))
            {
                m_given.insert(field->path);
                if (!Store(*field, value, m_owner))
                    m_found.push_back({m_prefix + path, Shorten(value), AllowedText(*field)});
            }
            else if (std::any_of(m_structured.begin(), m_structured.end(),
                                 [&](const StructuredField& candidate) { return candidate.path == path; }))
                visit(path, value);
            else if (const std::string known = Members(path + "."); known.empty())
                m_found.push_back({m_prefix + path, "unknown field", "one of " + Members(parent)});
            else if (!value.is_object())
                m_found.push_back({m_prefix + path, Shorten(value), "an object with " + known});
            else
                Walk(value, path + ".", visit);
        }
    }

    /// Names right below a dotted prefix, as a list in words.
    std::string Members(const std::string& parent) const
    {
        std::vector<std::string> names;
        const auto note = [&](std::string_view path)
        {
            if (path.size() <= parent.size() || path.substr(0, parent.size()) != parent)
                return;
            const std::string_view rest = path.substr(parent.size());
            const std::string name(rest.substr(0, rest.find('.')));
            if (std::find(names.begin(), names.end(), name) == names.end())
                names.push_back(name);
        };
        for (const Field<Owner>& field : m_fields)
            note(field.path);
        for (const StructuredField& field : m_structured)
            note(field.path);
        std::string text;
        for (const std::string& name : names)
            text += (text.empty() ? "" : ", ") + name;
        return text;
    }

    std::span<const Field<Owner>> m_fields;
    std::span<const StructuredField> m_structured;
    Kind m_kind;
    Owner& m_owner;
    std::string m_prefix;
    Problems& m_found;
    std::set<std::string_view> m_given;
};

/// Of the region object's members, `shape` is read elsewhere.
std::optional<CRect> ReadRect(const std::string& path, const json& value, bool withShape, Problems& found)
{
    static constexpr const char* sides[] = {"left", "top", "right", "bottom"};
    if (!value.is_object())
    {
        found.push_back({path, Shorten(value), "an object with left, top, right, bottom in pixels"});
        return std::nullopt;
    }
    int numbers[4] = {};
    bool complete = true;
    for (int i = 0; i < 4; ++i)
    {
        const auto side = value.find(sides[i]);
        if (side != value.end() && FitsInt(*side))
            numbers[i] = side->get<int>();
        else
        {
            complete = false;
            found.push_back(
                {path + "." + sides[i], side == value.end() ? "missing" : Shorten(*side), "whole number of pixels"});
        }
    }
    for (const auto& [key, member] : value.items())
    {
        if (withShape && key == "shape")
            continue;
        if (std::find(std::begin(sides), std::end(sides), key) == std::end(sides))
            found.push_back({path + "." + key, "unknown field",
                             withShape ? "one of shape, left, top, right, bottom" : "one of left, top, right, bottom"});
    }
    if (!complete)
        return std::nullopt;
    return CRect(numbers[0], numbers[1], numbers[2], numbers[3]);
}

template <typename Read>
void ReadList(const std::string& path, const json& value, const char* content, Problems& found, Read read)
{
    if (!value.is_array())
    {
        found.push_back({path, Shorten(value), std::string("a list of ") + content});
        return;
    }
    for (std::size_t i = 0; i < value.size(); ++i)
        read(path + "[" + std::to_string(i) + "]", value[i]);
}

void ReadRegion(const json& value, Recipe& recipe, Problems& found)
{
    const std::string path = szRegion;
    if (value.is_object() && value.contains("shape"))
    {
        const auto word = std::find(std::begin(shapeWords), std::end(shapeWords),
                                    value["shape"].is_string() ? value["shape"].get<std::string>() : "");
        if (word == std::end(shapeWords))
        {
            found.push_back({path + ".shape", Shorten(value["shape"]), "rectangle, trapezium or polygon"});
            return;
        }
        recipe.regionShape = static_cast<int>(word - std::begin(shapeWords));
    }
    if (recipe.regionShape == RegionShape_Rectangle)
    {
        recipe.region = ReadRect(path, value, true, found);
        return;
    }
    const auto isPlace = [](const json& pair)
    { return pair.is_array() && pair.size() == 2 && FitsInt(pair[0]) && FitsInt(pair[1]); };
    const bool withColumns = recipe.regionShape == RegionShape_Trapezium;
    for (const auto& [key, member] : value.items())
    {
        if (key == "points")
            ReadList(path + ".points", member, "corners", found,
                     [&](const std::string& entry, const json& corner)
                     {
                         if (isPlace(corner))
                             recipe.regionPoints.emplace_back(corner[0].get<int>(), corner[1].get<int>());
                         else
                             found.push_back({entry, Shorten(corner), "[x, y] in whole pixels"});
                     });
        else if (key == "columns" && withColumns)
        {
            if (isPlace(member))
                recipe.regionColumns = {member[0].get<int>(), member[1].get<int>()};
            else
                found.push_back({path + ".columns", Shorten(member), "[first, last] in whole pixels"});
        }
        else if (key != "shape")
            found.push_back({path + "." + key, "unknown field",
                             withColumns ? "one of shape, points, columns" : "one of shape, points"});
    }
}

/// The list of a table of numbers; null for other paths.
std::vector<double> Recipe::*TableOf(std::string_view path)
{
    return path == szScanPitch     ? &Recipe::scanPitches
           : path == szConvPitch   ? &Recipe::convPitches
           : path == szScanTilt    ? &Recipe::scanTilts
           : path == szRowPitch    ? &Recipe::rowPitches
           : path == szColumnPitch ? &Recipe::columnPitches
                                   : nullptr;
}

void ReadVerifyChecks(const std::string& path, const json& value, ZoneSettings& zone, Problems& found)
{
    ReadList(path, value, "checks", found,
             [&](const std::string& entry, const json& member)
             {
                 const auto words = VerifyAlongWords();
                 if (!member.is_object())
                 {
                     found.push_back({entry, Shorten(member), "an object with along and cycles"});
                     return;
                 }
                 VerifyCheck check;
                 bool known = false;
                 for (const auto& [key, part] : member.items())
                     if (key == "along")
                     {
                         const auto word =
                             std::find(words.begin(), words.end(), part.is_string() ? part.get<std::string>() : "");
                         known = word != words.end();
                         check.along = static_cast<int>(word - words.begin());
                     }
                     else if (key != "cycles")
                         found.push_back({entry + "." + key, "unknown field", "one of along, cycles"});
                     else if (!FitsInt(part))
                         found.push_back({entry + ".cycles", Shorten(part), "whole number, 1 to 99 short periods"});
                     else
                         check.cycles = part.get<int>();
                 if (!known)
                     found.push_back({entry + ".along", member.contains("along") ? Shorten(member["along"]) : "missing",
                                      "x, y or tilt"});
                 else
                     zone.verifyChecks.push_back(check);
             });
}

void ReadStructured(std::string_view path, const json& value, Recipe& recipe, Problems& found)
{
    if (path == szMarginFrame)
        recipe.marginFrame = ReadRect(szMarginFrame, value, false, found);
    else if (path == szDeadZones)
        ReadList(szDeadZones, value, "rectangles", found,
                 [&](const std::string& entry, const json& member)
                 {
                     if (const auto rect = ReadRect(entry, member, false, found))
                         recipe.deadZones.push_back(*rect);
                 });
    else if (path == szZoneSkip)
        ReadList(szZoneSkip, value, "cells", found,
                 [&](const std::string& entry, const json& member)
                 {
                     if (member.is_array() && member.size() == 2 && FitsInt(member[0]) && FitsInt(member[1]))
                         recipe.skippedCells.emplace_back(member[0].get<int>(), member[1].get<int>());
                     else
                         found.push_back({entry, Shorten(member), "[column, row] of a cell"});
                 });
    else if (path == szZoneList)
    {
        recipe.zones.clear();
        ReadList(szZoneList, value, "zones", found,
                 [&](const std::string& entry, const json& member)
                 {
                     if (!member.is_object())
                     {
                         found.push_back({entry, Shorten(member), "an object with index, offset, gain and more"});
                         return;
                     }
                     ZoneSettings zone;
                     FieldReader<ZoneSettings>(ZoneFields(), ZoneStructuredFields(), recipe.GetKind(), zone,
                                               entry + ".", found)
                         .Read(member, [&](const std::string& list, const json& checks)
                               { ReadVerifyChecks(entry + "." + list, checks, zone, found); });
                     recipe.zones.push_back(zone);
                 });
    }
    else
    {
        std::vector<double>& table = recipe.*TableOf(path);
        ReadList(std::string(path), value, path == szScanTilt ? "shifts in pixels" : "pitches in pixels", found,
                 [&](const std::string& entry, const json& member)
                 {
                     if (member.is_number())
                         table.push_back(member.get<double>());
                     else
                         found.push_back(
                             {entry, Shorten(member), path == szScanTilt ? "a shift in pixels" : "a pitch in pixels"});
                 });
    }
}

void LoadPainted(const char* field, const std::string& name, const std::filesystem::path& folder,
                 std::optional<GreyImage>& given, GreyImage& image, Problems& found)
{
    if (given)
        image = std::move(*given);
    if (given || name.empty())
        return;
    try
    {
        image = LoadGreyImage(folder / name);
    }
    catch (const HostError& error)
    {
        for (const Problem& problem : error.Problems())
            found.push_back({field, problem.field + ", " + problem.value, problem.allowed});
    }
}

ordered_json RectToJson(const CRect& rect)
{
    return {{"left", rect.left}, {"top", rect.top}, {"right", rect.right}, {"bottom", rect.bottom}};
}

template <typename Owner>
void WriteFields(std::span<const Field<Owner>> fields, const Owner& owner, ordered_json& document)
{
    for (const Field<Owner>& field : fields)
    {
        ordered_json* place = &document;
        std::string_view rest = field.path;
        for (std::size_t dot = rest.find('.'); dot != std::string_view::npos; dot = rest.find('.'))
        {
            place = &(*place)[std::string(rest.substr(0, dot))];
            rest.remove_prefix(dot + 1);
        }
        ordered_json& target = (*place)[std::string(rest)];
        std::visit(
            [&](const auto& member)
            {
                if constexpr (std::is_same_v<std::decay_t<decltype(member)>, Choice<Owner>>)
                    target = ValueText(field, owner);
                else
                    target = owner.*member;
            },
            field.member);
    }
}

} // namespace

Kind KindOf(int mode, int regionShape)
{
    switch (mode)
    {
    case Mode_Pixel:
        return Kind_Pixel;
    case Mode_Float:
        return regionShape == RegionShape_Trapezium ? Kind_Trapezium
               : regionShape == RegionShape_Polygon ? Kind_FreeForm
                                                    : Kind_Float;
    case Mode_Binarise:
        return Kind_Binarise;
    case Mode_Average:
        return Kind_Average;
    case Mode_Asg:
        return Kind_Asg;
    default:
        return Kind_Zone;
    }
}

namespace
{

Recipe ParseRegion(const json& document, const std::filesystem::path& folder, RecipeImages given)
{
    Problems found;
    Recipe recipe;
    if (!document.is_object())
        throw HostError({{"recipe", Shorten(document), "a JSON object"}});
    // Mode and region say which of a field's rows holds.
    if (document.contains("mode"))
        Store(*FindField(RecipeFields(), "mode", Kind_Zone), document["mode"], recipe);
    if (document.contains(szRegion))
        ReadRegion(document[szRegion], recipe, found);
    FieldReader<Recipe>(RecipeFields(), StructuredFields(), recipe.GetKind(), recipe, "", found)
        .Read(document,
              [&](const std::string& path, const json& value)
              {
                  if (path != szRegion)
                      ReadStructured(path, value, recipe, found);
              });
    LoadPainted("zones.image", recipe.zoneImageFile, folder, given.zoneImage, recipe.zoneImage, found);
    LoadPainted("zones.class_image", recipe.classImageFile, folder, given.classImage, recipe.classImage, found);
    LoadPainted("dead_image", recipe.deadImageFile, folder, given.deadImage, recipe.deadImage, found);
    recipe.maps = std::move(given.maps);

    // A field that could not be read still holds its default, which must not be reported a second time.
    std::set<std::string> named;
    for (const Problem& problem : found)
        named.insert(problem.field);
    for (Problem& problem : CheckRecipe(recipe))
        if (!named.contains(problem.field))
            found.push_back(std::move(problem));
    ThrowIfAny(std::move(found));
    return recipe;
}

/// Lays one region's fields over the common ones.
void LayOver(json& fields, const json& region)
{
    for (const auto& [key, value] : region.items())
        if (value.is_null())
            fields.erase(key);
        else if (value.is_object() && fields.contains(key) && fields[key].is_object() && key != szRegion &&
                 key != szMarginFrame)
            LayOver(fields[key], value);
        else
            fields[key] = value;
}

/// Regions by the problems that each has. A problem of the common fields is one that all regions have.
Problems JoinProblems(const std::vector<Problems>& byRegion, const json& regions)
{
    Problems joined;
    const auto has = [](const Problems& problems, const Problem& problem)
    { return std::find(problems.begin(), problems.end(), problem) != problems.end(); };
    const auto isCommon = [&](const Problem& problem)
    {
        const std::string key = problem.field.substr(0, problem.field.find_first_of(".["));
        return std::all_of(byRegion.begin(), byRegion.end(),
                           [&](const Problems& other) { return has(other, problem); }) &&
               std::none_of(regions.begin(), regions.end(), [&](const json& region) { return region.contains(key); });
    };
    for (std::size_t i = 0; i < byRegion.size(); ++i)
        for (Problem problem : byRegion[i])
        {
            if (problem.field.empty())
                problem.field = std::string(szRegions) + "[" + std::to_string(i) + "]";
            else if (!isCommon(problem))
                problem.field = RegionPrefix(i) + problem.field;
            if (!has(joined, problem))
                joined.push_back(std::move(problem));
        }
    return joined;
}

} // namespace

json ParseJsonText(const std::string& text, const std::string& name)
{
    constexpr int nDepthLimit = 16; // no form of ours goes as deep, and texts of values are written recursively
    try
    {
        return json::parse(text,
                           [&](int depth, json::parse_event_t, const json&)
                           {
                               if (depth > nDepthLimit)
                                   throw HostError({{name, "nested more than " + std::to_string(nDepthLimit) + " deep",
                                                     "a JSON object"}});
                               return true;
                           });
    }
    catch (const json::exception& broken)
    {
        std::string reason = broken.what(); // behind a name of the library's own in brackets
        if (const std::size_t end = reason.find("] "); end != std::string::npos)
            reason.erase(0, end + 2);
        throw HostError({{name, reason, "a JSON object"}});
    }
}

json LoadRecipeDocument(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::error_code error;
    if (!stream || std::filesystem::is_directory(file, error))
        throw HostError(
            {{"recipe " + file.string(), std::filesystem::exists(file, error) ? "cannot be read" : "no such file",
              "a readable JSON file"}});
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    return ParseJsonText(text, "recipe " + file.string());
}

std::string RegionPrefix(std::size_t region)
{
    return std::string(szRegions) + "[" + std::to_string(region) + "].";
}

std::vector<Recipe> ParseRecipes(const json& document, const std::filesystem::path& folder)
{
    if (document.is_object() && document.contains(szSchema))
    {
        // Where editors look for the schema.
        json rest = document;
        rest.erase(szSchema);
        return ParseRecipes(rest, folder);
    }
    if (!document.is_object() || !document.contains(szRegions))
        return {ParseRegion(document, folder, {})};
    const json& regions = document[szRegions];
    if (!regions.is_array() || regions.empty())
        throw HostError({{szRegions, Shorten(regions), "a list of one region or more"}});
    json common = document;
    common.erase(szRegions);
    std::vector<Recipe> recipes;
    std::vector<Problems> byRegion(regions.size());
    for (std::size_t i = 0; i < regions.size(); ++i)
    {
        if (!regions[i].is_object())
        {
            byRegion[i] = {{"", Shorten(regions[i]), "an object with the fields of one region"}};
            continue;
        }
        json fields = common;
        LayOver(fields, regions[i]);
        try
        {
            recipes.push_back(ParseRegion(fields, folder, {}));
        }
        catch (const HostError& error)
        {
            byRegion[i] = error.Problems();
            continue;
        }
        Recipe& recipe = recipes.back();
        if (recipe.name.empty() && regions.size() > 1)
            recipe.name = "region " + std::to_string(i + 1);
        if (std::any_of(recipes.begin(), recipes.end() - 1,
                        [&](const Recipe& other) { return other.name == recipe.name; }))
            byRegion[i] = {{"name", "\"" + recipe.name + "\"", "a name for each region of its own"}};
    }
    ThrowIfAny(JoinProblems(byRegion, regions));
    return recipes;
}

Recipe ParseRecipe(const json& document, const std::filesystem::path& folder, RecipeImages given)
{
    if (!given.IsEmpty())
        return ParseRegion(document, folder, std::move(given));
    std::vector<Recipe> recipes = ParseRecipes(document, folder);
    if (recipes.size() != 1)
        throw HostError({{szRegions, std::to_string(recipes.size()) + " regions", "one region here"}});
    return std::move(recipes.front());
}

Recipe LoadRecipe(const std::filesystem::path& file)
{
    return ParseRecipe(LoadRecipeDocument(file), file.parent_path());
}

std::vector<Recipe> LoadRecipes(const std::filesystem::path& file)
{
    return ParseRecipes(LoadRecipeDocument(file), file.parent_path());
}

ordered_json RecipeToJson(const Recipe& recipe)
{
    ordered_json document;
    WriteFields(RecipeFields(), recipe, document);
    if (recipe.regionShape != RegionShape_Rectangle)
    {
        ordered_json& region = document[szRegion];
        region["shape"] = shapeWords[recipe.regionShape];
        region["points"] = ordered_json::array();
        for (const CPoint& point : recipe.regionPoints)
            region["points"].push_back({point.x, point.y});
        if (recipe.regionColumns)
            region["columns"] = {recipe.regionColumns->first, recipe.regionColumns->second};
    }
    else if (recipe.region)
    {
        document[szRegion] = {{"shape", shapeWords[recipe.regionShape]}};
        document[szRegion].update(RectToJson(*recipe.region));
    }
    if (recipe.marginFrame)
        document[szMarginFrame] = RectToJson(*recipe.marginFrame);
    document[szDeadZones] = ordered_json::array();
    for (const CRect& rect : recipe.deadZones)
        document[szDeadZones].push_back(RectToJson(rect));
    document["tables"] = {{"scan_pitch", recipe.scanPitches},
                          {"conv_pitch", recipe.convPitches},
                          {"scan_tilt", recipe.scanTilts},
                          {"row_pitch", recipe.rowPitches},
                          {"column_pitch", recipe.columnPitches}};
    ordered_json& list = document["zones"]["list"] = ordered_json::array();
    for (const ZoneSettings& zone : recipe.zones)
    {
        ordered_json& entry = list.emplace_back();
        WriteFields(ZoneFields(), zone, entry);
        ordered_json& checks = entry["verify"]["checks"] = ordered_json::array();
        for (const VerifyCheck& check : zone.verifyChecks)
            checks.push_back(
                {{"along", VerifyAlongWords()[static_cast<std::size_t>(check.along)]}, {"cycles", check.cycles}});
    }
    ordered_json& skip = document["zones"]["skip"] = ordered_json::array();
    for (const auto& [column, row] : recipe.skippedCells)
        skip.push_back({column, row});
    return document;
}

ordered_json RecipesToJson(const std::vector<Recipe>& recipes)
{
    if (recipes.size() == 1)
        return RecipeToJson(recipes.front());
    ordered_json document = {{"version", nRecipeVersion}, {szRegions, ordered_json::array()}};
    for (const Recipe& recipe : recipes)
    {
        ordered_json region = RecipeToJson(recipe);
        region.erase("version");
        document[szRegions].push_back(std::move(region));
    }
    return document;
}

void SaveRecipe(const std::filesystem::path& file, const Recipe& recipe)
{
    std::ofstream stream(file, std::ios::binary);
    stream << RecipeToJson(recipe).dump(2) << '\n';
    if (!stream.flush())
        throw HostError({{"file " + file.string(), "cannot be written", "a writable place"}});
}

void SaveRecipeWithImages(const std::filesystem::path& file, Recipe recipe)
{
    const auto save = [&](const GreyImage& image, const char* ending, std::string& name)
    {
        if (image.IsEmpty())
            return;
        const std::filesystem::path beside = std::filesystem::path(file).replace_extension(ending);
        name = beside.filename().string();
        SaveGreyImage(beside, image);
    };
    save(recipe.zoneImage, ".zones.png", recipe.zoneImageFile);
    save(recipe.classImage, ".classes.png", recipe.classImageFile);
    save(recipe.deadImage, ".dead.png", recipe.deadImageFile);
    SaveRecipe(file, recipe);
}

} // namespace narvo
