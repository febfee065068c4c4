// SPDX-License-Identifier: MIT
// Calls of the pool, and the copy of its blobs into plain results.
#include "host/inspect/inspector.h"

#include <algorithm>
#include <chrono>
#include <iterator>

#include "host/boxes.h"
#include "host/inspect/channel_inspection.h"
#include "host/inspect/elapsed.h"
#include "host/inspect/engine_records.h"
#include "host/inspect/inspection_plan.h"
#include "host/inspect/lattice_inspection.h"
#include "host/inspect/texture_inspection.h"
#include "host/limits.h"
#include "host/problem.h"
#include "host/recipe/recipe_check.h"
#include "host/recipe/region_shape.h"
#include "narvoassem/narvoassem.h"

namespace narvo
{

namespace
{

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
        result.pairRecords.push_back(CopyPair(*engine.GetPairDefect(i)));
}

/// The second pass of a two-pass kernel builds blobs from the pairs of both, so that those of the first come twice: of
/// two blobs of one polarity that overlap the larger stands, of equal ones the first.
void DropRepeated(std::vector<Blob>& blobs)
{
    std::stable_sort(blobs.begin(), blobs.end(), [](const Blob& a, const Blob& b) { return a.area > b.area; });
    std::vector<Blob> kept;
    for (const Blob& blob : blobs)
        if (std::none_of(kept.begin(), kept.end(),
                         [&](const Blob& other)
                         { return other.bright == blob.bright && Overlap(other.box, blob.box); }))
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

} // namespace

void Inspector::NoteFill(const CNarvoAssem& engine, Fill& fill)
{
    fill.pairs = std::max(fill.pairs, engine.GetPairCount());
    fill.halfOfHits = fill.halfOfHits || engine.GetPixelCount() >= engine.nPixelSize / 2;
}

Inspector::Inspector(int lanes, int maxBlobs) : m_lanes(lanes), m_maxBlobs(maxBlobs)
{
    std::vector<Problem> found;
    if (lanes < 1 || lanes > nLaneLimit)
        found.push_back({"lanes", std::to_string(lanes), "1 to " + std::to_string(nLaneLimit)});
    if (maxBlobs < 1 || maxBlobs > nBlobLimit)
        found.push_back({"max_blobs", std::to_string(maxBlobs), "1 to " + std::to_string(nBlobLimit)});
    ThrowIfAny(std::move(found));
    m_byLane.resize(static_cast<std::size_t>(lanes));
    Prepare(0);
}

Inspector::~Inspector() = default;

void Inspector::Prepare(int lane)
{
    Lane& made = m_byLane[static_cast<std::size_t>(lane)];
    if (made.pool == nullptr)
        SetRoom(made, std::min(m_maxBlobs, nFirstRoom));
}

/// Stores that are large enough keep their memory and change their limits alone.
/// @throws HostError without memory; the lane is made anew at its next call then
void Inspector::SetRoom(Lane& lane, int room)
{
    bool whole = true;
    if (lane.pool == nullptr)
    {
        lane.pool = std::make_unique<CAssemControl>();
        whole = lane.pool->InitAssemControl(1, room) == 1;
    }
    else
        for (CNarvoAssem* one : EnginesOf(*lane.pool->GetNarvoAssem(0)))
            one->InitAssem(one->nAssemIndex, room);
    if (!whole || !IsWhole(*lane.pool->GetNarvoAssem(0), room))
    {
        lane.pool.reset();
        throw HostError({{"memory", "not enough for a lane with room for " + std::to_string(room) + " blobs",
                          "fewer lanes or a smaller max_blobs"}});
    }
    lane.room = room;
}

/// The engine clears itself at each trapezium, so blobs are collected in between. @return the engine's code
int Inspector::InspectTrapezia(CAssemControl& pool, CConvParam& block, const InspectionPlan& plan, bool withPairs,
                               InspectionResult& result, Fill& fill)
{
    CNarvoAssem& engine = *pool.GetNarvoAssem(0);
    int worst = 1;
    for (const CTrapezium& trapezium : plan.Trapezia())
    {
        block.trapInspect = trapezium;
        result.outlines.push_back(CornersOf(trapezium));
        const auto start = std::chrono::steady_clock::now();
        const int code = pool.Inspect_Trapezium(0, &block);
        ThrowUnlessDone(code);
        result.inspectMilliseconds += MillisecondsSince(start);
        result.blobMilliseconds += engine.dBlobTime;
        result.pairs += engine.GetPairCount();
        result.overflowed = result.overflowed || engine.GetPairCount() >= engine.nPairSize;
        worst = std::max(worst, code);
        CollectBlobs(engine, plan.GetRecipe(), result);
        if (withPairs)
            CollectPairs(engine, result);
        NoteFill(engine, fill);
    }
    return worst;
}

void Inspector::CheckLane(int lane) const
{
    if (lane < 0 || lane >= m_lanes)
        throw HostError({{"lane", std::to_string(lane), "0 to " + std::to_string(m_lanes - 1)}});
}

InspectionResult Inspector::Inspect(int lane, const GreyView& image, const CheckedRecipe& recipe, bool withPairs)
{
    CheckLane(lane);
    const auto start = std::chrono::steady_clock::now();
    InspectionResult result = Inspect(lane, image, InspectionPlan(recipe, image.Width(), image.Height()), withPairs);
    result.totalMilliseconds = MillisecondsSince(start);
    return result;
}

InspectionResult Inspector::Inspect(int lane, const GreyView& image, const InspectionPlan& plan, bool withPairs)
{
    CheckLane(lane);
    if (image.Channels() != nullptr)
        return InspectChannels(*this, lane, *image.Channels(), plan, withPairs);
    if (plan.GetRecipe()->GetKind() == Kind_Texture)
        return InspectTexture(*this, lane, image, plan);
    if (plan.GetRecipe()->GetKind() == Kind_Lattice)
        return InspectLattice(*this, lane, image, plan);
    const auto start = std::chrono::steady_clock::now();
    Lane& own = m_byLane[static_cast<std::size_t>(lane)];
    const Recipe& recipe = plan.GetRecipe();
    const int wanted = std::min(recipe.maxBlobs, m_maxBlobs);
    // The last of two passes says nothing of the stores in the first.
    int room = recipe.twicePitch != 0.0 ? wanted : std::min(wanted, nFirstRoom);
    for (;;)
    {
        Fill fill;
        InspectionResult result = InspectWithin(own, room, image, plan, withPairs, fill);
        // With fewer pairs than room and space left for hits no store was full: more room gives the same.
        const bool same = result.reruns == 0 && !fill.halfOfHits && fill.pairs < room;
        if (same || room == wanted)
        {
            if (result.outlines.empty())
                result.drift = MeasureDrift(image, result.region, recipe, result.direction);
            result.totalMilliseconds = MillisecondsSince(start);
            return result;
        }
        const bool countKnown = result.reruns == 0 && !fill.halfOfHits;
        room = countKnown ? std::min(wanted, std::max(fill.pairs + 1, 4 * room)) : wanted;
    }
}

InspectionResult Inspector::InspectWithin(Lane& lane, int room, const GreyView& image, const InspectionPlan& plan,
                                          bool withPairs, Fill& fill)
{
    const Recipe& recipe = plan.GetRecipe();
    CConvParam block = plan.BlockFor(image);
    SetRoom(lane, room);
    CAssemControl& pool = *lane.pool;
    CNarvoAssem& engine = *pool.GetNarvoAssem(0);
    const std::vector<CNarvoAssem*> engines = EnginesOf(engine);
    for (CNarvoAssem* one : engines)
    {
        one->ResetNarvoAssem();
        one->ResetReinspectCount();
    }

    InspectionResult result;
    result.name = recipe.name;
    result.region = plan.Region();
    result.direction = plan.GetDirection();
    if (recipe.GetKind() == Kind_FreeForm)
        result.outlines.push_back(recipe.regionPoints);
    if (recipe.GetKind() == Kind_Trapezium)
        result.code = InspectTrapezia(pool, block, plan, withPairs, result, fill);
    else
    {
        result.code = pool.Inspect_Rect(0, &block, recipe.GetKind() == Kind_Asg ? 1 : 0);
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
    {
        result.reruns += one->nReinspectCount;
        NoteFill(*one, fill);
    }
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
    DropDeadBlobs(recipe, result);

    if (result.reruns > 0)
        result.warnings.push_back("overflow: " + std::to_string(result.reruns) +
                                  " re-runs; defects of the passes that overflowed may be missing");
    if (result.overflowed)
        result.warnings.push_back("the last pass ran full: the rest of its region was not looked at");
    if (dropped)
        result.warnings.push_back("more than " + std::to_string(CNarvoAssem::nVerticalPairLimit) +
                                  " pairs in a pass: its blobs were dropped; raise the thresholds");
    if (std::any_of(engines.begin(), engines.end(),
                    [&](const CNarvoAssem* one) { return one->GetBlobCount() + one->nMergedBlob >= room; }))
        result.warnings.push_back("room for blobs ran out, or nearly so: raise max_blobs (" + std::to_string(room) +
                                  ")");
    if (result.code == InspectCode_Partial && result.warnings.empty())
        result.warnings.push_back(engine.GetPairCount() > engine.nPairSize
                                      ? "more pairs than the engine's store holds"
                                      : "not enough memory for the search: part of the region was not looked at");
    return result;
}

void DropDeadBlobs(const Recipe& recipe, InspectionResult& result)
{
    std::vector<Blob>& blobs = result.blobs;
    if (!recipe.deadImage.IsEmpty())
        result.deadBlobs = static_cast<int>(
            std::erase_if(blobs, [&](const Blob& blob) { return IsPainted(recipe.deadImage, blob.peakPlace); }));
    for (std::size_t i = 0; i < blobs.size(); ++i)
        blobs[i].number = static_cast<int>(i) + 1;
}

} // namespace narvo
