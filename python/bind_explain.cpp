// SPDX-License-Identifier: MIT
// Why a pixel was reported, or why it was not.
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/explain/explain.h"
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
struct ExplainerLane
{
    ExplainerLane(const GreyImage& image, const CheckedRecipe& recipe) : explainer(image, recipe) {}

    Explainer explainer;
    std::mutex mutex;
};

/// An explainer with an image of its own.
class HeldExplainer
{
public:
    HeldExplainer(GreyImage image, const CheckedRecipe& recipe) : m_image(std::move(image)), m_recipe(recipe)
    {
        m_outcome = m_lane.Get([&] { return Unlocked([&] { return MakeLane(); }); }).explainer.Result();
    }

    const InspectionResult& Outcome() const { return m_outcome; }
    int Width() const { return m_image.Width(); }
    int Height() const { return m_image.Height(); }

    /// With the interpreter lock held.
    ExplainerLane& LaneOfThisProcess()
    {
        return m_lane.Get([&] { return MakeLane(); });
    }

private:
    std::unique_ptr<ExplainerLane> MakeLane() const { return std::make_unique<ExplainerLane>(m_image, m_recipe); }

    GreyImage m_image;
    CheckedRecipe m_recipe;
    InspectionResult m_outcome;
    PerProcess<ExplainerLane> m_lane;
};

std::unique_ptr<HeldExplainer> MakeExplainer(const py::handle& image, const py::handle& recipe)
{
    const ImageArgument pixels = Translated(Fault::Image, [&] { return ImageArgument(image, "image"); });
    return Translated(Fault::Recipe,
                      [&]
                      {
                          const CheckedRecipe made = ToRecipe(recipe);
                          return std::make_unique<HeldExplainer>(pixels.Copy(), made);
                      });
}

Explanation ExplainAt(HeldExplainer& explainer, int x, int y)
{
    return Translated(Fault::Argument,
                      [&]
                      {
                          ExplainerLane& lane = explainer.LaneOfThisProcess();
                          return Unlocked(
                              [&]
                              {
                                  const std::lock_guard lock(lane.mutex);
                                  return lane.explainer.Explain(CPoint(x, y));
                              });
                      });
}

} // namespace

void BindExplain(py::module_& module)
{
    py::class_<Explanation>(module, "Explanation", py::is_final(),
                            "The way of one pixel through an inspection; str() gives it in lines.")
        .def_property_readonly(
            "place",
            [](const Explanation& explanation) { return py::make_tuple(explanation.place.x, explanation.place.y); },
            "The pixel, x and y.")
        .def_property_readonly(
            "outcome", [](const Explanation& explanation) { return OutcomeName(explanation.outcome); },
            "Where its way ended, in a word or two: \"reported\", \"no hit\", ...")
        .def_readonly("blob", &Explanation::blob, "Number of the reported defect that it is part of, or 0.")
        .def_property_readonly(
            "why",
            [](const Explanation& explanation)
            {
                py::list lines;
                for (const std::string& line : explanation.why)
                    lines.append(ToText(line));
                return lines;
            },
            "Its way in sentences, ending with the outcome.")
        .def(
            "to_dict", [](const Explanation& explanation) { return ToPython(ExplanationToJson(explanation)); },
            "Everything as a dict: comparisons, thresholds, filters, blob.")
        .def("__str__", [](const Explanation& explanation) { return ToText(DescribeExplanation(explanation)); })
        .def("__repr__",
             [](const Explanation& explanation)
             {
                 return "<narvoassem.Explanation: " + std::to_string(explanation.place.x) + ", " +
                        std::to_string(explanation.place.y) + " " + OutcomeName(explanation.outcome) + ">";
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
            "result",
            [](const HeldExplainer& explainer)
            { return Result(explainer.Outcome(), explainer.Width(), explainer.Height()); },
            "What the inspection reports; its pairs are left out.");
    SealConstructed(module.attr("Explainer"));

    module.def(
        "explain",
        [](const py::handle& image, const py::handle& recipe, int x, int y)
        { return ExplainAt(*MakeExplainer(image, recipe), x, y); },
        py::arg("image"), py::arg("recipe"), py::arg("x"), py::arg("y"),
        "Why the pixel at x, y is reported by an inspection, or why it is not. An Explainer answers for many "
        "pixels.\n\n"
        "Raises ImageError, RecipeError or ArgumentError.");
}

} // namespace narvo::python
