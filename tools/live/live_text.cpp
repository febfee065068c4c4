// SPDX-License-Identifier: MIT
// Records of the state to JSON. Names are text already; what else comes from outside is replaced where it is no UTF-8.
#include "tools/live/live_text.h"

#include <nlohmann/json.hpp>

namespace narvo::tools
{

using nlohmann::ordered_json;

namespace
{

std::string Text(const ordered_json& document)
{
    return document.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

ordered_json VerdictJson(const LiveVerdict& verdict)
{
    ordered_json defects = ordered_json::array();
    for (const LiveDefect& one : verdict.defects)
        defects.push_back({one.x, one.y, one.left, one.top, one.right, one.bottom, one.bright ? 1 : 0, one.area});
    return {{"number", verdict.number},
            {"frame", verdict.frame},
            {"acquired", verdict.acquired / 1000000},
            {"name", verdict.name},
            {"verdict", OutcomeName(verdict.outcome)},
            {"failed", verdict.failed},
            {"problems", verdict.problems},
            {"width", verdict.width},
            {"height", verdict.height},
            {"blobs", verdict.blobs},
            {"defects", std::move(defects)}};
}

ordered_json HoursJson(const std::deque<HourCounts>& hours)
{
    ordered_json list = ordered_json::array();
    for (const HourCounts& one : hours)
        list.push_back({{"start", one.hour * 3600000},
                        {"pass", one.outcomes[LiveOutcome_Pass]},
                        {"fail", one.outcomes[LiveOutcome_Fail]},
                        {"undecided", one.outcomes[LiveOutcome_Undecided]},
                        {"unreadable", one.outcomes[LiveOutcome_Unreadable]},
                        {"dropped", one.dropped},
                        {"blobs", one.blobs}});
    return list;
}

const char* Condition(const LiveCounts& counts, bool ended)
{
    return !counts.problems.empty() ? "source broken" : counts.overrun ? "queue overrun" : ended ? "ended" : "running";
}

ordered_json StatusJson(const LiveState& state, const LiveState::Snapshot& now)
{
    const LiveCounts counts = state.Counts();
    return {{"condition", Condition(counts, now.ended)},
            {"problems", counts.problems},
            {"frames",
             {{"acquired", counts.acquired},
              {"inspected", counts.inspected},
              {"dropped", counts.dropped},
              {"unreadable", counts.unreadable},
              {"incomplete", counts.incomplete},
              {"lost", counts.lost}}},
            {"verdicts", {{"pass", counts.passed}, {"fail", counts.failed}, {"undecided", counts.undecided}}},
            {"blobs", counts.blobs},
            {"queue", {{"waiting", counts.waiting}, {"room", state.Setup().queue}}},
            {"latency_ms",
             {{"median", counts.medianMs}, {"percentile_99", counts.percentile99Ms}, {"worst", counts.worstMs}}},
            {"hours", HoursJson(now.hours)}};
}

ordered_json MapsJson(const LiveState& state)
{
    const LiveState::Maps maps = state.ReadMaps();
    return {{"image",
             {{"columns", ImageMap::nColumns},
              {"rows", ImageMap::nRows},
              {"width", maps.width},
              {"height", maps.height},
              {"defects", maps.defects},
              {"counts", maps.image.Counts()}}},
            {"cell",
             {{"columns", CellMap::nColumns},
              {"rows", CellMap::nRows},
              {"defects", maps.inCells},
              {"counts", maps.cell.Counts()}}}};
}

ordered_json VerdictsJson(const std::vector<LiveState::Verdict>& verdicts)
{
    ordered_json list = ordered_json::array();
    for (const LiveState::Verdict& verdict : verdicts)
        list.push_back(VerdictJson(*verdict));
    return list;
}

} // namespace

std::string StateText(const LiveState& state, std::uint64_t& number)
{
    const LiveState::Snapshot now = state.Read();
    number = now.number;
    const LiveSetup& setup = state.Setup();
    ordered_json cells = ordered_json::array();
    for (const PatternCell& cell : setup.cells)
        cells.push_back({cell.ax, cell.ay, cell.bx, cell.by});
    return Text({{"version", 1},
                 {"program", setup.version},
                 {"source", setup.source},
                 {"recipe", setup.recipe},
                 {"cells", std::move(cells)},
                 {"lanes", setup.lanes},
                 {"when_full", setup.whenFull},
                 {"started", setup.started / 1000000},
                 {"status", StatusJson(state, now)},
                 {"maps", MapsJson(state)},
                 {"last", VerdictsJson(now.last)},
                 {"failed", VerdictsJson(now.failed)}});
}

std::string StatusText(const LiveState& state)
{
    return Text(StatusJson(state, state.Read()));
}

std::string MapsText(const LiveState& state)
{
    return Text(MapsJson(state));
}

std::string VerdictText(const LiveVerdict& verdict)
{
    return Text(VerdictJson(verdict));
}

std::string PictureText(const LiveVerdict& verdict, const std::string& picture)
{
    ordered_json document = VerdictJson(verdict);
    document["picture"] = picture;
    return Text(document);
}

Health HealthOf(const LiveState& state)
{
    const LiveCounts counts = state.Counts();
    const ordered_json document = {{"status", Condition(counts, state.Read().ended)},
                                   {"problems", counts.problems},
                                   {"started", state.Setup().started / 1000000},
                                   {"acquired", counts.acquired},
                                   {"inspected", counts.inspected},
                                   {"dropped", counts.dropped},
                                   {"waiting", counts.waiting},
                                   {"queue", state.Setup().queue}};
    return {counts.problems.empty() && !counts.overrun, Text(document) + "\n"};
}

} // namespace narvo::tools
