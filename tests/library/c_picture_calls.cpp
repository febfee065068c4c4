// SPDX-License-Identifier: MIT
#include "library/c_picture_calls.h"

#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>

namespace narvo::test
{

namespace
{

constexpr const char* pRules[] = {"{}",
                                  R"({"channel": "green"})",
                                  R"({"channel": "each"})",
                                  R"({"levels": {"low": 0, "high": 1000}})",
                                  R"({"raw": {"format": "Mono8", "width": 96, "height": 72}})",
                                  R"({"raw": {"format": "Mono12p", "width": 96, "height": 72, "offset": 3}})",
                                  R"({"bayer": "rggb"})",
                                  R"({"flat_field": "no_such.png"})",
                                  R"({"channel": "infrared"})",
                                  "[",
                                  ""};

/// Pixels in a block of exactly the size that the record declares.
struct DrawnArray
{
    narvo_pixel_array record = {};
    std::vector<std::uint8_t> bytes;
    bool broken = false;
};

void Break(CCaseSource& source, DrawnArray& array)
{
    array.broken = true;
    switch (source.Int(0, 4))
    {
    case 0:
        array.record.size = static_cast<std::uint32_t>(source.Pick({0, 8, 31, 33}));
        break;
    case 1:
        array.record.pixels = nullptr;
        break;
    case 2:
        array.record.width = source.Pick({0, -1, 1048577, std::numeric_limits<int>::max()});
        break;
    case 3:
        array.record.channels = source.Pick({0, 2, 5, -1});
        break;
    default:
        array.record.bits = source.Pick({0, 7, 12, 32});
        break;
    }
}

DrawnArray DrawArray(CCaseSource& source, bool breaks)
{
    DrawnArray array;
    narvo_pixel_array& record = array.record;
    record = {sizeof(record),
              source.Pick({96, 130, 64}),
              source.Pick({72, 64}),
              source.Pick({1, 3, 4}),
              source.Pick({8, 16}),
              0,
              nullptr};
    const int values = record.width * record.channels;
    const int wide = record.bits / 8;
    array.bytes.resize(static_cast<std::size_t>(values * wide) * static_cast<std::size_t>(record.height));
    const int spot = source.Int(0, 60);
    for (int y = 0; y < record.height; ++y)
        for (int i = 0; i < values; ++i)
        {
            const int x = i / record.channels;
            const bool inside = x / 4 == spot / 4 && y / 4 == 6 && i % record.channels != 1;
            const int value = inside ? 250 : x % 16 < 6 && y % 12 < 8 ? 150 : 60;
            std::uint8_t* place = array.bytes.data() + (static_cast<std::ptrdiff_t>(y) * values + i) * wide;
            std::memset(place, value, static_cast<std::size_t>(wide));
        }
    record.pixels = array.bytes.data();
    if (breaks)
        Break(source, array);
    return array;
}

struct Answering
{
    std::int32_t answer = 1;

