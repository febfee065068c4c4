// SPDX-License-Identifier: MIT
// Recipes learnt from good images.
#include <string>
#include <vector>

#include <narvo/host_learn.h>

#include "python/bind.h"
#include "python/narvo_errors.h"
#include "python/notebook.h"
#include "python/picture_array.h"
#include "python/sealed_class.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

v1::LearnReport Learn(const py::handle& images, const py::handle& falseRate, const std::string& mode,
                      const std::string& name, const py::handle& threads)
{
    const v1::Settings settings = {{"false_rate", ToSetting(falseRate)}, {"threads", ToWholeSetting(threads)}};
    const std::vector<v1::NamedPicture> good = Translated(Fault::Image, [&] { return GoodPictures(images); });
    return Translated(Fault::Argument,
                      [&] { return Unlocked([&] { return v1::LearnFromImages(good, mode, settings, name); }); });
}

py::list TextsOf(const std::vector<std::string>& texts)
{
    py::list list;
    for (const std::string& text : texts)
        list.append(ToText(text));
    return list;
}

} // namespace

void BindLearn(py::module_& module)
{
    py::class_<v1::LearnReport>(module, "LearnResult", py::is_final(), "What learn() made of good images.")
        .def_property_readonly(
            "recipe", [](const v1::LearnReport& result) { return ToPythonRecipe(*result.recipe); }, "The recipe.")
        .def_property_readonly(
            "reasons", [](const v1::LearnReport& result) { return TextsOf(result.reasons); },
            "Sentences: why the recipe is as it is, and what to expect of it.")
        .def_property_readonly(
            "warnings", [](const v1::LearnReport& result) { return TextsOf(result.warnings); },
            "Sentences: where images disagree, or are too few.")
        .def_readonly("false_blobs", &v1::LearnReport::falseBlobs,
                      "False blobs on images whose limits were learnt without them.")
        .def_readonly("false_bound", &v1::LearnReport::falseBound,
                      "False blobs an image: upper bound at 95 % confidence.")
        .def_property_readonly(
            "images",
            [](const v1::LearnReport& result)
            {
                py::list images;
                for (const v1::LearntImage& image : result.images)
                    images.append(py::dict(py::arg("width") = image.width, py::arg("height") = image.height,
                                           py::arg("area") = image.area, py::arg("level") = image.level,
                                           py::arg("contrast") = image.contrast, py::arg("score") = image.score,
                                           py::arg("false_blobs") = image.falseBlobs));
                return images;
            },
            "One dict for each image: width and height in pixels; area, the share that shows pattern; level and "
            "contrast, mean and standard deviation of grey there; score, the highest by limits learnt without the "
            "image, where 1 is the limit; false_blobs.")
        .def_property_readonly(
            "candidates",
            [](const v1::LearnReport& result)
            {
                py::list candidates;
                for (const v1::LearntWay& candidate : result.ways)
                    candidates.append(py::dict(py::arg("description") = candidate.description,
                                               py::arg("found") = candidate.found,
                                               py::arg("chosen") = candidate.chosen));
                return candidates;
            },
            "One dict for each way of inspecting that was tried: description; found, the share of the planted spots; "
            "chosen.")
        .def_property_readonly(
            "spots",
            [](const v1::LearnReport& result)
            {
                py::list spots;
                for (const v1::LearntSpots& kind : result.spots)
                    spots.append(py::dict(py::arg("side") = kind.side, py::arg("contrast") = kind.contrast,
                                          py::arg("planted") = kind.planted, py::arg("found") = kind.found));
                return spots;
            },
            "One dict for each kind of spot that was planted in good images: side in pixels, contrast in grey levels, "
            "planted, found.");
    SealUnconstructed(module.attr("LearnResult"));
    ShowInNotebooks(module.attr("LearnResult"), "learn_html");

    module.def("learn", &Learn, py::arg("images"), py::kw_only(), py::arg("false_rate") = 0.1, py::arg("mode") = "auto",
               py::arg("name") = "", py::arg("threads") = 1,
               "Make a recipe from good images.\n\nimages is one image or a sequence of them, without defects; six or "
               "more from different times are better than one. Images of shape (rows, columns, 3) are learnt from and "
               "inspected channel by channel. false_rate is how many false blobs an image the limits "
               "aim at, 0.001 to 10. mode is \"texture\" for recipes without a period, \"periodic\" for a comparison "
               "at the pattern's pitch, \"lattice\" for one with lattice neighbours, or \"auto\" for whichever finds "
               "more of the spots planted for a trial. The "
               "number of threads changes nothing in the result. Raises ImageError or ArgumentError.");
}

} // namespace narvo::python
