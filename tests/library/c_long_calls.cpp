// SPDX-License-Identifier: MIT
#include "library/c_long_calls.h"

#include <cstring>
#include <iterator>

namespace narvo::test
{

namespace
{

constexpr const char* pStreamSettings[] = {"window_rows", "largest_blob", "max_open_pairs", "no_such"};

struct Listener
{
    int left = 0; ///< calls until it asks to stop; below 0: never
    std::int64_t told = 0;

    static std::int32_t Call(void* context, const char* step, std::int64_t done, std::int64_t total)
    {
        auto& self = *static_cast<Listener*>(context);
        Require(step != nullptr && std::strlen(step) > 0 && done >= 0 && total >= 0, "progress has words and numbers");
        ++self.told;
        return self.left-- == 0 ? 0 : 1;
    }
};

} // namespace

CLongCalls::~CLongCalls()
{
    FreeAll(m_streams, narvo_stream_free);
    FreeAll(m_learnings, narvo_learning_free);
    FreeAll(m_explainers, narvo_explainer_free);
    FreeAll(m_explanations, narvo_explanation_free);
}

void CLongCalls::CallOnce()
{
    m_foreign[0] = m_recipes.live.empty() ? nullptr : static_cast<void*>(m_recipes.live.front());
    m_foreign[1] = m_streams.live.empty() ? nullptr : static_cast<void*>(m_streams.live.front());
    switch (m_source.Int(0, 9))
    {
    case 0:
        return MakeStream();
    case 1:
    case 2:
    case 3:
        return Push();
    case 4:
        return TakeDefects();
    case 5:
        return AskStream();
    case 6:
        return m_source.OneIn(6) ? Learn() : AskLearning();
    case 7:
        return MakeExplainer();
    case 8:
        return Explain();
    default:
        return FreeOne();
    }
}

void CLongCalls::MakeStream()
{
    if (m_streams.live.size() >= 2)
        return;
    const auto [recipe, hasRecipe] = Draw(m_recipes);
    const narvo_setting setting = {sizeof(setting), 0, pStreamSettings[m_source.Below(std::size(pStreamSettings))],
                                   m_source.OneIn(2) ? 300.0 : DrawNumber()};
    const std::int64_t settings = m_source.Pick<std::int64_t>({0, 1, -1, nHugeCount});
    const int width = m_source.Pick({96, 64, 100, 97, 130, 0, -1, 32001});
    auto* made = reinterpret_cast<narvo_stream*>(this);
    const std::int32_t status = narvo_stream_create(recipe, width, &setting, settings, &made);
    Keep(m_streams, made, status, hasRecipe && settings >= 0 && settings <= 1 && width > 0 && width <= 32000);
    if (status == NARVO_OK)
    {
        std::int64_t rows = 0;
        Require(Sound(narvo_stream_delay(made, &rows)) && rows > 0, "a stream has a delay");
    }
}

void CLongCalls::Push()
{
    const auto [stream, hasStream] = Draw(m_streams);
    narvo_stream_counts before = {};
    before.size = sizeof(before);
    const bool counted = narvo_stream_get(stream, &before) == NARVO_OK;
    Require(counted == hasStream, "a stream in use has counts");
    const DrawnImage rows = DrawImage(1);
    const bool pushed = Sound(narvo_stream_push(stream, &rows.record), hasStream && !rows.broken);
    if (m_source.OneIn(12))
        Sound(narvo_stream_finish(stream), hasStream);
    if (!counted)
        return;
    narvo_stream_counts after = {};
    after.size = sizeof(after);
    Require(Sound(narvo_stream_get(stream, &after)), "a stream in use has counts");
    Require(after.rows == before.rows + (pushed ? rows.record.height : 0), "rows are taken whole or not at all");
    Require(after.final_rows >= before.final_rows && after.final_rows <= after.rows &&
                after.waiting - before.waiting == after.defects - before.defects,
            "what was reported waits");
}

void CLongCalls::TakeDefects()
{
    const auto [stream, hasStream] = Draw(m_streams);
    const std::int64_t capacity = m_source.Pick<std::int64_t>({3, 0, -1, 1, 200, -nHugeCount});
    GuardedArray<narvo_defect> defects(static_cast<std::size_t>(capacity > 0 ? capacity : 0));
    GuardedArray<std::int64_t> rows(static_cast<std::size_t>(capacity > 0 ? capacity : 0));
    const auto size =
        static_cast<std::uint32_t>(Rarely() ? m_source.Pick<std::size_t>({0, 100, 137}) : sizeof(narvo_defect));
    std::int64_t count = -1;
    const bool right = hasStream && capacity >= 0 && size == sizeof(narvo_defect);
    if (!Sound(narvo_stream_take(stream, size, defects.Data(), rows.Data(), capacity, &count), right))
        count = 0;
    Require(count >= 0 && (count <= capacity || count == 0), "no more is taken than there is room for");
    defects.RequireUntouched(static_cast<std::size_t>(count));
    rows.RequireUntouched(static_cast<std::size_t>(count));
    for (std::int64_t i = 0; i < count; ++i)
    {
        const narvo_defect& defect = defects.Data()[i];
        Require(defect.size == sizeof(defect) && defect.number >= 1 && defect.area >= 1 && defect.top == 0 &&
                    defect.left >= 0 && defect.left < defect.right && defect.bottom > 0 && rows.Data()[i] >= 0,
                "a defect has its row");
    }
}

void CLongCalls::AskStream()
{
    const auto [stream, hasStream] = Draw(m_streams);
    std::int64_t count = 0;
    if (!Sound(narvo_stream_warnings(stream, &count), hasStream))
        return;
    const char* text = nullptr;
    for (std::int64_t i = 0; i < count; ++i)
        Require(Sound(narvo_stream_warning(stream, i, &text)) && std::strlen(text) > 0, "a warning has words");
    Require(!Sound(narvo_stream_warning(stream, count, &text), false) && text == nullptr, "none behind the last");
    Sound(narvo_stream_delay(stream, m_source.OneIn(2) ? nullptr : &count));
}

void CLongCalls::Learn()
{
    const DrawnImage image = DrawImage(64);
    const narvo_image good[2] = {image.record, image.record};
    const char* const names[2] = {"first", Rarely() ? nullptr : "second"};
    const narvo_box box = {sizeof(box), 3, 3, m_source.Pick({9, 3, 500}), 9};
    const std::int64_t boxes[1] = {m_source.Pick<std::int64_t>({1, 0, -1, -2, nHugeCount})};
    const narvo_setting threads = {sizeof(threads), 0, "threads", m_source.Pick({2.0, 1.0, 0.0, 1.5})};
    Listener listener{m_source.Pick({-1, 0, 3, 20}), 0};
    narvo_learn_input input = {};
    input.size = static_cast<std::uint32_t>(Rarely() ? 8 : sizeof(input));
    input.good = good;
    input.good_names = m_source.OneIn(2) ? names : nullptr;
    input.good_count = m_source.Pick<std::int64_t>({2, 1, 0, -1, nHugeCount});
    input.defective = &good[0];
    input.defective_count = m_source.Pick<std::int64_t>({0, 1, -1});
    input.box_counts = m_source.OneIn(2) ? boxes : nullptr;
    input.boxes = &box;
    input.mode = m_source.Pick<const char*>({nullptr, "texture", "periodic", "lattice", "", "\xff"});
    input.settings = &threads;
    input.setting_count = m_source.Pick<std::int64_t>({1, 0, -1});
    input.progress = m_source.OneIn(2) ? &Listener::Call : nullptr;
    input.context = &listener;
    // A count of boxes that are not there would be read from anywhere.
    if (input.box_counts != nullptr && boxes[0] > 1)
        input.defective_count = 0;
    auto* made = reinterpret_cast<narvo_learning*>(this);
    const std::int32_t status = narvo_learn(&input, &made);
    if (status == NARVO_STOPPED)
    {
        Require(input.progress != nullptr && listener.left < 0 && made == nullptr && narvo_problem_count() == 1,
                "a learning is stopped by its progress alone");
        return;
    }
    Keep(m_learnings, made, status,
         input.size == sizeof(input) && input.good_count >= 1 && input.good_count <= 2 && input.defective_count >= 0 &&
             input.setting_count >= 0 && !image.broken);
}

void CLongCalls::AskLearning()
{
    const auto [learning, hasLearning] = Draw(m_learnings);
    narvo_learnt learnt = {};
    learnt.size = sizeof(learnt);
    if (!Sound(narvo_learning_get(learning, &learnt), hasLearning))
        return;
    const char* text = nullptr;
    for (std::int64_t i = 0; i < learnt.reason_count; ++i)
        Require(Sound(narvo_learning_reason(learning, i, &text)) && std::strlen(text) > 0, "a reason has words");
    for (std::int64_t i = 0; i < learnt.warning_count; ++i)
        Require(Sound(narvo_learning_warning(learning, i, &text)) && std::strlen(text) > 0, "a warning has words");
    Require(!Sound(narvo_learning_warning(learning, learnt.warning_count, &text), false), "none behind the last");
    GuardedArray<narvo_learnt_image> images(1);
    std::int64_t count = 0;
    Require(Sound(narvo_learning_images(learning, sizeof(narvo_learnt_image), images.Data(), 1, &count)) && count >= 1,
            "there is an image");
    images.RequireUntouched(1);
    auto* recipe = reinterpret_cast<narvo_recipe*>(this);
    const std::int32_t status = narvo_learning_recipe(learning, &recipe);
    Require(status == NARVO_OK, "a learning has a recipe");
    Keep(m_recipes, recipe, status, true);
}

void CLongCalls::MakeExplainer()
{
    if (m_explainers.live.size() >= 2)
        return;
    const auto [recipe, hasRecipe] = Draw(m_recipes);
    const DrawnImage image = DrawImage(33);
    const std::int64_t region = m_source.Pick<std::int64_t>({0, 1, -1, nHugeCount, -nHugeCount});
    auto* made = reinterpret_cast<narvo_explainer*>(this);
    const std::int32_t status = narvo_explainer_create(&image.record, recipe, region, &made);
    Keep(m_explainers, made, status, hasRecipe && !image.broken && (region == 0 || region == 1));
    if (status != NARVO_OK)
        return;
    auto* reports = reinterpret_cast<narvo_reports*>(this);
    const std::int32_t asked = narvo_explainer_reports(made, &reports);
    Require(asked == NARVO_OK, "an explainer has its inspection");
    Keep(m_reports, reports, asked, true);
}

void CLongCalls::Explain()
{
    const auto [explainer, hasExplainer] = Draw(m_explainers);
    const int x = m_source.Pick({5, 60, 0, -1, DrawInteger()});
    const int y = m_source.Pick({5, 40, 0, -1, DrawInteger()});
    auto* made = reinterpret_cast<narvo_explanation*>(this);
    const std::int32_t status = narvo_explain(explainer, x, y, &made);
    Keep(m_explanations, made, status, hasExplainer && x >= 0 && y >= 0);
    narvo_pixel_way way = {};
    way.size = sizeof(way);
    const auto [explanation, hasExplanation] = Draw(m_explanations);
    if (Sound(narvo_explanation_get(explanation, &way), hasExplanation))
        Require(std::strlen(way.outcome) > 0 && std::strlen(way.why) > 0 && std::strlen(way.text) > 0 &&
                    way.value >= 0 && way.value <= 255,
                "an explanation has words");
}

void CLongCalls::FreeOne()
{
    switch (m_source.Int(0, 3))
    {
    case 0:
        return FreeDrawn(m_streams, narvo_stream_free);
    case 1:
        return FreeDrawn(m_learnings, narvo_learning_free);
    case 2:
        return FreeDrawn(m_explainers, narvo_explainer_free);
    default:
        return FreeDrawn(m_explanations, narvo_explanation_free);
    }
}

} // namespace narvo::test
