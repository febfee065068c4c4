// SPDX-License-Identifier: MIT
#include "library/c_calls.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "library/c_call_kit.h"
#include "library/c_finding_calls.h"
#include "library/c_long_calls.h"
#include "library/c_picture_calls.h"
#include "library/c_store_calls.h"
#include <narvo/narvo_c.h>

namespace narvo::test
{

namespace
{

constexpr const char* pRecipes[] = {
    R"({"version": 1, "mode": "pixel", "pitch": {"x": 16, "y": 12}, "threshold": {"base": 25}})",
    R"({"version": 1, "mode": "zone", "pitch": {"x": 16, "y": 12}, "zones": {"columns": 2, "rows": 2, "list": [{"index": 1, "offset": 20}]}})",
    R"({"version": 1, "mode": "binarise", "binarise": {"low": 30, "high": 200}})",
    R"({"version": 1, "mode": "pixel", "pitch": {"x": 16, "y": 12}, "threshold": {"base": 9}, "direction": "horizontal",
        "regions": [{"name": "a", "region": {"left": 0, "top": 0, "right": 64, "bottom": 48}},
                    {"name": "b", "region": {"left": 3, "top": 5, "right": 90, "bottom": 60}}]})",
    R"({"version": 1, "mode": "texture", "texture": {"threshold": 4}})",
    R"({"version": 1})",
    "[1, 2",
    ""};
constexpr const char* pFields[] = {"pitch.x",
                                   "pitch.y",
                                   "mode",
                                   "threshold.base",
                                   "threshold.gain",
                                   "direction",
                                   "name",
                                   "region.left",
                                   "region.right",
                                   "region.bottom",
                                   "multiple.x",
                                   "zones.list",
                                   "zones.columns",
                                   "zones.rows",
                                   "filter.min_area",
                                   "blobs.merge",
                                   "image.levels",
                                   "version",
                                   "no_such",
                                   "",
                                   ".",
                                   "\xff",
                                   "a.b.c.d.e.f.g.h.i.j"};
constexpr const char* pWords[] = {"zone",  "pixel",    "binarise",   "average", "texture", "lattice",
                                  "float", "vertical", "horizontal", "",        "\xff",    "x"};
constexpr const char* pLists[] = {
    "[]", "{}", R"([{"index": 1, "offset": 25}, {"index": 2, "dead": true}])", "[{", "3", R"([{"index": -1}])", "null"};
constexpr const char* pSettings[] = {"max_shift",      "max_rotation", "max_scale",  "mesh_spacing", "min_correlation",
                                     "edge_tolerance", "threshold",    "min_pixels", "max_blobs",    "no_such"};

class Caller : private CCallKit
{
public:
    explicit Caller(CCaseSource& source) : CCallKit(source) {}

    ~Caller()
    {
        FreeAll(m_shared.recipes, narvo_recipe_free);
        FreeAll(m_drafts, narvo_draft_free);
        FreeAll(m_shared.inspectors, narvo_inspector_free);
        FreeAll(m_shared.reports, narvo_reports_free);
        FreeAll(m_proposals, narvo_proposal_free);
        FreeAll(m_shared.goldens, narvo_golden_free);
    }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    void CallOnce()
    {
        m_foreign[0] = m_shared.recipes.live.empty() ? nullptr : static_cast<void*>(m_shared.recipes.live.front());
        m_foreign[1] = m_drafts.live.empty() ? nullptr : static_cast<void*>(m_drafts.live.front());
        switch (m_source.Int(0, 31))
        {
        case 0:
            return MakeRecipe();
        case 1:
            return MakeInspector();
        case 2:
        case 3:
        case 4:
            return Inspect();
        case 5:
            return Create(m_drafts, narvo_draft_create);
        case 6:
        case 7:
        case 8:
            return SetField();
        case 9:
            return CheckDraft();
        case 10:
            return AskRecipe();
        case 11:
            return ReadReports();
        case 12:
            return Propose();
        case 13:
            return MakeGolden();
        case 14:
            return UseGolden();
        case 15:
            return FreeOne();
        case 16:
        case 17:
        case 18:
        case 19:
        case 20:
        case 21:
            return m_long.CallOnce();
        case 22:
        case 23:
            return m_stores.CallOnce();
        case 24:
        case 25:
            return m_findings.CallOnce();
        default:
            return m_ofPictures.CallOnce();
        }
    }

private:
    SharedHandles m_shared;
    Handles<narvo_draft> m_drafts;
    Handles<narvo_proposal> m_proposals;
    CLongCalls m_long{m_source, m_shared.recipes, m_shared.reports};
    CPictureCalls m_ofPictures{m_source, m_shared};
    CStoreCalls m_stores{m_source, m_shared};
    CFindingCalls m_findings{m_source, m_shared};

