// SPDX-License-Identifier: MIT
// Explanations in the public form.
#include "narvo/host_explain.h"

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "host/explain/explain.h"
#include "host/library/public_report.h"
#include "host/library/recipe_parts.h"
#include "host/library/translate.h"
#include "host/recipe/recipe_check.h"

namespace narvo::v1
{

namespace
{

const CheckedRecipe& RegionOf(const Recipe::Parts& parts, std::size_t region)
{
    if (region >= parts.regions.size())
        throw HostError({{"region", std::to_string(region),
                          "0 to " + std::to_string(parts.regions.size() - 1) + " of the recipe"}});
    return parts.regions[region];
}

} // namespace

struct Explainer::Content
{
    Content(GreyImage given, const CheckedRecipe& recipe) : image(std::move(given)), explainer(image, recipe) {}

    GreyImage image;
    narvo::Explainer explainer;
    std::mutex mutex;
};

Explainer::Explainer(const ImagePixels& image, const Recipe& recipe, std::size_t region)
    : m_content(library::Translated(
          [&]
          {
              const CheckedRecipe& one = RegionOf(recipe.GetParts(), region);
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

Explanation Explainer::Explain(int x, int y) const
{
    Content& own = Own();
    return library::Translated(
        [&]
        {
            const std::lock_guard lock(own.mutex);
            narvo::Explanation found = own.explainer.Explain(CPoint(x, y));
            Explanation explanation;
            explanation.x = x;
            explanation.y = y;
            explanation.value = found.value;
            explanation.outcome = OutcomeName(found.outcome);
            explanation.defect = found.blob;
            explanation.text = DescribeExplanation(found);
            explanation.why = std::move(found.why);
            return explanation;
        });
}

} // namespace narvo::v1
