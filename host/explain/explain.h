// SPDX-License-Identifier: MIT
// Why a pixel was reported, or why it was not: the way of one pixel through an inspection, step by step, told by the
// engine's own operations on a replay of the real run.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/image/grey_image.h"
#include "host/inspect/inspector.h"
#include "host/probe/kernel_probe.h"
#include "host/probe/pass_replay.h"
#include "host/recipe/checked_recipe.h"

namespace narvo
{

/// Where the way of a pixel ended.
enum class Outcome
{
    Reported,      ///< part of a reported defect
    OutsideRegion, ///< not in the region
    OutsideScan,   ///< in the region, but no comparison reports there: its last pitch or its last columns
    Skipped,       ///< in a skipped cell of the zone grid, and nothing reports there
    NoHit,         ///< no comparison that could report it exceeds its threshold
    NoRecord,      ///< over the threshold, but the pairing or the kernel made no record of it
    PassDropped,   ///< the pass had too many records, so that all of them were dropped
    Filtered,      ///< a pair filter took the record for a false alarm
    Verified,      ///< the record matches at a short pitch of its zone, so it is pattern
    ZoneLimit,     ///< a grey limit of its zone dropped the record
    NoRoom,        ///< the record's group found no room for a further blob
    Ghost,         ///< its blob was taken for the ghost of another one pitch away
    TooSmall,      ///< its blob is smaller than min_area
    DeadPlace,     ///< its blob stands out most in a painted dead place
    Lost           ///< its blob found no room where the blobs of all bands are gathered
};

/// A filter's answer on a record.
struct FilterAnswer
{
    std::string name;
    bool stands;
};

struct Explanation
{
    CPoint place;
    int value = 0; ///< the image's grey value
    Outcome outcome = Outcome::NoHit;
    int blob = 0; ///< number of the reported defect, or 0

    CRect region;     ///< of the recipe
    CRect passRegion; ///< of the band and pass that dealt with the pixel
    int band = 0;     ///< 0, 1, ... among the bands that ran in parallel
    int bands = 1;
    int pass = 0; ///< 0, or the number of re-runs before
    int passes = 1;

    bool horizontal = false;
    CKernelProperties kernel; ///< without a name where no kernel at a pitch ran
    CChainTrace chain;        ///< comparisons at all pixels that lie whole hops before and behind

    std::optional<CDefectPair> record; ///< at the pixel, as the kernel wrote it
    std::vector<FilterAnswer> filters; ///< empty where none is asked
    std::optional<BlobStep> blobStep;
    std::vector<std::string> why; ///< the way of the pixel in sentences, ending with the outcome

    /// The pixel's own comparison with what lies one distance on; null where there is none.
    const CChainLink* Own() const;
    /// The comparison one distance before, whose reference this pixel is; null where there is none.
    const CChainLink* Before() const;
};

/// Explains pixels of one inspection. The inspection is run once, and its passes are replayed as they are asked for.
class Explainer
{
public:
    /// The image must outlive the explainer. @throws HostError when the recipe cannot inspect the image
    Explainer(const GreyImage& image, const CheckedRecipe& recipe);
    ~Explainer();

    /// What the inspection reports.
    const InspectionResult& Result() const;
    /// @throws HostError for a place outside the image
    Explanation Explain(CPoint place);

    class State;

private:
    std::unique_ptr<State> m_state;
};

/// A word for the outcome: "reported", "no hit".
std::string OutcomeName(Outcome outcome);
/// A word for what the pairing did.
std::string FateName(HitFate fate);

/// The explanation as text for a person, in lines.
std::string DescribeExplanation(const Explanation& explanation);
nlohmann::ordered_json ExplanationToJson(const Explanation& explanation);

} // namespace narvo