    void MakeRecipe()
    {
        std::string text = pRecipes[m_source.Below(std::size(pRecipes))];
        for (int i = m_source.OneIn(3) ? m_source.Int(1, 3) : 0; i > 0 && !text.empty(); --i)
            text[m_source.Below(text.size())] =
                static_cast<char>(m_source.Pick({'0', '9', '"', '}', '-', '\xff', '\1'}));
        auto* made = reinterpret_cast<narvo_recipe*>(this);
        if (Rarely())
        {
            const std::int32_t status = m_source.OneIn(2) ? narvo_recipe_from_file("no_such_folder/recipe.json", &made)
                                                          : narvo_recipe_from_text(nullptr, nullptr, &made);
            return Keep(m_shared.recipes, made, status, false);
        }
        const std::int32_t status =
            narvo_recipe_from_text(text.c_str(), m_source.OneIn(3) ? "no_such_folder" : nullptr, &made);
        Keep(m_shared.recipes, made, status, true);
    }

    void MakeInspector()
    {
        if (m_shared.inspectors.live.size() >= 2)
            return;
        const int lanes = m_source.Pick({1, 2, 0, -1, 257, std::numeric_limits<int>::max()});
        auto* made = reinterpret_cast<narvo_inspector*>(this);
        const std::int32_t status = narvo_inspector_create(lanes, &made);
        Keep(m_shared.inspectors, made, status, lanes == 1 || lanes == 2);
        std::int32_t known = 0;
        if (status == NARVO_OK)
            Require(Sound(narvo_inspector_lanes(made, &known)) && known == lanes, "lanes are as asked for");
    }

    void Inspect()
    {
        const auto [inspector, hasInspector] = Draw(m_shared.inspectors);
        const auto [recipe, hasRecipe] = Draw(m_shared.recipes);
        const DrawnImage image = DrawImage(33);
        const bool given = !Rarely();
        auto* made = reinterpret_cast<narvo_reports*>(this);
        const std::int32_t status = narvo_inspect(inspector, recipe, given ? &image.record : nullptr, &made);
        Keep(m_shared.reports, made, status, hasInspector && hasRecipe && given && !image.broken);
        if (status == NARVO_OK)
        {
            Require(Sound(narvo_recipe_check_size(recipe, image.record.width, image.record.height)),
                    "what was inspected had a size that the recipe takes");
            RequireSoundReports(made, image.record.width + 16, image.record.height);
        }
    }

    /// `width` may be that of rows that were filled up.
    void RequireSoundReports(const narvo_reports* reports, int width, int height)
    {
        std::int64_t regions = 0;
        Require(Sound(narvo_reports_count(reports, &regions)) && regions >= 1, "there is a report");
        for (std::int64_t region = 0; region < regions; ++region)
        {
            narvo_report report = {};
            report.size = sizeof(report);
            Require(Sound(narvo_reports_get(reports, region, &report)), "each region has one");
            Require((report.code == 1 || report.code == 16) && report.name != nullptr && report.left >= 0 &&
                        report.top >= 0 && report.right <= width && report.bottom <= height,
                    "the region lies in the image");
            const std::int64_t capacity =
                m_source.OneIn(3) ? m_source.Int(0, 5) : report.defect_count + m_source.Int(0, 2);
            GuardedArray<narvo_defect> defects(static_cast<std::size_t>(capacity));
            std::int64_t count = -1;
            Require(
                Sound(narvo_reports_defects(reports, region, sizeof(narvo_defect), defects.Data(), capacity, &count)) &&
                    count == report.defect_count,
                "defects are as many as the report says");
            const std::int64_t used = std::min(count, capacity);
            defects.RequireUntouched(static_cast<std::size_t>(used));
            for (std::int64_t i = 0; i < used; ++i)
            {
                const narvo_defect& defect = defects.Data()[i];
                Require(defect.size == sizeof(defect) && defect.number == i + 1 && defect.area >= 1 &&
                            defect.reserved == 0,
                        "defects are numbered");
                Require(defect.left >= 0 && defect.top >= 0 && defect.left < defect.right &&
                            defect.top < defect.bottom && defect.right <= width && defect.bottom <= height,
                        "a defect lies in the image");
                Require(std::isfinite(defect.angle) && std::isfinite(defect.major_axis) &&
                            std::isfinite(defect.circularity) && std::isfinite(defect.elongation),
                        "a defect has a shape");
            }
            const char* text = nullptr;
            for (std::int64_t i = 0; i < report.warning_count; ++i)
                Require(Sound(narvo_reports_warning(reports, region, i, &text)) && std::strlen(text) > 0,
                        "a warning has words");
            Require(!Sound(narvo_reports_warning(reports, region, report.warning_count, &text), false) &&
                        text == nullptr,
                    "no warning behind the last");
        }
    }

