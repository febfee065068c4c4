// SPDX-License-Identifier: MIT
// How well a recipe, a golden model or a method of the program's own finds what is known to be wrong in images.
// docs/evaluation.md explains the figures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "narvo/host_golden.h"
#include "narvo/host_images.h"
#include "narvo/host_inspector.h"
#include "narvo/host_recipe.h"
#include "narvo/host_setting.h"
#include "narvo/image_pixels.h"

namespace narvo::v1
{

/// A true defect as a box.
struct TrueBox
{
    std::string kind; ///< for people, such as "scratch"
    Box box;          ///< pixels; what lies outside of the image is cut off
};

/// An image of a set with what is known of it.
struct LabelledImage
{
    std::string name;                ///< file name below the folder
    std::filesystem::path file;      ///< the image
    std::filesystem::path reference; ///< the good image that it is compared with; empty: none
    std::filesystem::path mask;      ///< painted defects; empty: none
    std::vector<TrueBox> boxes;      ///< its defects, where there is no mask
    bool defective = false;          ///< it has defects, whose places need not be known
    std::string kind;                ///< of the defects in the mask
};

/// Images with known defects.
struct EvaluationSet
{
    std::string layout;                ///< what the folder was read as, in words
    std::vector<LabelledImage> images; ///< by name
};

/// Reads a folder in one of the layouts of docs/evaluation.md: folders good, defective and mask; NAME_temp, NAME_test
/// and NAME.txt; images with boxes as COCO, Pascal VOC, YOLO or text. Up to 100000 images with 1000000 boxes.
/// @throws Error where the folder has none of these layouts, and with all that is wrong in its files
NARVOHOST_API EvaluationSet ReadEvaluationSet(const std::filesystem::path& folder);

/// What is true of one image. Nothing changes it: copies share it, and any number of threads may use it. One that was
/// moved from refuses every call with Error. Those with places take four bytes for each pixel.
class NARVOHOST_API ImageTruth
{
public:
    /// Of an image with defects in boxes, or of a good one without any. Where boxes overlap, pixels count for the later
    /// one. @throws Error for sides outside 1 .. 1048576, more than HighestMaxPixels, or a box without a pixel in it
    static ImageTruth OfBoxes(const std::vector<TrueBox>& boxes, int width, int height);
    /// Of a painted mask: connected pixels above half of its largest value are a defect. An empty mask is a good
    /// image's. @throws Error for an image that is not valid, or of another depth than 8 bits
    static ImageTruth OfMask(const ImagePixels& mask, const std::string& kind = "defective");
    /// Of an image that is known to be defective, and nobody knows where.
    static ImageTruth Defective();
    /// Of an image of a set, from its mask, or its boxes and the image's size. Files of more than `maxPixels`, 1 ..
    /// HighestMaxPixels, are refused. @throws Error naming the file
    static ImageTruth OfLabelled(const LabelledImage& image, std::int64_t maxPixels = DefaultMaxPixels);

    /// Whether there are defects.
    bool IsDefective() const;
    /// The defects as boxes; of a mask, those around its parts. None where the places are not known.
    std::vector<TrueBox> Defects() const;

