// SPDX-License-Identifier: MIT
// Measures of all images, figures from them, and figures of images drawn anew.
#include "host/evaluate/evaluation.h"

#include <algorithm>
#include <cstdint>
#include <mutex>

#include "host/inspect/for_each.h"
#include "host/statistics/mixed_numbers.h"

namespace narvo
{

namespace
{

constexpr int nDraws = 500;
constexpr std::uint64_t nSeed = 20260101;

using Selection = std::vector<const ImageMeasure*>;

struct Figures
{
    std::optional<double> imageAuroc;
    std::optional<double> pixelAuroc;
    std::optional<double> regionOverlap;
    std::optional<double> imageF1;
    std::optional<double> found;
    std::optional<double> falseAnImage;
};

std::vector<ScoredUnit> UnitsOf(const Selection& images)
{
    std::vector<ScoredUnit> units;
    for (const ImageMeasure* image : images)
        units.insert(units.end(), image->units.begin(), image->units.end());
    return units;
}

FactorPoint PointOf(const Selection& images, std::size_t factor)
{
    double regions = 0.0;
    double found = 0.0;
    double wrong = 0.0;
    for (const ImageMeasure* image : images)
    {
        regions += static_cast<double>(image->regions.size());
        for (const RegionMeasure& region : image->regions)
            found += region.found[factor] ? 1.0 : 0.0;
        wrong += image->falseBlobs[factor];
    }
    return {SweepFactors()[factor], regions > 0.0 ? found / regions : -1.0,
            images.empty() ? 0.0 : wrong / static_cast<double>(images.size())};
}

Figures FiguresOf(const Selection& images)
{
    Figures figures;
    figures.imageAuroc = UnitAuroc(UnitsOf(images));
    PixelCounts counts;
    double hits = 0.0;
    double flagged = 0.0;
    double defective = 0.0;
    for (const ImageMeasure* image : images)
    {
        counts.Add(*image);
        hits += image->flagged && image->defective ? 1.0 : 0.0;
        flagged += image->flagged ? 1.0 : 0.0;
        defective += image->defective ? 1.0 : 0.0;
    }
    figures.pixelAuroc = PixelAuroc(counts);
    figures.regionOverlap = RegionOverlap(counts);
    if (defective > 0.0)
        figures.imageF1 = 2.0 * hits / (flagged + defective);
    const FactorPoint point = PointOf(images, nFactorOne);
    if (point.found >= 0.0)
        figures.found = point.found;
    else if (defective > 0.0)
        figures.found = hits / defective;
    figures.falseAnImage = point.falseAnImage;
    return figures;
}

/// The 2.5th and the 97.5th of a hundred values.
void SetRange(std::vector<double>& drawn, Figure& figure)
{
    if (drawn.empty() || !figure.value)
        return;
    std::sort(drawn.begin(), drawn.end());
    const auto at = [&](double share)
    { return drawn[static_cast<std::size_t>(share * static_cast<double>(drawn.size() - 1) + 0.5)]; };
    figure.low = at(0.025);
    figure.high = at(0.975);
}

void DrawAnew(const std::vector<ImageMeasure>& measures, MethodResult& result)
{
    Selection good;
    Selection bad;
    for (const ImageMeasure& measure : measures)
        (measure.defective ? bad : good).push_back(&measure);
    constexpr std::optional<double> Figures::*members[] = {&Figures::imageAuroc,    &Figures::pixelAuroc,
                                                           &Figures::regionOverlap, &Figures::imageF1,
                                                           &Figures::found,         &Figures::falseAnImage};
    std::vector<double> drawn[std::size(members)];
    MixedNumbers numbers(nSeed);
    for (int draw = 0; draw < nDraws; ++draw)
    {
        Selection images;
        for (const Selection* group : {&good, &bad})
            for (std::size_t i = 0; i < group->size(); ++i)
                images.push_back((*group)[numbers.Below(group->size())]);
        const Figures figures = FiguresOf(images);
        for (std::size_t i = 0; i < std::size(members); ++i)
            if (figures.*members[i])
                drawn[i].push_back(*(figures.*members[i]));
    }
    Figure* const figures[] = {&result.imageAuroc, &result.pixelAuroc, &result.regionOverlap,
                               &result.imageF1,    &result.found,      &result.falseAnImage};
    for (std::size_t i = 0; i < std::size(members); ++i)
        SetRange(drawn[i], *figures[i]);
}

void RequireSameSize(const SetImage& image, const ScoreImage& scores, const cv::Mat& labels)
{
    const auto places = [&](int pixels) { return (pixels + scores.step - 1) / scores.step; };
    if (labels.empty() || (places(labels.cols) == scores.width && places(labels.rows) == scores.height))
        return;
    throw HostError({{image.mask.empty() ? "image " + image.file.string() : "mask " + image.mask.string(),
                      std::to_string(labels.cols) + " by " + std::to_string(labels.rows) + " pixels",
                      "the " + std::to_string(scores.width * scores.step) + " by " +
                          std::to_string(scores.height * scores.step) + " pixels of the image"}});
}

} // namespace

MethodResult SummariseMeasures(const std::string& name, const std::vector<ImageMeasure>& measures)
{
    MethodResult result;
    result.name = name;
    Selection all;
    for (const ImageMeasure& measure : measures)
        all.push_back(&measure);
    const Figures figures = FiguresOf(all);
    result.imageAuroc.value = figures.imageAuroc;
    result.pixelAuroc.value = figures.pixelAuroc;
    result.regionOverlap.value = figures.regionOverlap;
    result.imageF1.value = figures.imageF1;
    result.found.value = figures.found;
    result.falseAnImage.value = figures.falseAnImage;
    DrawAnew(measures, result);

    PixelCounts counts;
    for (const ImageMeasure& measure : measures)
    {
        counts.Add(measure);
        for (const RegionMeasure& region : measure.regions)
        {
            KindCount& kind = result.kinds[region.kind];
            ++kind.regions;
            kind.found += region.found[nFactorOne] ? 1 : 0;
        }
    }
    result.bestImageF1 = BestUnitF1(UnitsOf(all));
    result.bestPixelF1 = BestPixelF1(counts);
    result.imageCurve = UnitCurve(UnitsOf(all));
    result.overlapCurve = OverlapCurve(counts);
    for (std::size_t factor = 0; factor < SweepFactors().size(); ++factor)
        result.factors.push_back(PointOf(all, factor));
    return result;
}

MethodResult EvaluateMethod(const std::string& name, const EvaluationSet& set, const TruthOfImage& truth,
                            const ScoreOfImage& score, const ScoringRules& rules, int lanes,
                            const OnImageMeasured& progress)
{
    std::vector<ImageMeasure> measures(set.images.size());
    std::vector<std::vector<Problem>> problems(set.images.size());
    std::mutex counting;
    std::size_t done = 0;
    ForEachNumber(set.images.size(), lanes,
                  [&](std::size_t i, int lane)
                  {
                      const ImageTruth of = truth(set.images[i]);
                      ImageScores scores;
                      try
                      {
                          scores = score(set.images[i], lane);
                      }
                      catch (const HostError& error)
                      {
                          problems[i] = error.Problems();
                          scores.scores.width = std::max(1, of.labels.cols);
                          scores.scores.height = std::max(1, of.labels.rows);
                          scores.scores.values.assign(
                              static_cast<std::size_t>(scores.scores.width) * scores.scores.height, 0.0F);
                          scores.blobs.resize(SweepFactors().size());
                      }
                      RequireSameSize(set.images[i], scores.scores, of.labels);
                      measures[i] = MeasureImage(scores, of, rules);
                      const std::lock_guard lock(counting);
                      ++done;
                      if (progress)
                          progress(done);
                  });

    MethodResult result = SummariseMeasures(name, measures);
    for (std::size_t i = 0; i < measures.size(); ++i)
    {
        const ImageMeasure& measure = measures[i];
        EvaluatedImage image;
        image.name = set.images[i].name;
        image.defective = measure.defective;
        for (const ScoredUnit& unit : measure.units)
            image.score = std::max(image.score, unit.score);
        image.regions = static_cast<int>(measure.regions.size());
        for (const RegionMeasure& region : measure.regions)
            image.found += region.found[nFactorOne] ? 1 : 0;
        image.falseBlobs = measure.falseBlobs[nFactorOne];
        image.problems = problems[i];
        result.refused += problems[i].empty() ? 0 : 1;
        result.images.push_back(std::move(image));
    }
    return result;
}

} // namespace narvo
