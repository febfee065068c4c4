// SPDX-License-Identifier: MIT
// Golden inspection: images whose pattern does not repeat, against a model of good ones.
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/golden/golden.h"
#include "host/golden/golden_file.h"
#include "python/bind.h"
#include "python/image_array.h"
#include "python/narvo_errors.h"
#include "python/per_process.h"
#include "python/result_arrays.h"
#include "python/sealed_class.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

/// An inspector for any number of threads, one after the other.
struct GoldenLane
{
    explicit GoldenLane(int maxBlobs) : inspector(1, maxBlobs) {}

    Inspector inspector;
    std::mutex mutex;
};

/// A model with an inspector of its own.
class HeldModel
{
public:
    HeldModel(GoldenModel model, int maxBlobs) : m_model(std::move(model)), m_maxBlobs(maxBlobs)
    {
        LaneOfThisProcess();
    }

    const GoldenModel& Model() const { return m_model; }

    /// With the interpreter lock held.
    GoldenLane& LaneOfThisProcess()
    {
        return m_lane.Get([&] { return std::make_unique<GoldenLane>(m_maxBlobs); });
    }

    /// Without it.
    GoldenResult Inspect(GoldenLane& lane, const GreyImage& image) const
    {
        const std::lock_guard lock(lane.mutex);
        return InspectGolden(lane.inspector, 0, m_model, image);
    }

private:
    GoldenModel m_model;
    int m_maxBlobs;
    PerProcess<GoldenLane> m_lane;
};

struct PlaceRow
{
    int left;
    int top;
    int right;
    int bottom;
    double center_x;
    double center_y;
};

/// One golden inspection's outcome.
struct GoldenOutcome
{
    GoldenOutcome(GoldenResult made, int width, int height)
        : found(std::move(made)), result(found.inspection, width, height),
          places(py::array_t<PlaceRow>(static_cast<py::ssize_t>(found.places.size())))
    {
        auto* row = static_cast<PlaceRow*>(places.mutable_data());
        for (const ReferencePlace& place : found.places)
            *row++ = {place.box.left, place.box.top, place.box.right, place.box.bottom, place.center.x, place.center.y};
    }

    GoldenResult found;
    Result result;
    py::array places;
};

std::unique_ptr<HeldModel> MakeModel(const py::handle& references, const GoldenSettings& settings)
{
    std::vector<GreyImage> images = Translated(
        Fault::Image,
        [&]
        {
            std::vector<GreyImage> copies;
            // One image is as good as a list of one.
            if (IsOneImage(references))
                copies.push_back(ImageArgument(references, "references", Colours::EachInspected).Copy());
            else
                for (const py::handle reference : py::iter(references))
                    copies.push_back(ImageArgument(reference,
                                                   ("references[" + std::to_string(copies.size()) + "]").c_str(),
                                                   Colours::EachInspected)
                                         .Copy());
            return copies;
        });
    return Translated(Fault::Argument,
                      [&]
                      {
                          ThrowIfAny(CheckGoldenSettings(settings));
                          return std::make_unique<HeldModel>(Unlocked([&] { return GoldenModel(images, settings); }),
                                                             settings.maxBlobs);
                      });
}

GoldenOutcome InspectOne(HeldModel& model, const py::handle& image)
{
    const ImageArgument pixels =
        Translated(Fault::Image, [&] { return ImageArgument(image, "image", Colours::EachInspected); });
    return Translated(Fault::Image,
                      [&]
                      {
                          GoldenLane& lane = model.LaneOfThisProcess();
                          GoldenResult found = Unlocked([&] { return model.Inspect(lane, pixels.Copy()); });
                          return GoldenOutcome(std::move(found), pixels.View().Width(), pixels.View().Height());
                      });
}

} // namespace

