// SPDX-License-Identifier: MIT
// Tables and bars of the page.
#include "tools/learn/learn_page.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <sstream>

#include "host/counted.h"
#include "host/foreign_text.h"
#include "host/problem.h"
#include "tools/page/html_page.h"

namespace narvo::tools
{

namespace
{

std::string Escaped(const std::string& text)
{
    return EscapeHtml(Printable(text));
}

std::string Short(double value)
{
    return FormatNumber(std::round(value * 100.0) / 100.0);
}

void AddSpots(const LearnResult& result, std::ostream& out)
{
    std::set<int> contrasts;
    std::set<int> sides;
    for (const LearnSpots& kind : result.spots)
    {
        contrasts.insert(kind.contrast);
        sides.insert(kind.side);
    }
    if (sides.empty())
        return;
    out << "<h2>What it finds</h2>\n<p>Share of round spots, planted in good images, that the recipe finds. Spots come "
           "brighter and darker; their places are drawn at random.</p>\n<table id=\"spots\"><tr><th>across</th>";
    for (const int contrast : contrasts)
        out << "<th>" << contrast << " grey levels</th>";
    out << "</tr>\n";
    for (const int side : sides)
    {
        out << "<tr><td>" << side << " pixels</td>";
        for (const int contrast : contrasts)
        {
            const auto kind =
                std::find_if(result.spots.begin(), result.spots.end(),
                             [&](const LearnSpots& each) { return each.side == side && each.contrast == contrast; });
            if (kind == result.spots.end())
                out << "<td></td>";
            else
                out << "<td>" << PercentText(static_cast<double>(kind->found) / static_cast<double>(kind->planted))
                    << " of " << kind->planted << "</td>";
        }
        out << "</tr>\n";
    }
    out << "</table>\n";
}

void AddImages(const LearnResult& result, std::ostream& out)
{
    constexpr double dBarPixels = 120.0; // of a score of 1
    out << "<h2>Good images</h2>\n<p>The score is the highest that an image reaches by limits learnt without it; above "
           "1 it would have had a false blob.</p>\n<table id=\"images\"><tr><th>image</th><th>size</th><th>pattern</th>"
           "<th>false blobs</th><th>score</th><th></th></tr>\n";
    for (const LearnImage& image : result.images)
        out << "<tr><td>" << Escaped(image.name) << "</td><td>" << image.width << " &times; " << image.height
            << "</td><td>" << PercentText(image.area) << "</td><td>" << image.falseBlobs << "</td><td>"
            << Short(image.highest) << "</td><td style=\"text-align:left\"><span class=\"bar"
            << (image.highest > 1.0 ? " above" : "")
            << "\" style=\"width:" << static_cast<int>(dBarPixels * std::clamp(image.highest, 0.0, 3.0))
            << "px\"></span></td></tr>\n";
    out << "</table>\n";
}

} // namespace

std::string DescribeFinds(const LearnResult& result)
{
    if (result.finds.empty())
        return "";
    std::size_t hits = 0;
    std::size_t found = 0;
    std::size_t falseBlobs = 0;
    for (const LearnFinds& image : result.finds)
    {
        hits += image.blobs > 0 ? 1 : 0;
        found += image.found;
        falseBlobs += image.falseBlobs;
    }
    std::string text =
        std::to_string(hits) + " of " + Counted(result.finds.size(), "image") + " with defects have blobs.";
    if (result.finds.front().known)
        text += " Of " + Counted(result.defects, "known defect") + ", " + std::to_string(found) + " found; " +
                Counted(falseBlobs, "blob") + " on these images touch none.";
    return text;
}

std::string LearnPage(const LearnResult& result, const std::string& title)
{
    std::ostringstream out;
    out << PageHead(title);
    for (const std::string& warning : result.warnings)
        out << "<p class=\"warning\">" << Escaped(warning) << "</p>\n";
    out << "<h2>Why the recipe is as it is</h2>\n<ul>\n";
    for (const std::string& reason : result.reasons)
        out << "<li>" << Escaped(reason) << "</li>\n";
    out << "</ul>\n<h2>Ways of inspecting</h2>\n<table id=\"candidates\"><tr><th>way</th><th>planted spots "
           "found</th>"
        << (result.defects > 0 ? "<th>of " + Counted(result.defects, "known defect") + "</th>" : "") << "</tr>\n";
    for (const LearnCandidate& candidate : result.candidates)
        out << "<tr" << (candidate.chosen ? " class=\"chosen\"" : "") << "><td>" << Escaped(candidate.description)
            << (candidate.chosen ? " (chosen)" : "") << "</td><td>" << PercentText(candidate.found) << "</td>"
            << (result.defects > 0 ? "<td>" + std::to_string(candidate.defectsFound) + "</td>" : "") << "</tr>\n";
    out << "</table>\n";
    AddSpots(result, out);
    AddImages(result, out);
    if (!result.finds.empty())
    {
        const bool known = result.finds.front().known;
        out << "<h2>Images with defects</h2>\n<p>" << DescribeFinds(result)
            << "</p>\n<table id=\"bad\"><tr><th>image</th><th>blobs</th>"
            << (known ? "<th>defects</th><th>found</th><th>false blobs</th>" : "") << "</tr>\n";
        for (const LearnFinds& image : result.finds)
        {
            out << "<tr><td>" << Escaped(image.name) << "</td><td>" << image.blobs << "</td>";
            if (known)
                out << "<td>" << image.defects << "</td><td>" << image.found << "</td><td>" << image.falseBlobs
                    << "</td>";
            out << "</tr>\n";
        }
        out << "</table>\n";
    }
    out << PageEnd();
    return out.str();
}

} // namespace narvo::tools
