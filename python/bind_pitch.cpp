// SPDX-License-Identifier: MIT
// The search for the pattern's period, and the recipe that follows from it.
#include <string>

#include "host/lattice/lattice.h"
#include "host/lattice/lattice_search.h"
#include "host/lattice/lattice_settings.h"
#include "host/pitch/lattice_recipe.h"
#include "host/pitch/pitch_recipe.h"
#include "host/pitch/pitch_search.h"
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

CRect RegionOrAll(const py::handle& region, const GreyView& image)
{
    return ToRect(region, CRect(0, 0, image.Width(), image.Height()), "region");
}

PitchResult Search(const py::handle& image, const py::handle& region)
{
    const ImageArgument pixels = Translated(Fault::Image, [&] { return ImageArgument(image, "image"); });
    return Translated(Fault::Argument,
                      [&]
                      {
                          const CRect part = RegionOrAll(region, pixels.View());
                          return Unlocked([&] { return SearchPitch(pixels.View(), part); });
                      });
}

CheckedRecipe MakeRecipe(const py::handle& image, const PitchResult& pitch, const py::handle& region)
{
    const ImageArgument pixels = Translated(Fault::Image, [&] { return ImageArgument(image, "image"); });
    return Translated(Fault::Argument,
                      [&]
                      {
                          const CRect part = RegionOrAll(region, pixels.View());
                          const CRect whole(0, 0, pixels.View().Width(), pixels.View().Height());
                          if (!pitch.x.found && !pitch.y.found)
                              throw HostError({{"pitch", "found along neither axis",
                                                "an image whose pattern has a period along one axis or both"}});
                          if (part.left < 0 || part.top < 0 || part.right > whole.right || part.bottom > whole.bottom ||
                              part.Width() < nPitchSearchSide || part.Height() < nPitchSearchSide)
                              throw HostError({{"region", std::string(py::str(ToPython(part))),
                                                "a rectangle inside the image of " + std::to_string(whole.right) +
                                                    " by " + std::to_string(whole.bottom) + " pixels, sides at least " +
                                                    std::to_string(nPitchSearchSide)}});
                          return Unlocked([&] { return MakePitchRecipe(pixels.View(), part, pitch); });
                      });
}

/// The part of an image that a lattice is searched in. @throws HostError for a region that is not inside
GreyImage LatticePart(const GreyView& image, const CRect& part)
{
    if (part.left < 0 || part.top < 0 || part.right > image.Width() || part.bottom > image.Height() ||
        part.Width() < nLatticeSideLow || part.Height() < nLatticeSideLow)
        throw HostError(
            {{"region", std::string(py::str(ToPython(part))),
              "a rectangle inside the image of " + std::to_string(image.Width()) + " by " +
                  std::to_string(image.Height()) + " pixels, sides at least " + std::to_string(nLatticeSideLow)}});
    return {image.Row(part.top) + part.left, part.Width(), part.Height(), image.Stride()};
}

LatticeSearch FindLattice(const py::handle& image, const py::handle& region)
{
    const ImageArgument pixels = Translated(Fault::Image, [&] { return ImageArgument(image, "image"); });
    return Translated(Fault::Argument,
                      [&]
                      {
                          const GreyImage part = LatticePart(pixels.View(), RegionOrAll(region, pixels.View()));
                          return Unlocked([&] { return SearchLattice(part); });
                      });
}

CheckedRecipe MakeRecipeOfLattice(const py::handle& image, const LatticeSearch& lattice, const py::handle& region)
{
    const ImageArgument pixels = Translated(Fault::Image, [&] { return ImageArgument(image, "image"); });
    return Translated(Fault::Argument,
                      [&]
                      {
                          if (lattice.lattice.vectors.empty())
                              throw HostError({{"lattice", "not found", "an image whose pattern repeats"}});
                          const CRect part = RegionOrAll(region, pixels.View());
                          LatticePart(pixels.View(), part);
                          return Unlocked([&] { return MakeLatticeRecipe(pixels.View(), part, lattice); });
                      });
}

std::string AxisText(const AxisPitch& axis)
{
    return axis.found ? FormatNumber(axis.sixteenths / 16.0) : "none";
}

} // namespace

void BindPitch(py::module_& module)
{
    py::class_<AxisPitch>(module, "AxisPitch", py::is_final(), "What search_pitch() found along one axis.")
        .def_readonly("found", &AxisPitch::found, "Whether there is a period.")
        .def_readonly("measured", &AxisPitch::pitch, "The period as measured, pixels.")
        .def_property_readonly(
            "pitch", [](const AxisPitch& axis) { return axis.sixteenths / 16.0; },
            "The period to the nearest 1/16 pixel, the engine's own unit: what a recipe takes. Pixels.")
        .def_readonly("periods", &AxisPitch::periods, "Periods that the measured length spans.")
        .def_readonly("confidence", &AxisPitch::confidence,
                      "Least correlation of the image with itself at one, two and three pitches, 0 to 1.")
        .def_property_readonly(
            "runner_up",
            [](const AxisPitch& axis) -> py::object
            {
                if (axis.runnerUp.strength <= 0.0)
                    return py::none();
                return py::make_tuple(axis.runnerUp.pitch, axis.runnerUp.strength);
            },
            "The strongest other period that is no multiple, as (pixels, correlation), or None.")
        .def_property_readonly(
            "cost",
            [](const AxisPitch& axis)
            { return py::array_t<float>(static_cast<py::ssize_t>(axis.cost.size()), axis.cost.data()); },
            "Cost of displacements in steps of 1/16 pixel from 0 on: 0 the same, 1 unrelated, 2 the opposite.")
        .def("__repr__",
             [](const AxisPitch& axis) {
                 return "<narvoassem.AxisPitch: " + AxisText(axis) + ", confidence " + FormatNumber(axis.confidence) +
                        ">";
             });

    py::class_<PitchResult>(module, "PitchResult", py::is_final(), "What search_pitch() found.")
        .def_readonly("x", &PitchResult::x, "Along x.")
        .def_readonly("y", &PitchResult::y, "Along y.")
        .def_property_readonly(
            "found", [](const PitchResult& pitch) { return pitch.x.found || pitch.y.found; },
            "Whether there is a period along one axis or both.")
        .def("__repr__", [](const PitchResult& pitch)
             { return "<narvoassem.PitchResult: " + AxisText(pitch.x) + " by " + AxisText(pitch.y) + ">"; });

    py::class_<LatticeSearch>(module, "LatticeResult", py::is_final(), "What search_lattice() found.")
        .def_property_readonly(
            "vectors",
            [](const LatticeSearch& found)
            {
                py::list vectors;
                for (const LatticeVector& vector : found.lattice.vectors)
                    vectors.append(py::make_tuple(vector.x, vector.y));
                return vectors;
            },
            "The displacements at which the pattern repeats, one or two as (x, y) in pixels; empty: none was found.")
        .def_readonly("strength", &LatticeSearch::strength,
                      "Correlation of the image with itself one vector on, the lower of two.")
        .def_property_readonly(
            "found", [](const LatticeSearch& found) { return !found.lattice.vectors.empty(); },
            "Whether the pattern repeats.")
        .def("__repr__",
             [](const LatticeSearch& found)
             {
                 return "<narvoassem.LatticeResult: " +
                        (found.lattice.vectors.empty() ? "none" : LatticeText(found.lattice)) + ">";
             });

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