void BindGolden(py::module_& module)
{
    PYBIND11_NUMPY_DTYPE(PlaceRow, left, top, right, bottom, center_x, center_y);

    py::class_<Registration>(module, "Registration", py::is_final(), "How an image lies on its reference.")
        .def_readonly("shift_x", &Registration::shiftX, "Shift of the pattern at the image's centre, pixels.")
        .def_readonly("shift_y", &Registration::shiftY, "Shift of the pattern at the image's centre, pixels.")
        .def_readonly("rotation", &Registration::rotation, "Degrees, clockwise on the screen.")
        .def_readonly("scale_x", &Registration::scaleX, "Size of the pattern over that in the reference.")
        .def_readonly("scale_y", &Registration::scaleY, "Size of the pattern over that in the reference.")
        .def_readonly("shear", &Registration::shear, "Degrees missing to a right angle.")
        .def_readonly("largest_local", &Registration::largestLocal, "Longest local correction, pixels.")
        .def_readonly("correlation", &Registration::correlation,
                      "Of image and registered reference over what both show.")
        .def_readonly("overlap", &Registration::overlap, "Share of the image whose place lies inside the reference.")
        .def(
            "map",
            [](const Registration& registration, double x, double y)
            {
                const RealPoint place = registration.Map(x, y);
                return py::make_tuple(place.x, place.y);
            },
            py::arg("x"), py::arg("y"), "The place in the reference of a place in the image, with fractions.")
        .def("__repr__",
             [](const Registration& registration)
             {
                 return "<narvoassem.Registration: shift " + FormatNumber(registration.shiftX) + ", " +
                        FormatNumber(registration.shiftY) + " pixels, correlation " +
                        FormatNumber(registration.correlation) + ">";
             });
    SealUnconstructed(module.attr("Registration"));

    py::class_<GoldenOutcome>(module, "GoldenResult", py::is_final(), "What came out of one golden inspection.")
        .def_readonly("result", &GoldenOutcome::result,
                      "The Result in the image's coordinates; bright is brighter than the reference.")
        .def_property_readonly(
            "registration", [](const GoldenOutcome& outcome) { return outcome.found.registration; },
            "How the image lies on the reference, a Registration.")
        .def_readonly(
            "places", &GoldenOutcome::places,
            "The blobs' places in the reference, a structured array with a row for each blob: left, top, right, "
            "bottom (right and bottom exclusive), center_x, center_y, pixels.")
        .def_property_readonly(
            "compared", [](const GoldenOutcome& outcome) { return outcome.found.compared; },
            "Share of the image that was compared.")
        .def_property_readonly(
            "reference", [](const GoldenOutcome& outcome) { return ToArray(outcome.found.reference); },
            "The model's mean as the image should show it.")
        .def_property_readonly(
            "threshold", [](const GoldenOutcome& outcome) { return ToArray(outcome.found.threshold); },
            "Difference that each pixel must exceed, grey levels; 255 where nothing was compared.")
        .def(
            "to_dict", [](const GoldenOutcome& outcome) { return ToPython(GoldenToJson(outcome.found)); },
            "Everything but the arrays as a dict that json.dumps() takes.")
        .def(
            "to_csv", [](const GoldenOutcome& outcome) { return ToText(GoldenToCsv(outcome.found)); },
            "The blobs with their places in the reference as comma separated text with a header line.")
        .def("__repr__", [](const GoldenOutcome& outcome)
             { return "<narvoassem.GoldenResult: " + std::to_string(outcome.found.places.size()) + " blobs>"; });
    SealUnconstructed(module.attr("GoldenResult"));

    const GoldenSettings defaults;
    py::class_<HeldModel>(module, "GoldenModel", py::is_final(),
                          "What a good image looks like, and how far a good one may stray from it pixel by pixel. Any "
                          "number of threads may inspect by it, one after the other.")
        .def(py::init(
                 [](const py::handle& references, double edgeTolerance, int threshold, int minPixels, int maxBlobs,
                    double maxShift, double maxRotation, double maxScale, int meshSpacing, double minCorrelation)
                 {
                     GoldenSettings settings;
                     settings.edgeTolerance = edgeTolerance;
                     settings.threshold = threshold;
                     settings.minPixels = minPixels;
                     settings.maxBlobs = maxBlobs;
                     settings.registration.maxShift = maxShift;
                     settings.registration.maxRotation = maxRotation;
                     settings.registration.maxScale = maxScale;
                     settings.registration.meshSpacing = meshSpacing;
                     settings.registration.minCorrelation = minCorrelation;
                     return MakeModel(references, settings);
                 }),
             py::arg("references"), py::kw_only(), py::arg("edge_tolerance") = defaults.edgeTolerance,
             py::arg("threshold") = defaults.threshold, py::arg("min_pixels") = defaults.minPixels,
             py::arg("max_blobs") = defaults.maxBlobs, py::arg("max_shift") = defaults.registration.maxShift,
             py::arg("max_rotation") = defaults.registration.maxRotation,
             py::arg("max_scale") = defaults.registration.maxScale,
             py::arg("mesh_spacing") = defaults.registration.meshSpacing,
             py::arg("min_correlation") = defaults.registration.minCorrelation,
             "references is one good image or several, of which the further are registered to the first.\n\n"
             "edge_tolerance   pixels by which an edge may lie elsewhere\n"
             "threshold        grey levels above what the model lets pass; 0: from the image's noise\n"
             "min_pixels       smaller blobs are not reported\n"
             "max_blobs        room for blobs\n"
             "max_shift        pixels along x and along y that an image may lie off\n"
             "max_rotation     degrees\n"
             "max_scale        percent, of scale and shear\n"
             "mesh_spacing     pixels between the nodes of the local correction; 0: none\n"
             "min_correlation  of image and registered reference\n\n"
             "Raises ImageError or ArgumentError.")
        .def("inspect", &InspectOne, py::arg("image"),
             "Register an image to the model and inspect it. Raises ImageError where it cannot be registered.")
        .def_property_readonly(
            "mean", [](const HeldModel& model) { return ToArray(model.Model().Mean()); },
            "Of every pixel over all references.")
        .def_property_readonly(
            "tolerance", [](const HeldModel& model) { return ToArray(model.Model().Tolerance()); },
            "Grey levels that a good image may differ from the mean.")
        .def_property_readonly(
            "registrations",
            [](const HeldModel& model)
            {
                py::list registrations;
                for (const Registration& registration : model.Model().Registrations())
                    registrations.append(registration);
                return registrations;
            },
            "How the first reference lies on the second and further ones, one for each of these.");
    SealConstructed(module.attr("GoldenModel"));
}

} // namespace narvo::python
