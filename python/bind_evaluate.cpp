// SPDX-License-Identifier: MIT
// Evaluation: how well a recipe, a golden model or scores find known defects.
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <narvo/host_evaluate.h>

#include "python/bind.h"
#include "python/image_array.h"
#include "python/narvo_errors.h"
#include "python/per_process.h"
#include "python/sealed_class.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

/// Measured by the threads of one process: what a child finds of its parent's engines may be in the middle of work.
class HeldEvaluation
{
public:
    HeldEvaluation(const v1::Settings& settings, int lanes) : m_evaluation(settings, lanes) {}

    /// With the interpreter lock held. @throws v1::Error in a child of the process that made it
    v1::Evaluation& OfThisProcess()
    {
        if (ForkCount() != m_forks)
            throw v1::Error({{"evaluation", "made before the process was forked", "one of this process"}});
        return m_evaluation;
    }

private:
    v1::Evaluation m_evaluation;
    int m_forks = ForkCount();
};

/// Problems of images and recipes are theirs, all others those of arguments.
template <typename Call>
auto Measuring(Call call)
{
    try
    {
        return call();
    }
    catch (const v1::Error& error)
    {
        const std::string& field = error.Problems().front().field;
        const bool argument = field == "name" || field == "truth" || field == "evaluation" || field == "model" ||
                              field == "problems" || field.compare(0, 6, "scores") == 0;
        Raise(argument ? Fault::Argument : Fault::Image, error);
    }
}

/// Boxes with their kinds, as pairs.
std::vector<v1::TrueBox> ToTrueBoxes(const py::sequence& values)
{
    std::vector<v1::TrueBox> boxes;
    for (const py::handle value : values)
    {
        const std::string name = "boxes[" + std::to_string(boxes.size()) + "]";
        if (!py::isinstance<py::tuple>(value) || py::len(value) != 2)
            throw v1::Error({{name, Shown(value), "a pair of kind and rectangle"}});
        const auto pair = py::reinterpret_borrow<py::tuple>(value);
        if (!py::isinstance<py::str>(pair[0]))
            throw v1::Error({{name, Shown(pair[0]), "text as kind"}});
        boxes.push_back({ToKey(pair[0], name.c_str()), ToRect(pair[1], {}, name.c_str())});
    }
    return boxes;
}

py::list BoxesToPython(const std::vector<v1::TrueBox>& boxes)
{
    py::list made;
    for (const v1::TrueBox& box : boxes)
        made.append(py::make_tuple(ToText(box.kind), ToPython(box.box)));
    return made;
}

v1::ImageTruth TruthOfBoxes(const py::sequence& boxes, const py::handle& shape)
{
    return Translated(Fault::Argument,
                      [&]
                      {
                          const auto [rows, columns] = ToShape(shape);
                          const std::vector<v1::TrueBox> made = ToTrueBoxes(boxes);
                          return Unlocked([&, width = columns, height = rows]
                                          { return v1::ImageTruth::OfBoxes(made, width, height); });
                      });
}

v1::ImageTruth TruthOfMask(const py::handle& mask, const py::handle& kind)
{
    const std::string name = Translated(Fault::Argument, [&] { return ToKey(kind, "kind"); });
    const ImageArgument image = Translated(Fault::Image, [&] { return ImageArgument(mask, "mask"); });
    return Translated(Fault::Image,
                      [&] { return Unlocked([&] { return v1::ImageTruth::OfMask(image.Pixels(), name); }); });
}

py::tuple SetOfFolder(const py::handle& folder)
{
    const std::filesystem::path place = ToPath(folder);
    const v1::EvaluationSet set =
        Translated(Fault::File, [&] { return Unlocked([&] { return v1::ReadEvaluationSet(place); }); });
    py::list images;
    for (const v1::LabelledImage& image : set.images)
        images.append(py::make_tuple(ToText(image.name), ToText(image.file.string()), ToText(image.reference.string()),
                                     ToText(image.mask.string()), BoxesToPython(image.boxes), image.defective,
                                     ToText(image.kind)));
    return py::make_tuple(ToText(set.layout), images);
}