    void SetField()
    {
        const auto [draft, hasDraft] = Draw(m_drafts);
        const bool given = !Rarely();
        const char* field = given ? pFields[m_source.Below(std::size(pFields))] : nullptr;
        const bool right = hasDraft && given;
        switch (m_source.Int(0, 8))
        {
        case 0:
            return void(Sound(narvo_draft_set_number(draft, field, DrawNumber()), right));
        case 1:
            return void(Sound(narvo_draft_set_integer(draft, field, DrawInteger()), right));
        case 2:
        {
            const int value = m_source.Pick({0, 1, 2, -1});
            return void(Sound(narvo_draft_set_switch(draft, field, value), right && (value == 0 || value == 1)));
        }
        case 3:
            return void(Sound(narvo_draft_set_text(draft, field, pWords[m_source.Below(std::size(pWords))]), right));
        case 4:
            return void(Sound(narvo_draft_set_json(draft, field, pLists[m_source.Below(std::size(pLists))]), right));
        case 5:
            // Fields that most recipes need, so that drafts become recipes.
            Sound(narvo_draft_set_text(draft, "mode", m_source.Pick({"pixel", "binarise", "texture"})), hasDraft);
            Sound(narvo_draft_set_integer(draft, "pitch.x", 16), hasDraft);
            Sound(narvo_draft_set_integer(draft, "pitch.y", 12), hasDraft);
            return void(Sound(narvo_draft_set_integer(draft, "threshold.base", 20), hasDraft));
        case 6:
        {
            const double values[3] = {DrawNumber(), 16.0, DrawNumber()};
            const std::int64_t count = m_source.Pick<std::int64_t>({3, 1, 0, -1, nHugeCount});
            return void(Sound(narvo_draft_set_list(draft, field, values, count), right && count >= 0 && count <= 3));
        }
        case 7:
            return SetMap(draft, hasDraft);
        default:
        {
            const DrawnImage image = DrawImage(16);
            const bool deep = image.record.bits != 8;
            const auto set =
                m_source.Pick({narvo_draft_set_zone_image, narvo_draft_set_dead_image, narvo_draft_set_class_image});
            return void(Sound(set(draft, &image.record), hasDraft && !image.broken && !deep));
        }
        }
    }

    /// Makes a draft in zone mode with a map, of values in range or not.
    void SetMap(narvo_draft* draft, bool hasDraft)
    {
        const int width = m_source.Pick({96, 64});
        const int height = m_source.Pick({72, 64});
        const int gap = m_source.Int(0, 2);
        std::vector<std::int16_t> values(static_cast<std::size_t>((width + gap) * (height - 1) + width),
                                         static_cast<std::int16_t>(m_source.Pick({20, 3, 0, -1, 255, 32767})));
        narvo_map_values record = {sizeof(record), width, height, 0, width + gap, values.data()};
        const int map = m_source.Pick({0, 1, 2, 3, 4, 5, 6, 7, -1});
        const bool broken = Rarely();
        switch (broken ? m_source.Int(0, 4) : 5)
        {
        case 0:
            record.size = 8;
            break;
        case 1:
            record.values = nullptr;
            break;
        case 2:
            record.width = m_source.Pick({0, -5, std::numeric_limits<int>::max()});
            record.stride = m_source.Pick<std::int64_t>({record.width, nHugeCount}); // never a smaller region
            break;
        case 3:
            record.height = m_source.Pick({0, -5, std::numeric_limits<int>::min()});
            break;
        case 4:
            record.stride = m_source.Pick<std::int64_t>({-1, 5, -nHugeCount});
            break;
        default:
            break;
        }
        Sound(narvo_draft_set_text(draft, "mode", "zone"), hasDraft);
        Sound(narvo_draft_set_region_map(draft, map, &record), hasDraft && !broken && map >= 0 && map <= 6);
    }

