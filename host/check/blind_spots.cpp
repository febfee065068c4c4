// SPDX-License-Identifier: MIT
// What an inspection does not look at, cannot see, or reads wrongly although it returns 1.
#include <algorithm>

#include "host/check/block_words.h"
#include "host/recipe/recipe_rules.h"
#include "narvoassem/base/fixed_pitch.h"
#include "narvoassem/blobstorage.h"

namespace narvo
{

namespace
{

using engine::CBlockTrace;
using engine::Comparison;

constexpr int nRowAlignment = 4; // of the rows that pair filters and verification assume

bool ComparesByPitch(const CBlockTrace& trace)
{
    return trace.bRuns && trace.eComparison != Comparison::Binarise && trace.eComparison != Comparison::Average;
}

bool IsVertical(const CBlockTrace& trace)
{
    return trace.steps.bVertical;
}

/// Whether the distance is less than the least step of a sixteenth pixel: the image is compared with itself.
bool HasNoDistance(const CBlockTrace& trace)
{
    const CConvParam& param = trace.param;
    const double pitch = IsVertical(trace) ? param.GetRealScanPitch() : param.GetRealConvPitch();
    const bool table =
        IsVertical(trace)
            ? trace.kernel.uses.Has(engine::KernelOption::ScanPitches) && param.pScanPitchTable != nullptr
            : trace.kernel.uses.Has(engine::KernelOption::ConvPitches) && param.pConvPitchTable != nullptr;
    const bool shifted = trace.kernel.uses.Has(engine::KernelOption::CrossShift) && param.fVtdPitch != 0.0F;
    return !table && !shifted && pitch < 1.0 / 16.0;
}

std::string Columns(const CRect& rect)
{
    return std::to_string(rect.left) + " to " + std::to_string(rect.right - 1);
}

std::string NamesOf(const std::vector<Problem>& problems)
{
    std::string names;
    for (const Problem& problem : problems)
        names += (names.empty() ? "" : ", ") + problem.Text();
    return names;
}

void AddComparison(const CBlockTrace& trace, std::vector<std::string>& spots)
{
    if (trace.eComparison == Comparison::None)
        spots.push_back("anything: nInspectMode " + std::to_string(trace.param.nInspectMode) +
                        " compares nothing; allowed: 0 float, 1 pixel, 2 binarise, 3 average");
    else if (!trace.bRuns)
        spots.emplace_back(
            "anything: the window's kernel does not run with these tables; a shift or a table of pitches "
            "needs a window of 2 by 2 pixels in vertical direction");
    if (ComparesByPitch(trace) && HasNoDistance(trace))
        spots.push_back(std::string("anything: the compare distance is 0, each pixel is compared with itself; set ") +
                        (IsVertical(trace) ? "dScanPitch and nScanMultiple" : "dConvPitch and nConvMultiple"));
}

void AddEdges(const CConvParam& given, const CBlockTrace& trace, std::vector<std::string>& spots)
{
    const CConvParam& param = trace.param;
    if (!ComparesByPitch(trace))
        return;
    // The free float kernels always keep them.
    const bool kept = trace.eComparison == Comparison::Float && !trace.kernel.uses.Has(engine::KernelOption::NoSingles);
    if (param.bKeepSingle == 0 && !kept)
        spots.push_back("defects that have no partner, in the first and the last pitch of the region: " +
                        std::string(given.bKeepSingle != 0 ? "this call keeps no singles" : "bKeepSingle is 0"));
    if (trace.steps.bFilters && param.nImageWidth % nRowAlignment != 0)
        spots.push_back(
            "defects that pair filters or verification take for false by reading wrong pixels, most of all in "
            "the first and the last pitch: they assume rows of " +
            std::to_string((param.nImageWidth + nRowAlignment - 1) / nRowAlignment * nRowAlignment) +
            " bytes; give the image a width that is a multiple of 4");
}

/// Columns of a region whose pixels are sources, from the left side on: whole groups of 16 whose references lie in the
/// region. Horizontal float comparisons cut the region to such groups first and take half groups of what is left.
int SourceColumns(const CBlockTrace& trace, int whole)
{
    constexpr int group = 16;
    constexpr int half = 8;
    const int width = trace.param.rtInspect.Width();
    if (trace.eComparison == Comparison::Float && !IsVertical(trace))
        return std::max(width / group * group - whole - 1, 0) / half * half;
    return std::max(width - whole, 0) / group * group;
}

/// Columns of a region that its comparison looks at: the sources, and what their references and windows reach.
int ColumnsSeen(const CBlockTrace& trace)
{
    const CConvParam& param = trace.param;
    const bool isFloat = trace.eComparison == Comparison::Float;
    const double pitch = param.GetRealConvPitch();
    const int pitch16 = IsVertical(trace) ? 0 : isFloat ? engine::ToRoundedPitch16(pitch) : engine::ToPitch16(pitch);
    const int sources = SourceColumns(trace, pitch16 >> 4);
    if (sources == 0)
        return 0;
    const int hop = (pitch16 + 8) >> 4; // where the partner of a hit is taken to lie
    const int window = !isFloat ? 1 : trace.given.Has(engine::KernelOption::Window9) ? 3 : 2;
    return std::min(param.rtInspect.Width(), sources + hop + window - 1);
}

void AddColumns(const CBlockTrace& trace, std::vector<std::string>& spots)
{
    const int unseen = UnseenFrom(trace);
    if (unseen < trace.param.rtInspect.right)
        spots.push_back("defects of which the region's columns from " + std::to_string(unseen) +
                        " on hold all pixels: rows are compared in whole groups of 16 columns from the region's left "
                        "side");
}

void AddBands(const CBlockTrace& trace, std::vector<std::string>& spots)
{
    const std::vector<Problem> refusals = WordRefusals(trace.param, trace.bandRefusals, trace.param.nDirection == 1);
    if (!refusals.empty())
        spots.push_back("anything in bands of the region, which are refused without a code: " + NamesOf(refusals));
    for (const CRect& band : trace.unread)
        spots.push_back("columns " + Columns(band) +
                        ": no origin record of the grid's first row lies right of the band's left side");
    for (std::size_t i = 1; i < trace.bands.size(); ++i)
        spots.push_back(
            "that defects touch across column " + std::to_string(trace.bands[i].left) +
            ", where two bands meet: each side is a blob of its own; bBandThread 0 inspects the region whole");
}

void AddLevels(const CBlockTrace& trace, std::vector<std::string>& spots)
{
    const CConvParam& param = trace.param;
    const bool pixel = trace.eComparison == Comparison::Pixel;
    if (trace.bRuns && pixel && param.nThreshold >= 255)
        spots.push_back("anything: no difference exceeds nThreshold " + std::to_string(param.nThreshold));
    if (trace.bRuns && trace.eComparison == Comparison::Float && trace.given.Has(engine::KernelOption::Window9) &&
        param.nGrayLimit > nGreyLimitOf9)
        spots.push_back("differences of a 3 by 3 window of more than " + std::to_string(nGreyLimitOf9) +
                        " grey levels: they leave 16 bits; nGrayLimit " + std::to_string(nGreyLimitOf9) +
                        " or less excludes them");
    if (trace.bRuns && param.nGrayLimit < 255 && trace.eComparison != Comparison::Binarise)
        spots.push_back("differences above grey level " + std::to_string(param.nGrayLimit) +
                        ": nGrayLimit takes brighter values for it");
}

/// Rows are scanned in whole blocks that begin left of the last 16 columns.
void AddBinarise(const CBlockTrace& trace, std::vector<std::string>& spots)
{
    if (trace.eComparison != Comparison::Binarise)
        return;
    const CRect& region = trace.param.rtInspect;
    constexpr int block = 16;
    const int seen = std::max((region.Width() - 1) / block, 0) * block;
    spots.push_back("columns " + Columns(CRect(region.left + seen, 0, region.right, 0)) +
                    " of the region: binarise mode leaves each row's last 1 to 16 columns out");
    spots.emplace_back("pixels of level 0: binarise mode takes the levels between 0 and nThreshold for defects");
}

void AddStores(const CBlockTrace& trace, std::vector<std::string>& spots)
{
    const bool full = std::none_of(std::begin(trace.param.rtDeadZone), std::end(trace.param.rtDeadZone),
                                   [](const CRect& zone) { return zone.IsRectEmpty(); });
    if (full)
        spots.push_back("the dead zones: ten that are not empty count as none; allowed: " +
                        std::to_string(CConvParam::nDeadZoneLimit - 1));
    if (trace.bRuns && trace.param.nMaxReinspect < 1 && trace.eComparison != Comparison::Average)
        spots.emplace_back(
            "the rest of the region where hits or pairs fill their stores: nMaxReinspect allows no re-run");
    if (trace.bRuns && trace.steps.bLimited && trace.param.nMaxReinspect < 1)
        spots.push_back("anything where a pass finds more than " + std::to_string(CBlobStorage::nVerticalPairLimit) +
                        " pairs: they become no blobs, and nMaxReinspect allows no re-run");
}

} // namespace

std::vector<std::string> WordHazards(const CBlockTrace& trace)
{
    std::vector<std::string> hazards;
    const bool flagged = trace.eComparison == Comparison::Zone && trace.param.bZoneFlagged != 0 &&
                         trace.kernel.uses.Has(engine::KernelOption::Flagged);
    if (flagged && !trace.bands.empty())
        hazards.emplace_back(
            "bands search the origin grid as records of two ints, and bZoneFlagged makes them three; set "
            "bBandThread to 0");
    if (flagged && trace.param.nMaxReinspect > 0)
        hazards.emplace_back(
            "re-runs search the origin grid as records of two ints, and bZoneFlagged makes them three; "
            "set nMaxReinspect to 0");
    return hazards;
}

int UnseenFrom(const CBlockTrace& trace)
{
    const CRect& region = trace.param.rtInspect;
    const bool table = trace.kernel.uses.Has(engine::KernelOption::ConvPitches);
    if (!ComparesByPitch(trace) || trace.eComparison == Comparison::Trapezium || table)
        return region.right;
    return region.left + ColumnsSeen(trace);
}

std::vector<std::string> WordBlindSpots(const CConvParam& given, const CBlockTrace& trace)
{
    std::vector<std::string> spots;
    AddComparison(trace, spots);
    AddBands(trace, spots);
    AddColumns(trace, spots);
    AddEdges(given, trace, spots);
    AddLevels(trace, spots);
    AddBinarise(trace, spots);
    AddStores(trace, spots);
    return spots;
}

} // namespace narvo
