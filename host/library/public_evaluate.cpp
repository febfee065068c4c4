// SPDX-License-Identifier: MIT
// Evaluation in the public form.
#include "narvo/host_evaluate.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/evaluate/baselines.h"
#include "host/evaluate/evaluation.h"
#include "host/evaluate/golden_scores.h"
#include "host/evaluate/set_truth.h"
#include "host/image/cv_image.h"
#include "host/library/golden_parts.h"
#include "host/library/image_parts.h"
#include "host/library/lane_set.h"
#include "host/library/named_settings.h"
#include "host/library/public_report.h"
#include "host/library/recipe_parts.h"
#include "host/library/translate.h"
#include "host/limits.h"

namespace narvo::v1
{

struct ImageTruth::Content
{
    narvo::ImageTruth truth;
};

namespace
{

ImageTruth MakeTruth(narvo::ImageTruth truth)
{
    return ImageTruth(std::make_shared<const ImageTruth::Content>(ImageTruth::Content{std::move(truth)}));
}

narvo::TrueBox LayerBox(const TrueBox& box)
{
    return {box.kind, library::LayerRect(box.box)};
}

LabelledImage PublicLabelled(narvo::SetImage image)
{
    LabelledImage made{
        std::move(image.name), std::move(image.file), std::move(image.reference), std::move(image.mask), {},
        image.defective,       std::move(image.kind)};
    for (narvo::TrueBox& box : image.boxes)
        made.boxes.push_back({std::move(box.kind), library::PublicBox(box.box)});
    return made;
}

narvo::SetImage LayerLabelled(const LabelledImage& image)
{
    narvo::SetImage made{image.name, image.file, image.reference, image.mask, {}, image.defective, image.kind};
    for (const TrueBox& box : image.boxes)
        made.boxes.push_back(LayerBox(box));
    return made;
}

/// All that is wrong with the size of an image.
std::vector<narvo::Problem> CheckImageSize(int width, int height, const std::string& name)
{
    std::vector<narvo::Problem> found;
    for (const auto& [side, pixels] : {std::pair("width", width), std::pair("height", height)})
        if (pixels < 1 || pixels > nImageSideLimit)
            found.push_back({name + side, std::to_string(pixels), "1 to " + std::to_string(nImageSideLimit)});
    if (found.empty() && static_cast<std::int64_t>(width) * height > HighestMaxPixels)
        found.push_back({name + "width", std::to_string(width) + " by " + std::to_string(height) + " pixels",
                         "at most " + std::to_string(HighestMaxPixels) + " pixels"});
    return found;
}

/// Everything that is wrong with boxes, which cuts of them would overflow without.
std::vector<narvo::Problem> CheckBoxes(const std::vector<TrueBox>& boxes)
{
    constexpr int nFarthest = 1000000000;
    std::vector<narvo::Problem> found;
    for (std::size_t i = 0; i < boxes.size(); ++i)
    {
        const Box& box = boxes[i].box;
        const auto [low, high] = std::minmax({box.left, box.top, box.right, box.bottom});
        if (low < -nFarthest || high > nFarthest || box.left >= box.right || box.top >= box.bottom)
            found.push_back({"boxes[" + std::to_string(i) + "]",
                             std::to_string(box.left) + ", " + std::to_string(box.top) + ", " +
                                 std::to_string(box.right) + ", " + std::to_string(box.bottom),
                             "left below right and top below bottom, each from -1000000000 to 1000000000"});
    }
    return found;
}

EvaluationFigure PublicFigure(const Figure& figure)
{
    return {figure.value, figure.low, figure.high};
}

std::vector<EvaluationPoint> PublicCurve(const std::vector<narvo::CurvePoint>& curve)
{
    std::vector<EvaluationPoint> made;
    made.reserve(curve.size());
    for (const narvo::CurvePoint& point : curve)
        made.push_back({point.x, point.y});
    return made;
}

EvaluationReport PublicEvaluation(const MethodResult& result)
{
    EvaluationReport made;
    made.imageAuroc = PublicFigure(result.imageAuroc);
    made.pixelAuroc = PublicFigure(result.pixelAuroc);
    made.regionOverlap = PublicFigure(result.regionOverlap);
    made.imageF1 = PublicFigure(result.imageF1);
    made.found = PublicFigure(result.found);
    made.falseAnImage = PublicFigure(result.falseAnImage);
    made.bestImageF1 = result.bestImageF1;
    made.bestPixelF1 = result.bestPixelF1;
    for (const auto& [kind, count] : result.kinds)
        made.kinds.push_back({kind, static_cast<std::size_t>(count.regions), static_cast<std::size_t>(count.found)});
    made.imageCurve = PublicCurve(result.imageCurve);
    made.overlapCurve = PublicCurve(result.overlapCurve);
    for (const narvo::FactorPoint& point : result.factors)
        made.factors.push_back(
            {point.factor, point.found < 0.0 ? std::nullopt : std::optional(point.found), point.falseAnImage});
    for (const narvo::EvaluatedImage& image : result.images)
        made.images.push_back({image.name, image.defective, image.score, static_cast<std::size_t>(image.regions),
                               static_cast<std::size_t>(image.found), static_cast<std::size_t>(image.falseBlobs),
                               library::PublicProblems(image.problems)});
    made.refused = static_cast<std::size_t>(result.refused);
    made.text = MethodText(result);
    return made;
}

std::vector<narvo::Problem> CheckRules(const ScoringRules& rules)
{
    std::vector<narvo::Problem> found;
    const auto check = [&](const char* name, int value, int low, int high, const char* otherwise = "")
    {
        if (value < low || value > high)
            found.push_back({name, std::to_string(value),
                             std::to_string(low) + " to " + std::to_string(high) + " pixels" + otherwise});
    };
    check("margin", rules.margin, 0, 1000);
    check("smallest", rules.smallest, 1, 1000000);
    if (rules.patch != 0)
        check("patch", rules.patch, 16, 65536, ", or 0: whole images");
    return found;
}

ScoringRules LayerRules(const Settings& settings)
{
    ScoringRules rules;
    library::TakeSettings(settings, {{"margin", &rules.margin}, {"smallest", &rules.smallest}, {"patch", &rules.patch}},
                          [&] { return CheckRules(rules); });
    ThrowIfAny(CheckRules(rules));
    return rules;
}

ImageScores LayerScores(const ScoreMap& map)
{
    std::vector<narvo::Problem> found = CheckImageSize(map.width, map.height, "scores.");
    if (map.scores == nullptr)
        found.push_back({"scores.scores", "null", "the scores of the upper left pixel and all behind it"});
    ThrowIfAny(std::move(found));
    ImageScores made;
    made.scores.width = map.width;
    made.scores.height = map.height;
    const std::size_t count = static_cast<std::size_t>(map.width) * static_cast<std::size_t>(map.height);
    made.scores.values.assign(map.scores, map.scores + count);
    const auto wrong = std::find_if(made.scores.values.begin(), made.scores.values.end(),
                                    [](float score) { return !(score >= 0.0F) || std::isinf(score); });
    if (wrong != made.scores.values.end())
        throw HostError({{"scores[" + std::to_string(wrong - made.scores.values.begin()) + "]",
                          FormatNumber(static_cast<double>(*wrong)), "0 and more"}});
    made.blobs = BlobsOf(made.scores);
    return made;
}

} // namespace

EvaluationSet ReadEvaluationSet(const std::filesystem::path& folder)
{
    return library::Translated(
        [&]
        {
            narvo::EvaluationSet set = narvo::ReadEvaluationSet(folder);
            EvaluationSet made;
            made.layout = std::move(set.layout);
            made.images.reserve(set.images.size());
            for (narvo::SetImage& image : set.images)
                made.images.push_back(PublicLabelled(std::move(image)));
            return made;
        });
}

ImageTruth ImageTruth::OfBoxes(const std::vector<TrueBox>& boxes, int width, int height)
{
    return library::Translated(
        [&]
        {
            std::vector<narvo::Problem> found = CheckImageSize(width, height, "");
            const std::vector<narvo::Problem> wrong = CheckBoxes(boxes);
            found.insert(found.end(), wrong.begin(), wrong.end());
            ThrowIfAny(std::move(found));
            std::vector<narvo::TrueBox> made;
            made.reserve(boxes.size());
            for (const TrueBox& box : boxes)
                made.push_back(LayerBox(box));
            return MakeTruth(TruthOfBoxes(made, cv::Size(width, height)));
        });
}

ImageTruth ImageTruth::OfMask(const ImagePixels& mask, const std::string& kind)
{
    return library::Translated(
        [&]
        {
            const GreyImage copy = library::ExactCopy(mask, "mask");
            return MakeTruth(TruthOfMask(ViewOf(copy), kind));
        });
}

ImageTruth ImageTruth::Defective()
{
    narvo::ImageTruth truth;
    truth.defective = true;
    return MakeTruth(std::move(truth));
}

ImageTruth ImageTruth::OfLabelled(const LabelledImage& image, std::int64_t maxPixels)
{
    return library::Translated(
        [&]
        {
            CheckMaxImagePixels(maxPixels);
            ThrowIfAny(CheckBoxes(image.boxes));
            return MakeTruth(TruthOfSetImage(LayerLabelled(image), maxPixels));
        });
}

const ImageTruth::Content& ImageTruth::GetContent() const
{
    if (m_content == nullptr)
        throw Error({{"truth", "none", "one that was not moved from"}});
    return *m_content;
}

bool ImageTruth::IsDefective() const
{
    return GetContent().truth.defective;
}

std::vector<TrueBox> ImageTruth::Defects() const
{
    std::vector<TrueBox> defects;
    for (const TrueRegion& region : GetContent().truth.regions)
        defects.push_back({region.kind, library::PublicBox(region.box)});
    return defects;
}

struct Evaluation::Content
{
    Content(const Settings& settings, int laneCount) : rules(LayerRules(settings)), lanes(laneCount, HighestDefects) {}