v1::ImageTruth TruthOfFiles(const py::handle& file, const py::handle& mask, const py::sequence& boxes, bool defective,
                            const py::handle& kind)
{
    v1::LabelledImage image;
    image.file = ToPath(file);
    image.mask = ToPath(mask);
    image.defective = defective;
    Translated(Fault::Argument,
               [&]
               {
                   image.boxes = ToTrueBoxes(boxes);
                   image.kind = ToKey(kind, "kind");
               });
    return Translated(Fault::Image, [&] { return Unlocked([&] { return v1::ImageTruth::OfLabelled(image); }); });
}

void MeasureImage(HeldEvaluation& held, const py::handle& name, const py::handle& image, const py::handle& method,
                  const v1::ImageTruth& truth)
{
    const std::string own = ToPath(name).string();
    const ImageArgument pixels =
        Translated(Fault::Image, [&] { return ImageArgument(image, "image", Colours::EachInspected); });
    const auto measure = [&](const auto& by)
    {
        Measuring(
            [&]
            {
                v1::Evaluation& evaluation = held.OfThisProcess();
                Unlocked([&] { pixels.With([&](const auto& given) { evaluation.Measure(own, given, by, truth); }); });
            });
    };
    if (const v1::GoldenModel* model = ToGoldenModel(method))
        return measure(*model);
    measure(Translated(Fault::Recipe, [&] { return ToRecipe(method); }));
}

using ScoreArray = py::array_t<float, py::array::c_style | py::array::forcecast>;

void MeasureScores(HeldEvaluation& held, const py::handle& name, const ScoreArray& scores, const v1::ImageTruth& truth)
{
    const std::string own = ToPath(name).string();
    Measuring(
        [&]
        {
            if (scores.ndim() != 2 || scores.shape(0) > 1048576 || scores.shape(1) > 1048576)
                throw v1::Error({{"scores", "an array of " + std::to_string(scores.ndim()) + " dimensions",
                                  "an array of shape (rows, columns), each up to 1048576"}});
            v1::Evaluation& evaluation = held.OfThisProcess();
            const v1::ScoreMap map{scores.data(), static_cast<int>(scores.shape(1)), static_cast<int>(scores.shape(0))};
            Unlocked([&] { evaluation.Measure(own, map, truth); });
        });
}

void RefuseImage(HeldEvaluation& held, const py::handle& name, const py::sequence& problems,
                 const v1::ImageTruth& truth)
{
    const std::string own = ToPath(name).string();
    std::vector<v1::Problem> made;
    for (const py::handle problem : problems)
    {
        const auto fields = problem.cast<py::tuple>();
        made.push_back({py::str(fields[0]), py::str(fields[1]), py::str(fields[2])});
    }
    Measuring(
        [&]
        {
            v1::Evaluation& evaluation = held.OfThisProcess();
            Unlocked([&] { evaluation.Refuse(own, made, truth); });
        });
}

py::object OptionalToPython(const std::optional<double>& value)
{
    return value ? py::object(py::float_(*value)) : py::object(py::none());
}

py::tuple FigureToPython(const v1::EvaluationFigure& figure)
{
    return py::make_tuple(OptionalToPython(figure.value), figure.low, figure.high);
}

py::array CurveToPython(const std::vector<v1::EvaluationPoint>& curve)
{
    py::array_t<double> points({static_cast<py::ssize_t>(curve.size()), py::ssize_t{2}});
    double* place = points.mutable_data();
    for (const v1::EvaluationPoint& point : curve)
    {
        *place++ = point.x;
        *place++ = point.y;
    }
    return points;
}

