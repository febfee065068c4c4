// Calls of the pool, and the copy of its blobs into plain results.
#include "host/inspect/inspector.h"

#include <algorithm>
#include <chrono>
#include <iterator>

#include "host/inspect/parameter_set.h"
#include "host/inspect/region_shape.h"
#include "host/problem.h"
#include "host/recipe/recipe_check.h"
#include "narvoassem/narvoassem.h"

namespace narvo
{

namespace
{

constexpr int nLaneLimit = 256;
constexpr int nBlobLimit = 1000000;

Blob CopyBlob(const CDefectBlob& source)
{
    Blob blob{};
    blob.bright = source.nDefectType == DefectType_Bright;
    blob.band = source.nDefectPos;
    blob.single = source.nDefectPair == DefectPair_Single;
    blob.area = source.nPairCount;
    blob.box = source.rtDefect;
    blob.center = source.ptCenter;
    blob.peakPlace = source.ptPeak;
    blob.peak = source.nMaxPeak;
    blob.maxDifference = source.nMaxDiff;
    blob.meanDifference = source.nAvgDiff;
    blob.meanGrey = source.nAvgSrcGray;
    blob.meanReference = source.nAvgCmpGray;
    blob.zone = static_cast<int>(std::distance(
        std::begin(source.nZoneCount), std::max_element(std::begin(source.nZoneCount), std::end(source.nZoneCount))));
    blob.label = source.nMultiType;
    blob.diameter = source.nRScale;
    blob.angle = source.dAngle;
    blob.majorAxis = source.dMajorAxis;
    blob.minorAxis = source.dMinorAxis;
    blob.circularity = source.dCircularity;
    blob.elongation = source.dElongation;
    return blob;
}

/// The lane's engine and behind it those of its band split.
std::vector<CNarvoAssem*> EnginesOf(CNarvoAssem& lane)
{
    std::vector<CNarvoAssem*> engines = {&lane};
    if (lane.pThreadControl != nullptr)
        for (int i = 0; i < lane.pThreadControl->GetCount(); ++i)
            engines.push_back(lane.pThreadControl->GetAssem(i));
    return engines;
}

/// Whether every engine of a lane has all its stores. The pool tells of missing lanes only.
bool IsWhole(CNarvoAssem& lane, int maxBlobs)
{
    const std::vector<CNarvoAssem*> engines = EnginesOf(lane);
    return engines.size() > 1 &&
           std::all_of(engines.begin(), engines.end(),
                       [maxBlobs](const CNarvoAssem* one)
                       { return one->pPixelX != nullptr && one->pPair != nullptr && one->nBlobSize == maxBlobs; });
}

void CollectBlobs(CNarvoAssem& engine, const Recipe& recipe, InspectionResult& result)
{
    for (int i = 0; i < engine.GetBlobCount(); ++i)
        if (const CDefectBlob& blob = *engine.GetBlobDefect(i); blob.bRemoved == 0 && blob.nPairCount >= recipe.minArea)
            result.blobs.push_back(CopyBlob(blob));
}

void CollectPairs(CNarvoAssem& engine, InspectionResult& result)
{
    // The count goes on where the store is full.
    for (int i = 0; i < std::min(engine.GetPairCount(), engine.nPairSize); ++i)
    {
        const CDefectPair& source = *engine.GetPairDefect(i);
        result.pairRecords.push_back({source.ptDefect, source.nDefectType == DefectType_Bright,
                                      source.nDefectType == DefectType_Removed, source.nDefectPos, source.nDefectPair,
                                      source.nPeak, source.nSrcGray, source.nCmpGray, source.nThreshold,
                                      source.nZoneIndex});
    }
}

/// The second pass of a two-pass kernel builds blobs from the pairs of both, so that those of the first come twice: of
/// two blobs of one polarity that overlap the larger stands, of equal ones the first.
void DropRepeated(std::vector<Blob>& blobs)
{
    const auto overlap = [](const CRect& a, const CRect& b)
    { return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom; };
    std::stable_sort(blobs.begin(), blobs.end(), [](const Blob& a, const Blob& b) { return a.area > b.area; });
    std::vector<Blob> kept;
    for (const Blob& blob : blobs)
        if (std::none_of(kept.begin(), kept.end(),
                         [&](const Blob& other)
                         { return other.bright == blob.bright && overlap(other.box, blob.box); }))
            kept.push_back(blob);
    blobs = std::move(kept);
}

bool IsPainted(const GreyImage& painted, const CPoint& place)
{
    return CRect(0, 0, painted.Width(), painted.Height()).PtInRect(place) && painted.Row(place.y)[place.x] != 0;
}

void ThrowUnlessDone(int code)
{
    if (code != InspectCode_Done && code != InspectCode_Partial)
        throw HostError({{"inspection", "refused by the engine with code " + std::to_string(code),
                          "a recipe that passes the engine's checks"}});
}

double MillisecondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

Inspector::Inspector(int lanes, int maxBlobs)
    : m_pool(std::make_unique<CAssemControl>()), m_lanes(lanes), m_maxBlobs(maxBlobs)
{
    std::vector<Problem> found;
    if (lanes < 1 || lanes > nLaneLimit)
        found.push_back({"lanes", std::to_string(lanes), "1 to " + std::to_string(nLaneLimit)});
    if (maxBlobs < 1 || maxBlobs > nBlobLimit)
        found.push_back({"max_blobs", std::to_string(maxBlobs), "1 to " + std::to_string(nBlobLimit)});
    ThrowIfAny(std::move(found));
    bool whole = m_pool->InitAssemControl(lanes, maxBlobs) == lanes;
    for (int i = 0; whole && i < lanes; ++i)
        whole = IsWhole(*m_pool->GetNarvoAssem(i), maxBlobs);
    if (!whole)
        throw HostError(
            {{"memory", "not enough for " + std::to_string(lanes) + " lanes of " + std::to_string(maxBlobs) + " blobs",
              "fewer lanes or a smaller max_blobs"}});
}

Inspector::~Inspector() = default;

/// The engine clears itself at each trapezium, so blobs are collected in between. @return the engine's code
int Inspector::InspectTrapezia(int lane, ParameterSet& set, const Recipe& recipe, bool withPairs,
                               InspectionResult& result)
{
    CNarvoAssem& engine = *m_pool->GetNarvoAssem(lane);
    int worst = 1;
    for (const CTrapezium& trapezium : set.Trapezia())
    {
        set.Block().trapInspect = trapezium;
        result.outlines.push_back(CornersOf(trapezium));
        const auto start = std::chrono::steady_clock::now();
        const int code = m_pool->Inspect_Trapezium(lane, &set.Block());
        ThrowUnlessDone(code);
        result.inspectMilliseconds += MillisecondsSince(start);
        result.blobMilliseconds += engine.dBlobTime;
        result.pairs += engine.GetPairCount();
        result.overflowed = result.overflowed || engine.GetPairCount() >= engine.nPairSize;
        worst = std::max(worst, code);
        CollectBlobs(engine, recipe, result);
        if (withPairs)
            CollectPairs(engine, result);
    }
    return worst;
}

InspectionResult Inspector::Inspect(int lane, const GreyView& image, const Recipe& recipe, bool withPairs)
{
    if (lane < 0 || lane >= m_lanes)
        throw HostError({{"lane", std::to_string(lane), "0 to " + std::to_string(m_lanes - 1)}});
    const auto start = std::chrono::steady_clock::now();
    ParameterSet set(image, recipe);

    CNarvoAssem& engine = *m_pool->GetNarvoAssem(lane);
    const std::vector<CNarvoAssem*> engines = EnginesOf(engine);
    for (CNarvoAssem* one : engines)
    {
        one->ResetNarvoAssem();
        one->ResetReinspectCount();
    }

    InspectionResult result;
    result.name = recipe.name;
    result.region = set.Block().rtInspect;
    result.direction = ResolveDirection(recipe, result.region);
    if (recipe.GetKind() == Kind_FreeForm)
        result.outlines.push_back(recipe.regionPoints);
    if (recipe.GetKind() == Kind_Trapezium)
        result.code = InspectTrapezia(lane, set, recipe, withPairs, result);
    else
    {
        result.code = m_pool->Inspect_Rect(lane, &set.Block(), recipe.GetKind() == Kind_Asg ? 1 : 0);
        ThrowUnlessDone(result.code);
        CollectBlobs(engine, recipe, result);
    }

    if (recipe.GetKind() != Kind_Trapezium)
    {
        result.pairs = engine.GetPairCount();
        result.inspectMilliseconds = engine.dInspectTime;
        result.blobMilliseconds = engine.dBlobTime;
    }
    for (const CNarvoAssem* one : engines)
        result.reruns += one->nReinspectCount;
    // After a band split the lane's own pair count is the sum over the bands, with no pass behind it.
    std::vector<CNarvoAssem*> passes;
    std::copy_if(engines.begin() + 1, engines.end(), std::back_inserter(passes),
                 [](const CNarvoAssem* one) { return one->GetPairCount() > 0; });
    if (passes.empty())
        passes.push_back(&engine);
    if (withPairs && recipe.GetKind() != Kind_Trapezium)
        for (CNarvoAssem* one : passes)
            CollectPairs(*one, result);
    result.overflowed =
        result.overflowed || std::any_of(passes.begin(), passes.end(),
                                         [](const CNarvoAssem* one) { return one->GetPairCount() >= one->nPairSize; });
    // Of the vertical paths, these leave out the blob step.
    const bool limited = recipe.GetKind() == Kind_Zone || recipe.GetKind() == Kind_Float ||
                         (recipe.GetKind() == Kind_Pixel && recipe.twicePitch == 0.0);
    const bool dropped =
        limited && result.direction == Direction_Vertical &&
        std::any_of(passes.begin(), passes.end(),
                    [](const CNarvoAssem* one) { return one->GetPairCount() > CNarvoAssem::nVerticalPairLimit; });

    if (recipe.twicePitch != 0.0)
        DropRepeated(result.blobs);
    if (!recipe.deadImage.IsEmpty())
        result.deadBlobs = static_cast<int>(
            std::erase_if(result.blobs, [&](const Blob& blob) { return IsPainted(recipe.deadImage, blob.peakPlace); }));
    for (std::size_t i = 0; i < result.blobs.size(); ++i)
        result.blobs[i].number = static_cast<int>(i) + 1;

    if (result.reruns > 0)
        result.warnings.push_back("overflow: " + std::to_string(result.reruns) +
                                  " re-runs; defects of the passes that overflowed may be missing");
    if (result.overflowed)
        result.warnings.push_back("the last pass ran full: the rest of its region was not looked at");
    if (dropped)
        result.warnings.push_back("more than " + std::to_string(CNarvoAssem::nVerticalPairLimit) +
                                  " pairs in a pass: its blobs were dropped; raise the thresholds");
    if (std::any_of(engines.begin(), engines.end(),
                    [&](const CNarvoAssem* one) { return one->GetBlobCount() + one->nMergedBlob >= m_maxBlobs; }))
        result.warnings.push_back("room for blobs ran out, or nearly so: raise max_blobs (" +
                                  std::to_string(m_maxBlobs) + ")");
    if (result.code == InspectCode_Partial && result.warnings.empty())
        result.warnings.push_back(engine.GetPairCount() > engine.nPairSize
                                      ? "more pairs than the engine's store holds"
                                      : "not enough memory for the search: part of the region was not looked at");
    result.totalMilliseconds = MillisecondsSince(start);
    return result;
}

} // namespace narvo
