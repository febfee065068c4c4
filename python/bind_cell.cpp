// SPDX-License-Identifier: MIT
// Golden cells: what is wrong in every cell of a pattern alike.
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <narvo/host_cell.h>

#include "python/bind.h"
#include "python/image_array.h"
#include "python/narvo_errors.h"
#include "python/sealed_class.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

struct CellRow
{
    int left;
    int top;
    int right;
    int bottom;
    int center_x;
    int center_y;
    int area;
    double difference;
    double standard_errors;
};

py::array ToRows(const std::vector<v1::CellPlace>& places)
{
    py::array_t<CellRow> rows(static_cast<py::ssize_t>(places.size()));
    CellRow* row = rows.mutable_data();
    for (const v1::CellPlace& place : places)
        *row++ = {place.box.left, place.box.top, place.box.right,  place.box.bottom,    place.centerX,
                  place.centerY,  place.area,    place.difference, place.standardErrors};
    return rows;
}

py::array CellArray(const std::vector<float>& values, std::pair<int, int> size)
{
    return py::array_t<float>({py::ssize_t{size.second}, py::ssize_t{size.first}}, values.data());
}

/// Whose fault it is.
Fault FaultInCell(const v1::Error& error)
{
    const std::string& field = error.Problems().front().field;
    if (field == "recipe")
        return Fault::Recipe;
    return field.compare(0, 5, "image") == 0 ? Fault::Image : Fault::Argument;
}

template <typename Call>
auto TranslatedByFault(Call call)
{
    try
    {
        return call();
    }
    catch (const v1::Error& error)
    {
        Raise(FaultInCell(error), error);
    }
}

v1::GoldenCell LearnCell(const py::handle& images, const py::handle& recipe)
{
    const v1::Recipe own = Translated(Fault::Recipe, [&] { return ToRecipe(recipe); });
    const std::vector<ImageArgument> held = Translated(
        Fault::Image,
        [&]
        {
            std::vector<ImageArgument> arguments;
            if (IsOneImage(images))
                arguments.emplace_back(images, "images");
            else
                for (const py::handle image : EachImage(images, "images"))
                    arguments.emplace_back(image, ("images[" + std::to_string(arguments.size()) + "]").c_str());
            return arguments;
        });
    std::vector<v1::ImagePixels> pixels;
    pixels.reserve(held.size());
    for (const ImageArgument& image : held)
        pixels.push_back(image.Pixels());
    return TranslatedByFault([&] { return Unlocked([&] { return v1::GoldenCell::Learn(own, pixels); }); });
}

v1::CellReport CompareCell(const v1::GoldenCell& cell, const py::handle& image, const py::handle& recipe,
                           const py::handle& leastDifference, const py::handle& tolerance, const py::handle& certainty)
{
    const v1::Settings settings = {{"least_difference", ToSetting(leastDifference)},
                                   {"tolerance", ToSetting(tolerance)},
                                   {"certainty", ToSetting(certainty)}};
    const v1::Recipe own = Translated(Fault::Recipe, [&] { return ToRecipe(recipe); });
    const ImageArgument pixels = Translated(Fault::Image, [&] { return ImageArgument(image, "image"); });
    return TranslatedByFault([&]
                             { return Unlocked([&] { return cell.Compare(pixels.Pixels(), own, settings); }).at(0); });
}

} // namespace