py::dict ReportToPython(HeldEvaluation& held)
{
    const v1::EvaluationReport report = Translated(Fault::Argument,
                                                   [&]
                                                   {
                                                       v1::Evaluation& evaluation = held.OfThisProcess();
                                                       return Unlocked([&] { return evaluation.Report(); });
                                                   });
    py::dict kinds;
    for (const v1::EvaluationKind& kind : report.kinds)
        kinds[ToText(kind.kind)] = py::make_tuple(kind.defects, kind.found);
    py::list factors;
    for (const v1::EvaluationFactor& point : report.factors)
        factors.append(py::make_tuple(point.factor, OptionalToPython(point.found), point.falseAnImage));
    py::list images;
    for (const v1::EvaluatedImage& image : report.images)
        images.append(py::make_tuple(ToText(image.name), image.defective, image.score, image.defects, image.found,
                                     image.falseBlobs, ToPython(image.problems)));
    return py::dict(
        py::arg("image_auroc") = FigureToPython(report.imageAuroc),
        py::arg("pixel_auroc") = FigureToPython(report.pixelAuroc),
        py::arg("region_overlap") = FigureToPython(report.regionOverlap),
        py::arg("image_f1") = FigureToPython(report.imageF1), py::arg("found") = FigureToPython(report.found),
        py::arg("false_an_image") = FigureToPython(report.falseAnImage),
        py::arg("best_image_f1") = OptionalToPython(report.bestImageF1),
        py::arg("best_pixel_f1") = OptionalToPython(report.bestPixelF1), py::arg("kinds") = kinds,
        py::arg("image_curve") = CurveToPython(report.imageCurve),
        py::arg("overlap_curve") = CurveToPython(report.overlapCurve), py::arg("factors") = factors,
        py::arg("images") = images, py::arg("refused") = report.refused, py::arg("text") = ToText(report.text));
}

} // namespace

void BindEvaluate(py::module_& module)
{
    py::class_<v1::ImageTruth>(module, "Truth", py::is_final(), "What is true of one image.")
        .def_static("boxes", &TruthOfBoxes, py::arg("boxes"), py::arg("shape"),
                    "Defects as pairs of kind and rectangle in an image of that shape (rows, columns); none: a good "
                    "image. Raises ArgumentError.")
        .def_static("mask", &TruthOfMask, py::arg("mask"), py::arg("kind") = "defective",
                    "Connected pixels above half of the mask's largest value are a defect; an empty mask is a good "
                    "image's. Raises ImageError.")
        .def_static(
            "defective", [] { return v1::ImageTruth::Defective(); },
            "Of an image that is known to be defective, and nobody knows where.")
        .def_property_readonly("is_defective", &v1::ImageTruth::IsDefective, "Whether there are defects.")
        .def_property_readonly(
            "defects", [](const v1::ImageTruth& truth) { return BoxesToPython(truth.Defects()); },
            "Pairs of kind and rectangle; none where the places are not known.")
        .def("__repr__", [](const v1::ImageTruth& truth)
             { return "<narvoassem.Truth: " + std::to_string(truth.Defects().size()) + " defects>"; });
    SealUnconstructed(module.attr("Truth"));

    module.def("set_of_folder", &SetOfFolder, py::arg("folder"),
               "Layout and images of a folder with known defects. Raises FileError.");
    module.def("truth_of_files", &TruthOfFiles, py::arg("file"), py::arg("mask"), py::arg("boxes"),
               py::arg("defective"), py::arg("kind"),
               "The Truth of an image of such a folder. Raises ImageError or ArgumentError.");

    py::class_<HeldEvaluation>(module, "EvaluationFeed", py::is_final(),
                               "Images that are measured; Evaluation is the class to use.")
        .def(py::init(
                 [](const py::handle& margin, const py::handle& smallest, const py::handle& patch,
                    const py::handle& lanes)
                 {
                     const v1::Settings settings = {{"margin", ToWholeSetting(margin)},
                                                    {"smallest", ToWholeSetting(smallest)},
                                                    {"patch", ToWholeSetting(patch)}};
                     return Translated(Fault::Argument,
                                       [&] { return std::make_unique<HeldEvaluation>(settings, ToNearestInt(lanes)); });
                 }),
             py::arg("margin"), py::arg("smallest"), py::arg("patch"), py::arg("lanes"))
        .def("measure", &MeasureImage, py::arg("name"), py::arg("image"), py::arg("method"), py::arg("truth"),
             "Inspects an image by a recipe or a GoldenModel.")
        .def("measure_scores", &MeasureScores, py::arg("name"), py::arg("scores"), py::arg("truth"),
             "Takes scores of another method.")
        .def("refuse", &RefuseImage, py::arg("name"), py::arg("problems"), py::arg("truth"),
             "Adds an image that could not be inspected.")
        .def("report", &ReportToPython, "Figures as dict, tuples and arrays.");
    SealConstructed(module.attr("EvaluationFeed"));
}

} // namespace narvo::python
