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

#include "fuzz/require.h"
#include <narvo/narvo_c.h>

namespace narvo::test
{

namespace
{

constexpr std::int64_t nHuge = std::numeric_limits<std::int64_t>::max();
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

/// Pixels in a block of exactly the size that the record declares, so that a checker sees reads beyond it.
struct DrawnImage
{
    narvo_image record = {};
    std::vector<std::uint8_t> bytes;
    bool broken = false; ///< no call takes it
};

/// Memory that a call may write to in part: what follows must stay.
template <typename Value>
class GuardedArray
{
public:
    explicit GuardedArray(std::size_t count) : m_bytes(count * sizeof(Value) + nGuard, nMark) {}

    Value* Data() { return reinterpret_cast<Value*>(m_bytes.data()); }
    /// Nothing behind the first `used` values was written to.
    void RequireUntouched(std::size_t used) const
    {
        Require(std::all_of(m_bytes.begin() + static_cast<std::ptrdiff_t>(used * sizeof(Value)), m_bytes.end(),
                            [](std::uint8_t byte) { return byte == nMark; }),
                "nothing is written behind an array");
    }

private:
    static constexpr std::size_t nGuard = 32;
    static constexpr std::uint8_t nMark = 0xa5;
    std::vector<std::uint8_t> m_bytes;
};

/// Handles of one kind: those in use, and those that were freed.
template <typename Handle>
struct Handles
{
    std::vector<Handle*> live;
    std::vector<Handle*> freed;

    void Add(Handle* handle)
    {
        Require(handle != nullptr && std::find(freed.begin(), freed.end(), handle) == freed.end() &&
                    std::find(live.begin(), live.end(), handle) == live.end(),
                "a new handle was never given out");
        live.push_back(handle);
    }
};

class Caller
{
public:
    explicit Caller(CCaseSource& source) : m_source(source) {}

    ~Caller()
    {
        FreeAll(m_recipes, narvo_recipe_free);
        FreeAll(m_drafts, narvo_draft_free);
        FreeAll(m_inspectors, narvo_inspector_free);
        FreeAll(m_reports, narvo_reports_free);
        FreeAll(m_proposals, narvo_proposal_free);
        FreeAll(m_goldens, narvo_golden_free);
    }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    void CallOnce()
    {
        switch (m_source.Int(0, 15))
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
        default:
            return FreeOne();
        }
    }

private:
    CCaseSource& m_source;
    Handles<narvo_recipe> m_recipes;
    Handles<narvo_draft> m_drafts;
    Handles<narvo_inspector> m_inspectors;
    Handles<narvo_reports> m_reports;
    Handles<narvo_proposal> m_proposals;
    Handles<narvo_golden> m_goldens;

    bool Rarely() { return m_source.OneIn(24); }

    /// A handle and whether it is in use; otherwise null, freed, of another kind, or anything.
    template <typename Handle>
    std::pair<Handle*, bool> Draw(const Handles<Handle>& handles)
    {
        if (!handles.live.empty() && !Rarely())
            return {handles.live[m_source.Below(handles.live.size())], true};
        switch (m_source.Int(0, 3))
        {
        case 0:
            return {nullptr, false};
        case 1:
            if (!handles.freed.empty())
                return {handles.freed[m_source.Below(handles.freed.size())], false};
            return {nullptr, false};
        case 2:
            return {reinterpret_cast<Handle*>(this), false};
        default:
            if constexpr (std::is_same_v<Handle, narvo_recipe>)
                return {m_drafts.live.empty() ? nullptr : reinterpret_cast<Handle*>(m_drafts.live.front()), false};
            else
                return {m_recipes.live.empty() ? nullptr : reinterpret_cast<Handle*>(m_recipes.live.front()), false};
        }
    }

