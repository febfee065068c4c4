// SPDX-License-Identifier: MIT
// The C interface: why a pixel is reported, or is not.
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/library/c_call.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::Explainer;

std::int32_t narvo_explainer_create(const narvo_image* image, const narvo_recipe* recipe, std::int64_t region,
                                    narvo_explainer** explainer)
{
    return HandOut(ExplainerHandles(), explainer, "explainer",
                   [&]
                   {
                       const auto rules = RecipeHandles().Find(recipe, "recipe");
                       return std::make_shared<ExplainerObject>(
                           Explainer(PixelsOf(image, "image"), *rules, RegionNumber(region)));
                   });
}

std::int32_t narvo_explainer_reports(const narvo_explainer* explainer, narvo_reports** reports)
{
    return HandOut(ReportsHandles(), reports, "reports",
                   [&]
                   {
                       const auto object = ExplainerHandles().Find(explainer, "explainer");
                       const std::lock_guard lock(object->mutex);
                       return std::make_shared<ReportsObject>(std::vector{object->explainer.FullResult()});
                   });
}

std::int32_t narvo_explainer_free(narvo_explainer* explainer)
{
    return GuardedQuietly([&] { ExplainerHandles().Remove(explainer, "explainer"); });
}

std::int32_t narvo_explain(const narvo_explainer* explainer, std::int32_t x, std::int32_t y,
                           narvo_explanation** explanation)
{
    return HandOut(ExplanationHandles(), explanation, "explanation",
                   [&]
                   {
                       const auto object = ExplainerHandles().Find(explainer, "explainer");
                       const std::lock_guard lock(object->mutex);
                       auto made = std::make_shared<ExplanationObject>();
                       narvo::v1::FullExplanation full = object->explainer.ExplainFully(x, y);
                       made->way = std::move(full.explanation);
                       made->json = std::move(full.json);
                       for (const std::string& sentence : made->way.why)
                           made->why += (made->why.empty() ? "" : "\n") + sentence;
                       return made;
                   });
}

std::int32_t narvo_explanation_get(const narvo_explanation* explanation, narvo_pixel_way* way)
{
    return Guarded(
        [&]
        {
            const std::uint32_t size = SizeOf(way, "way");
            const auto object = ExplanationHandles().Find(explanation, "explanation");
            narvo_pixel_way record = {};
            record.x = object->way.x;
            record.y = object->way.y;
            record.value = object->way.value;
            record.defect = object->way.defect;
            record.outcome = object->way.outcome.c_str();
            record.why = object->why.c_str();
            record.text = object->way.text.c_str();
            WriteRecord(way, size, record);
        });
}

std::int32_t narvo_explanation_json(const narvo_explanation* explanation, const char** text)
{
    return HandOutText(text, [&] { return ExplanationHandles().Find(explanation, "explanation")->json.c_str(); });
}

std::int32_t narvo_explanation_free(narvo_explanation* explanation)
{
    return GuardedQuietly([&] { ExplanationHandles().Remove(explanation, "explanation"); });
}