    /// Measures what `score` gives by a lane and keeps it. @throws HostError
    template <typename Score>
    void Add(const std::string& name, const narvo::ImageTruth& truth, Score score)
    {
        RequireName(name); // before the work
        ImageScores scores;
        {
            const library::LaneHold hold(lanes);
            scores = score(hold.Engines(), hold.Lane());
        }
        AddScores(name, truth, scores);
    }

    /// The same of scores that are there.
    void AddScores(const std::string& name, const narvo::ImageTruth& truth, const ImageScores& scores)
    {
        if (!IsOfSize(truth, scores.scores))
            throw HostError(
                {{"truth",
                  "of " + std::to_string(truth.labels.cols) + " by " + std::to_string(truth.labels.rows) + " pixels",
                  "of the image's size"}});
        Keep(name, MeasureImage(scores, truth, rules), {});
    }

    void Keep(const std::string& name, ImageMeasure measure, std::vector<narvo::Problem> problems)
    {
        const std::lock_guard lock(mutex);
        if (!images.try_emplace(name, MeasuredImage{name, std::move(measure), std::move(problems)}).second)
            throw Taken(name);
    }

    void RequireName(const std::string& name) const
    {
        const std::lock_guard lock(mutex);
        if (name.empty())
            throw HostError({{"name", "empty", "a name for the image"}});
        if (images.count(name) != 0)
            throw Taken(name);
    }

