// SPDX-License-Identifier: MIT
// One comparison for all who look, and what of it the page is told.
#include "tools/live/live_cell.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/file/name_text.h"
#include "host/problem.h"
#include "tools/cell/cell_picture.h"
#include "tools/page/embedded_jpeg.h"

namespace narvo::tools
{

using nlohmann::ordered_json;

namespace
{

constexpr int nQuality = 90;

double Hundredths(double value)
{
    return std::round(value * 100.0) / 100.0;
}

/// The region whose most certain place is the most certain one.
std::size_t RegionToDraw(const std::vector<v1::CellReport>& reports)
{
    std::size_t drawn = 0;
    double most = 0.0;
    for (std::size_t i = 0; i < reports.size(); ++i)
        if (!reports[i].places.empty() && reports[i].places[0].standardErrors > most)
        {
            most = reports[i].places[0].standardErrors;
            drawn = i;
        }
    return drawn;
}

ordered_json RegionJson(const v1::CellReport& report)
{
    return {{"name", NameToText(report.region)},
            {"places", report.places.size()},
            {"parts", report.parts},
            {"parts_left_out", report.partsLeftOut},
            {"displacement_x", Hundredths(report.displacementX)},
            {"displacement_y", Hundredths(report.displacementY)},
            {"gain", std::round(report.gain * 1000.0) / 1000.0},
            {"offset", Hundredths(report.offset)}};
}

} // namespace

std::shared_ptr<const SharedEvent::Event> LiveCell::Latest(const LiveState& state, bool last)
{
    const LiveState::Picture picture = state.Setup().golden ? state.LatestPicture() : LiveState::Picture{};
    return m_event.Latest(picture.verdict ? picture.verdict->number : 0, last, [&] { return Compare(state, picture); });
}

std::string LiveCell::Compare(const LiveState& state, const LiveState::Picture& picture)
{
    const CellReference& golden = *state.Setup().golden;
    const std::string& image = picture.verdict->name;
    std::vector<v1::CellReport> reports;
    ordered_json problems = ordered_json::array();
    ordered_json drawing = nullptr;
    try
    {
        reports = golden.compare(*picture.image);
        m_repeats.Add(image, reports);
        m_regions.clear();
        for (const v1::CellReport& report : reports)
            m_regions.push_back(report.region);
        const std::size_t region = RegionToDraw(reports);
        drawing = EncodeJpeg(DrawCells(golden.means.at(region), reports.at(region)), nQuality);
    }
    catch (const HostError& error)
    {
        for (const Problem& problem : error.Problems())
            problems.push_back(problem.Text());
    }
    ordered_json regions = ordered_json::array();
    for (const v1::CellReport& report : reports)
        regions.push_back(RegionJson(report));
    ordered_json places = ordered_json::array();
    const std::vector<CellRepeat> repeats = m_repeats.Places();
    for (std::size_t i = 0; i < std::min(nListedPlaces, repeats.size()); ++i)
    {
        places.push_back(CellRepeatToJson(repeats[i], m_regions));
        places.back()["now"] = repeats[i].last == image;
    }
    const ordered_json document = {{"image", image},
                                   {"images", m_repeats.Images()},
                                   {"different", m_repeats.Different()},
                                   {"found", repeats.size() + m_repeats.LeftOut()},
                                   {"regions", std::move(regions)},
                                   {"places", std::move(places)},
                                   {"picture", std::move(drawing)},
                                   {"problems", std::move(problems)}};
    return document.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

} // namespace narvo::tools
