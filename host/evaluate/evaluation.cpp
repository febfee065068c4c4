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

void DrawAnew(const Selection& measures, MethodResult& result)
{
    Selection good;
    Selection bad;
    for (const ImageMeasure* measure : measures)
        (measure->defective ? bad : good).push_back(measure);
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

void RequireSameSize(const SetImage& image, const ScoreImage& scores, const ImageTruth& truth)
{
    if (!IsOfSize(truth, scores))
        throw HostError({{image.mask.empty() ? "image " + image.file.string() : "mask " + image.mask.string(),
                          std::to_string(truth.labels.cols) + " by " + std::to_string(truth.labels.rows) + " pixels",
                          "the " + std::to_string(scores.width * scores.step) + " by " +
                              std::to_string(scores.height * scores.step) + " pixels of the image"}});
}

/// Figures and curves.
MethodResult SummariseMeasures(const std::string& name, const Selection& all)
{
    MethodResult result;
    result.name = name;
    const Figures figures = FiguresOf(all);
    result.imageAuroc.value = figures.imageAuroc;
    result.pixelAuroc.value = figures.pixelAuroc;
    result.regionOverlap.value = figures.regionOverlap;
    result.imageF1.value = figures.imageF1;
    result.found.value = figures.found;
    result.falseAnImage.value = figures.falseAnImage;
    DrawAnew(all, result);

    PixelCounts counts;
    for (const ImageMeasure* measure : all)
    {
        counts.Add(*measure);
        for (const RegionMeasure& region : measure->regions)
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

} // namespace

bool IsOfSize(const ImageTruth& truth, const ScoreImage& scores)
{
    const auto places = [&](int pixels) { return (pixels + scores.step - 1) / scores.step; };
    return truth.labels.empty() ||
           (places(truth.labels.cols) == scores.width && places(truth.labels.rows) == scores.height);
}

ImageMeasure MeasureRefused(const ImageTruth& truth, const ScoringRules& rules)
{
    ImageScores none;
    none.scores.width = std::max(1, truth.labels.cols);
    none.scores.height = std::max(1, truth.labels.rows);
    none.scores.values.assign(static_cast<std::size_t>(none.scores.width) * none.scores.height, 0.0F);
    none.blobs.resize(SweepFactors().size());
    return MeasureImage(none, truth, rules);
}

MethodResult SummariseImages(const std::string& name, const std::vector<const MeasuredImage*>& images)
{
    Selection all;
    for (const MeasuredImage* one : images)
        all.push_back(&one->measure);
    MethodResult result = SummariseMeasures(name, all);
    for (const MeasuredImage* one : images)
    {
        const ImageMeasure& measure = one->measure;
        EvaluatedImage image;
        image.name = one->name;
        image.defective = measure.defective;
        for (const ScoredUnit& unit : measure.units)
            image.score = std::max(image.score, unit.score);
        image.regions = static_cast<int>(measure.regions.size());
        for (const RegionMeasure& region : measure.regions)
            image.found += region.found[nFactorOne] ? 1 : 0;
        image.falseBlobs = measure.falseBlobs[nFactorOne];
        image.problems = one->problems;
        result.refused += image.problems.empty() ? 0 : 1;
        result.images.push_back(std::move(image));
    }
    return result;
}

MethodResult EvaluateMethod(const std::string& name, const EvaluationSet& set, const TruthOfImage& truth,
                            const ScoreOfImage& score, const ScoringRules& rules, int lanes,
                            const OnImageMeasured& progress)
{
    std::vector<MeasuredImage> images(set.images.size());
    std::mutex counting;
    std::size_t done = 0;
    ForEachNumber(set.images.size(), lanes,
                  [&](std::size_t i, int lane)
                  {
                      MeasuredImage& image = images[i];
                      image.name = set.images[i].name;
                      const ImageTruth of = truth(set.images[i]);
                      ImageScores scores;
                      try
                      {
                          scores = score(set.images[i], lane);
                      }
                      catch (const HostError& error)
                      {
                          image.problems = error.Problems();
                      }
                      if (image.problems.empty())
                      {
                          RequireSameSize(set.images[i], scores.scores, of);
                          image.measure = MeasureImage(scores, of, rules);
                      }
                      else
                          image.measure = MeasureRefused(of, rules);
                      const std::lock_guard lock(counting);
                      ++done;
                      if (progress)
                          progress(done);
                  });
    std::vector<const MeasuredImage*> measured;
    measured.reserve(images.size());
    for (const MeasuredImage& image : images)
        measured.push_back(&image);
    return SummariseImages(name, measured);
}

} // namespace narvo