void BindCell(py::module_& module)
{
    PYBIND11_NUMPY_DTYPE(CellRow, left, top, right, bottom, center_x, center_y, area, difference, standard_errors);

    py::class_<v1::CellReport>(module, "CellResult", py::is_final(), "How an image differs from a golden cell.")
        .def_property_readonly(
            "places", [](const v1::CellReport& report) { return ToRows(report.places); },
            "A structured array with a row for each place that differs, the most certain first: left, top, right, "
            "bottom "
            "(right and bottom exclusive), center_x, center_y, pixels from the corner of the golden cell; area; "
            "difference, the greatest in grey levels; standard_errors, the same.")
        .def_readonly("parts", &v1::CellReport::parts, "Parts of the image that its mean cell is made of.")
        .def_readonly("parts_left_out", &v1::CellReport::partsLeftOut, "Parts that do not resemble the golden cell.")
        .def_property_readonly(
            "displacement",
            [](const v1::CellReport& report) { return py::make_tuple(report.displacementX, report.displacementY); },
            "By which the pattern lies elsewhere in the middle, pixels along the cell's vectors.")
        .def_readonly("gain", &v1::CellReport::gain, "Of the light: grey is gain times golden grey, and offset.")
        .def_readonly("offset", &v1::CellReport::offset, "Grey levels.")
        .def_readonly("resemblance", &v1::CellReport::resemblance,
                      "Correlation of the middle part with the golden cell.")
        .def_property_readonly(
            "mean",
            [](const v1::CellReport& report) {
                return CellArray(report.mean, {report.width, report.height});
            },
            "The image's cell in golden light, grey levels, about a place for each pixel.")
        .def_property_readonly(
            "difference",
            [](const v1::CellReport& report) {
                return CellArray(report.difference, {report.width, report.height});
            },
            "The same less the golden cell.")
        .def("__str__", [](const v1::CellReport& report) { return ToText(report.text); })
        .def("__repr__", [](const v1::CellReport& report)
             { return "<narvoassem.CellResult: " + std::to_string(report.places.size()) + " places>"; });
    SealUnconstructed(module.attr("CellResult"));

    py::class_<v1::GoldenCell>(
        module, "GoldenCell", py::is_final(),
        "What the cell of a pattern looks like in good images. Any number of threads may use it.")
        .def(py::init(&LearnCell), py::arg("images"), py::arg("recipe"),
             "images is one good image or several, arrays as inspect() takes them; the recipe's pitch or lattice gives "
             "the cell. Raises ImageError, RecipeError or ArgumentError.")
        .def_static(
            "load",
            [](const py::handle& path)
            {
                const std::filesystem::path file = ToPath(path);
                return Translated(Fault::File,
                                  [&] { return Unlocked([&] { return v1::GoldenCell::FromFile(file); }); });
            },
            py::arg("path"), "From a file that save() or narvo cell wrote. Raises FileError.")
        .def(
            "save",
            [](const v1::GoldenCell& cell, const py::handle& path)
            {
                const std::filesystem::path file = ToPath(path);
                Translated(Fault::File, [&] { Unlocked([&] { cell.Save(file); }); });
            },
            py::arg("path"), "Writes a JSON file. Raises FileError.")
        .def("compare", &CompareCell, py::arg("image"), py::arg("recipe"), py::kw_only(),
             py::arg("least_difference") = 2.0, py::arg("tolerance") = 0.15, py::arg("certainty") = 6.0,
             "How an image differs, a CellResult.\n\n"
             "least_difference  grey levels below which nothing is reported, 0 to 255\n"
             "tolerance         pixels by which edges may lie elsewhere, 0 to 4\n"
             "certainty         standard errors that a difference must exceed, 3 to 100\n\n"
             "Raises ImageError, RecipeError or ArgumentError.")
        .def_property_readonly(
            "mean", [](const v1::GoldenCell& cell) { return CellArray(cell.Mean(), cell.Size()); },
            "Grey levels of the cell, about a place for each pixel.")
        .def_property_readonly("images", &v1::GoldenCell::Images, "Good images that it was learnt from.")
        .def("__repr__",
             [](const v1::GoldenCell& cell)
             {
                 const auto [width, height] = cell.Size();
                 return "<narvoassem.GoldenCell: " + std::to_string(width) + " by " + std::to_string(height) +
                        " places>";
             });
    SealConstructed(module.attr("GoldenCell"));
}

} // namespace narvo::python