    struct Content; ///< of the library
    /// For the library itself.
    explicit ImageTruth(std::shared_ptr<const Content> content) : m_content(std::move(content)) {}
    /// For the library itself. @throws Error after a move
    const Content& GetContent() const;

private:
    std::shared_ptr<const Content> m_content;
};

/// A figure, and the range in which 95 % of the figures lie that come of drawing as many images anew, good and
/// defective ones apart, from fixed random numbers.
struct EvaluationFigure
{
    std::optional<double> value; ///< nothing where the images cannot tell
    double low = 0.0;            ///< of the range
    double high = 0.0;           ///< of the range
};

/// A point of a curve.
struct EvaluationPoint
{
    double x = 0.0; ///< share of good images, or of good pixels, above a threshold
    double y = 0.0; ///< share of defective images above it, or the mean share of each defect
};

/// Found against false, with all thresholds multiplied.
struct EvaluationFactor
{
    double factor = 1.0;         ///< of the thresholds: 8 down to 1/8
    std::optional<double> found; ///< share of the defects; nothing where no places are known
    double falseAnImage = 0.0;   ///< false blobs over images
};

/// One kind of defect.
struct EvaluationKind
{
    std::string kind;        ///< as the truth says
    std::size_t defects = 0; ///< of the kind
    std::size_t found = 0;   ///< of these
};

/// One image.
struct EvaluatedImage
{
    std::string name;              ///< as it was handed over
    bool defective = false;        ///< in truth
    double score = 0.0;            ///< highest of its pixels, 1 at the threshold
    std::size_t defects = 0;       ///< whose places are known
    std::size_t found = 0;         ///< of these
    std::size_t falseBlobs = 0;    ///< blobs that find nothing
    std::vector<Problem> problems; ///< why it was not inspected; empty: it was
};

/// What came of all images, at the thresholds as they are unless it says otherwise.
struct EvaluationReport
{
    EvaluationFigure imageAuroc;               ///< probability that a defective image scores higher than a good one
    EvaluationFigure pixelAuroc;               ///< the same of pixels
    EvaluationFigure regionOverlap;            ///< area below overlapCurve up to a share of 0.3, over 0.3
    EvaluationFigure imageF1;                  ///< of whole images
    EvaluationFigure found;                    ///< share of the defects, or of the defective images
    EvaluationFigure falseAnImage;             ///< false blobs over images
    std::optional<double> bestImageF1;         ///< of any threshold
    std::optional<double> bestPixelF1;         ///< of any threshold
    std::vector<EvaluationKind> kinds;         ///< by name
    std::vector<EvaluationPoint> imageCurve;   ///< of images
    std::vector<EvaluationPoint> overlapCurve; ///< of pixels: mean share of each defect that is covered
    std::vector<EvaluationFactor> factors;     ///< from the highest to the lowest
    std::vector<EvaluatedImage> images;        ///< by name
    std::size_t refused = 0;                   ///< of these, with problems
    std::string text;                          ///< the figures for a person, as `narvo evaluate` prints them
};

/// Scores of a method of the program's own, one for each pixel, row by row without gaps. It owns nothing, and no call
/// keeps them.
struct ScoreMap
{
    const float* scores = nullptr; ///< 0 and more; 1 at the method's threshold. Connected ones above it, 5 and more,
                                   ///< are blobs
    int width = 0;                 ///< pixels, 1 .. 1048576
    int height = 0;                ///< pixels, 1 .. 1048576; width by height up to HighestMaxPixels
};

/// Measures one method on images with known defects, one at a time. Any number of threads may measure at once: each
/// takes a lane and waits while there is none. The figures depend neither on the order nor on the threads. One that was
/// moved from refuses every call with Error. `settings` are
/// - "margin": pixels by which a defect is grown; a blob that touches it finds it, whole, 0 .. 1000; 3 unless given
/// - "smallest": pixels; smaller blobs do not count, whole, 1 .. 1000000; 1 unless given
/// - "patch": side of the squares that count as images in the image figures, whole, 16 .. 65536 pixels, or 0, which is
///   the default: whole images
///
/// A blob of more than 20 times a defect's area finds nothing there. A call that throws adds nothing; Refuse then
/// counts the image as one in which nothing is found.
class NARVOHOST_API Evaluation
{
public:
    /// `lanes` is how many images are inspected at once, 1 .. 256.
    /// @throws Error for settings that do not exist or are outside their range, and for another number of lanes
    explicit Evaluation(const Settings& settings = {}, int lanes = 1);
    ~Evaluation();
    /// Leaves `other` without images.
    Evaluation(Evaluation&& other) noexcept;
    /// The same.
    Evaluation& operator=(Evaluation&& other) noexcept;

    /// Inspects an image by all regions of a recipe at all its thresholds times 8 down to 1/8. `name` is the image's
    /// own. @throws Error as Inspector::Inspect, for a name that is empty or another image's, and for a truth of
    /// another size
    void Measure(const std::string& name, const ImagePixels& image, const Recipe& recipe, const ImageTruth& truth);
    /// The same of an image that was read from a file or made of colours. @throws Error as the other
    void Measure(const std::string& name, const Image& image, const Recipe& recipe, const ImageTruth& truth);
    /// The same by golden inspection. @throws Error as GoldenModel::Inspect and the other, and for a model with a mask
    void Measure(const std::string& name, const ImagePixels& image, const GoldenModel& model, const ImageTruth& truth);
    /// The same of an image that was read from a file or made of colours. @throws Error as the other
    void Measure(const std::string& name, const Image& image, const GoldenModel& model, const ImageTruth& truth);
    /// The same of scores. @throws Error for scores that are not valid, naming the first, and as the others
    void Measure(const std::string& name, const ScoreMap& scores, const ImageTruth& truth);
    /// Adds an image that could not be inspected, for `problems`, one at least. @throws Error without any, and for a
    /// name as the others
    void Refuse(const std::string& name, const std::vector<Problem>& problems, const ImageTruth& truth);

    /// So far, refused ones among them.
    std::size_t Images() const;
    /// Figures of the images so far. More may follow. @throws Error without images
    EvaluationReport Report() const;
    /// The same, with `json` set to the JSON that the program's `narvo evaluate` writes of one method, without its
    /// name.
    /// @throws Error as the other, which leaves `json` as it is
    EvaluationReport Report(std::string& json) const;

private:
    struct Content;
    Content& Own() const;
    std::unique_ptr<Content> m_content;
};

} // namespace narvo::v1
