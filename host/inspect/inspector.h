// SPDX-License-Identifier: MIT
// The runner: calls the pool of engines lane by lane and hands back plain results.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/image/grey_image.h"
#include "host/inspect/drift_measures.h"
#include "host/recipe/checked_recipe.h"
#include "host/recipe/recipe.h"
#include "narvoassem/platform.h"

class CAssemControl;
class CConvParam;
class CNarvoAssem;

namespace narvo
{

class InspectionPlan;

/// One reported defect.
struct Blob
{
    int number;         ///< 1, 2, ... in the order of the report
    bool bright;        ///< brighter than its reference, otherwise darker
    int band;           ///< 1 first pitch of the region, 2 middle, 3 last
    bool single;        ///< seen against one neighbour only
    int area;           ///< pixels
    CRect box;          ///< right and bottom exclusive
    CPoint center;      ///< mean of its pixels
    CPoint peakPlace;   ///< where it stands out most
    int peak;           ///< how far it rises above its threshold there, grey levels
    int maxDifference;  ///< difference there, grey levels
    int meanDifference; ///< grey levels
    int meanGrey;       ///< of its pixels
    int meanReference;  ///< of what they were compared with
    int zone;           ///< the zone that holds most of its pixels
    int scale;        ///< reduction of the image at which it stands out most; 1 where only the image itself is compared
    int channel;      ///< where each colour channel is inspected, a Channel: the one that shows it most; otherwise 0
    int label;        ///< the recipe's label
    int diameter;     ///< in the recipe's pixel sizes
    double angle;     ///< of the long axis, degrees
    double majorAxis; ///< pixels
    double minorAxis; ///< pixels
    double circularity;
    double elongation; ///< area over the major axis, pixels: the mean width of a long defect, 0.8 of a square's side
};

/// One answer of the comparison, as it stands once blobs have been built from all of them.
struct Pair
{
    CPoint place;
    bool bright;   ///< brighter than its reference, otherwise darker; of a removed pair, darker
    bool removed;  ///< a filter took it for a false answer: it is in no blob
    int band;      ///< 1 first pitch of the region, 2 middle, 3 last
    int origin;    ///< a DefectPair of the engine: 1 both answers found, 3 or 4 settled by classification, 5 single
    int peak;      ///< how far it rises above its threshold, grey levels; of window sums, in their units
    int grey;      ///< at its place
    int reference; ///< what it was compared with
    int threshold; ///< that applied there
    int zone;
};

/// What came out of one inspection.
struct InspectionResult
{
    std::string name; ///< the recipe's
    int code = 0;     ///< the engine's: 1 done, 16 done with re-runs, more pairs than fit or memory short
    Direction direction = Direction_Vertical;
    CRect region;
    std::vector<std::vector<CPoint>> outlines; ///< corners of the region's parts where it is no rectangle
    int pairs = 0;                             ///< pair records of the last pass, all bands or trapezia
    bool overflowed = false;                   ///< a pass ran full
    int reruns = 0;                            ///< passes that had to be started again behind an overflow
    double inspectMilliseconds = 0.0;
    double blobMilliseconds = 0.0;
    double totalMilliseconds = 0.0;    ///< tables and copies included
    DriftMeasures drift;               ///< of plain comparisons of a rectangle in grey
    int deadBlobs = 0;                 ///< left out as lying in the recipe's painted dead places
    std::vector<std::string> warnings; ///< what was perhaps not looked at, or lost
    std::vector<Blob> blobs;
    std::vector<Pair> pairRecords; ///< the counted pairs themselves, where they were asked for
};

/// Engines for `lanes` inspections at once. Calls on different lanes may run on different threads. Memory follows what
/// is used: a lane takes its own when it first works, and more room for blobs than nFirstRoom when an image needs it.
class Inspector
{
public:
    /// Room that a lane begins with where more is allowed.
    static constexpr int nFirstRoom = 20000;

    /// Makes the first lane. `maxBlobs` is the most room that a recipe gets.
    /// @throws HostError for lanes outside 1 .. 256, blobs outside 1 .. 1000000, or without memory for the engines;
    /// std::bad_alloc without memory for anything else
    Inspector(int lanes, int maxBlobs);
    ~Inspector();
    Inspector(const Inspector&) = delete;
    Inspector& operator=(const Inspector&) = delete;

    int Lanes() const { return m_lanes; }

    /// Makes a lane that has not worked yet. @throws HostError without memory for it
    void Prepare(int lane);

    /// Room for blobs in the lane's last inspection. It is the recipe's, or less where the result is the same.
    int Room(int lane) const { return m_byLane[static_cast<std::size_t>(lane)].room; }

    /// Inspects one image. Re-run budgets of the lane and of its band engines start afresh, so that no image inherits
    /// another's. `withPairs` asks for pairRecords.
    /// @throws HostError when the lane is not valid or the image has not the plan's size; std::bad_alloc without memory
    /// for results, and the lane stays usable. Memory that the engine lacks for its search turns the code to 16, with a
    /// warning
    InspectionResult Inspect(int lane, const GreyView& image, const InspectionPlan& plan, bool withPairs = false);

    /// The same by a plan for this image alone. @throws HostError also when the recipe does not suit the image
    InspectionResult Inspect(int lane, const GreyView& image, const CheckedRecipe& recipe, bool withPairs = false);

private:
    /// One lane: an engine pool of its own, so that lanes take memory one by one.
    struct Lane
    {
        std::unique_ptr<CAssemControl> pool;
        int room = 0; ///< for blobs, in the last inspection
    };
    /// How far an inspection has filled the stores.
    struct Fill
    {
        int pairs = 0;           ///< most of one pass
        bool halfOfHits = false; ///< or more, in some pass
    };

    void CheckLane(int lane) const;
    static void NoteFill(const CNarvoAssem& engine, Fill& fill);
    static void SetRoom(Lane& lane, int room);
    static InspectionResult InspectWithin(Lane& lane, int room, const GreyView& image, const InspectionPlan& plan,
                                          bool withPairs, Fill& fill);
    static int InspectTrapezia(CAssemControl& pool, CConvParam& block, const InspectionPlan& plan, bool withPairs,
                               InspectionResult& result, Fill& fill);

    std::vector<Lane> m_byLane;
    int m_lanes;
    int m_maxBlobs;
};

/// Takes blobs out whose peak lies on the recipe's dead image, counts them and numbers the others, once all lie in the
/// coordinates of the whole image.
void DropDeadBlobs(const Recipe& recipe, InspectionResult& result);

} // namespace narvo
