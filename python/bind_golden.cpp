// SPDX-License-Identifier: MIT
// Golden inspection: images whose pattern does not repeat, against a model of good ones.
#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include <narvo/host_golden.h>

#include "python/bind.h"
#include "python/image_array.h"
#include "python/narvo_errors.h"
#include "python/per_process.h"
#include "python/picture_array.h"
#include "python/result_arrays.h"
#include "python/sealed_class.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

/// A model for any number of threads, one after the other.
class HeldModel
{
public:
    explicit HeldModel(v1::GoldenModel model) : m_model(std::move(model)) { OfThisProcess(); }

    const v1::GoldenModel& Model() const { return m_model; }

    /// The model with engines. With the interpreter lock held.
    const v1::GoldenModel& OfThisProcess()
    {
        return m_own.Get([&] { return std::make_unique<v1::GoldenModel>(m_model.Share()); });
    }

private:
    v1::GoldenModel m_model;
    PerProcess<v1::GoldenModel> m_own;
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

py::array ToPlaceRows(const std::vector<v1::ReferencePlace>& places)
{
    py::array_t<PlaceRow> rows(static_cast<py::ssize_t>(places.size()));
    PlaceRow* row = rows.mutable_data();
    for (const v1::ReferencePlace& place : places)
        *row++ = {place.box.left, place.box.top, place.box.right, place.box.bottom, place.centerX, place.centerY};
    return rows;
}

/// One golden inspection's outcome.
struct GoldenOutcome
{
    explicit GoldenOutcome(v1::GoldenFindings made) : GoldenOutcome(made, made.Summary()) {}
    GoldenOutcome(const v1::GoldenFindings& made, const v1::GoldenReport& summary)
        : found(made), result(made.Inspection()), places(ToPlaceRows(summary.places)), compared(summary.compared)
    {
    }

    v1::GoldenFindings found;
    Result result;
    py::array places;
    double compared;
};

/// How an image lies on its reference.
struct RegistrationOutcome
{
    explicit RegistrationOutcome(v1::RegistrationMap made) : map(std::move(made)), numbers(map.Numbers()) {}

    v1::RegistrationMap map;
    v1::Registered numbers;
};

std::unique_ptr<HeldModel> MakeModel(const py::handle& references, const v1::Settings& settings)
{
    std::vector<v1::Image> images = Translated(
        Fault::Image,
        [&]
        {
            std::vector<v1::Image> copies;
            // One image is as good as a list of one.
            if (IsOneImage(references))
                copies.push_back(ImageArgument(references, "references", Colours::EachInspected).Copy());
            else
                for (const py::handle reference : EachImage(references, "references"))
                    copies.push_back(ImageArgument(reference,
                                                   ("references[" + std::to_string(copies.size()) + "]").c_str(),
                                                   Colours::EachInspected)
                                         .Copy());
            return copies;
        });
    return Translated(Fault::Argument,
                      [&] {
                          return std::make_unique<HeldModel>(
                              Unlocked([&] { return v1::GoldenModel::FromImages(images, settings); }));
                      });
}

GoldenOutcome InspectOne(HeldModel& model, const py::handle& image)
{
    const ImageArgument pixels =
        Translated(Fault::Image, [&] { return ImageArgument(image, "image", Colours::EachInspected); });
    return Translated(Fault::Image,
                      [&]
                      {
                          const v1::GoldenModel& own = model.OfThisProcess();
                          return GoldenOutcome(Unlocked(
                              [&] { return pixels.With([&](const auto& given) { return own.InspectFully(given); }); }));
                      });
}

double DefaultOf(const char* name)
{
    const v1::Settings& all = v1::GoldenModel::Defaults();
    return std::find_if(all.begin(), all.end(), [&](const v1::Setting& one) { return one.name == name; })->value;
}

/// Of a whole number.
int WholeDefaultOf(const char* name)
{
    return static_cast<int>(DefaultOf(name));
}

py::array PictureToArray(const v1::GreyPicture& picture)
{
    return py::array_t<std::uint8_t>({py::ssize_t{picture.height}, py::ssize_t{picture.width}}, picture.pixels.data());
}

} // namespace

const v1::GoldenModel* ToGoldenModel(const py::handle& value)
{
    return py::isinstance<HeldModel>(value) ? &value.cast<const HeldModel&>().Model() : nullptr;
}