    static std::int32_t Call(void* context, const char* step, std::int64_t done, std::int64_t total)
    {
        Require(step != nullptr && std::strlen(step) > 0 && done >= 0 && total >= 0, "progress has words and numbers");
        return static_cast<Answering*>(context)->answer;
    }
};

} // namespace

CPictureCalls::~CPictureCalls()
{
    FreeAll(m_rules, narvo_rules_free);
    FreeAll(m_pictures, narvo_picture_free);
    FreeAll(m_capabilities, narvo_capability_free);
}

void CPictureCalls::CallOnce()
{
    m_foreign[0] = m_shared.recipes.live.empty() ? nullptr : static_cast<void*>(m_shared.recipes.live.front());
    m_foreign[1] = m_pictures.live.empty() ? nullptr : static_cast<void*>(m_pictures.live.front());
    switch (m_source.Int(0, 12))
    {
    case 0:
        return MakePicture();
    case 1:
        return MakeRules();
    case 2:
        return MakeFrame();
    case 3:
        return AskPicture();
    case 4:
        return InspectPicture();
    case 5:
        return InspectFully();
    case 6:
        return ReadAnswers();
    case 7:
        return MakeGolden();
    case 8:
        return UseGolden();
    case 9:
        return AskGolden();
    case 10:
        return m_source.OneIn(4) ? Learn() : Measure();
    case 11:
        return AskCapability();
    default:
        return FreeOne();
    }
}

void CPictureCalls::MakeRules()
{
    auto* made = reinterpret_cast<narvo_rules*>(this);
    if (m_source.OneIn(2))
    {
        const auto [recipe, hasRecipe] = Draw(m_shared.recipes);
        const std::int32_t status = narvo_rules_of(recipe, &made);
        Keep(m_rules, made, status, hasRecipe);
        Require(status == NARVO_OK || !hasRecipe, "every recipe has rules");
        return;
    }
    const char* json = Rarely() ? nullptr : pRules[m_source.Below(std::size(pRules))];
    const std::int32_t status = narvo_rules_from_text(json, m_source.OneIn(3) ? "no_such_folder" : nullptr, &made);
    Keep(m_rules, made, status, json != nullptr);
    std::int32_t raw = -1;
    std::int32_t each = -1;
    const auto [rules, hasRules] = Draw(m_rules);
    if (Sound(narvo_rules_get(rules, &raw, &each), hasRules))
        Require((raw == 0 || raw == 1) && (each == 0 || each == 1), "rules say what they are");
}

void CPictureCalls::KeepPicture(narvo_picture* made, std::int32_t status, bool mayRun)
{
    Keep(m_pictures, made, status, mayRun);
    if (status == NARVO_OK && m_pictures.live.size() > 4)
    {
        Require(narvo_picture_free(m_pictures.live.front()) == NARVO_OK, "a picture can be freed");
        m_pictures.freed.push_back(m_pictures.live.front());
        m_pictures.live.erase(m_pictures.live.begin());
    }
}

void CPictureCalls::MakePicture()
{
    const bool plain = m_source.OneIn(2) || m_rules.live.empty();
    const auto [drawn, hasDrawn] = Draw(m_rules);
    const narvo_rules* rules = plain ? nullptr : drawn;
    const bool right = rules == nullptr || hasDrawn;
    auto* made = reinterpret_cast<narvo_picture*>(this);
    if (Rarely())
    {
        const std::int64_t most = m_source.Pick<std::int64_t>({0, 1, -1, nHugeCount});
        const std::int32_t status =
            narvo_picture_from_file(m_source.OneIn(2) ? nullptr : "no_such_folder/a.png", rules, most, &made);
        return KeepPicture(made, status, false);
    }
    const DrawnArray array = DrawArray(m_source, Rarely());
    const std::int32_t status =
        narvo_picture_from_pixels(&array.record, rules, m_source.Pick<const char*>({nullptr, "a", "\xff"}), &made);
    KeepPicture(made, status, right && !array.broken);
    if (status != NARVO_OK)
        return;
    Require(plain || right, "rules that are none are refused");
    std::int64_t notes = -1;
    Require(Sound(narvo_picture_notes(made, &notes)) && notes >= 0, "a picture has notes or none");
    const char* text = nullptr;
    for (std::int64_t i = 0; i < notes; ++i)
        Require(Sound(narvo_picture_note(made, i, &text)) && std::strlen(text) > 0, "a note has words");
    Require(!Sound(narvo_picture_note(made, notes, &text), false) && text == nullptr, "none behind the last");
}

void CPictureCalls::MakeFrame()
{
    const auto [rules, hasRules] = Draw(m_rules);
    const std::vector<std::uint8_t> frame(m_source.Pick<std::size_t>({96 * 72, 96 * 72 * 3 / 2 + 3, 100}), 77);
    const bool given = !Rarely();
    const bool sane = !Rarely();
    const std::int64_t count = sane ? static_cast<std::int64_t>(frame.size()) : -1;
    auto* made = reinterpret_cast<narvo_picture*>(this);
    const std::int32_t status = narvo_picture_from_frame(given ? frame.data() : nullptr, count, rules, nullptr, &made);
    KeepPicture(made, status, given && sane && hasRules);
}

void CPictureCalls::AskPicture()
{
    const auto [picture, hasPicture] = Draw(m_pictures);
    std::int32_t channels = 0;
    const bool known = Sound(narvo_picture_channels(picture, &channels), hasPicture);
    const int channel = m_source.Pick({-1, 0, 2, 3, -2, std::numeric_limits<int>::max()});
    narvo_image view = {};
    const bool sized = !Rarely();
    view.size = sized ? sizeof(view) : 8;
    const bool has = channel == -1 || (known && channels == 3 && channel >= 0 && channel < 3);
    if (!Sound(narvo_picture_image(picture, channel, &view), hasPicture && sized && has))
        return;
    Require(view.size == sizeof(view) && view.width > 0 && view.height > 0 && view.bits == 8 &&
                view.stride >= view.width && view.pixels != nullptr,
            "a picture has a view");
    // The view is an image like any other.
    const auto [inspector, hasInspector] = Draw(m_shared.inspectors);
    const auto [recipe, hasRecipe] = Draw(m_shared.recipes);
    auto* made = reinterpret_cast<narvo_reports*>(this);
    const std::int32_t status = narvo_inspect(inspector, recipe, &view, &made);
    Keep(m_shared.reports, made, status, hasInspector && hasRecipe);
}

void CPictureCalls::InspectPicture()
{
    const auto [inspector, hasInspector] = Draw(m_shared.inspectors);
    const auto [recipe, hasRecipe] = Draw(m_shared.recipes);
    const auto [picture, hasPicture] = Draw(m_pictures);
    const int answers = Rarely() ? m_source.Pick({2, -1}) : m_source.Int(0, 1);
    auto* made = reinterpret_cast<narvo_reports*>(this);
    const std::int32_t status = narvo_inspect_picture(inspector, recipe, picture, answers, &made);
    Keep(m_shared.reports, made, status, hasInspector && hasRecipe && hasPicture && (answers == 0 || answers == 1));
    std::int64_t count = -1;
    if (status == NARVO_OK)
        Require(Sound(narvo_reports_answers(made, 0, sizeof(narvo_answer), nullptr, 0, &count)) == (answers == 1),
                "answers are kept where that was asked for");
}

void CPictureCalls::InspectFully()
{
    const auto [inspector, hasInspector] = Draw(m_shared.inspectors);
    const auto [recipe, hasRecipe] = Draw(m_shared.recipes);
    const DrawnImage image = DrawImage(33);
    auto* made = reinterpret_cast<narvo_reports*>(this);
    const std::int32_t status = narvo_inspect_fully(inspector, recipe, &image.record, &made);
    Keep(m_shared.reports, made, status, hasInspector && hasRecipe && !image.broken);
    std::int64_t count = -1;
    if (status == NARVO_OK)
        Require(Sound(narvo_reports_answers(made, 0, sizeof(narvo_answer), nullptr, 0, &count)) && count >= 0,
                "answers are kept");
}

void CPictureCalls::ReadAnswers()
{
    const auto [reports, hasReports] = Draw(m_shared.reports);
    const std::int64_t region = m_source.Pick<std::int64_t>({0, 1, -1, nHugeCount});
    const std::int64_t capacity = m_source.Pick<std::int64_t>({3, 0, -1, 400});
    const auto room = static_cast<std::size_t>(std::max<std::int64_t>(capacity, 0));
    const auto size = static_cast<std::uint32_t>(Rarely() ? 44 : sizeof(narvo_answer));
    const bool right = hasReports && capacity >= 0 && region >= 0;
    GuardedArray<narvo_answer> answers(room);
    std::int64_t count = 0;
    const bool read = Sound(narvo_reports_answers(reports, region, size, answers.Data(), capacity, &count),
                            right && size == sizeof(narvo_answer));
    const std::int64_t used = read ? std::min(count, capacity) : 0;
    answers.RequireUntouched(static_cast<std::size_t>(used));
    for (std::int64_t i = 0; i < used; ++i)
    {
        const narvo_answer& answer = answers.Data()[i];
        Require(answer.size == sizeof(answer) && answer.x >= 0 && answer.y >= 0 && answer.band >= 1 &&
                    answer.band <= 3 && (answer.bright == 0 || answer.bright == 1) &&
                    (answer.removed == 0 || answer.removed == 1),
                "an answer has its place");
    }
    GuardedArray<std::int32_t> colours(room);
    count = 0;
    const bool coloured = Sound(narvo_reports_colours(reports, region, colours.Data(), capacity, &count), right);
    const std::int64_t shown = coloured ? std::min(count, capacity) : 0;
    colours.RequireUntouched(static_cast<std::size_t>(shown));
    for (std::int64_t i = 0; i < shown; ++i)
        Require(colours.Data()[i] >= 0 && colours.Data()[i] <= 3, "a defect has a colour or none");
}

void CPictureCalls::MakeGolden()
{
    if (m_shared.goldens.live.size() >= 2)
        return;
    auto* made = reinterpret_cast<narvo_golden*>(this);
    const int lanes = Rarely() ? m_source.Pick({0, -1, 257}) : m_source.Int(1, 2);
    const bool saneLanes = lanes == 1 || lanes == 2;
    if (m_source.OneIn(3))
    {
        const auto [golden, hasGolden] = Draw(m_shared.goldens);
        const std::int32_t status = narvo_golden_share(golden, lanes, &made);
        return Keep(m_shared.goldens, made, status, hasGolden && saneLanes);
    }
    const auto [first, hasFirst] = Draw(m_pictures);
    const auto [second, hasSecond] = Draw(m_pictures);
    const narvo_picture* const references[2] = {first, second};
    const std::int64_t count = Rarely() ? m_source.Pick<std::int64_t>({0, -1, nHugeCount}) : m_source.Int(1, 2);
    const narvo_setting setting = {sizeof(setting), 0, "min_correlation", m_source.Pick({0.5, 0.0, 0.25, 1.5})};
    Answering answering{m_source.OneIn(4) ? 0 : 1};
    // A count beyond the array would be read from anywhere, but for the check of its range.
    const std::int32_t status =
        narvo_golden_from_pictures(references, count, &setting, 1, lanes, &Answering::Call, &answering, &made);
    if (status == NARVO_STOPPED)
        return Require(answering.answer == 0 && count == 2 && made == nullptr, "progress alone stops a model");
    Keep(m_shared.goldens, made, status,
         (count == 1 || count == 2) && saneLanes && hasFirst && (count == 1 || hasSecond));
}

void CPictureCalls::UseGolden()
{
    const auto [golden, hasGolden] = Draw(m_shared.goldens);
    const auto [picture, hasPicture] = Draw(m_pictures);
    const int pictures = Rarely() ? m_source.Pick({2, -1}) : m_source.Int(0, 1);
    auto* made = reinterpret_cast<narvo_reports*>(this);
    const std::int32_t status = narvo_golden_inspect_picture(golden, picture, pictures, &made);
    Keep(m_shared.reports, made, status, hasGolden && hasPicture && (pictures == 0 || pictures == 1));
    const auto [drawn, hasDrawn] = Draw(m_shared.reports);
    const narvo_reports* reports = status == NARVO_OK ? made : drawn;
    const int which = Rarely() ? m_source.Pick({2, -1}) : m_source.Int(0, 1);
    auto* kept = reinterpret_cast<narvo_picture*>(this);
    const std::int32_t asked = narvo_reports_golden_picture(reports, which, &kept);
    KeepPicture(kept, asked, (status == NARVO_OK ? pictures == 1 : hasDrawn) && (which == 0 || which == 1));
}

void CPictureCalls::AskGolden()
{
    const auto [golden, hasGolden] = Draw(m_shared.goldens);
    const std::int64_t capacity = m_source.Pick<std::int64_t>({1, 0, -1, 3});
    GuardedArray<narvo_registration> registrations(static_cast<std::size_t>(std::max<std::int64_t>(capacity, 0)));
    std::int64_t count = 0;
    const auto size = static_cast<std::uint32_t>(Rarely() ? 8 : sizeof(narvo_registration));
    const bool read = Sound(narvo_golden_registrations(golden, size, registrations.Data(), capacity, &count),
                            hasGolden && capacity >= 0 && size == sizeof(narvo_registration));
    registrations.RequireUntouched(static_cast<std::size_t>(read ? std::min(count, capacity) : 0));
    const std::int64_t index = m_source.Pick<std::int64_t>({0, 1, -1, nHugeCount});
    double x = 0.0;
    double y = 0.0;
    Sound(narvo_golden_map(golden, index, DrawNumber(), DrawNumber(), &x, &y),
          hasGolden && index >= 0 && (!read || index < count));
    GuardedArray<narvo_setting> settings(3);
    Require(Sound(narvo_golden_defaults(sizeof(narvo_setting), settings.Data(), 3, &count)) && count == 9,
            "there are settings");
    settings.RequireUntouched(3);
    for (std::size_t i = 0; i < 3; ++i)
        Require(std::strlen(settings.Data()[i].name) > 0 && std::isfinite(settings.Data()[i].value),
                "a setting has a name");
}

void CPictureCalls::Measure()
{
    if (m_capabilities.live.size() >= 2)
        return;
    const auto [recipe, hasRecipe] = Draw(m_shared.recipes);
    const auto [picture, hasPicture] = Draw(m_pictures);
    const narvo_picture* const good[1] = {picture};
    const char* const names[1] = {Rarely() ? nullptr : m_source.Pick({"first", "\xff"})};
    const std::int32_t sizes[2] = {Rarely() ? m_source.Pick({0, 513}) : 3, 6};
    const std::int32_t contrasts[1] = {Rarely() ? m_source.Pick({0, 256}) : m_source.Pick({60, -90})};
    const char* const shapes[2] = {m_source.Pick<const char*>({"spot", "stain", "line-y", "dot"}), "line-x"};
    const char* const places[1] = {Rarely() ? m_source.Pick<const char*>({"", nullptr})
                                            : m_source.Pick({"inside", "border"})};
    Answering answering{m_source.OneIn(4) ? 0 : 1};
    narvo_capability_input input = {};
    input.size = static_cast<std::uint32_t>(Rarely() ? 8 : sizeof(input));
    input.count = Rarely() ? m_source.Pick({-1, 1001}) : m_source.Int(1, 2);
    input.good = Rarely() ? nullptr : good;
    input.good_names = m_source.OneIn(2) ? names : nullptr;
    input.good_count = Rarely() ? m_source.Pick<std::int64_t>({0, -1, 1001, nHugeCount}) : 1;
    input.sizes = sizes;
    input.size_count = Rarely() ? m_source.Pick<std::int64_t>({-1, 33, nHugeCount}) : m_source.Int(1, 2);
    input.contrasts = contrasts;
    input.contrast_count = 1;
    input.shapes = shapes;
    input.shape_count = m_source.Int(1, 2);
    input.places = Rarely() ? nullptr : places;
    input.place_count = 1;
    input.seed = m_source.Below(std::uint64_t{1} << 20);
    input.threads = Rarely() ? m_source.Pick({-1, 257}) : m_source.Int(0, 2);
    input.progress = m_source.OneIn(2) ? &Answering::Call : nullptr;
    input.context = &answering;
    auto* made = reinterpret_cast<narvo_capability*>(this);
    const std::int32_t status = narvo_capability_measure(recipe, &input, &made);
    if (status == NARVO_STOPPED)
        return Require(input.progress != nullptr && answering.answer == 0 && made == nullptr,
                       "progress alone stops a measurement");
    Keep(m_capabilities, made, status,
         hasRecipe && hasPicture && input.size == sizeof(input) && (input.count == 1 || input.count == 2) &&
             input.good != nullptr && (input.good_names == nullptr || names[0] != nullptr) && input.good_count == 1 &&
             input.size_count >= 1 && input.size_count <= 2 && input.places != nullptr && places[0] != nullptr &&
             input.threads >= 0 && input.threads <= 256);
}

void CPictureCalls::AskCapability()
{
    const auto [capability, hasCapability] = Draw(m_capabilities);
    narvo_capability_figures figures = {};
    figures.size = sizeof(figures);
    if (!Sound(narvo_capability_get(capability, &figures), hasCapability))
        return;
    Require(figures.false_defects >= 0 && figures.megapixels > 0.0 && figures.false_bound >= figures.false_rate,
            "figures are those of an image");
    GuardedArray<narvo_planted> counts(3);
    std::int64_t count = 0;
    Require(Sound(narvo_capability_counts(capability, sizeof(narvo_planted), counts.Data(), 3, &count)) && count >= 1,
            "there are counts");
    const std::int64_t used = std::min<std::int64_t>(count, 3);
    counts.RequireUntouched(static_cast<std::size_t>(used));
    for (std::int64_t i = 0; i < used; ++i)
    {
        const narvo_planted& planted = counts.Data()[i];
        Require(planted.pixels >= 1 && planted.contrast != 0 && std::strlen(planted.shape) > 0 &&
                    std::strlen(planted.place) > 0 && planted.found >= 0 && planted.found <= planted.planted,
                "no more is found than was planted");
    }
    const char* text = nullptr;
    for (std::int64_t i = 0; i < figures.warning_count; ++i)
        Require(Sound(narvo_capability_warning(capability, i, &text)) && std::strlen(text) > 0, "a warning has words");
    Require(!Sound(narvo_capability_warning(capability, figures.warning_count, &text), false), "none behind the last");
    Require(Sound(narvo_capability_json(capability, &text)) && text[0] == '{', "a capability has a text");
}

void CPictureCalls::Learn()
{
    const auto [picture, hasPicture] = Draw(m_pictures);
    const narvo_picture* const good[1] = {picture};
    const char* const names[1] = {Rarely() ? nullptr : "first"};
    const std::int64_t count = Rarely() ? m_source.Pick<std::int64_t>({0, -1, 1001, nHugeCount}) : 1;
    const char* mode = m_source.Pick<const char*>({nullptr, "periodic", "texture", "", "\xff"});
    Answering answering{m_source.OneIn(4) ? 0 : 1};
    auto* made = reinterpret_cast<narvo_learning*>(this);
    const std::int32_t status =
        narvo_learn_from_pictures(good, names, count, mode, nullptr, 0, "learnt", &Answering::Call, &answering, &made);
    if (status == NARVO_STOPPED)
        return Require(answering.answer == 0 && made == nullptr, "progress alone stops a learning");
    if (!Sound(status, hasPicture && count == 1 && names[0] != nullptr))
        return Require(made == nullptr, "no handle without success");
    auto* recipe = reinterpret_cast<narvo_recipe*>(this);
    const std::int32_t asked = narvo_learning_recipe(made, &recipe);
    Require(asked == NARVO_OK, "a learning has a recipe");
    Keep(m_shared.recipes, recipe, asked, true);
    Require(narvo_learning_free(made) == NARVO_OK, "a learning can be freed");
}

void CPictureCalls::FreeOne()
{
    switch (m_source.Int(0, 2))
    {
    case 0:
        return FreeDrawn(m_pictures, narvo_picture_free);
    case 1:
        return FreeDrawn(m_rules, narvo_rules_free);
    default:
        return FreeDrawn(m_capabilities, narvo_capability_free);
    }
}

} // namespace narvo::test
