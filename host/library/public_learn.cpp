// SPDX-License-Identifier: MIT
// Learning from good images in the public form.
#include "narvo/host_learn.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/learn/learn.h"
#include "host/library/image_parts.h"
#include "host/library/named_settings.h"
#include "host/library/public_progress.h"
#include "host/library/recipe_parts.h"
#include "host/library/translate.h"
#include "host/limits.h"

namespace narvo::v1
{

namespace
{

int LayerMode(const std::string& mode)
{
    if (mode == "auto")
        return LearnMode_Auto;
    if (mode == "texture")
        return LearnMode_Texture;
    if (mode == "periodic")
        return LearnMode_Periodic;
    if (mode == "lattice")
        return LearnMode_Lattice;
    throw HostError({{"mode", "\"" + mode + "\"", "auto, texture, periodic or lattice"}});
}

std::vector<narvo::Problem> CheckThreads(int threads)
{
    if (threads >= 1 && threads <= nLaneLimit)
        return {};
    return {{"threads", std::to_string(threads), "1 to " + std::to_string(nLaneLimit)}};
}

/// @return how many threads
int TakeLearnSettings(const Settings& settings, LearnSettings& learn)
{
    int threads = 1;
    library::TakeSettings(settings, {{"false_rate", &learn.falseRate}, {"threads", &threads}},
                          [&] { return CheckThreads(threads); });
    ThrowIfAny(CheckThreads(threads));
    return threads;
}

/// The image, copied once; `argument` names it in problems.
BatchImage LayerImage(const NamedImage& image, const std::string& argument)
{
    auto copy = std::make_shared<const GreyImage>(library::GreyCopy(image.pixels, argument));
    return {image.name, [copy] { return copy; }};
}

LearnDefective LayerDefective(const DefectiveImage& defective, const std::string& argument)
{
    LearnDefective made{LayerImage(defective.image, argument), std::nullopt};
    if (!defective.known)
        return made;
    made.defects.emplace();
    const ImagePixels& pixels = defective.image.pixels;
    for (std::size_t i = 0; i < defective.defects.size(); ++i)
    {
        const Box& box = defective.defects[i];
        if (box.left < 0 || box.top < 0 || box.right > pixels.width || box.bottom > pixels.height ||
            box.left >= box.right || box.top >= box.bottom)
            throw HostError({{argument + ".defects[" + std::to_string(i) + "]",
                              std::to_string(box.left) + ", " + std::to_string(box.top) + ", " +
                                  std::to_string(box.right) + ", " + std::to_string(box.bottom),
                              "a box of one pixel or more inside the image of " + std::to_string(pixels.width) +
                                  " by " + std::to_string(pixels.height) + " pixels"}});
        made.defects->emplace_back(box.left, box.top, box.right, box.bottom);
    }
    return made;
}

OnLearning LayerProgress(const OnProgress& progress)
{
    if (!progress)
        return {};
    return [&progress](const char* step, std::size_t imagesRead) { library::Tell(progress, step, imagesRead, 0); };
}

LearnReport PublicLearning(narvo::LearnResult result)
{
    LearnReport report;
    report.recipe = library::MakeRecipe({CheckedRecipe(std::move(result.recipe))});
    report.reasons = std::move(result.reasons);
    report.warnings = std::move(result.warnings);
    for (LearnImage& image : result.images)
        report.images.push_back({std::move(image.name), image.area, image.level, image.contrast, image.highest,
                                 image.falseBlobs, image.width, image.height});
    for (LearnCandidate& way : result.candidates)
        report.ways.push_back({std::move(way.description), way.found, way.defectsFound, way.chosen});
    for (LearnFinds& finds : result.finds)
        report.finds.push_back(
            {std::move(finds.name), finds.blobs, finds.known, finds.defects, finds.found, finds.falseBlobs});
    report.falseBlobs = result.falseBlobs;
    report.falseBound = result.falseBound;
    for (const LearnSpots& spots : result.spots)
        report.spots.push_back({spots.side, spots.contrast, spots.planted, spots.found});
    return report;
}

} // namespace

LearnReport LearnRecipe(const std::vector<NamedImage>& good, const std::string& mode, const Settings& settings,
                        const std::vector<DefectiveImage>& defective)
{
    return LearnRecipe(good, mode, settings, defective, {});
}

LearnReport LearnRecipe(const std::vector<NamedImage>& good, const std::string& mode, const Settings& settings,
                        const std::vector<DefectiveImage>& defective, const OnProgress& progress)
{
    return library::Translated(
        [&]
        {
            LearnSettings learn;
            const int threads = TakeLearnSettings(settings, learn);
            learn.mode = LayerMode(mode);
            std::vector<BatchImage> images;
            for (std::size_t i = 0; i < good.size(); ++i)
                images.push_back(LayerImage(good[i], "good[" + std::to_string(i) + "]"));
            std::vector<LearnDefective> bad;
            for (std::size_t i = 0; i < defective.size(); ++i)
                bad.push_back(LayerDefective(defective[i], "defective[" + std::to_string(i) + "]"));
            return PublicLearning(narvo::LearnRecipe(images, learn, threads, bad, LayerProgress(progress)));
        });
}

LearnReport LearnFromImages(const std::vector<NamedPicture>& good, const std::string& mode, const Settings& settings,
                            const std::string& name)
{
    return LearnFromImages(good, mode, settings, name, {});
}

LearnReport LearnFromImages(const std::vector<NamedPicture>& good, const std::string& mode, const Settings& settings,
                            const std::string& name, const OnProgress& progress)
{
    return library::Translated(
        [&]
        {
            LearnSettings learn;
            learn.mode = LayerMode(mode);
            learn.name = name;
            const int threads = TakeLearnSettings(settings, learn);
            const auto coloured = std::count_if(
                good.begin(), good.end(), [](const NamedPicture& picture) { return picture.image.Channels() > 1; });
            if (coloured != 0 && coloured != static_cast<std::ptrdiff_t>(good.size()))
                throw HostError({{"images", "some grey, some in colours", "all of one kind"}});
            learn.eachChannel = coloured != 0;
            std::vector<BatchImage> images;
            for (const NamedPicture& picture : good)
                images.push_back({picture.name, [image = picture.image.GetContent().image] { return image; }});
            narvo::LearnResult result = narvo::LearnRecipe(images, learn, threads, {}, LayerProgress(progress));
            if (learn.eachChannel)
                result.recipe.channel = Channel_Each;
            return PublicLearning(std::move(result));
        });
}

} // namespace narvo::v1
