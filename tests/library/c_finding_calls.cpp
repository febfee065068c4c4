// SPDX-License-Identifier: MIT
#include "library/c_finding_calls.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

namespace narvo::test
{

CFindingCalls::~CFindingCalls()
{
    FreeAll(m_lots, narvo_lot_free);
    FreeAll(m_cells, narvo_cell_free);
    FreeAll(m_findings, narvo_findings_free);
    FreeAll(m_exchanges, narvo_exchange_free);
}

void CFindingCalls::CallOnce()
{
    m_foreign[0] = m_shared.recipes.live.empty() ? nullptr : static_cast<void*>(m_shared.recipes.live.front());
    m_foreign[1] = m_lots.live.empty() ? nullptr : static_cast<void*>(m_lots.live.front());
    switch (m_source.Int(0, 11))
    {
    case 0:
        return MakeLot();
    case 1:
    case 2:
        return AddToLot();
    case 3:
        return FindInLot();
    case 4:
        return LearnCell();
    case 5:
        return AskCell();
    case 6:
    case 7:
        return CompareCell();
    case 8:
        return MakeExchange();
    case 9:
        return AddToExchange();
    case 10:
        return UseExchange();
    default:
        return FreeOne();
    }
}

narvo_setting CFindingCalls::DrawSetting(const char* known)
{
    narvo_setting setting = {sizeof(setting), 0, known, DrawNumber()};
    if (Rarely())
        setting.name = m_source.Pick<const char*>({nullptr, "", "no_such", "\xff"});
    if (Rarely())
        setting.size = 8;
    return setting;
}

/// Findings have both texts, and no others behind them once they are freed.
void CFindingCalls::KeepFindings(narvo_findings* made, std::int32_t status, bool mayRun)
{
    Keep(m_findings, made, status, mayRun);
    if (status != NARVO_OK)
        return;
    const char* text = nullptr;
    Require(Sound(narvo_findings_json(made, &text)) && text[0] == '{' && text[std::strlen(text) - 1] == '}',
            "findings have JSON");
    Require(Sound(narvo_findings_text(made, &text)) && std::strlen(text) > 0, "findings have a text");
}

void CFindingCalls::MakeLot()
{
    if (m_lots.live.size() >= 2)
        return;
    const auto [recipe, hasRecipe] = Draw(m_shared.recipes);
    auto* made = reinterpret_cast<narvo_lot*>(this);
    if (Rarely())
    {
        auto* none = reinterpret_cast<narvo_store*>(this);
        const char* const runs[] = {"lot", nullptr};
        const auto count = m_source.Pick<std::int64_t>({0, 1, 2, -1, nHugeCount});
        const std::int32_t status = m_source.OneIn(2) ? narvo_lot_from_store(none, runs, count, &made)
                                                      : narvo_lot_of_latest_recipe(none, &made);
        return Keep(m_lots, made, status, false);
    }
    const std::int32_t status = narvo_lot_create(recipe, m_source.Pick<const char*>({nullptr, "panel", "\xff"}), &made);
    Keep(m_lots, made, status, hasRecipe);
}

void CFindingCalls::AddToLot()
{
    const auto [lot, hasLot] = Draw(m_lots);
    const narvo_problem problem = {sizeof(problem), 0, "a field", m_source.Pick<const char*>({"\xff", "x", nullptr}),
                                   "something"};
    const std::string name =
        Rarely() ? std::string(m_source.Pick({"", "\xff"})) : "image " + std::to_string(m_source.Int(0, 1000));
    narvo_stored_image image = {};
    image.size = static_cast<std::uint32_t>(Rarely() ? 8 : sizeof(image));
    image.name = Rarely() ? nullptr : name.c_str();
    bool right = hasLot && image.size == sizeof(image) && image.name != nullptr && !name.empty();
    if (m_source.OneIn(6))
    {
        image.problems = &problem;
        image.problem_count = 1;
        right = right && problem.value != nullptr;
    }
    else
    {
        const auto [reports, hasReports] = Draw(m_shared.reports);
        image.reports = reports;
        right = right && hasReports;
    }
    std::int64_t before = 0;
    std::int64_t after = 0;
    Sound(narvo_lot_images(lot, &before), hasLot);
    const bool added = Sound(narvo_lot_add(lot, &image), right);
    Sound(narvo_lot_images(lot, &after), hasLot);
    Require(after == before + (added ? 1 : 0), "an image is added, or nothing happens");
}

void CFindingCalls::FindInLot()
{
    const auto [lot, hasLot] = Draw(m_lots);
    const narvo_setting setting = DrawSetting(m_source.Pick({"distance", "risk", "baseline"}));
    const auto count = m_source.Pick<std::int64_t>({0, 0, 1, -1});
    auto* made = reinterpret_cast<narvo_findings*>(this);
    const std::int32_t status = narvo_lot_find(lot, &setting, count, &made);
    KeepFindings(made, status,
                 hasLot && (count == 0 || (count == 1 && setting.size == sizeof(setting) && setting.name != nullptr)));
}

void CFindingCalls::LearnCell()
{
    if (m_cells.live.size() >= 2)
        return;
    const auto [recipe, hasRecipe] = Draw(m_shared.recipes);
    const DrawnImage image = DrawImage(33);
    const auto count = Rarely() ? m_source.Pick<std::int64_t>({0, -1, 1001, nHugeCount}) : 1;
    auto* made = reinterpret_cast<narvo_cell*>(this);
    if (Rarely())
        return Keep(m_cells, made, narvo_cell_from_file(m_source.Pick<const char*>({nullptr, "no_such"}), &made),
                    false);
    const std::int32_t status = narvo_cell_learn(recipe, &image.record, count, &made);
    Keep(m_cells, made, status, hasRecipe && !image.broken && count == 1);
}

void CFindingCalls::AskCell()
{
    const auto [cell, hasCell] = Draw(m_cells);
    std::int64_t regions = 0;
    std::int64_t images = 0;
    if (Sound(narvo_cell_get(cell, &regions, &images), hasCell))
        Require(regions >= 1 && images == 1, "a cell has regions and was learnt");
    const auto region = m_source.Pick<std::int64_t>({0, 1, -1, nHugeCount});
    const auto capacity = m_source.Pick<std::int64_t>({192, 0, 1, 5000, -1});
    GuardedArray<float> values(static_cast<std::size_t>(std::max<std::int64_t>(capacity, 0)));
    std::int32_t width = 0;
    std::int32_t height = 0;
    const bool read = Sound(narvo_cell_mean(cell, region, values.Data(), capacity, &width, &height),
                            hasCell && region >= 0 && capacity >= 0);
    const std::int64_t used = read ? std::min(capacity, std::int64_t{width} * height) : 0;
    values.RequireUntouched(static_cast<std::size_t>(used));
    for (std::int64_t i = 0; i < used; ++i)
        Require(std::isfinite(values.Data()[i]), "a cell has grey levels");
    Sound(narvo_cell_save(cell, m_source.Pick<const char*>({nullptr, "no_such_folder/cell.json"})), false);
}

void CFindingCalls::CompareCell()
{
    const auto [cell, hasCell] = Draw(m_cells);
    const auto [recipe, hasRecipe] = Draw(m_shared.recipes);
    const DrawnImage image = DrawImage(33);
    const narvo_setting setting = DrawSetting(m_source.Pick({"certainty", "tolerance", "least_difference"}));
    const auto count = m_source.Pick<std::int64_t>({0, 0, 0, 1});
    auto* made = reinterpret_cast<narvo_findings*>(this);
    const std::int32_t status = narvo_cell_compare(cell, &image.record, recipe, &setting, count, &made);
    KeepFindings(made, status,
                 hasCell && hasRecipe && !image.broken &&
                     (count == 0 || (setting.size == sizeof(setting) && setting.name != nullptr)));
}

void CFindingCalls::MakeExchange()
{
    if (m_exchanges.live.size() >= 2)
        return;
    if (!Rarely())
        return Create(m_exchanges, narvo_exchange_create);
    auto* made = reinterpret_cast<narvo_exchange*>(this);
    const char* file = m_source.Pick<const char*>({nullptr, "", "no_such", "no_such.json", "no_such.jsonl"});
    const auto read = m_source.Pick({narvo_exchange_read, narvo_exchange_read_klarf});
    Keep(m_exchanges, made, read(file, DrawNumber(), &made), false);
}

void CFindingCalls::AddToExchange()
{
    const auto [exchange, hasExchange] = Draw(m_exchanges);
    const char* image = Rarely() ? nullptr : m_source.Pick<const char*>({"a.png", "b.png", "", "\xff"});
    if (m_source.OneIn(2))
    {
        const auto [reports, hasReports] = Draw(m_shared.reports);
        return void(
            Sound(narvo_exchange_add_reports(exchange, image, reports), hasExchange && hasReports && image != nullptr));
    }
    narvo_listed_defect defects[2] = {};
    for (narvo_listed_defect& defect : defects)
        defect = {sizeof(defect), m_source.Int(0, 40), 3, m_source.Pick({50, 0, DrawInteger()}), 8, 0, DrawNumber(),
                  "dark"};
    defects[1].kind = m_source.Pick<const char*>({"bright", "", "\xff", nullptr});
    if (Rarely())
        defects[1].size = m_source.Pick({0U, 8U, 39U});
    const auto count = m_source.Pick<std::int64_t>({2, 1, 0, -1, nHugeCount});
    Sound(narvo_exchange_add_defects(exchange, image, DrawInteger(), DrawInteger(), defects, count),
          hasExchange && image != nullptr && count >= 0 && count <= 2 &&
              (count < 2 || (defects[1].size == sizeof(narvo_listed_defect) && defects[1].kind != nullptr)));
}

/// No file is written: the place lies in none that is a folder.
void CFindingCalls::UseExchange()
{
    const auto [exchange, hasExchange] = Draw(m_exchanges);
    const auto capacity = m_source.Pick<std::int64_t>({100, 0, 1, 100000, -1});
    GuardedArray<char> text(static_cast<std::size_t>(std::max<std::int64_t>(capacity, 0)));
    std::int64_t length = -1;
    const bool told =
        Sound(narvo_exchange_json(exchange, text.Data(), capacity, &length), hasExchange && capacity >= 0);
    text.RequireUntouched(static_cast<std::size_t>(told ? std::min(capacity, length + 1) : 0));
    narvo_klarf_head head = {};
    head.size = static_cast<std::uint32_t>(Rarely() ? 8 : sizeof(head));
    head.slot = m_source.Pick({0, 1, -1, 1001});
    head.pixel_size = DrawNumber();
    head.lot = m_source.Pick<const char*>({nullptr, "lot", "\"", "\xff"});
    head.time = m_source.Pick<const char*>({nullptr, "2026-01-02 03:04:05", "now"});
    const char* form =
        m_source.Pick<const char*>({"klarf-1.2", "klarf-1.8", "coco", "voc", "yolo", "csv", "gif", nullptr});
    Sound(narvo_exchange_save(exchange, form, m_source.Pick<const char*>({"/dev/null/out", "", nullptr}),
                              m_source.OneIn(2) ? nullptr : &head),
          false);
}

void CFindingCalls::FreeOne()
{
    switch (m_source.Int(0, 3))
    {
    case 3:
        return FreeDrawn(m_exchanges, narvo_exchange_free);
    case 0:
        return FreeDrawn(m_lots, narvo_lot_free);
    case 1:
        return FreeDrawn(m_cells, narvo_cell_free);
    default:
        return FreeDrawn(m_findings, narvo_findings_free);
    }
}

} // namespace narvo::test
