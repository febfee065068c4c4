// SPDX-License-Identifier: MIT
// The search for the pattern's period, and the recipe that follows from it.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <narvo/host_pitch.h>

#include "python/bind.h"
#include "python/image_array.h"
#include "python/narvo_errors.h"
#include "python/notebook.h"
#include "python/sealed_class.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

/// An image, and the part of it that counts: all of it for None.
struct Part
{
    py::array array;
    v1::ImagePixels pixels;
    py::object rect;
    v1::Box box;
};

Part ToPart(const py::handle& image, const py::handle& region)
{
    Part part{Translated(Fault::Image, [&] { return CheckedImageArray(image, "image"); }), {}, {}, {}};
    part.pixels = {static_cast<const std::uint8_t*>(part.array.data()), static_cast<int>(part.array.shape(1)),
                   static_cast<int>(part.array.shape(0))};
    part.box = Translated(Fault::Argument,
                          [&] {
                              return ToRect(region, {0, 0, part.pixels.width, part.pixels.height}, "region");
                          });
    part.rect = ToPython(part.box);
    return part;
}

/// Runs `call` without the interpreter lock; a region that it refuses is shown as Python has it.
template <typename Call>
auto OnPart(const Part& part, Call call)
{
    return Translated(Fault::Argument,
                      [&]
                      {
                          try
                          {
                              return Unlocked(call);
                          }
                          catch (const v1::Error& error)
                          {
                              std::vector<v1::Problem> problems = error.Problems();
                              for (v1::Problem& problem : problems)
                                  if (problem.field == "region")
                                      problem.value = py::str(part.rect);
                              throw v1::Error(std::move(problems));
                          }
                      });
}

v1::FoundPitch Search(const py::handle& image, const py::handle& region)
{
    const Part part = ToPart(image, region);
    return Translated(Fault::Argument,
                      [&] { return Unlocked([&] { return v1::FoundPitch::Search(part.pixels, part.box); }); });
}

py::object MakeRecipe(const py::handle& image, const v1::FoundPitch& pitch, const py::handle& region)
{
    const Part part = ToPart(image, region);
    return ToPythonRecipe(OnPart(part, [&] { return pitch.MakeRecipe(part.pixels, part.box); }));
}

v1::FoundLattice FindLattice(const py::handle& image, const py::handle& region)
{
    const Part part = ToPart(image, region);
    return OnPart(part, [&] { return v1::FoundLattice::Search(part.pixels, part.box); });
}

py::object MakeRecipeOfLattice(const py::handle& image, const v1::FoundLattice& lattice, const py::handle& region)
{
    // A lattice that was not found is refused before a region that is none.
    const Part part = ToPart(image, lattice.Vectors().empty() ? py::none() : region);
    return ToPythonRecipe(OnPart(part, [&] { return lattice.MakeRecipe(part.pixels, part.box); }));
}

std::string AxisText(const v1::AxisSearch& axis)
{
    return axis.found ? NumberText(axis.sixteenths / 16.0) : "none";
}

} // namespace