    /// Checks a status and the problems behind it. @return whether the call did what it says
    static bool Sound(std::int32_t status, bool mayRun = true)
    {
        Require(status == NARVO_OK || status == NARVO_REFUSED, "a call succeeds or is refused");
        const std::int64_t count = narvo_problem_count();
        Require(status == NARVO_OK ? count == 0 : count >= 1, "a refusal has problems, success has none");
        for (std::int64_t i = -1; i <= count; ++i)
        {
            narvo_problem problem = {};
            problem.size = sizeof(problem);
            const bool inside = i >= 0 && i < count;
            Require((narvo_problem_get(i, &problem) == NARVO_OK) == inside, "problems are those of the count");
            if (inside)
                Require(problem.size == sizeof(problem) && problem.reserved == 0 && problem.field != nullptr &&
                            problem.value != nullptr && std::strlen(problem.allowed) > 0,
                        "a problem has its texts");
        }
        Require(mayRun || status == NARVO_REFUSED, "a wrong argument is refused");
        return status == NARVO_OK;
    }

    template <typename Handle>
    void Keep(Handles<Handle>& handles, Handle* made, std::int32_t status, bool mayRun)
    {
        if (Sound(status, mayRun))
            handles.Add(made);
        else
            Require(made == nullptr, "no handle without success");
    }

    template <typename Handle, typename Call>
    void Create(Handles<Handle>& handles, const Call& call)
    {
        if (Rarely())
            return void(Sound(call(nullptr), false));
        auto* made = reinterpret_cast<Handle*>(this);
        const std::int32_t status = call(&made);
        Keep(handles, made, status, true);
    }

    DrawnImage DrawImage(int leastSide)
    {
        DrawnImage image;
        narvo_image& record = image.record;
        record.size = sizeof(record);
        record.width = m_source.Pick({96, 64, 100, 97, 130, leastSide});
        record.height = m_source.Pick({72, 64, 61, 80, leastSide});
        record.bits = m_source.OneIn(4) ? m_source.Int(9, 16) : 8;
        const std::int64_t row = record.width * (record.bits > 8 ? 2 : 1);
        record.stride = m_source.OneIn(3) ? row + 2 * m_source.Int(0, 20) : 0;
        const std::int64_t stride = record.stride == 0 ? row : record.stride;
        image.bytes.resize(static_cast<std::size_t>(stride * (record.height - 1) + row));
        Paint(image, static_cast<int>(stride));
        record.pixels = image.bytes.data();
        if (Rarely())
            Break(image, row);
        return image;
    }

    void Paint(DrawnImage& image, int stride)
    {
        const int kind = m_source.Int(0, 4);
        const int spots = m_source.Int(0, 5);
        const int top = image.record.bits > 8 ? 1 << (image.record.bits - 8) : 1;
        std::vector<std::pair<int, int>> places;
        for (int i = 0; i < spots; ++i)
            places.emplace_back(m_source.Int(0, image.record.width - 1), m_source.Int(0, image.record.height - 1));
        unsigned noise = 1;
        for (int y = 0; y < image.record.height; ++y)
            for (int x = 0; x < image.record.width; ++x)
            {
                noise = noise * 1664525U + 1013904223U;
                int value = kind == 3 ? 90 : x % 16 < 6 && y % 12 < 8 ? 150 : 60;
                if (kind == 2)
                    value = static_cast<int>(noise >> 24);
                else if (kind == 4)
                    value = (x / 9 * 37 + y / 7 * 61) * 29 % 200;
                for (const auto& [left, up] : places)
                    if (std::abs(x - left) <= 2 && std::abs(y - up) <= 2)
                        value = kind % 2 == 0 ? 250 : 2;
                value *= top;
                auto* place = image.bytes.data() + static_cast<std::ptrdiff_t>(y) * stride;
                if (image.record.bits == 8)
                    place[x] = static_cast<std::uint8_t>(value);
                else
                {
                    const auto wide = static_cast<std::uint16_t>(value);
                    std::memcpy(place + 2 * x, &wide, 2);
                }
            }
    }