void BindGolden(py::module_& module)
{
    PYBIND11_NUMPY_DTYPE(PlaceRow, left, top, right, bottom, center_x, center_y);

    py::class_<RegistrationOutcome>(module, "Registration", py::is_final(), "How an image lies on its reference.")
        .def_property_readonly(
            "shift_x", [](const RegistrationOutcome& registration) { return registration.numbers.shiftX; },
            "Shift of the pattern at the image's centre, pixels.")
        .def_property_readonly(
            "shift_y", [](const RegistrationOutcome& registration) { return registration.numbers.shiftY; },
            "Shift of the pattern at the image's centre, pixels.")
        .def_property_readonly(
            "rotation", [](const RegistrationOutcome& registration) { return registration.numbers.rotation; },
            "Degrees, clockwise on the screen.")
        .def_property_readonly(
            "scale_x", [](const RegistrationOutcome& registration) { return registration.numbers.scaleX; },
            "Size of the pattern over that in the reference.")
        .def_property_readonly(
            "scale_y", [](const RegistrationOutcome& registration) { return registration.numbers.scaleY; },
            "Size of the pattern over that in the reference.")
        .def_property_readonly(
            "shear", [](const RegistrationOutcome& registration) { return registration.numbers.shear; },
            "Degrees missing to a right angle.")
        .def_property_readonly(
            "largest_local", [](const RegistrationOutcome& registration) { return registration.numbers.largestLocal; },
            "Longest local correction, pixels.")
        .def_property_readonly(
            "correlation", [](const RegistrationOutcome& registration) { return registration.numbers.correlation; },
            "Of image and registered reference over what both show.")
        .def_property_readonly(
            "overlap", [](const RegistrationOutcome& registration) { return registration.numbers.overlap; },
            "Share of the image whose place lies inside the reference.")
        .def(
            "map",
            [](const RegistrationOutcome& registration, double x, double y)
            {
                const v1::RealPlace place = registration.map.Map(x, y);
                return py::make_tuple(place.x, place.y);
            },
            py::arg("x"), py::arg("y"), "The place in the reference of a place in the image, with fractions.")
        .def("__repr__",
             [](const RegistrationOutcome& registration)
             {
                 return "<narvoassem.Registration: shift " + NumberText(registration.numbers.shiftX) + ", " +
                        NumberText(registration.numbers.shiftY) + " pixels, correlation " +
                        NumberText(registration.numbers.correlation) + ">";
             });
    SealUnconstructed(module.attr("Registration"));

    py::class_<GoldenOutcome>(module, "GoldenResult", py::is_final(), "What came out of one golden inspection.")
        .def_readonly("result", &GoldenOutcome::result,
                      "The Result in the image's coordinates; bright is brighter than the reference.")
        .def_property_readonly(
            "registration",
            [](const GoldenOutcome& outcome) { return RegistrationOutcome(outcome.found.Registration()); },
            "How the image lies on the reference, a Registration.")
        .def_readonly(
            "places", &GoldenOutcome::places,
            "The blobs' places in the reference, a structured array with a row for each blob: left, top, right, "
            "bottom (right and bottom exclusive), center_x, center_y, pixels.")
        .def_readonly("compared", &GoldenOutcome::compared, "Share of the image that was compared.")
        .def_property_readonly(
            "reference", [](const GoldenOutcome& outcome) { return ToArray(outcome.found.Reference()); },
            "The model's mean as the image should show it.")
        .def_property_readonly(
            "threshold", [](const GoldenOutcome& outcome) { return ToArray(outcome.found.Threshold()); },
            "Difference that each pixel must exceed, grey levels; 255 where nothing was compared.")
        .def(
            "to_dict",
            [](const GoldenOutcome& outcome) { return ToPython(nlohmann::ordered_json::parse(outcome.found.Text())); },
            "Everything but the arrays as a dict that json.dumps() takes.")
        .def(
            "to_csv", [](const GoldenOutcome& outcome) { return ToText(outcome.found.Table()); },
            "The blobs with their places in the reference as comma separated text with a header line.")
        .def("__repr__", [](const GoldenOutcome& outcome)
             { return "<narvoassem.GoldenResult: " + std::to_string(outcome.places.size()) + " blobs>"; });
    SealUnconstructed(module.attr("GoldenResult"));

    py::class_<HeldModel>(module, "GoldenModel", py::is_final(),
                          "What a good image looks like, and how far a good one may stray from it pixel by pixel. Any "
                          "number of threads may inspect by it, one after the other.")
        .def(py::init(
                 [](const py::handle& references, const py::handle& edgeTolerance, const py::handle& threshold,
                    const py::handle& minPixels, const py::handle& maxBlobs, const py::handle& maxShift,
                    const py::handle& maxRotation, const py::handle& maxScale, const py::handle& meshSpacing,
                    const py::handle& minCorrelation)
                 {
                     return MakeModel(references, {{"edge_tolerance", ToSetting(edgeTolerance)},
                                                   {"threshold", ToWholeSetting(threshold)},
                                                   {"min_pixels", ToWholeSetting(minPixels)},
                                                   {"max_blobs", ToWholeSetting(maxBlobs)},
                                                   {"max_shift", ToSetting(maxShift)},
                                                   {"max_rotation", ToSetting(maxRotation)},
                                                   {"max_scale", ToSetting(maxScale)},
                                                   {"mesh_spacing", ToWholeSetting(meshSpacing)},
                                                   {"min_correlation", ToSetting(minCorrelation)}});
                 }),
             py::arg("references"), py::kw_only(), py::arg("edge_tolerance") = DefaultOf("edge_tolerance"),
             py::arg("threshold") = WholeDefaultOf("threshold"), py::arg("min_pixels") = WholeDefaultOf("min_pixels"),
             py::arg("max_blobs") = WholeDefaultOf("max_blobs"), py::arg("max_shift") = DefaultOf("max_shift"),
             py::arg("max_rotation") = DefaultOf("max_rotation"), py::arg("max_scale") = DefaultOf("max_scale"),
             py::arg("mesh_spacing") = WholeDefaultOf("mesh_spacing"),
             py::arg("min_correlation") = DefaultOf("min_correlation"),
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
            "mean", [](const HeldModel& model) { return PictureToArray(model.Model().Mean()); },
            "Of every pixel over all references.")
        .def_property_readonly(
            "tolerance", [](const HeldModel& model) { return PictureToArray(model.Model().Tolerance()); },
            "Grey levels that a good image may differ from the mean.")
        .def_property_readonly(
            "registrations",
            [](const HeldModel& model)
            {
                py::list registrations;
                for (const v1::RegistrationMap& registration : model.Model().Registrations())
                    registrations.append(RegistrationOutcome(registration));
                return registrations;
            },
            "How the first reference lies on the second and further ones, one for each of these.");
    SealConstructed(module.attr("GoldenModel"));
}

} // namespace narvo::python
