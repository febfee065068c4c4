// SPDX-License-Identifier: MIT
// Why a pixel was reported, or why it was not.
#include <memory>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include <narvo/host_explain.h>

#include "python/bind.h"
#include "python/image_array.h"
#include "python/narvo_errors.h"
#include "python/notebook.h"
#include "python/per_process.h"
#include "python/result_arrays.h"
#include "python/sealed_class.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

/// The explanations of one inspection, for any number of threads, one after the other.
class HeldExplainer
{
public:
    HeldExplainer(v1::Image image, v1::Recipe recipe) : m_image(std::move(image)), m_recipe(std::move(recipe))
    {
        m_outcome = m_explainer.Get([&] { return Unlocked([&] { return MakeExplainer(); }); }).FullResult();
    }

    const v1::FullReport& Outcome() const { return m_outcome; }

    /// With the interpreter lock held.
    v1::Explainer& OfThisProcess()
    {
        return m_explainer.Get([&] { return MakeExplainer(); });
    }

private:
    std::unique_ptr<v1::Explainer> MakeExplainer() const
    {
        return std::make_unique<v1::Explainer>(m_image.Pixels(), m_recipe);
    }

    v1::Image m_image;
    v1::Recipe m_recipe;
    v1::FullReport m_outcome;
    PerProcess<v1::Explainer> m_explainer;
};

std::unique_ptr<HeldExplainer> MakeExplainer(const py::handle& image, const py::handle& recipe)
{
    const ImageArgument pixels = Translated(Fault::Image, [&] { return ImageArgument(image, "image"); });
    return Translated(Fault::Recipe, [&] { return std::make_unique<HeldExplainer>(pixels.Copy(), ToRecipe(recipe)); });
}

v1::FullExplanation ExplainAt(HeldExplainer& explainer, const py::handle& x, const py::handle& y)
{
    const int column = ToNearestInt(x);
    const int row = ToNearestInt(y);
    return Translated(Fault::Argument,
                      [&]
                      {
                          const v1::Explainer& own = explainer.OfThisProcess();
                          return Showing("place", Shown(x) + ", " + Shown(y),
                                         [&] { return Unlocked([&] { return own.ExplainFully(column, row); }); });
                      });
}

} // namespace

void BindExplain(py::module_& module)
{
    py::class_<v1::FullExplanation>(module, "Explanation", py::is_final(),
                                    "The way of one pixel through an inspection; str() gives it in lines.")
        .def_property_readonly(
            "place",
            [](const v1::FullExplanation& full) { return py::make_tuple(full.explanation.x, full.explanation.y); },
            "The pixel, x and y.")
        .def_property_readonly(
            "outcome", [](const v1::FullExplanation& full) { return full.explanation.outcome; },
            "Where its way ended, in a word or two: \"reported\", \"no hit\", ...")
        .def_property_readonly(
            "blob", [](const v1::FullExplanation& full) { return full.explanation.defect; },
            "Number of the reported defect that it is part of, or 0.")
        .def_property_readonly(
            "why",
            [](const v1::FullExplanation& full)
            {
                py::list lines;
                for (const std::string& line : full.explanation.why)
                    lines.append(ToText(line));
                return lines;
            },
            "Its way in sentences, ending with the outcome.")
        .def(
            "to_dict",
            [](const v1::FullExplanation& full) { return ToPython(nlohmann::ordered_json::parse(full.json)); },
            "Everything as a dict: comparisons, thresholds, filters, blob.")
        .def("__str__", [](const v1::FullExplanation& full) { return ToText(full.explanation.text); })
        .def("__repr__",
             [](const v1::FullExplanation& full)
             {
                 return "<narvoassem.Explanation: " + std::to_string(full.explanation.x) + ", " +
                        std::to_string(full.explanation.y) + " " + full.explanation.outcome + ">";
             });
    SealUnconstructed(module.attr("Explanation"));
    ShowInNotebooks(module.attr("Explanation"), "explanation_html");

    py::class_<HeldExplainer>(module, "Explainer", py::is_final(),
                              "Explains pixels of one inspection, which is run once. Any number of threads may ask.")
        .def(py::init(&MakeExplainer), py::arg("image"), py::arg("recipe"),
             "image and recipe are those of inspect(). Raises ImageError or RecipeError.")
        .def("explain", &ExplainAt, py::arg("x"), py::arg("y"),
             "The way of the pixel at x, y. Raises ArgumentError for a place outside the image.")
        .def_property_readonly(
            "result", [](const HeldExplainer& explainer) { return Result(explainer.Outcome()); },
            "What the inspection reports; its pairs are left out.");
    SealConstructed(module.attr("Explainer"));

    module.def(
        "explain",
        [](const py::handle& image, const py::handle& recipe, const py::handle& x, const py::handle& y)
        { return ExplainAt(*MakeExplainer(image, recipe), x, y); },
        py::arg("image"), py::arg("recipe"), py::arg("x"), py::arg("y"),
        "Why the pixel at x, y is reported by an inspection, or why it is not. An Explainer answers for many "
        "pixels.\n\n"
        "Raises ImageError, RecipeError or ArgumentError.");
}

} // namespace narvo::python