    void CheckDraft()
    {
        const auto [draft, hasDraft] = Draw(m_drafts);
        auto* made = reinterpret_cast<narvo_recipe*>(this);
        const std::int32_t status = narvo_draft_check(draft, &made);
        Keep(m_shared.recipes, made, status, hasDraft);
    }

    void AskRecipe()
    {
        const auto [recipe, hasRecipe] = Draw(m_shared.recipes);
        std::int64_t count = 0;
        if (Sound(narvo_recipe_regions(recipe, &count), hasRecipe))
            Require(count >= 1, "a recipe has a region");
        Sound(narvo_recipe_check_size(recipe, DrawInteger(), DrawInteger()), hasRecipe);
        const std::int64_t capacity = m_source.Pick<std::int64_t>({100, 0, 1, 2, 100000, -1, -nHugeCount});
        GuardedArray<char> text(static_cast<std::size_t>(std::max<std::int64_t>(capacity, 0)));
        std::int64_t length = -1;
        if (Sound(narvo_recipe_text(recipe, text.Data(), capacity, &length), hasRecipe && capacity >= 0))
        {
            const std::int64_t used = std::min(capacity, length + 1);
            text.RequireUntouched(static_cast<std::size_t>(used));
            Require(capacity == 0 || static_cast<std::int64_t>(std::strlen(text.Data())) == used - 1,
                    "a text ends with a zero byte");
        }
        const char* field = Rarely() ? nullptr : pFields[m_source.Below(std::size(pFields))];
        const std::int64_t region = m_source.Pick<std::int64_t>({0, 1, -1, nHugeCount});
        const bool asks = hasRecipe && capacity >= 0 && region >= 0;
        Sound(narvo_recipe_value(recipe, region, field, text.Data(), capacity, &length), asks && field != nullptr);
        Sound(narvo_recipe_summary(recipe, region, text.Data(), capacity, &length), asks);
        auto* made = reinterpret_cast<narvo_draft*>(this);
        const std::int32_t status = narvo_draft_from_recipe(recipe, region, &made);
        Keep(m_drafts, made, status, hasRecipe && region >= 0);
    }

    void ReadReports()
    {
        const auto [reports, hasReports] = Draw(m_shared.reports);
        const std::int64_t region = m_source.Pick<std::int64_t>({0, 1, -1, nHugeCount});
        narvo_report report = {};
        const bool sized = !Rarely();
        report.size = sized ? sizeof(report) : 8;
        Sound(narvo_reports_get(reports, region, &report), hasReports && sized && region >= 0);
        std::int64_t count = 0;
        const std::int64_t capacity = m_source.Pick<std::int64_t>({0, -1, 3});
        GuardedArray<narvo_defect> defects(3);
        const auto size = static_cast<std::uint32_t>(m_source.Pick<std::size_t>({sizeof(narvo_defect), 0, 100, 137}));
        const bool right = hasReports && capacity >= 0 && size == sizeof(narvo_defect) && region >= 0;
        if (Sound(narvo_reports_defects(reports, region, size, defects.Data(), capacity, &count), right))
            defects.RequireUntouched(static_cast<std::size_t>(std::min(count, capacity)));
        else
            defects.RequireUntouched(0);
        const char* text = nullptr;
        const auto ask = m_source.Pick({narvo_reports_json, narvo_reports_csv});
        Require(Sound(ask(reports, region, &text), hasReports && region >= 0) == (text != nullptr),
                "a text, or why there is none");
        Require(text == nullptr || std::strlen(text) > 0, "a text has words");
        double x = DrawNumber();
        double y = DrawNumber();
        Sound(narvo_reports_map(reports, x, y, &x, &y), hasReports);
        narvo_registration registration = {};
        registration.size = sizeof(registration);
        const bool golden = Sound(narvo_reports_registration(reports, &registration), hasReports);
        GuardedArray<narvo_place> places(2);
        if (Sound(narvo_reports_places(reports, sizeof(narvo_place), places.Data(), 2, &count), hasReports))
        {
            Require(golden && registration.model != nullptr, "places are of golden inspections");
            places.RequireUntouched(static_cast<std::size_t>(std::min<std::int64_t>(count, 2)));
        }
    }

