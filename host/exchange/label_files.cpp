// SPDX-License-Identifier: MIT
// One writer for each format.
#include "host/exchange/label_files.h"

#include <algorithm>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "host/file/name_text.h"
#include "host/foreign_text.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

using nlohmann::ordered_json;

/// Text of an XML element. Control characters, which XML cannot hold, become question marks.
std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char sign : text)
        switch (sign)
        {
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '&':
            escaped += "&amp;";
            break;
        default:
            escaped += static_cast<unsigned char>(sign) < 0x20 ? '?' : sign;
        }
    return escaped;
}

/// Places and sizes in shares, to a millionth of a pixel of the largest image.
std::string Share(double pixels, int side)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.12g", pixels / side);
    return text;
}

} // namespace

std::string CocoText(const std::vector<DefectList>& images)
{
    const std::vector<std::string> kinds = KindsOf(images);
    ordered_json document = {{"info", {{"description", "defects found by narvo"}, {"version", "1.0"}}},
                             {"licenses", ordered_json::array()},
                             {"images", ordered_json::array()},
                             {"annotations", ordered_json::array()},
                             {"categories", ordered_json::array()}};
    for (std::size_t i = 0; i < kinds.size(); ++i)
        document["categories"].push_back({{"id", i + 1}, {"name", kinds[i]}, {"supercategory", "defect"}});
    std::size_t annotation = 0;
    for (std::size_t i = 0; i < images.size(); ++i)
    {
        const DefectList& image = images[i];
        document["images"].push_back(
            {{"id", i + 1}, {"file_name", NameToText(image.image)}, {"width", image.width}, {"height", image.height}});
        for (const ListedDefect& defect : image.defects)
        {
            const CRect& box = defect.box;
            const auto kind = std::lower_bound(kinds.begin(), kinds.end(), defect.kind);
            document["annotations"].push_back(
                {{"id", ++annotation},
                 {"image_id", i + 1},
                 {"category_id", kind - kinds.begin() + 1},
                 {"bbox", {box.left, box.top, box.right - box.left, box.bottom - box.top}},
                 {"area", defect.area},
                 {"iscrowd", 0},
                 {"segmentation",
                  {{box.left, box.top, box.right, box.top, box.right, box.bottom, box.left, box.bottom}}}});
        }
    }
    return document.dump(1) + "\n";
}

std::string VocText(const DefectList& image)
{
    std::string text = "<annotation>\n  <folder/>\n  <filename>" + Escaped(NameToText(image.image)) +
                       "</filename>\n  <size>\n    <width>" + std::to_string(image.width) + "</width>\n    <height>" +
                       std::to_string(image.height) +
                       "</height>\n    <depth>1</depth>\n  </size>\n  <segmented>0</segmented>\n";
    for (const ListedDefect& defect : image.defects)
        text += "  <object>\n    <name>" + Escaped(defect.kind) +
                "</name>\n    <pose>Unspecified</pose>\n    <truncated>0</truncated>\n    <difficult>0</difficult>\n"
                "    <bndbox>\n      <xmin>" +
                std::to_string(defect.box.left + 1) + "</xmin>\n      <ymin>" + std::to_string(defect.box.top + 1) +
                "</ymin>\n      <xmax>" + std::to_string(defect.box.right) + "</xmax>\n      <ymax>" +
                std::to_string(defect.box.bottom) + "</ymax>\n    </bndbox>\n  </object>\n";
    return text + "</annotation>\n";
}

std::string YoloText(const DefectList& image, const std::vector<std::string>& kinds)
{
    if (image.width < 1 || image.height < 1)
        throw HostError({{"size of " + image.image, "unknown", "results that name the image's width and height"}});
    std::string text;
    for (const ListedDefect& defect : image.defects)
    {
        const CRect& box = defect.box;
        const auto kind = std::find(kinds.begin(), kinds.end(), defect.kind);
        if (kind == kinds.end())
            throw HostError({{"kind of a defect of " + image.image, defect.kind, "one of the classes"}});
        text += std::to_string(kind - kinds.begin()) + " " + Share((box.left + box.right) / 2.0, image.width) + " " +
                Share((box.top + box.bottom) / 2.0, image.height) + " " + Share(box.right - box.left, image.width) +
                " " + Share(box.bottom - box.top, image.height) + "\n";
    }
    return text;
}

std::string YoloClasses(const std::vector<std::string>& kinds)
{
    std::string text;
    for (const std::string& kind : kinds)
    {
        if (kind.find_first_of("\r\n") != std::string::npos)
            throw HostError({{"kind", kind, "a name without line ends"}});
        text += kind + "\n";
    }
    return text;
}

std::string DefectTable(const std::vector<DefectList>& images)
{
    std::string text = "image,width,height,kind,left,top,right,bottom,area\n";
    for (const DefectList& image : images)
        for (const ListedDefect& defect : image.defects)
        {
            const CRect& box = defect.box;
            text += TableCell(NameToText(image.image)) + "," + std::to_string(image.width) + "," +
                    std::to_string(image.height) + "," + TableCell(defect.kind) + "," + std::to_string(box.left) + "," +
                    std::to_string(box.top) + "," + std::to_string(box.right) + "," + std::to_string(box.bottom) + "," +
                    FormatNumber(defect.area) + "\n";
        }
    return text;
}

} // namespace narvo