    void Break(DrawnImage& image, std::int64_t row)
    {
        narvo_image& record = image.record;
        image.broken = true;
        switch (m_source.Int(0, 6))
        {
        case 0:
            record.size = static_cast<std::uint32_t>(m_source.Pick({0, 8, 31, 33, 1000}));
            break;
        case 1:
            record.pixels = nullptr;
            break;
        case 2:
            record.width = m_source.Pick({0, -1, 1048577, std::numeric_limits<int>::max()});
            break;
        case 3:
            record.height = m_source.Pick({0, -1, 1048577, std::numeric_limits<int>::min()});
            break;
        case 4:
            record.bits = m_source.Pick({0, 7, 17, -8, std::numeric_limits<int>::max()});
            break;
        case 5:
            record.stride = m_source.Pick({std::int64_t{-1}, row - 1, -nHuge - 1, nHuge});
            break;
        default:
            record.width = record.height = 1048576;
            record.stride = 0;
            break;
        }
    }

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
            return Keep(m_recipes, made, status, false);
        }
        const std::int32_t status =
            narvo_recipe_from_text(text.c_str(), m_source.OneIn(3) ? "no_such_folder" : nullptr, &made);
        Keep(m_recipes, made, status, true);
    }

    void MakeInspector()
    {
        if (m_inspectors.live.size() >= 2)
            return;
        const int lanes = m_source.Pick({1, 2, 0, -1, 257, std::numeric_limits<int>::max()});
        auto* made = reinterpret_cast<narvo_inspector*>(this);
        const std::int32_t status = narvo_inspector_create(lanes, &made);
        Keep(m_inspectors, made, status, lanes == 1 || lanes == 2);
        std::int32_t known = 0;
        if (status == NARVO_OK)
            Require(Sound(narvo_inspector_lanes(made, &known)) && known == lanes, "lanes are as asked for");
    }

    void Inspect()
    {
        const auto [inspector, hasInspector] = Draw(m_inspectors);
        const auto [recipe, hasRecipe] = Draw(m_recipes);
        const DrawnImage image = DrawImage(33);
        const bool given = !Rarely();
        auto* made = reinterpret_cast<narvo_reports*>(this);
        const std::int32_t status = narvo_inspect(inspector, recipe, given ? &image.record : nullptr, &made);
        Keep(m_reports, made, status, hasInspector && hasRecipe && given && !image.broken);
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
            const std::int64_t count = m_source.Pick<std::int64_t>({3, 1, 0, -1, nHuge});
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
            record.stride = m_source.Pick<std::int64_t>({record.width, nHuge}); // never a smaller region
            break;
        case 3:
            record.height = m_source.Pick({0, -5, std::numeric_limits<int>::min()});
            break;
        case 4:
            record.stride = m_source.Pick<std::int64_t>({-1, 5, -nHuge});
            break;
        default:
            break;
        }
        Sound(narvo_draft_set_text(draft, "mode", "zone"), hasDraft);
        Sound(narvo_draft_set_region_map(draft, map, &record), hasDraft && !broken && map >= 0 && map <= 6);
    }

    double DrawNumber()
    {
        return m_source.Pick({16.0, 12.5, 0.0, -1.0, 300.25, 1e300, -1e300, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN(), 1e-300});
    }

    int DrawInteger()
    {
        return m_source.Pick({16, 12, 20, 0, -1, 1, 2, 64, 96, 255, 256, std::numeric_limits<int>::max(),
                              std::numeric_limits<int>::min()});
    }

    void CheckDraft()
    {
        const auto [draft, hasDraft] = Draw(m_drafts);
        auto* made = reinterpret_cast<narvo_recipe*>(this);
        const std::int32_t status = narvo_draft_check(draft, &made);
        Keep(m_recipes, made, status, hasDraft);
    }

    void AskRecipe()
    {
        const auto [recipe, hasRecipe] = Draw(m_recipes);
        std::int64_t count = 0;
        if (Sound(narvo_recipe_regions(recipe, &count), hasRecipe))
            Require(count >= 1, "a recipe has a region");
        Sound(narvo_recipe_check_size(recipe, DrawInteger(), DrawInteger()), hasRecipe);
        const std::int64_t capacity = m_source.Pick<std::int64_t>({100, 0, 1, 2, 100000, -1, -nHuge});
        GuardedArray<char> text(static_cast<std::size_t>(std::max<std::int64_t>(capacity, 0)));
        std::int64_t length = -1;
        if (Sound(narvo_recipe_text(recipe, text.Data(), capacity, &length), hasRecipe && capacity >= 0))
        {
            const std::int64_t used = std::min(capacity, length + 1);
            text.RequireUntouched(static_cast<std::size_t>(used));
            Require(capacity == 0 || static_cast<std::int64_t>(std::strlen(text.Data())) == used - 1,
                    "a text ends with a zero byte");
        }
    }

    void ReadReports()
    {
        const auto [reports, hasReports] = Draw(m_reports);
        const std::int64_t region = m_source.Pick<std::int64_t>({0, 1, -1, nHuge});
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
                m_recipes.Add(recipe);
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
        if (m_goldens.live.size() >= 2)
            return;
        const DrawnImage first = DrawImage(64);
        narvo_image images[2] = {first.record, first.record};
        const std::int64_t count = m_source.Pick<std::int64_t>({1, 2, 0, -1, nHuge});
        narvo_setting settings[2] = {};
        for (narvo_setting& setting : settings)
            setting = {sizeof(setting), 0, pSettings[m_source.Below(std::size(pSettings))], DrawNumber()};
        const std::int64_t named = m_source.Pick<std::int64_t>({0, 1, 2, -1, nHuge});
        const int lanes = m_source.Pick({1, 2, 0});
        auto* made = reinterpret_cast<narvo_golden*>(this);
        const std::int32_t status = narvo_golden_create(images, count, settings, named, lanes, &made);
        Keep(m_goldens, made, status,
             (count == 1 || count == 2) && named >= 0 && named <= 2 && lanes > 0 && !first.broken);
    }

    void UseGolden()
    {
        const auto [golden, hasGolden] = Draw(m_goldens);
        const DrawnImage image = DrawImage(64);
        if (m_source.OneIn(3))
        {
            const bool none = m_source.OneIn(2);
            Sound(narvo_golden_set_mask(golden, none ? nullptr : &image.record), hasGolden && (none || !image.broken));
        }
        auto* made = reinterpret_cast<narvo_reports*>(this);
        const std::int32_t status = narvo_golden_inspect(golden, &image.record, &made);
        Keep(m_reports, made, status, hasGolden && !image.broken);
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

    template <typename Handle, typename Free>
    void FreeDrawn(Handles<Handle>& handles, const Free& free)
    {
        const auto [handle, live] = Draw(handles);
        const std::int32_t status = free(handle);
        Require(status == (live || handle == nullptr ? NARVO_OK : NARVO_REFUSED), "what is in use can be freed");
        if (!live)
            return;
        handles.live.erase(std::find(handles.live.begin(), handles.live.end(), handle));
        handles.freed.push_back(handle);
    }

    void FreeOne()
    {
        switch (m_source.Int(0, 5))
        {
        case 0:
            return FreeDrawn(m_recipes, narvo_recipe_free);
        case 1:
            return FreeDrawn(m_drafts, narvo_draft_free);
        case 2:
            return FreeDrawn(m_inspectors, narvo_inspector_free);
        case 3:
            return FreeDrawn(m_reports, narvo_reports_free);
        case 4:
            return FreeDrawn(m_proposals, narvo_proposal_free);
        default:
            return FreeDrawn(m_goldens, narvo_golden_free);
        }
    }

    template <typename Handle, typename Free>
    static void FreeAll(const Handles<Handle>& handles, const Free& free)
    {
        for (Handle* handle : handles.live)
            Require(free(handle) == NARVO_OK, "every handle in use can be freed");
        for (Handle* handle : handles.freed)
            Require(free(handle) == NARVO_REFUSED, "no handle is freed twice");
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
