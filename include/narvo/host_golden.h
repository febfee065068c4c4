// SPDX-License-Identifier: MIT
// Golden inspection: images whose pattern does not repeat, against a model of good ones. docs/golden.md explains it.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "narvo/host_images.h"
#include "narvo/host_inspector.h"
#include "narvo/host_progress.h"
#include "narvo/host_result.h"
#include "narvo/host_setting.h"

namespace narvo::v1
{

/// An 8-bit grey image that owns its pixels, rows without gaps.
struct GreyPicture
{
    int width = 0;                    ///< pixels
    int height = 0;                   ///< pixels
    std::vector<std::uint8_t> pixels; ///< row by row, width by height; empty without an image

    /// Where they lie; valid as long as this object is not changed.
    ImagePixels Pixels() const { return {pixels.data(), width, height}; }
};

/// How an image lies on its reference.
struct Registered
{
    std::string model;         ///< "shift", "rigid", "similarity" or "affine": the simplest map that explains the image
    double shiftX = 0.0;       ///< of the pattern at the image's centre, pixels
    double shiftY = 0.0;       ///< the same along y
    double rotation = 0.0;     ///< degrees, clockwise on the screen
    double scaleX = 1.0;       ///< size of the pattern over that in the reference, along x
    double scaleY = 1.0;       ///< the same along y
    double shear = 0.0;        ///< degrees missing to a right angle
    double largestLocal = 0.0; ///< longest local correction, pixels
    double correlation = 0.0;  ///< of image and registered reference over what both show
    double overlap = 0.0;      ///< share of the image whose place lies inside the reference
    bool atLimit = false;      ///< a setting held the map back: the image may lie further off
};

/// A defect's place in the first reference.
struct ReferencePlace
{
    double centerX = 0.0; ///< of the defect's mean, pixels; whole numbers are centres of pixels
    double centerY = 0.0; ///< the same along y
    Box box;              ///< around the corners of its box
};

/// What came out of one golden inspection.
struct GoldenReport
{
    Report report;                      ///< in the image's coordinates; bright is brighter than the reference
    Registered registration;            ///< of the image to the reference
    std::vector<ReferencePlace> places; ///< one for each defect
    double compared = 0.0;              ///< share of the image that was compared
    double edgeGrowth = 0.0;            ///< pixels by which bright is wider at each edge than the model has it
    int threshold = 0;                  ///< difference that was set, or that followed from the noise, grey levels
    int edgeThreshold = 0;              ///< the same near edges
    int masked = 0;                     ///< defects left out as lying in masked places
};

/// A place with fractions of a pixel; whole numbers are centres of pixels.
struct RealPlace
{
    double x = 0.0; ///< pixels, to the right
    double y = 0.0; ///< pixels, downward
};

/// How an image lies on its reference, place by place. Nothing changes it: copies share it, and any number of threads
/// may use it. One that was moved from refuses every call with Error.
class NARVOHOST_API RegistrationMap
{
public:
    /// In numbers.
    Registered Numbers() const;
    /// The place in the reference of a place in the image, local corrections included; it may lie outside.
    RealPlace Map(double x, double y) const;

    struct Content; ///< of the library
    /// For the library itself.
    explicit RegistrationMap(std::shared_ptr<const Content> content) : m_content(std::move(content)) {}

private:
    const Content& Own() const;
    std::shared_ptr<const Content> m_content;
};

/// Everything that came out of one golden inspection. As RegistrationMap.
class NARVOHOST_API GoldenFindings
{
public:
    /// The report, as GoldenModel::Inspect gives it.
    GoldenReport Summary() const;
    /// Of the inspection alone, with outlines and times; there are no answers.
    FullReport Inspection() const;
    /// Of the image to the reference.
    RegistrationMap Registration() const;
    /// The model's mean as the image should show it, in the image's light and size. Of colours, their grey.
    Image Reference() const;
    /// Grey levels that each pixel's difference must exceed; 255 where nothing was compared.
    Image Threshold() const;
    /// The JSON that the program `narvo` writes of a golden inspection.
    std::string Text() const;
    /// The defects with their places in the reference as comma separated values with a header line.
    std::string Table() const;