    void Propose()
    {
        const DrawnImage image = DrawImage(64);
        const narvo_box box = {sizeof(box), m_source.Pick({0, 1, -1}), 0,
                               m_source.Pick({64, 96, 70, 500, DrawInteger()}), m_source.Pick({64, 61, 5})};
        auto* made = reinterpret_cast<narvo_proposal*>(this);
        const std::int32_t status = narvo_propose(&image.record, m_source.OneIn(2) ? &box : nullptr, &made);
        Keep(m_proposals, made, status, !image.broken);
        const auto [proposal, hasProposal] = Draw(m_proposals);
        narvo_pitch_axis axis = {};
        axis.size = sizeof(axis);
        const int along = m_source.Pick({0, 1, 2, -1});
        if (Sound(narvo_proposal_axis(proposal, along, &axis), hasProposal && (along == 0 || along == 1)))
            Require(axis.found == 1 ? axis.pitch >= 1.0 : axis.pitch == 0.0, "a period that was found has a length");
        auto* recipe = reinterpret_cast<narvo_recipe*>(this);
        if (Sound(narvo_proposal_recipe(proposal, &recipe), hasProposal))
        {
            if (recipe != nullptr)
                m_shared.recipes.Add(recipe);
        }
        else
            Require(recipe == nullptr, "no recipe without a proposal");
        std::int64_t notes = 0;
        if (!Sound(narvo_proposal_notes(proposal, &notes), hasProposal))
            return;
        const char* text = nullptr;
        for (std::int64_t i = 0; i < notes; ++i)
            Require(Sound(narvo_proposal_note(proposal, i, &text)) && std::strlen(text) > 0, "a note has words");
        Sound(narvo_proposal_note(proposal, notes, &text), false);
    }

    void MakeGolden()
    {
        if (m_shared.goldens.live.size() >= 2)
            return;
        const DrawnImage first = DrawImage(64);
        narvo_image images[2] = {first.record, first.record};
        const std::int64_t count = m_source.Pick<std::int64_t>({1, 2, 0, -1, nHugeCount});
        narvo_setting settings[2] = {};
        for (narvo_setting& setting : settings)
            setting = {sizeof(setting), 0, pSettings[m_source.Below(std::size(pSettings))], DrawNumber()};
        const std::int64_t named = m_source.Pick<std::int64_t>({0, 1, 2, -1, nHugeCount});
        const int lanes = m_source.Pick({1, 2, 0});
        auto* made = reinterpret_cast<narvo_golden*>(this);
        const std::int32_t status = narvo_golden_create(images, count, settings, named, lanes, &made);
        Keep(m_shared.goldens, made, status,
             (count == 1 || count == 2) && named >= 0 && named <= 2 && lanes > 0 && !first.broken);
    }

    void UseGolden()
    {
        const auto [golden, hasGolden] = Draw(m_shared.goldens);
        const DrawnImage image = DrawImage(64);
        if (m_source.OneIn(3))
        {
            const bool none = m_source.OneIn(2);
            Sound(narvo_golden_set_mask(golden, none ? nullptr : &image.record), hasGolden && (none || !image.broken));
        }
        auto* made = reinterpret_cast<narvo_reports*>(this);
        const std::int32_t status = narvo_golden_inspect(golden, &image.record, &made);
        Keep(m_shared.reports, made, status, hasGolden && !image.broken);
        if (status == NARVO_OK)
            RequireSoundReports(made, image.record.width + 16, image.record.height);
        const std::int64_t capacity = m_source.Pick<std::int64_t>({0, 7, -1, 20000});
        GuardedArray<std::uint8_t> pixels(static_cast<std::size_t>(std::max<std::int64_t>(capacity, 0)));
        const int which = m_source.Int(-1, 2);
        std::int32_t width = 0;
        std::int32_t height = 0;
        if (Sound(narvo_golden_picture(golden, which, pixels.Data(), capacity, &width, &height),
                  hasGolden && capacity >= 0 && (which == 0 || which == 1)))
            pixels.RequireUntouched(static_cast<std::size_t>(std::min(capacity, std::int64_t{width} * height)));
    }

    void FreeOne()
    {
        switch (m_source.Int(0, 5))
        {
        case 0:
            return FreeDrawn(m_shared.recipes, narvo_recipe_free);
        case 1:
            return FreeDrawn(m_drafts, narvo_draft_free);
        case 2:
            return FreeDrawn(m_shared.inspectors, narvo_inspector_free);
        case 3:
            return FreeDrawn(m_shared.reports, narvo_reports_free);
        case 4:
            return FreeDrawn(m_proposals, narvo_proposal_free);
        default:
            return FreeDrawn(m_shared.goldens, narvo_golden_free);
        }
    }
};

} // namespace

void MakeCCalls(CCaseSource& source, int most)
{
    Caller caller(source);
    for (int i = 0; i < most; ++i)
        caller.CallOnce();
}

} // namespace narvo::test
