// SPDX-License-Identifier: MIT
// One small reader for each format.
#include "host/evaluate/box_files.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <sstream>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/file/input_file.h"
#include "host/limits.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"

namespace narvo
{

using nlohmann::json;

namespace
{

constexpr double dCoordinateHigh = 1048576.0;

[[noreturn]] void RefuseBoxes(const std::string& place, const std::string& value, const std::string& allowed)
{
    throw HostError({{place, value, allowed}});
}

/// A byte-order mark is no part of the first line.
std::string TextOf(const std::filesystem::path& file)
{
    std::string text = ReadShortFile(file, "boxes " + file.string(), nRecipeByteLimit, "a readable text file");
    if (text.starts_with("\xef\xbb\xbf"))
        text.erase(0, 3);
    return text;
}

/// Calls `take(line, place)` for each line that is not blank.
template <typename Take>
void VisitLines(const std::filesystem::path& file, Take take)
{
    std::istringstream stream(TextOf(file));
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number)
    {
        std::replace(line.begin(), line.end(), ',', ' ');
        if (line.find_first_not_of(" \t\r") != std::string::npos)
            take(line, "boxes " + file.string() + ", line " + std::to_string(number));
    }
}

/// A box from real coordinates, grown to whole pixels. @return an empty one where they are no box
CRect WholeBox(double left, double top, double right, double bottom)
{
    const auto isPlace = [](double value) { return std::abs(value) <= dCoordinateHigh; }; // not for NaN
    if (!isPlace(left) || !isPlace(top) || !isPlace(right) || !isPlace(bottom))
        return {};
    // Shares times a side miss whole pixels by their last digits.
    constexpr double dRoundOff = 1e-6;
    return {static_cast<int>(std::floor(left + dRoundOff)), static_cast<int>(std::floor(top + dRoundOff)),
            static_cast<int>(std::ceil(right - dRoundOff)), static_cast<int>(std::ceil(bottom - dRoundOff))};
}

/// What stands between the first opening tag of that name behind `from` and its closing tag. @return false without one
/// @throws HostError about `file` where the tag is not closed
bool FindElement(const std::filesystem::path& file, const std::string& text, const std::string& name, std::size_t from,
                 std::string& content, std::size_t& end)
{
    const std::string open = "<" + name;
    for (std::size_t place = text.find(open, from); place != std::string::npos; place = text.find(open, place + 1))
    {
        const std::size_t behind = place + open.size();
        if (behind < text.size() && std::string_view(" \t\r\n>/").find(text[behind]) == std::string_view::npos)
            continue; // a longer name
        const std::size_t begin = text.find('>', behind);
        const std::size_t close = text.find("</" + name + ">", behind);
        if (begin == std::string::npos || close == std::string::npos || close < begin)
            RefuseBoxes("boxes " + file.string(), open + "> without an end", "elements that are closed");
        content = text.substr(begin + 1, close - begin - 1);
        end = close;
        return true;
    }
    return false;
}

/// Without what stands between <!-- and -->, to the end where it is not closed.
std::string WithoutComments(std::string_view text)
{
    std::string left;
    for (std::size_t from = 0; from < text.size();)
    {
        const std::size_t begin = std::min(text.find("<!--", from), text.size());
        left += text.substr(from, begin - from);
        const std::size_t end = text.find("-->", begin);
        from = end == std::string_view::npos ? text.size() : end + 3;
    }
    return left;
}

/// The text of an element, with the five entities that every XML reader knows.
std::string Decoded(std::string_view text)
{
    constexpr std::pair<std::string_view, char> entities[] = {
        {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}, {"&amp;", '&'}};
    std::string decoded;
    while (!text.empty())
    {
        const auto* const found = std::find_if(std::begin(entities), std::end(entities),
                                               [&](const auto& entity) { return text.starts_with(entity.first); });
        const bool isEntity = found != std::end(entities);
        decoded += isEntity ? found->second : text.front();
        text.remove_prefix(isEntity ? found->first.size() : 1);
    }
    return decoded;
}

std::string Trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

bool ReadNumber(const std::string& text, double& number)
{
    std::istringstream stream(Trimmed(text));
    return static_cast<bool>(stream >> number) && stream.peek() == std::istringstream::traits_type::eof();
}

std::string TextMember(const json& object, const char* key)
{
    return object.is_object() && object.contains(key) && object[key].is_string() ? object[key].get<std::string>() : "";
}

/// A value for a message: deep and long ones are not written out.
std::string ShownValue(const json& value)
{
    constexpr std::size_t nLongest = 100;
    const bool nested =
        value.is_structured() &&
        (value.size() > nLongest ||
         std::any_of(value.begin(), value.end(), [](const json& member) { return member.is_structured(); }));
    if (nested)
        return std::string("an ") + value.type_name();
    const std::string text = value.dump(-1, ' ', false, json::error_handler_t::replace);
    return text.size() > nLongest ? text.substr(0, nLongest) + "..." : text;
}

/// The whole number by which COCO's lists refer to each other. @throws HostError
std::int64_t IdOf(const json& object, const char* key, const std::string& place)
{
    const bool there = object.is_object() && object.contains(key);
    if (!there || !object[key].is_number_integer() ||
        (object[key].is_number_unsigned() &&
         object[key].get<std::uint64_t>() > std::numeric_limits<std::int64_t>::max()))
        RefuseBoxes(place, there ? ShownValue(object[key]) : "missing " + std::string(key),
                    "an object with a whole number of 64 bits as " + std::string(key));
    return object[key].get<std::int64_t>();
}

/// @return whether the line is one of YOLO's: a class and four shares of the image, which rounding may make larger than
/// 1
bool ReadYoloLine(const std::string& line, int& type, double (&shares)[4])
{
    constexpr double dHighest = 1.001;
    std::istringstream fields(line);
    std::string rest;
    return fields >> type >> shares[0] >> shares[1] >> shares[2] >> shares[3] && !(fields >> rest) && type >= 0 &&
           std::all_of(shares, shares + 4, [](double share) { return share >= 0.0 && share <= dHighest; });
}

} // namespace

