// SPDX-License-Identifier: MIT
// How well a method finds what is known to be wrong in a set of images.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/evaluate/curves.h"
#include "host/evaluate/evaluation_set.h"
#include "host/evaluate/image_measure.h"
#include "host/evaluate/threshold_sweep.h"
#include "host/problem.h"

namespace narvo
{

/// A figure, and the range in which 95 % of the figures lie that come of drawing as many images anew, good and
/// defective ones apart. Nothing where the set cannot tell.
struct Figure
{
    std::optional<double> value;
    double low = 0.0;
    double high = 0.0;
};

struct KindCount
{
    int regions = 0;
    int found = 0;
};

struct EvaluatedImage
{
    std::string name;
    bool defective = false;
    double score = 0.0; ///< highest of its pixels
    int regions = 0;
    int found = 0;
    int falseBlobs = 0;
    std::vector<Problem> problems; ///< why it could not be inspected: nothing is found in it then
};

/// Points of the curve of found against false: at all thresholds times a factor.
struct FactorPoint
{
    double factor;
    double found;        ///< share of the regions; of defective images, where regions are not known
    double falseAnImage; ///< blobs
};

struct MethodResult
{
    std::string name;
    Figure imageAuroc;
    Figure pixelAuroc;
    Figure regionOverlap;
    Figure imageF1; ///< at the method's own thresholds
    Figure found;   ///< share of the regions, or of the defective images, there
    Figure falseAnImage;
    std::optional<double> bestImageF1; ///< of any threshold
    std::optional<double> bestPixelF1;
    std::map<std::string, KindCount> kinds;
    std::vector<CurvePoint> imageCurve;
    std::vector<CurvePoint> overlapCurve;
    std::vector<FactorPoint> factors;
    std::vector<EvaluatedImage> images;
    int refused = 0;
};

/// Scores one image of a set on a lane. What it throws counts as an image that could not be inspected.
using ScoreOfImage = std::function<ImageScores(const SetImage& image, int lane)>;
/// The truth of one image. What it throws ends the evaluation.
using TruthOfImage = std::function<ImageTruth(const SetImage& image)>;

/// Called after each image with how many are done, by one thread at a time.
using OnImageMeasured = std::function<void(std::size_t done)>;

/// Measures a method on a set, `lanes` images at once; the result does not depend on how many.
/// @throws HostError where the truth of an image cannot be read or is not of the image's size
MethodResult EvaluateMethod(const std::string& name, const EvaluationSet& set, const TruthOfImage& truth,
                            const ScoreOfImage& score, const ScoringRules& rules, int lanes,
                            const OnImageMeasured& progress = {});

/// One image of a method.
struct MeasuredImage
{
    std::string name;
    ImageMeasure measure;
    std::vector<Problem> problems; ///< why it could not be inspected; empty: it was
};

/// The measure of an image that could not be inspected, in which nothing is found.
ImageMeasure MeasureRefused(const ImageTruth& truth, const ScoringRules& rules);
/// Whether scores cover the image that the truth describes; always where its places are not known.
bool IsOfSize(const ImageTruth& truth, const ScoreImage& scores);

/// Figures, curves and images of what was measured.
MethodResult SummariseImages(const std::string& name, const std::vector<const MeasuredImage*>& images);

/// A method's figures in a line each, and its kinds of defect, for a person.
std::string MethodText(const MethodResult& method);
/// "0.936 (0.921 to 0.950)", or a dash.
std::string FigureText(const Figure& figure);

/// A method's figures, curve and images as JSON.
nlohmann::ordered_json MethodToJson(const MethodResult& method);
/// Results as JSON: set, names of the images that were learnt from and not measured, rules, and each method.
nlohmann::ordered_json EvaluationToJson(const std::string& set, const std::string& layout,
                                        const std::vector<SetImage>& learntFrom, const ScoringRules& rules,
                                        const std::vector<MethodResult>& methods);

} // namespace narvo
