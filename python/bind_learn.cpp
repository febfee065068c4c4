// SPDX-License-Identifier: MIT
// Recipes learnt from good images.
#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "host/learn/learn.h"
#include "python/bind.h"
#include "python/good_images.h"
#include "python/narvo_errors.h"
#include "python/notebook.h"
#include "python/sealed_class.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

int ModeOf(const std::string& word)
{
    if (word == "auto")
        return LearnMode_Auto;
    if (word == "texture")
        return LearnMode_Texture;
    if (word == "periodic")
        return LearnMode_Periodic;
    if (word == "lattice")
        return LearnMode_Lattice;
    throw HostError({{"mode", "\"" + word + "\"", "auto, texture, periodic or lattice"}});
}

LearnResult Learn(const py::handle& images, double falseRate, const std::string& mode, const std::string& name,
                  int threads)
{
    const std::vector<BatchImage> good = Translated(Fault::Image, [&] { return GoodImages(images); });
    return Translated(Fault::Argument,
                      [&]
                      {
                          LearnSettings settings;
                          settings.mode = ModeOf(mode);
                          settings.falseRate = falseRate;
                          settings.name = name;
                          CheckThreads(threads);
                          const auto coloured = std::count_if(good.begin(), good.end(),
                                                              [](const BatchImage& image)
                                                              { return image.load()->Channels() != nullptr; });
                          if (coloured != 0 && coloured != static_cast<std::ptrdiff_t>(good.size()))
                              throw HostError({{"images", "some grey, some in colours", "all of one kind"}});
                          settings.eachChannel = coloured != 0;
                          LearnResult result = Unlocked([&] { return LearnRecipe(good, settings, threads); });
                          if (settings.eachChannel)
                              result.recipe.channel = Channel_Each;
                          return result;
                      });
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
    py::class_<LearnResult>(module, "LearnResult", py::is_final(), "What learn() made of good images.")
        .def_property_readonly(
            "recipe", [](const LearnResult& result) { return CheckedRecipe(result.recipe); }, "The recipe.")
        .def_property_readonly(
            "reasons", [](const LearnResult& result) { return TextsOf(result.reasons); },
            "Sentences: why the recipe is as it is, and what to expect of it.")
        .def_property_readonly(
            "warnings", [](const LearnResult& result) { return TextsOf(result.warnings); },
            "Sentences: where images disagree, or are too few.")
        .def_readonly("false_blobs", &LearnResult::falseBlobs,
                      "False blobs on images whose limits were learnt without them.")
        .def_readonly("false_bound", &LearnResult::falseBound, "False blobs an image: upper bound at 95 % confidence.")
        .def_property_readonly(
            "images",
            [](const LearnResult& result)
            {
                py::list images;
                for (const LearnImage& image : result.images)
                    images.append(py::dict(py::arg("width") = image.width, py::arg("height") = image.height,
                                           py::arg("area") = image.area, py::arg("level") = image.level,
                                           py::arg("contrast") = image.contrast, py::arg("score") = image.highest,
                                           py::arg("false_blobs") = image.falseBlobs));
                return images;
            },
            "One dict for each image: width and height in pixels; area, the share that shows pattern; level and "
            "contrast, mean and standard deviation of grey there; score, the highest by limits learnt without the "
            "image, where 1 is the limit; false_blobs.")
        .def_property_readonly(
            "candidates",
            [](const LearnResult& result)
            {
                py::list candidates;
                for (const LearnCandidate& candidate : result.candidates)
                    candidates.append(py::dict(py::arg("description") = candidate.description,
                                               py::arg("found") = candidate.found,
                                               py::arg("chosen") = candidate.chosen));
                return candidates;
            },
            "One dict for each way of inspecting that was tried: description; found, the share of the planted spots; "
            "chosen.")
        .def_property_readonly(
            "spots",
            [](const LearnResult& result)
            {
                py::list spots;
                for (const LearnSpots& kind : result.spots)
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