std::vector<TrueBox> ReadBoxLines(const std::filesystem::path& file)
{
    std::vector<TrueBox> boxes;
    VisitLines(file,
               [&](const std::string& line, const std::string& place)
               {
                   std::istringstream fields(line);
                   double sides[4] = {};
                   TrueBox box;
                   if (!(fields >> sides[0] >> sides[1] >> sides[2] >> sides[3] >> box.kind))
                       RefuseBoxes(place, line, "left top right bottom kind, in pixels");
                   box.box = WholeBox(sides[0], sides[1], sides[2], sides[3]);
                   if (box.box.IsRectEmpty())
                       RefuseBoxes(place, line, "left top right bottom kind, in pixels, right and bottom the greater");
                   boxes.push_back(std::move(box));
               });
    return boxes;
}

bool HoldsYoloLines(const std::filesystem::path& file)
{
    bool any = false;
    VisitLines(file,
               [&](const std::string& line, const std::string&)
               {
                   int type = 0;
                   double shares[4] = {};
                   any = any || ReadYoloLine(line, type, shares);
               });
    return any;
}

std::vector<TrueBox> ReadYoloLines(const std::filesystem::path& file, int width, int height,
                                   const std::vector<std::string>& classes)
{
    std::vector<TrueBox> boxes;
    VisitLines(file,
               [&](const std::string& line, const std::string& place)
               {
                   int type = -1;
                   double shares[4] = {};
                   const bool read = ReadYoloLine(line, type, shares);
                   const auto& [x, y, w, h] = shares;
                   TrueBox box;
                   box.box = WholeBox((x - w / 2.0) * width, (y - h / 2.0) * height, (x + w / 2.0) * width,
                                      (y + h / 2.0) * height);
                   if (!read || type < 0 || box.box.IsRectEmpty())
                       RefuseBoxes(place, line.substr(0, 100),
                                   "class, centre x, centre y, width and height in shares of the image");
                   if (!classes.empty() && type >= static_cast<int>(classes.size()))
                       RefuseBoxes(place, "class " + std::to_string(type),
                                   "0 to " + std::to_string(classes.size() - 1) + ", the classes of classes.txt");
                   box.kind = type < static_cast<int>(classes.size()) ? classes[static_cast<std::size_t>(type)]
                                                                      : std::to_string(type);
                   boxes.push_back(std::move(box));
               });
    return boxes;
}

std::vector<std::string> ReadClassNames(const std::filesystem::path& file)
{
    std::istringstream stream(TextOf(file));
    std::vector<std::string> names;
    for (std::string line; std::getline(stream, line);)
        names.push_back(Trimmed(line));
    while (!names.empty() && names.back().empty())
        names.pop_back();
    return names;
}