    static HostError Taken(const std::string& name) { return HostError({{"name", name, "one that no image has"}}); }

    const ScoringRules rules;
    library::LaneSet lanes;
    mutable std::mutex mutex;
    std::map<std::string, MeasuredImage> images; ///< by name, which is the order of the figures
};

Evaluation::Evaluation(const Settings& settings, int lanes)
    : m_content(library::Translated([&] { return std::make_unique<Content>(settings, lanes); }))
{
}
Evaluation::~Evaluation() = default;
Evaluation::Evaluation(Evaluation&& other) noexcept = default;
Evaluation& Evaluation::operator=(Evaluation&& other) noexcept = default;

Evaluation::Content& Evaluation::Own() const
{
    if (m_content == nullptr)
        throw Error({{"evaluation", "none", "one that was not moved from"}});
    return *m_content;
}

void Evaluation::Measure(const std::string& name, const ImagePixels& image, const Recipe& recipe,
                         const ImageTruth& truth)
{
    Content& own = Own();
    const narvo::ImageTruth& known = truth.GetContent().truth;
    library::Translated(
        [&]
        {
            GreyImage copy;
            const GreyView view = library::ReadableView(image, *recipe.GetParts().regions.front(), copy);
            recipe.CheckSize(view.Width(), view.Height());
            own.Add(name, known,
                    [&](narvo::Inspector& engines, int lane)
                    { return SweepRegions(engines, lane, view, recipe.GetParts().regions); });
        });
}

void Evaluation::Measure(const std::string& name, const Image& image, const Recipe& recipe, const ImageTruth& truth)
{
    Content& own = Own();
    const narvo::ImageTruth& known = truth.GetContent().truth;
    library::Translated(
        [&]
        {
            const GreyImage& grey = *image.GetContent().image;
            library::CheckColours(grey, recipe.GetParts(), "image");
            recipe.CheckSize(grey.Width(), grey.Height());
            own.Add(name, known,
                    [&](narvo::Inspector& engines, int lane)
                    { return SweepRegions(engines, lane, grey, recipe.GetParts().regions); });
        });
}

void Evaluation::Measure(const std::string& name, const ImagePixels& image, const GoldenModel& model,
                         const ImageTruth& truth)
{
    library::Translated(
        [&]
        {
            auto copy = std::make_shared<const GreyImage>(library::GreyCopy(image, "image"));
            Measure(name, library::MakeImage(std::move(copy)), model, truth);
        });
}

void Evaluation::Measure(const std::string& name, const Image& image, const GoldenModel& model, const ImageTruth& truth)
{
    Content& own = Own();
    const GoldenModel::Content& golden = model.Own();
    const narvo::ImageTruth& known = truth.GetContent().truth;
    library::Translated(
        [&]
        {
            if (golden.Mask() != nullptr)
                throw HostError({{"model", "has a mask", "one without, since all of the image is measured"}});
            const GreyImage& grey = *image.GetContent().image;
            own.Add(name, known,
                    [&](narvo::Inspector& engines, int lane)
                    { return ScoreGolden(engines, lane, *golden.model, grey); });
        });
}

void Evaluation::Measure(const std::string& name, const ScoreMap& scores, const ImageTruth& truth)
{
    Content& own = Own();
    const narvo::ImageTruth& known = truth.GetContent().truth;
    library::Translated(
        [&]
        {
            own.RequireName(name);
            own.AddScores(name, known, LayerScores(scores));
        });
}

void Evaluation::Refuse(const std::string& name, const std::vector<Problem>& problems, const ImageTruth& truth)
{
    Content& own = Own();
    const narvo::ImageTruth& known = truth.GetContent().truth;
    library::Translated(
        [&]
        {
            if (problems.empty())
                throw HostError({{"problems", "none", "why the image was not inspected"}});
            std::vector<narvo::Problem> made;
            made.reserve(problems.size());
            for (const Problem& problem : problems)
                made.push_back({problem.field, problem.value, problem.allowed});
            own.RequireName(name);
            own.Keep(name, MeasureRefused(known, own.rules), std::move(made));
        });
}

std::size_t Evaluation::Images() const
{
    Content& own = Own();
    const std::lock_guard lock(own.mutex);
    return own.images.size();
}

EvaluationReport Evaluation::Report() const
{
    std::string unread;
    return Report(unread);
}

EvaluationReport Evaluation::Report(std::string& json) const
{
    Content& own = Own();
    return library::Translated(
        [&]
        {
            const std::lock_guard lock(own.mutex);
            if (own.images.empty())
                throw HostError({{"images", "0", "1 and more"}});
            std::vector<const MeasuredImage*> images;
            for (const auto& [name, image] : own.images)
                images.push_back(&image);
            const MethodResult result = SummariseImages("figures", images);
            EvaluationReport report = PublicEvaluation(result);
            nlohmann::ordered_json made = MethodToJson(result);
            made.erase("name");
            json = made.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
            return report;
        });
}

} // namespace narvo::v1