void BindPitch(py::module_& module)
{
    py::class_<v1::AxisSearch>(module, "AxisPitch", py::is_final(), "What search_pitch() found along one axis.")
        .def_readonly("found", &v1::AxisSearch::found, "Whether there is a period.")
        .def_readonly("measured", &v1::AxisSearch::measured, "The period as measured, pixels.")
        .def_property_readonly(
            "pitch", [](const v1::AxisSearch& axis) { return axis.sixteenths / 16.0; },
            "The period to the nearest 1/16 pixel, the engine's own unit: what a recipe takes. Pixels.")
        .def_readonly("periods", &v1::AxisSearch::periods, "Periods that the measured length spans.")
        .def_readonly("confidence", &v1::AxisSearch::confidence,
                      "Least correlation of the image with itself at one, two and three pitches, 0 to 1.")
        .def_property_readonly(
            "runner_up",
            [](const v1::AxisSearch& axis) -> py::object
            {
                if (axis.otherStrength <= 0.0)
                    return py::none();
                return py::make_tuple(axis.otherPitch, axis.otherStrength);
            },
            "The strongest other period that is no multiple, as (pixels, correlation), or None.")
        .def_property_readonly(
            "cost",
            [](const v1::AxisSearch& axis)
            { return py::array_t<float>(static_cast<py::ssize_t>(axis.cost.size()), axis.cost.data()); },
            "Cost of displacements in steps of 1/16 pixel from 0 on: 0 the same, 1 unrelated, 2 the opposite.")
        .def("__repr__",
             [](const v1::AxisSearch& axis) {
                 return "<narvoassem.AxisPitch: " + AxisText(axis) + ", confidence " + NumberText(axis.confidence) +
                        ">";
             });

    py::class_<v1::FoundPitch>(module, "PitchResult", py::is_final(), "What search_pitch() found.")
        .def_property_readonly("x", &v1::FoundPitch::X, "Along x.")
        .def_property_readonly("y", &v1::FoundPitch::Y, "Along y.")
        .def_property_readonly(
            "found", [](const v1::FoundPitch& pitch) { return pitch.X().found || pitch.Y().found; },
            "Whether there is a period along one axis or both.")
        .def("__repr__", [](const v1::FoundPitch& pitch)
             { return "<narvoassem.PitchResult: " + AxisText(pitch.X()) + " by " + AxisText(pitch.Y()) + ">"; });

    py::class_<v1::FoundLattice>(module, "LatticeResult", py::is_final(), "What search_lattice() found.")
        .def_property_readonly(
            "vectors",
            [](const v1::FoundLattice& found)
            {
                py::list vectors;
                for (const v1::LatticeOffset& vector : found.Vectors())
                    vectors.append(py::make_tuple(vector.x, vector.y));
                return vectors;
            },
            "The displacements at which the pattern repeats, one or two as (x, y) in pixels; empty: none was found.")
        .def_property_readonly("strength", &v1::FoundLattice::Strength,
                               "Correlation of the image with itself one vector on, the lower of two.")
        .def_property_readonly(
            "found", [](const v1::FoundLattice& found) { return !found.Vectors().empty(); },
            "Whether the pattern repeats.")
        .def("__repr__",
             [](const v1::FoundLattice& found) { return "<narvoassem.LatticeResult: " + found.Text() + ">"; });

    SealUnconstructed(module.attr("LatticeResult"));
    SealUnconstructed(module.attr("AxisPitch"));
    SealUnconstructed(module.attr("PitchResult"));
    ShowInNotebooks(module.attr("PitchResult"), "pitch_html");

    module.def("search_pitch", &Search, py::arg("image"), py::arg("region") = py::none(),
               "Find the period of an image's pattern along x and y, with no starting value.\n\n"
               "region is (left, top, right, bottom) in pixels; by default the whole image. A period must be 3 pixels "
               "or more and fit three times into the region. Raises ImageError or ArgumentError.");
    module.def("pitch_recipe", &MakeRecipe, py::arg("image"), py::arg("pitch"), py::arg("region") = py::none(),
               "A first recipe for an image whose pitch was found: zones and thresholds from what good places leave as "
               "differences.\n\nThe differences are measured in region (by default the whole image), which the recipe "
               "then inspects. Raises ImageError "
               "or ArgumentError.");
    module.def(
        "search_lattice", &FindLattice, py::arg("image"), py::arg("region") = py::none(),
        "Find the lattice of an image's pattern: one or two vectors, which may be turned, oblique, or too long to "
        "fit three times into the image.\n\nregion is (left, top, right, bottom) in pixels; by default the "
        "whole image. A vector must fit once and most of a second time. Raises ImageError or ArgumentError.");
    module.def("lattice_recipe", &MakeRecipeOfLattice, py::arg("image"), py::arg("lattice"),
               py::arg("region") = py::none(),
               "A first recipe in lattice mode: the lattice that was found, and a threshold from each image's "
               "noise.\n\nIt inspects region, by default the whole image. Raises ImageError or ArgumentError.");
}

} // namespace narvo::python
