// SPDX-License-Identifier: MIT
// Golden inspection in the public form.
#include "narvo/host_golden.h"

#include <cmath>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/golden/golden.h"
#include "host/golden/golden_file.h"
#include "host/library/golden_parts.h"
#include "host/library/image_parts.h"
#include "host/library/named_settings.h"
#include "host/library/public_progress.h"
#include "host/library/public_report.h"
#include "host/library/translate.h"

namespace narvo::v1
{

namespace
{

/// The names of the settings and where their values go.
std::vector<library::SettingPlace> PlacesOf(GoldenSettings& settings)
{
    return {{"max_shift", &settings.registration.maxShift},
            {"max_rotation", &settings.registration.maxRotation},
            {"max_scale", &settings.registration.maxScale},
            {"mesh_spacing", &settings.registration.meshSpacing},
            {"min_correlation", &settings.registration.minCorrelation},
            {"edge_tolerance", &settings.edgeTolerance},
            {"threshold", &settings.threshold},
            {"min_pixels", &settings.minPixels},
            {"max_blobs", &settings.maxBlobs}};
}

GoldenSettings LayerSettings(const Settings& settings)
{
    GoldenSettings made;
    library::TakeSettings(settings, PlacesOf(made), [&] { return CheckGoldenSettings(made); });
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

std::vector<GreyImage> CopiesOf(const std::vector<Image>& references)
{
    std::vector<GreyImage> copies;
    copies.reserve(references.size());
    for (const Image& reference : references)
        copies.push_back(*reference.GetContent().image);
    return copies;
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

struct RegistrationMap::Content
{
    narvo::Registration registration;
};

struct GoldenFindings::Content
{
    GoldenResult result;
    int masked = 0; ///< defects that the mask took out
    int width = 0;  ///< of the image
    int height = 0; ///< of the image
};

GoldenModel::Content::Content(std::vector<GreyImage> references, const GoldenSettings& settings, int laneCount,
                              const OnProgress& progress)
    : lanes(laneCount, settings.maxBlobs),
      model(std::make_shared<const narvo::GoldenModel>(
          std::move(references), settings,
          [&](std::size_t done, std::size_t total) { library::Tell(progress, "registering references", done, total); }))
{
}

GoldenModel::Content::Content(const Content& other, int laneCount)
    : lanes(laneCount, other.model->Settings().maxBlobs), model(other.model), mask(other.Mask())
{
}

std::shared_ptr<const GreyImage> GoldenModel::Content::Mask() const
{
    const std::lock_guard lock(maskMutex);
    return mask;
}

GoldenFindings GoldenModel::Content::Inspect(const GreyImage& image) const
{
    const std::shared_ptr<const GreyImage> dead = Mask();
    auto found = std::make_shared<GoldenFindings::Content>();
    {
        const library::LaneHold hold(lanes);
        found->result = InspectGolden(hold.Engines(), hold.Lane(), *model, image);
    }
    if (dead != nullptr)
        found->masked = DropMasked(*dead, found->result);
    found->width = image.Width();
    found->height = image.Height();
    return GoldenFindings(std::move(found));
}

namespace
{

RegistrationMap MapOf(const narvo::Registration& registration)
{
    return RegistrationMap(std::make_shared<const RegistrationMap::Content>(RegistrationMap::Content{registration}));
}

} // namespace

GoldenModel::GoldenModel(const std::vector<ImagePixels>& references, const Settings& settings, int lanes)
    : GoldenModel(references, settings, lanes, {})
{
}
GoldenModel::GoldenModel(const std::vector<ImagePixels>& references, const Settings& settings, int lanes,
                         const OnProgress& progress)
    : m_content(library::Translated(
          [&] { return std::make_unique<Content>(CopiesOf(references), LayerSettings(settings), lanes, progress); }))
{
}
// A pointer would make GoldenModel({}) ambiguous.
GoldenModel::GoldenModel(Content& owned) : m_content(&owned)
{
}
GoldenModel::~GoldenModel() = default;
GoldenModel::GoldenModel(GoldenModel&& other) noexcept = default;
GoldenModel& GoldenModel::operator=(GoldenModel&& other) noexcept = default;

GoldenModel GoldenModel::FromImages(const std::vector<Image>& references, const Settings& settings, int lanes,
                                    const OnProgress& progress)
{
    return library::Translated(
        [&]
        {
            return GoldenModel(
                *std::make_unique<Content>(CopiesOf(references), LayerSettings(settings), lanes, progress).release());
        });
}

const Settings& GoldenModel::Defaults()
{
    static const Settings defaults = []
    {
        GoldenSettings values;
        Settings made;
        for (const library::SettingPlace& place : PlacesOf(values))
            made.push_back(
                {place.name, std::visit([](const auto* value) { return static_cast<double>(*value); }, place.value)});
        return made;
    }();
    return defaults;
}

GoldenModel GoldenModel::Share(int lanes) const
{
    const Content& own = Own();
    return library::Translated([&] { return GoldenModel(*std::make_unique<Content>(own, lanes).release()); });
}

std::vector<RegistrationMap> GoldenModel::Registrations() const
{
    std::vector<RegistrationMap> maps;
    for (const narvo::Registration& registration : Own().model->Registrations())
        maps.push_back(MapOf(registration));
    return maps;
}

const GoldenModel::Content& GoldenModel::Own() const
{
    if (m_content == nullptr)
        throw Error({{"model", "none", "a model that was not moved from"}});
    return *m_content;
}

void GoldenModel::SetMask(const ImagePixels& mask)
{
    const narvo::GoldenModel& model = *Own().model;
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
    return InspectFully(image).Summary();
}

GoldenFindings GoldenModel::InspectFully(const ImagePixels& image) const
{
    const Content& own = Own();
    return library::Translated([&] { return own.Inspect(library::GreyCopy(image, "image")); });
}

GoldenFindings GoldenModel::InspectFully(const Image& image) const
{
    const Content& own = Own();
    return library::Translated([&] { return own.Inspect(*image.GetContent().image); });
}

const RegistrationMap::Content& RegistrationMap::Own() const
{
    if (m_content == nullptr)
        throw Error({{"registration", "none", "one that was not moved from"}});
    return *m_content;
}

Registered RegistrationMap::Numbers() const
{
    return PublicRegistration(Own().registration);
}

RealPlace RegistrationMap::Map(double x, double y) const
{
    const RealPoint place = Own().registration.Map(x, y);
    return {place.x, place.y};
}

const GoldenFindings::Content& GoldenFindings::Own() const
{
    if (m_content == nullptr)
        throw Error({{"findings", "none", "findings that were not moved from"}});
    return *m_content;
}

GoldenReport GoldenFindings::Summary() const
{
    const Content& own = Own();
    const GoldenResult& found = own.result;
    GoldenReport report;
    report.registration = PublicRegistration(found.registration);
    for (const narvo::ReferencePlace& place : found.places)
        report.places.push_back({place.center.x, place.center.y, library::PublicBox(place.box)});
    report.compared = found.compared;
    report.edgeGrowth = found.edgeGrowth;
    report.threshold = found.base.flat;
    report.edgeThreshold = found.base.nearEdge;
    report.masked = own.masked;
    report.report = library::PublicReport(found.inspection);
    return report;
}

FullReport GoldenFindings::Inspection() const
{
    const Content& own = Own();
    return library::PublicFullReport(own.result.inspection, own.width, own.height);
}

RegistrationMap GoldenFindings::Registration() const
{
    return MapOf(Own().result.registration);
}

Image GoldenFindings::Reference() const
{
    return library::MakeImage(std::shared_ptr<const GreyImage>(m_content, &Own().result.reference));
}

Image GoldenFindings::Threshold() const
{
    return library::MakeImage(std::shared_ptr<const GreyImage>(m_content, &Own().result.threshold));
}

std::string GoldenFindings::Text() const
{
    return GoldenToJson(Own().result).dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

std::string GoldenFindings::Table() const
{
    return GoldenToCsv(Own().result);
}

GreyPicture GoldenModel::Mean() const
{
    return PictureOf(Own().model->Mean());
}

GreyPicture GoldenModel::Tolerance() const
{
    return PictureOf(Own().model->Tolerance());
}

} // namespace narvo::v1
