// SPDX-License-Identifier: MIT
// Images read again one by one, each with the kernel that compared it.
#include "tools/report/report_illustration.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/golden/golden.h"
#include "host/image/grey_image.h"
#include "host/inspect/inspection_plan.h"
#include "host/probe/kernel_probe.h"
#include "host/problem.h"
#include "tools/image_options.h"
#include "tools/page/embedded_jpeg.h"
#include "tools/quiet_codecs.h"
#include "tools/report/report_pictures.h"

namespace narvo::tools
{

namespace
{

// What a page holds at the most, so that a browser opens it at once: about 4 MB of overviews.
constexpr double dOverviewPixels = 4.0e6;
constexpr double dLargestOverview = 3.2e6;
constexpr double dSmallestOverview = 9.0e4;
constexpr std::size_t nOverviewMost = 44;

/// What the engine compared an image with. Regions that are no rectangles are shown by the comparison of a
/// rectangle round them, at the same pitch.
class ShownComparison
{
public:
    ShownComparison(const GreyImage& image, const Recipe* recipe, Direction direction)
    {
        if (recipe == nullptr || !recipe->ComparesAtAPitch())
            return;
        Recipe shown = *recipe;
        shown.direction = direction;
        shown.autoDirection = false;
        if (shown.regionShape != RegionShape_Rectangle)
        {
            shown.regionShape = RegionShape_Rectangle;
            shown.regionPoints.clear();
            shown.regionColumns.reset();
        }
        try
        {
            m_plan = std::make_unique<InspectionPlan>(CheckedRecipe(shown), image.Width(), image.Height());
            m_probe = ProbeKernel(m_plan->BlockFor(image), shown.GetKind() == Kind_Asg);
        }
        catch (const HostError&)
        {
            m_probe.reset(); // another image or recipe than at the inspection: shown without a reference
        }
    }

    const CKernelTrace* Probe() const { return m_probe.get(); }

private:
    std::unique_ptr<InspectionPlan> m_plan;
    std::unique_ptr<const CKernelTrace> m_probe;
};

/// What images of golden inspections were compared with: their references, registered to them again.
class GoldenReferences
{
public:
    /// @return empty where the image has no references, or they cannot be brought to it any more; a note says so
    GreyImage For(ReportDraft& draft, std::size_t index, const GreyImage& image)
    {
        const std::vector<std::string>& files = draft.sources[index].references;
        if (files.empty())
            return {};
        try
        {
            const QuietCodecs quiet;
            if (files != m_files || !m_model)
            {
                m_model.reset();
                std::vector<GreyImage> pictures;
                for (const std::string& file : files)
                    pictures.push_back(LoadImage(file, ReadingOf()));
                m_model.emplace(pictures, GoldenSettings());
                m_files = files;
            }
            return InspectGolden(m_inspector, 0, *m_model, image).reference;
        }
        catch (const HostError& error)
        {
            draft.page.notes.push_back(draft.page.images[index].name +
                                       ": its reference is not shown: " + error.Problems().front().Text());
            return {};
        }
    }

private:
    Inspector m_inspector{1, GoldenSettings().maxBlobs};
    std::vector<std::string> m_files;
    std::optional<GoldenModel> m_model;
};

/// Reads an image once more. @return whether it is there and as large as the region that was inspected
bool Reload(ReportDraft& draft, std::size_t index, GreyImage& image)
{
    ReportImage& entry = draft.page.images[index];
    const std::string& file = draft.sources[index].imageFile;
    if (file.empty())
        return false;
    try
    {
        const QuietCodecs quiet;
        const Recipe* const recipe = draft.RecipeOf(index);
        image = LoadImage(file, recipe != nullptr ? ImageReading(*recipe) : ReadingOf());
    }
    catch (const HostError& error)
    {
        draft.page.notes.push_back(error.Problems().front().Text());
        return false;
    }
    if (image.Width() < entry.result.region.right || image.Height() < entry.result.region.bottom)
    {
        draft.page.notes.push_back(file + " is smaller than the region that was inspected: not shown.");
        return false;
    }
    entry.width = image.Width();
    entry.height = image.Height();
    return true;
}

/// Result files may have been edited: a box has to lie somewhere about the image.
bool IsNear(const CRect& box, const GreyImage& image)
{
    const auto near = [](int from, int to, int length) { return -length <= from && from < to && to <= 2 * length; };
    return near(box.left, box.right, image.Width()) && near(box.top, box.bottom, image.Height());
}

} // namespace

void Illustrate(ReportDraft& draft, const std::vector<BlobPlace>& thumbnails, ReportCell* cell)
{
    // Images with the most defects come first where not all get an overview.
    std::vector<std::size_t> order(draft.page.images.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b)
                     { return draft.page.images[a].result.blobs.size() > draft.page.images[b].result.blobs.size(); });
    const std::size_t overviews = std::min(order.size(), nOverviewMost);
    std::vector<bool> hasOverview(order.size(), false);
    for (std::size_t i = 0; i < overviews; ++i)
        hasOverview[order[i]] = true;
    if (overviews < order.size())
        draft.page.notes.push_back("Of " + std::to_string(order.size()) + " images the " + std::to_string(overviews) +
                                   " with the most defects come with an overview.");
    const double pixels = std::clamp(dOverviewPixels / static_cast<double>(std::max<std::size_t>(overviews, 1)),
                                     dSmallestOverview, dLargestOverview);

    draft.page.sheetCell = ThumbnailSheet::nCell;
    draft.page.sheetColumns = ThumbnailSheet::nColumns;
    draft.page.thumbnailParts = 1;
    for (std::size_t i = 0; i < draft.sources.size(); ++i)
        if (const Recipe* recipe = draft.RecipeOf(i);
            !draft.sources[i].references.empty() || (recipe != nullptr && recipe->ComparesAtAPitch()))
            draft.page.thumbnailParts = 3;

    GoldenReferences references;
    ThumbnailSheet sheet(draft.page.thumbnailParts);
    const auto close = [&]
    {
        if (!sheet.IsEmpty())
            draft.page.sheets.push_back(sheet.Encode());
        sheet = ThumbnailSheet(draft.page.thumbnailParts);
    };
    for (std::size_t i = 0; i < draft.page.images.size(); ++i)
    {
        const bool wanted =
            cell != nullptr || hasOverview[i] ||
            std::any_of(thumbnails.begin(), thumbnails.end(), [&](const BlobPlace& place) { return place.image == i; });
        GreyImage image;
        if (!wanted || !Reload(draft, i, image))
            continue;
        if (cell != nullptr)
            cell->Add(draft.page, draft.sources[i].imageFile, image);
        if (hasOverview[i])
            draft.page.images[i].overview = MakeOverview(image, pixels);
        const ShownComparison compared(image, draft.RecipeOf(i), draft.page.images[i].result.direction);
        const GreyImage reference = references.For(draft, i, image);
        const ThumbnailSheet::Against against{compared.Probe(), reference.Width() > 0 ? &reference : nullptr};
        for (const BlobPlace& place : thumbnails)
            if (place.image == i && IsNear(BlobAt(draft.page, place).box, image))
            {
                if (sheet.IsFull())
                    close();
                const int at = sheet.Add(image, against, BlobAt(draft.page, place));
                draft.page.images[i].thumbnails[place.blob] = {static_cast<int>(draft.page.sheets.size()), at};
            }
    }
    close();
}

} // namespace narvo::tools
