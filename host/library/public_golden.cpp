// SPDX-License-Identifier: MIT
// Golden inspection in the public form.
#include "narvo/host_golden.h"

#include <cmath>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/golden/golden.h"
#include "host/library/lane_set.h"
#include "host/library/named_settings.h"
#include "host/library/public_progress.h"
#include "host/library/public_report.h"
#include "host/library/translate.h"

namespace narvo::v1
{

namespace
{

GoldenSettings LayerSettings(const Settings& settings)
{
    GoldenSettings made;
    library::TakeSettings(settings, {{"max_shift", &made.registration.maxShift},
                                     {"max_rotation", &made.registration.maxRotation},
                                     {"max_scale", &made.registration.maxScale},
                                     {"mesh_spacing", &made.registration.meshSpacing},
                                     {"min_correlation", &made.registration.minCorrelation},
                                     {"edge_tolerance", &made.edgeTolerance},
                                     {"threshold", &made.threshold},
                                     {"min_pixels", &made.minPixels},
                                     {"max_blobs", &made.maxBlobs}});
    ThrowIfAny(CheckGoldenSettings(made));
    return made;
}

std::vector<GreyImage> CopiesOf(const std::vector<ImagePixels>& references)
{
    std::vector<GreyImage> copies;
    copies.reserve(references.size());
    for (std::size_t i = 0; i < references.size(); ++i)
        copies.push_back(library::GreyCopy(references[i], "references[" + std::to_string(i) + "]"));
    return copies;
}

Registered PublicRegistration(const Registration& registration)
{
    Registered made;
    made.model = ModelName(registration.model);
    made.shiftX = registration.shiftX;
    made.shiftY = registration.shiftY;
    made.rotation = registration.rotation;
    made.scaleX = registration.scaleX;
    made.scaleY = registration.scaleY;
    made.shear = registration.shear;
    made.largestLocal = registration.largestLocal;
    made.correlation = registration.correlation;
    made.overlap = registration.overlap;
    made.atLimit = registration.atLimit;
    return made;
}

GreyPicture PictureOf(const GreyImage& image)
{
    GreyPicture made;
    made.width = image.Width();
    made.height = image.Height();
    made.pixels.reserve(static_cast<std::size_t>(made.width) * static_cast<std::size_t>(made.height));
    for (int y = 0; y < made.height; ++y)
        made.pixels.insert(made.pixels.end(), image.Row(y), image.Row(y) + made.width);
    return made;
}

/// Whether a place of the reference is painted.
bool IsMasked(const GreyImage& mask, const RealPoint& place)
{
    const double x = std::round(place.x);
    const double y = std::round(place.y);
    return x >= 0.0 && y >= 0.0 && x < mask.Width() && y < mask.Height() &&
           mask.Row(static_cast<int>(y))[static_cast<int>(x)] != 0;
}

/// Takes out the defects whose peak lies in a painted place of the reference. @return how many
int DropMasked(const GreyImage& mask, GoldenResult& result)
{
    std::vector<Blob>& blobs = result.inspection.blobs;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < blobs.size(); ++i)
    {
        const CPoint& peak = blobs[i].peakPlace;
        if (IsMasked(mask, result.registration.Map(peak.x, peak.y)))
            continue;
        blobs[kept] = blobs[i];
        blobs[kept].number = static_cast<int>(kept) + 1;
        result.places[kept] = result.places[i];
        ++kept;
    }
    const int dropped = static_cast<int>(blobs.size() - kept);
    blobs.erase(blobs.begin() + static_cast<std::ptrdiff_t>(kept), blobs.end());
    result.places.erase(result.places.begin() + static_cast<std::ptrdiff_t>(kept), result.places.end());
    return dropped;
}

} // namespace

struct GoldenModel::Content
{
    Content(const std::vector<ImagePixels>& references, const GoldenSettings& settings, int laneCount,
            const OnProgress& progress)
        : lanes(laneCount, settings.maxBlobs),
          model(CopiesOf(references), settings,
                [&](std::size_t done, std::size_t total)
                { library::Tell(progress, "registering references", done, total); })
    {
    }

    mutable library::LaneSet lanes;
    narvo::GoldenModel model;
    mutable std::mutex maskMutex;
    std::shared_ptr<const GreyImage> mask; ///< null: none

    std::shared_ptr<const GreyImage> Mask() const
    {
        const std::lock_guard lock(maskMutex);
        return mask;
    }
};

GoldenModel::GoldenModel(const std::vector<ImagePixels>& references, const Settings& settings, int lanes)
    : GoldenModel(references, settings, lanes, {})
{
}
GoldenModel::GoldenModel(const std::vector<ImagePixels>& references, const Settings& settings, int lanes,
                         const OnProgress& progress)
    : m_content(library::Translated(
          [&] { return std::make_unique<Content>(references, LayerSettings(settings), lanes, progress); }))
{
}
GoldenModel::~GoldenModel() = default;
GoldenModel::GoldenModel(GoldenModel&& other) noexcept = default;
GoldenModel& GoldenModel::operator=(GoldenModel&& other) noexcept = default;

const GoldenModel::Content& GoldenModel::Own() const
{
    if (m_content == nullptr)
        throw Error({{"model", "none", "a model that was not moved from"}});
    return *m_content;
}

void GoldenModel::SetMask(const ImagePixels& mask)
{
    const narvo::GoldenModel& model = Own().model;
    std::shared_ptr<const GreyImage> made;
    if (mask.pixels != nullptr || mask.width != 0 || mask.height != 0)
        made = library::Translated(
            [&]
            {
                auto copy = std::make_shared<const GreyImage>(library::ExactCopy(mask, "mask"));
                if (copy->Width() != model.Width() || copy->Height() != model.Height())
                    throw HostError(
                        {{"mask", std::to_string(copy->Width()) + " by " + std::to_string(copy->Height()) + " pixels",
                          "the first reference's " + std::to_string(model.Width()) + " by " +
                              std::to_string(model.Height())}});
                return copy;
            });
    const std::lock_guard lock(m_content->maskMutex);
    m_content->mask = std::move(made);
}

GoldenReport GoldenModel::Inspect(const ImagePixels& image) const
{
    const Content& own = Own();
    return library::Translated(
        [&]
        {
            const GreyImage copy = library::GreyCopy(image, "image");
            const std::shared_ptr<const GreyImage> mask = own.Mask();
            GoldenResult found = [&]
            {
                const library::LaneHold hold(own.lanes);
                return InspectGolden(hold.Engines(), hold.Lane(), own.model, copy);
            }();
            GoldenReport report;
            if (mask != nullptr)
                report.masked = DropMasked(*mask, found);
            report.registration = PublicRegistration(found.registration);
            for (const narvo::ReferencePlace& place : found.places)
                report.places.push_back({place.center.x, place.center.y, library::PublicBox(place.box)});
            report.compared = found.compared;
            report.edgeGrowth = found.edgeGrowth;
            report.threshold = found.base.flat;
            report.edgeThreshold = found.base.nearEdge;
            report.report = library::PublicReport(std::move(found.inspection));
            return report;
        });
}

GreyPicture GoldenModel::Mean() const
{
    return PictureOf(Own().model.Mean());
}

GreyPicture GoldenModel::Tolerance() const
{
    return PictureOf(Own().model.Tolerance());
}

} // namespace narvo::v1