    struct Content; ///< of the library
    /// For the library itself.
    explicit GoldenFindings(std::shared_ptr<const Content> content) : m_content(std::move(content)) {}

private:
    const Content& Own() const;
    std::shared_ptr<const Content> m_content;
};

/// What a good image looks like, and how far a good one may stray from it pixel by pixel. Made once, used for any
/// number of images by any number of threads, each of which takes a lane. One that was moved from refuses every call
/// with Error. Settings, with defaults and ranges:
///
/// | name | unit | range | default |
/// |---|---|---|---|
/// | max_shift | pixels along x and y of the image's centre | 0 .. 1024 | 32 |
/// | max_rotation | degrees | 0 .. 10 | 1 |
/// | max_scale | percent, of scale and shear | 0 .. 10 | 2 |
/// | mesh_spacing | pixels between nodes of the local correction, whole | 16 .. 1024, or 0 for none | 64 |
/// | min_correlation | of image and registered reference | 0 .. 1 | 0.7 |
/// | edge_tolerance | pixels by which an edge may lie elsewhere | 0 .. 16 | 2 |
/// | threshold | grey levels, whole; 0: from the noise of each image | 0 .. 255 | 0 |
/// | min_pixels | pixels, whole: smaller defects are not reported | 1 .. 1000000 | 5 |
/// | max_blobs | room for defects, whole | 1 .. 1000000 | 20000 |
class NARVOHOST_API GoldenModel
{
public:
    /// Of one good image or several, of which the further are registered to the first. They are read during the call
    /// alone. `lanes`: how many images are inspected at once, 1 .. 256.
    /// @throws Error when settings or images are not valid, without structure to register by, or not alike
    explicit GoldenModel(const std::vector<ImagePixels>& references, const Settings& settings = {}, int lanes = 1);
    /// The same, telling `progress` of each further reference. @throws Error as the other, Stopped where `progress`
    /// asks for it
    GoldenModel(const std::vector<ImagePixels>& references, const Settings& settings, int lanes,
                const OnProgress& progress);
    /// Of images that were read from files or made of colours. Where all have colours, red, green and blue are compared
    /// one by one, each registered as the whole image is. @throws Error as the constructor
    static GoldenModel FromImages(const std::vector<Image>& references, const Settings& settings = {}, int lanes = 1,
                                  const OnProgress& progress = {});
    /// All settings with their defaults.
    static const Settings& Defaults();
    ~GoldenModel();
    /// Leaves `other` without a model.
    GoldenModel(GoldenModel&& other) noexcept;
    /// The same.
    GoldenModel& operator=(GoldenModel&& other) noexcept;

    /// Painted places of the first reference, other than 0 where no defect is to be reported whose peak lies there; of
    /// its size, 8 bits; copied. An image without pixels (`{}`) takes the mask away. Inspections that have
    /// begun keep the mask that they began with.
    /// @throws Error for another size or depth
    void SetMask(const ImagePixels& mask);

    /// Registers an image to the model and inspects it. Its size may differ from the reference's: the smaller is sought
    /// all over the larger. Calls wait while no lane is free. Of images of more than 8 bits, the whole range that
    /// `bits` says becomes 8-bit grey, of references too.
    /// @throws Error when the image is not valid, has no structure, or is not alike enough within the settings' limits
    GoldenReport Inspect(const ImagePixels& image) const;
    /// The same with all that an inspection gives, of an image that was read from a file or made of colours.
    /// @throws Error as Inspect
    GoldenFindings InspectFully(const Image& image) const;
    /// The same of pixels in memory. @throws Error as Inspect
    GoldenFindings InspectFully(const ImagePixels& image) const;
    /// The same model with lanes of its own, and the mask as it is now: for another team of threads, or for a process
    /// that was forked off while threads of its parent inspected. @throws Error for lanes outside 1 .. 256
    GoldenModel Share(int lanes = 1) const;

    /// Mean of the references, in the first one's place.
    GreyPicture Mean() const;
    /// Grey levels that a good image may differ from the mean.
    GreyPicture Tolerance() const;
    /// How the first reference lies on the second and further ones, one for each of these.
    std::vector<RegistrationMap> Registrations() const;

private:
    friend class Evaluation; // which measures it
    struct Content;
    explicit GoldenModel(Content& owned);
    const Content& Own() const;
    std::unique_ptr<Content> m_content;
};

} // namespace narvo::v1
