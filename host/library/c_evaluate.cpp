// SPDX-License-Identifier: MIT
// The C interface: how well known defects are found.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/library/c_arrays.h"
#include "host/library/c_call.h"
#include "host/library/c_records.h"
#include "narvo/host_evaluate.h"
#include "narvo/narvo_c.h"

namespace narvo::library
{

/// The images of a set, and the names of their files as the caller reads them.
struct SetObject
{
    struct Names
    {
        std::string file;
        std::string reference;
        std::string mask;
    };

    explicit SetObject(v1::EvaluationSet read) : set(std::move(read))
    {
        for (const v1::LabelledImage& image : set.images)
            names.push_back({image.file.string(), image.reference.string(), image.mask.string()});
    }

    v1::EvaluationSet set;
    std::vector<Names> names;
};

} // namespace narvo::library

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::Evaluation;
using narvo::v1::ImageTruth;
using narvo::v1::LabelledImage;
using narvo::v1::TrueBox;

namespace
{

narvo_true_box RecordOf(const TrueBox& box)
{
    return {0, box.box.left, box.box.top, box.box.right, box.box.bottom, 0, box.kind.c_str()};
}

/// Hands out the truth that `make` returns.
template <typename Make>
std::int32_t HandOutTruth(narvo_truth** truth, const Make& make)
{
    return HandOut(TruthHandles(), truth, "truth", [&] { return std::make_shared<TruthObject>(make()); });
}

/// Calls `add` with the evaluation and the truth.
template <typename Add>
std::int32_t AddMeasure(narvo_evaluation* evaluation, const char* name, const narvo_truth* truth, const Add& add)
{
    return Guarded(
        [&]
        {
            const auto object = EvaluationHandles().Find(evaluation, "evaluation");
            Given(name, "name");
            const auto known = TruthHandles().Find(truth, "truth");
            add(*object, known->truth);
        });
}

} // namespace

std::int32_t narvo_image_set_read(const char* folder, narvo_image_set** set)
{
    return HandOut(SetHandles(), set, "set",
                   [&] { return std::make_shared<SetObject>(narvo::v1::ReadEvaluationSet(Given(folder, "folder"))); });
}

std::int32_t narvo_image_set_images(const narvo_image_set* set, std::uint32_t record_size, narvo_set_image* images,
                                    std::int64_t capacity, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            CheckRecordSize<narvo_set_image>(record_size, "record_size");
            CheckRoom(images, "images", capacity);
            const auto object = SetHandles().Find(set, "set");
            std::vector<narvo_set_image> records;
            for (std::size_t i = 0; i < object->names.size(); ++i)
            {
                const LabelledImage& image = object->set.images[i];
                const SetObject::Names& names = object->names[i];
                records.push_back({0, image.defective ? 1 : 0, image.name.c_str(), names.file.c_str(),
                                   names.reference.c_str(), names.mask.c_str()});
            }
            FillArray(records, images, record_size, capacity, count, [](const narvo_set_image& each) { return each; });
        });
}

std::int32_t narvo_image_set_free(narvo_image_set* set)
{
    return GuardedQuietly([&] { SetHandles().Remove(set, "set"); });
}

std::int32_t narvo_truth_of_set(const narvo_image_set* set, std::int64_t index, std::int64_t max_pixels,
                                narvo_truth** truth)
{
    return HandOutTruth(truth,
                        [&]
                        {
                            const auto object = SetHandles().Find(set, "set");
                            CheckCount(max_pixels, 0, narvo::v1::HighestMaxPixels, "max_pixels");
                            return ImageTruth::OfLabelled(ElementAt(object->set.images, index, "index"),
                                                          max_pixels == 0 ? narvo::v1::DefaultMaxPixels : max_pixels);
                        });
}

std::int32_t narvo_truth_of_boxes(const narvo_true_box* boxes, std::int64_t count, std::int32_t width,
                                  std::int32_t height, narvo_truth** truth)
{
    return HandOutTruth(truth,
                        [&]
                        {
                            CheckCount(count, 0, nArrayLimit, "count");
                            std::vector<TrueBox> made;
                            ReadArray(boxes, count, "boxes",
                                      [&](const narvo_true_box* place, const std::string& name)
                                      {
                                          const narvo_true_box box = ReadRecord(place, name);
                                          made.push_back({Given(box.kind, (name + ".kind").c_str()),
                                                          {box.left, box.top, box.right, box.bottom}});
                                      });
                            return ImageTruth::OfBoxes(made, width, height);
                        });
}

std::int32_t narvo_truth_of_mask(const narvo_image* mask, const char* kind, narvo_truth** truth)
{
    return HandOutTruth(truth, [&]
                        { return ImageTruth::OfMask(PixelsOf(mask, "mask"), kind == nullptr ? "defective" : kind); });
}