std::vector<TrueBox> ReadVocBoxes(const std::filesystem::path& file, std::string& image)
{
    std::string text;
    std::size_t end = 0;
    if (!FindElement(file, WithoutComments(TextOf(file)), "annotation", 0, text, end))
        RefuseBoxes("boxes " + file.string(), "no annotation", "an annotation with objects");
    image.clear();
    if (FindElement(file, text, "filename", 0, image, end))
        image = Decoded(Trimmed(image));
    std::vector<TrueBox> boxes;
    std::string object;
    for (std::size_t from = 0; FindElement(file, text, "object", from, object, end); from = end)
    {
        const std::string place = "boxes " + file.string() + ", object " + std::to_string(boxes.size() + 1);
        TrueBox box;
        std::string bounds;
        std::size_t ignored = 0;
        if (!FindElement(file, object, "name", 0, box.kind, ignored))
            RefuseBoxes(place, "no name", "an object with name and bndbox");
        box.kind = Decoded(Trimmed(box.kind));
        double sides[4] = {};
        const char* const names[] = {"xmin", "ymin", "xmax", "ymax"};
        bool complete = FindElement(file, object, "bndbox", 0, bounds, ignored);
        for (int i = 0; i < 4 && complete; ++i)
        {
            std::string number;
            complete = FindElement(file, bounds, names[i], 0, number, ignored) && ReadNumber(number, sides[i]);
        }
        // Pascal VOC counts pixels from 1 and names the last one.
        box.box = complete ? WholeBox(sides[0] - 1.0, sides[1] - 1.0, sides[2], sides[3]) : CRect();
        if (box.box.IsRectEmpty())
            RefuseBoxes(place, Trimmed(bounds).empty() ? "no bndbox" : Trimmed(bounds),
                        "a bndbox with the numbers xmin, ymin, xmax and ymax");
        boxes.push_back(std::move(box));
    }
    return boxes;
}

std::optional<std::map<std::string, std::vector<TrueBox>>> ReadCocoBoxes(const std::filesystem::path& file)
{
    const std::string name = "boxes " + file.string();
    const std::string text = ReadShortFile(file, name, nSetByteLimit);
    json document;
    try
    {
        document = ParseJsonText(text, name, nSetByteLimit);
    }
    catch (const HostError&)
    {
        return std::nullopt; // of another use; where there is no other layout, EvaluationSet reads it once more
    }
    if (!document.is_object() || !document.contains("images") || !document.contains("annotations"))
        return std::nullopt;
    for (const char* list : {"images", "annotations"})
        if (!document[list].is_array())
            RefuseBoxes(name, "no list " + std::string(list), "COCO's object with images and annotations");
    std::map<std::int64_t, std::string> kinds;
    if (document.contains("categories") && document["categories"].is_array())
        for (const json& category : document["categories"])
            kinds[IdOf(category, "id", name + ", categories")] = TextMember(category, "name");
    std::map<std::int64_t, std::string> images;
    std::map<std::string, std::vector<TrueBox>> boxes;
    for (const json& image : document["images"])
    {
        const std::string of = TextMember(image, "file_name");
        if (of.empty())
            RefuseBoxes(name + ", images", "no file_name", "the name of a file for each image");
        if (!images.emplace(IdOf(image, "id", name + ", images"), of).second)
            RefuseBoxes(name + ", images", "id " + ShownValue(image["id"]) + " given twice", "an id for each image");
        boxes[of];
    }
    for (std::size_t i = 0; i < document["annotations"].size(); ++i)
    {
        const json& annotation = document["annotations"][i];
        const std::string place = name + ", annotations[" + std::to_string(i) + "]";
        const auto image = images.find(IdOf(annotation, "image_id", place));
        if (image == images.end())
            RefuseBoxes(place + ".image_id", ShownValue(annotation["image_id"]), "the id of an image");
        static const json missing;
        const auto bounds = annotation.find("bbox");
        const json& sides = bounds != annotation.end() ? *bounds : missing; // no copy: copies of deep values recurse
        TrueBox box;
        if (sides.is_array() && sides.size() == 4 &&
            std::all_of(sides.begin(), sides.end(), [](const json& side) { return side.is_number(); }))
        {
            const auto at = [&](std::size_t side) { return sides[side].get<double>(); };
            box.box = WholeBox(at(0), at(1), at(0) + at(2), at(1) + at(3));
        }
        if (box.box.IsRectEmpty())
            RefuseBoxes(place + ".bbox", ShownValue(sides), "[left, top, width, height] in pixels");
        if (annotation.contains("category_id"))
        {
            const std::int64_t kind = IdOf(annotation, "category_id", place);
            box.kind = kinds.contains(kind) && !kinds[kind].empty() ? kinds[kind] : std::to_string(kind);
        }
        boxes[image->second].push_back(std::move(box));
    }
    return boxes;
}

} // namespace narvo
