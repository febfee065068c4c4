// SPDX-License-Identifier: MIT
// Explanations in the public form.
#include "narvo/host_explain.h"

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/explain/explain.h"
#include "host/library/public_report.h"
#include "host/library/recipe_parts.h"
#include "host/library/translate.h"
#include "host/recipe/recipe_check.h"

namespace narvo::v1
{

struct Explainer::Content
{
    Content(GreyImage given, const CheckedRecipe& recipe) : image(std::move(given)), explainer(image, recipe) {}

    /// @throws Error for a place outside the image
    narvo::Explanation Explain(int x, int y)
    {
        return library::Translated(
            [&]
            {
                const std::lock_guard lock(mutex);
                return explainer.Explain(CPoint(x, y));
            });
    }

    GreyImage image;
    narvo::Explainer explainer;
    std::mutex mutex;
};

namespace
{

Explanation PublicExplanation(narvo::Explanation found)
{
    Explanation explanation;
    explanation.x = found.place.x;
    explanation.y = found.place.y;
    explanation.value = found.value;
    explanation.outcome = OutcomeName(found.outcome);
    explanation.defect = found.blob;
    explanation.text = DescribeExplanation(found);
    explanation.why = std::move(found.why);
    return explanation;
}

} // namespace

Explainer::Explainer(const ImagePixels& image, const Recipe& recipe, std::size_t region)
    : m_content(library::Translated(
          [&]
          {
              const CheckedRecipe& one = library::RegionOf(recipe, region);
              GreyImage copy;
              const GreyView view = library::ReadableView(image, *one, copy);
              if (copy.IsEmpty())
                  copy = GreyImage(view.Row(0), view.Width(), view.Height(), view.Stride());
              ThrowIfAny(CheckRecipeForImage(one, copy.Width(), copy.Height()));
              return std::make_unique<Content>(std::move(copy), one);
          }))
{
}
Explainer::~Explainer() = default;
Explainer::Explainer(Explainer&& other) noexcept = default;
Explainer& Explainer::operator=(Explainer&& other) noexcept = default;

Explainer::Content& Explainer::Own() const
{
    if (m_content == nullptr)
        throw Error({{"explainer", "none", "one that was not moved from"}});
    return *m_content;
}

Report Explainer::Result() const
{
    return library::PublicReport(Own().explainer.Result());
}

FullReport Explainer::FullResult() const
{
    const Content& own = Own();
    return library::PublicFullReport(own.explainer.Result(), own.image.Width(), own.image.Height());
}

Explanation Explainer::Explain(int x, int y) const
{
    return PublicExplanation(Own().Explain(x, y));
}

FullExplanation Explainer::ExplainFully(int x, int y) const
{
    narvo::Explanation found = Own().Explain(x, y);
    FullExplanation full;
    full.json = ExplanationToJson(found).dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    full.explanation = PublicExplanation(std::move(found));
    return full;
}

} // namespace narvo::v1
