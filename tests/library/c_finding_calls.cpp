// SPDX-License-Identifier: MIT
#include "library/c_finding_calls.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace narvo::test
{

CFindingCalls::~CFindingCalls()
{
    FreeAll(m_lots, narvo_lot_free);
    FreeAll(m_cells, narvo_cell_free);
    FreeAll(m_findings, narvo_findings_free);
    FreeAll(m_exchanges, narvo_exchange_free);
    FreeAll(m_truths, narvo_truth_free);
    FreeAll(m_evaluations, narvo_evaluation_free);
}

void CFindingCalls::CallOnce()
{
    m_foreign[0] = m_shared.recipes.live.empty() ? nullptr : static_cast<void*>(m_shared.recipes.live.front());
    m_foreign[1] = m_lots.live.empty() ? nullptr : static_cast<void*>(m_lots.live.front());
    switch (m_source.Int(0, 15))
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
    case 11:
        return MakeTruth();
    case 12:
    case 13:
        return MeasureImage();
    case 14:
        return ReportEvaluation();
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

void CFindingCalls::MakeTruth()
{
    if (m_truths.live.size() >= 3)
        return;
    if (m_source.OneIn(4))
        return Create(m_truths, narvo_truth_of_defective);
    auto* made = reinterpret_cast<narvo_truth*>(this);
    if (m_source.OneIn(2))
    {
        const DrawnImage mask = DrawImage(16);
        const std::int32_t status =
            narvo_truth_of_mask(&mask.record, m_source.Pick<const char*>({nullptr, "\xff"}), &made);
        Keep(m_truths, made, status, !mask.broken && mask.record.bits == 8);
    }
    else
    {
        narvo_true_box boxes[2] = {};
        for (narvo_true_box& box : boxes)
            box = {sizeof(box), m_source.Int(0, 40), 3, m_source.Pick({50, 0, DrawInteger()}), 8, 0, "spot"};
        boxes[1].kind = m_source.Pick<const char*>({"line", "\xff", nullptr});
        const auto count = m_source.Pick<std::int64_t>({2, 1, 0, -1, nHugeCount});
        const std::int32_t status = narvo_truth_of_boxes(boxes, count, m_source.Pick({96, 96, 0}), 72, &made);
        Keep(m_truths, made, status, count >= 0 && count <= 2 && (count < 2 || boxes[1].kind != nullptr));
    }
    std::int32_t defective = -1;
    std::int64_t count = -1;
    GuardedArray<narvo_true_box> boxes(1);
    const auto [truth, hasTruth] = Draw(m_truths);
    const bool told = Sound(narvo_truth_get(truth, &defective), hasTruth);
    const bool listed = Sound(narvo_truth_boxes(truth, sizeof(narvo_true_box), boxes.Data(), 1, &count), hasTruth);
    Require(told == listed && (!told || count == 0 || defective == 1), "an image with defects is defective");
    boxes.RequireUntouched(listed && count > 0 ? 1 : 0);
}

void CFindingCalls::MeasureImage()
{
    if (m_evaluations.live.empty())
    {
        const narvo_setting setting = DrawSetting(m_source.Pick({"margin", "smallest", "patch"}));
        const int lanes = m_source.Pick({1, 2, 0, 257});
        const auto count = m_source.Pick<std::int64_t>({0, 0, 1});
        auto* made = reinterpret_cast<narvo_evaluation*>(this);
        const std::int32_t status = narvo_evaluation_create(&setting, count, lanes, &made);
        Keep(m_evaluations, made, status, lanes == 1 || lanes == 2);
    }
    const auto [evaluation, hasEvaluation] = Draw(m_evaluations);
    const auto [truth, hasTruth] = Draw(m_truths);
    const std::string name = std::to_string(m_source.Int(0, 30));
    const char* given = Rarely() ? m_source.Pick<const char*>({nullptr, ""}) : name.c_str();
    const bool right = hasEvaluation && hasTruth && given != nullptr && given[0] != '\0';
    const int kind = m_source.Int(0, 3);
    if (kind == 0)
    {
        const narvo_problem problem = {sizeof(problem), 0, "a field", m_source.Pick<const char*>({"\xff", nullptr}),
                                       "x"};
        const auto count = m_source.Pick<std::int64_t>({1, 1, 0, -1});
        return void(Sound(narvo_evaluation_refuse(evaluation, given, &problem, count, truth),
                          right && problem.value != nullptr && count == 1));
    }
    if (kind == 1)
    {
        std::vector<float> scores(96 * 72, 0.0F);
        scores[static_cast<std::size_t>(m_source.Int(0, 96 * 72 - 1))] = static_cast<float>(DrawNumber());
        const int width = m_source.Pick({96, 96, 96, 0, -1});
        return void(Sound(
            narvo_evaluation_measure_scores(evaluation, given, Rarely() ? nullptr : scores.data(), width, 72, truth),
            right && width == 96));
    }
    const std::vector<std::uint8_t> bytes(96 * 72, static_cast<std::uint8_t>(m_source.Int(0, 255)));
    const narvo_pixel_array pixels = {sizeof(pixels), 96, 72, 1, 8, 0, bytes.data()};
    narvo_picture* picture = nullptr;
    Require(narvo_picture_from_pixels(&pixels, nullptr, nullptr, &picture) == NARVO_OK, "pixels become a picture");
    const auto [recipe, hasRecipe] = Draw(m_shared.recipes);
    const auto [golden, hasGolden] = Draw(m_shared.goldens);
    if (kind == 2)
        Sound(narvo_evaluation_measure(evaluation, given, picture, recipe, truth), right && hasRecipe);
    else
        Sound(narvo_evaluation_measure_golden(evaluation, given, picture, golden, truth), right && hasGolden);
    Require(narvo_picture_free(picture) == NARVO_OK, "a picture in use can be freed");
}

void CFindingCalls::ReportEvaluation()
{
    const auto [evaluation, hasEvaluation] = Draw(m_evaluations);
    std::int64_t images = 0;
    Sound(narvo_evaluation_images(evaluation, &images), hasEvaluation);
    auto* made = reinterpret_cast<narvo_findings*>(this);
    const std::int32_t status = narvo_evaluation_report(evaluation, &made);
    KeepFindings(made, status, hasEvaluation && images > 0);
    auto* set = reinterpret_cast<narvo_image_set*>(this);
    Require(!Sound(narvo_image_set_read(m_source.Pick<const char*>({nullptr, "", "no_such_folder"}), &set), false) &&
                set == nullptr,
            "no set without a folder");
    auto* truth = reinterpret_cast<narvo_truth*>(this);
    Require(!Sound(narvo_truth_of_set(set, 0, 0, &truth), false) && truth == nullptr, "no truth without a set");
    std::int64_t count = 0;
    Sound(narvo_image_set_images(set, sizeof(narvo_set_image), nullptr, 0, &count), false);
}

void CFindingCalls::FreeOne()
{
    switch (m_source.Int(0, 5))
    {
    case 5:
        return FreeDrawn(m_truths, narvo_truth_free);
    case 4:
        return FreeDrawn(m_evaluations, narvo_evaluation_free);
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
