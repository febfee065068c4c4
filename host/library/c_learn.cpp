// SPDX-License-Identifier: MIT
// The C interface: learning from good images.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/library/c_arrays.h"
#include "host/library/c_call.h"
#include "narvo/host_learn.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::DefectiveImage;
using narvo::v1::LearnReport;
using narvo::v1::LearntImage;
using narvo::v1::NamedImage;
using narvo::v1::Recipe;

namespace
{

/// Images with the names that the caller gives them, or with `kind` and a number.
std::vector<NamedImage> NamedImages(const narvo_image* images, const char* const* names, std::int64_t count,
                                    const std::string& kind)
{
    std::vector<NamedImage> named;
    ReadArray(images, count, kind,
              [&](const narvo_image* image, const std::string& place)
              {
                  std::string name = NameAt(names, named.size(), kind);
                  named.push_back({std::move(name), PixelsOf(image, place.c_str())});
              });
    return named;
}

std::vector<DefectiveImage> DefectiveImages(const narvo_learn_input& input)
{
    std::vector<DefectiveImage> made;
    for (NamedImage& image : NamedImages(input.defective, input.defective_names, input.defective_count, "defective"))
        made.push_back({std::move(image), false, {}});
    if (input.box_counts == nullptr)
        return made;
    std::int64_t boxes = 0;
    for (std::size_t i = 0; i < made.size(); ++i)
    {
        CheckCount(input.box_counts[i], -1, nArrayLimit, "box_counts[" + std::to_string(i) + ']');
        made[i].known = input.box_counts[i] >= 0;
        boxes += made[i].known ? input.box_counts[i] : 0;
    }
    std::size_t image = 0;
    ReadArray(input.boxes, boxes, "boxes",
              [&](const narvo_box* place, const std::string& name)
              {
                  const auto isFull = [&] {
                      return !made[image].known ||
                             made[image].defects.size() == static_cast<std::size_t>(input.box_counts[image]);
                  };
                  while (isFull())
                      ++image;
                  const narvo_box box = ReadRecord(place, name);
                  made[image].defects.push_back({box.left, box.top, box.right, box.bottom});
              });
    return made;
}

narvo_learnt_image RecordOf(const LearntImage& image)
{
    narvo_learnt_image record = {};
    record.width = image.width;
    record.height = image.height;
    record.false_defects = static_cast<std::int64_t>(image.falseBlobs);
    record.area = image.area;
    record.level = image.level;
    record.contrast = image.contrast;
    record.score = image.score;
    return record;
}

} // namespace

std::int32_t narvo_learn(const narvo_learn_input* input, narvo_learning** learning)
{
    return HandOut(LearningHandles(), learning, "learning",
                   [&]
                   {
                       const narvo_learn_input given = ReadRecord(input, "input");
                       CheckCount(given.good_count, 1, nGoodLimit, "good_count");
                       CheckCount(given.defective_count, 0, nGoodLimit, "defective_count");
                       return std::make_shared<LearnReport>(LearnRecipe(
                           NamedImages(given.good, given.good_names, given.good_count, "good"),
                           given.mode == nullptr ? "auto" : given.mode, SettingsOf(given.settings, given.setting_count),
                           DefectiveImages(given), ProgressOf(given.progress, given.context)));
                   });
}

std::int32_t narvo_learn_from_pictures(const narvo_picture* const* good, const char* const* good_names,
                                       std::int64_t count, const char* mode, const narvo_setting* settings,
                                       std::int64_t setting_count, const char* recipe_name, narvo_on_progress progress,
                                       void* context, narvo_learning** learning)
{
    return HandOut(LearningHandles(), learning, "learning",
                   [&]
                   {
                       return std::make_shared<LearnReport>(
                           LearnFromImages(NamedPictures(good, good_names, count, "count"),
                                           mode == nullptr ? "auto" : mode, SettingsOf(settings, setting_count),
                                           recipe_name == nullptr ? "" : recipe_name, ProgressOf(progress, context)));
                   });
}

std::int32_t narvo_learning_recipe(const narvo_learning* learning, narvo_recipe** recipe)
{
    return HandOut(RecipeHandles(), recipe, "recipe",
                   [&] { return std::make_shared<Recipe>(*LearningHandles().Find(learning, "learning")->recipe); });
}

std::int32_t narvo_learning_get(const narvo_learning* learning, narvo_learnt* learnt)
{
    return Guarded(
        [&]
        {
            const std::uint32_t size = SizeOf(learnt, "learnt");
            const auto object = LearningHandles().Find(learning, "learning");
            narvo_learnt record = {};
            record.reason_count = static_cast<std::int64_t>(object->reasons.size());
            record.warning_count = static_cast<std::int64_t>(object->warnings.size());
            record.false_defects = static_cast<std::int64_t>(object->falseBlobs);
            record.false_bound = object->falseBound;
            WriteRecord(learnt, size, record);
        });
}

std::int32_t narvo_learning_images(const narvo_learning* learning, std::uint32_t record_size,
                                   narvo_learnt_image* images, std::int64_t capacity, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            CheckRecordSize<narvo_learnt_image>(record_size, "record_size");
            CheckRoom(images, "images", capacity);
            const auto object = LearningHandles().Find(learning, "learning");
            FillArray(object->images, images, record_size, capacity, count,
                      [](const LearntImage& image) { return RecordOf(image); });
        });
}

std::int32_t narvo_learning_reason(const narvo_learning* learning, std::int64_t index, const char** text)
{
    return HandOutText(text,
                       [&]
                       {
                           const auto object = LearningHandles().Find(learning, "learning");
                           return ElementAt(object->reasons, index, "index").c_str();
                       });
}

std::int32_t narvo_learning_warning(const narvo_learning* learning, std::int64_t index, const char** text)
{
    return HandOutText(text,
                       [&]
                       {
                           const auto object = LearningHandles().Find(learning, "learning");
                           return ElementAt(object->warnings, index, "index").c_str();
                       });
}

std::int32_t narvo_learning_free(narvo_learning* learning)
{
    return GuardedQuietly([&] { LearningHandles().Remove(learning, "learning"); });
}