std::int32_t narvo_truth_of_defective(narvo_truth** truth)
{
    return HandOutTruth(truth, [] { return ImageTruth::Defective(); });
}

std::int32_t narvo_truth_get(const narvo_truth* truth, std::int32_t* defective)
{
    return Guarded(
        [&]
        {
            Given(defective, "defective");
            *defective = TruthHandles().Find(truth, "truth")->truth.IsDefective() ? 1 : 0;
        });
}

std::int32_t narvo_truth_boxes(const narvo_truth* truth, std::uint32_t record_size, narvo_true_box* boxes,
                               std::int64_t capacity, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            CheckRecordSize<narvo_true_box>(record_size, "record_size");
            CheckRoom(boxes, "boxes", capacity);
            const auto object = TruthHandles().Find(truth, "truth");
            FillArray(object->boxes, boxes, record_size, capacity, count,
                      [](const TrueBox& each) { return RecordOf(each); });
        });
}

std::int32_t narvo_truth_free(narvo_truth* truth)
{
    return GuardedQuietly([&] { TruthHandles().Remove(truth, "truth"); });
}

std::int32_t narvo_evaluation_create(const narvo_setting* settings, std::int64_t setting_count, std::int32_t lanes,
                                     narvo_evaluation** evaluation)
{
    return HandOut(EvaluationHandles(), evaluation, "evaluation",
                   [&] { return std::make_shared<Evaluation>(SettingsOf(settings, setting_count), lanes); });
}

std::int32_t narvo_evaluation_measure(narvo_evaluation* evaluation, const char* name, const narvo_picture* picture,
                                      const narvo_recipe* recipe, const narvo_truth* truth)
{
    return AddMeasure(evaluation, name, truth,
                      [&](Evaluation& own, const ImageTruth& known)
                      {
                          const auto image = PictureHandles().Find(picture, "picture");
                          const auto rules = RecipeHandles().Find(recipe, "recipe");
                          own.Measure(name, image->image, *rules, known);
                      });
}

std::int32_t narvo_evaluation_measure_golden(narvo_evaluation* evaluation, const char* name,
                                             const narvo_picture* picture, const narvo_golden* golden,
                                             const narvo_truth* truth)
{
    return AddMeasure(evaluation, name, truth,
                      [&](Evaluation& own, const ImageTruth& known)
                      {
                          const auto image = PictureHandles().Find(picture, "picture");
                          const auto model = GoldenHandles().Find(golden, "golden");
                          own.Measure(name, image->image, model->model, known);
                      });
}

std::int32_t narvo_evaluation_measure_scores(narvo_evaluation* evaluation, const char* name, const float* scores,
                                             std::int32_t width, std::int32_t height, const narvo_truth* truth)
{
    return AddMeasure(evaluation, name, truth,
                      [&](Evaluation& own, const ImageTruth& known) {
                          own.Measure(name, narvo::v1::ScoreMap{scores, width, height}, known);
                      });
}

std::int32_t narvo_evaluation_refuse(narvo_evaluation* evaluation, const char* name, const narvo_problem* problems,
                                     std::int64_t count, const narvo_truth* truth)
{
    return AddMeasure(evaluation, name, truth,
                      [&](Evaluation& own, const ImageTruth& known)
                      {
                          CheckCount(count, 1, nArrayLimit, "count");
                          std::vector<narvo::v1::Problem> made;
                          ReadArray(problems, count, "problems",
                                    [&](const narvo_problem* given, const std::string& place)
                                    {
                                        const narvo_problem problem = ReadRecord(given, place);
                                        made.push_back({Given(problem.field, (place + ".field").c_str()),
                                                        Given(problem.value, (place + ".value").c_str()),
                                                        Given(problem.allowed, (place + ".allowed").c_str())});
                                    });
                          own.Refuse(name, made, known);
                      });
}

std::int32_t narvo_evaluation_images(const narvo_evaluation* evaluation, std::int64_t* count)
{
    return Guarded(
        [&]
        {
            Given(count, "count");
            *count = static_cast<std::int64_t>(EvaluationHandles().Find(evaluation, "evaluation")->Images());
        });
}

std::int32_t narvo_evaluation_report(const narvo_evaluation* evaluation, narvo_findings** findings)
{
    return HandOut(FindingsHandles(), findings, "findings",
                   [&]
                   {
                       const auto object = EvaluationHandles().Find(evaluation, "evaluation");
                       auto found = std::make_shared<FindingsObject>();
                       found->text = object->Report(found->json).text;
                       return found;
                   });
}

std::int32_t narvo_evaluation_free(narvo_evaluation* evaluation)
{
    return GuardedQuietly([&] { EvaluationHandles().Remove(evaluation, "evaluation"); });
}
