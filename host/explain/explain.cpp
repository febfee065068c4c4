// SPDX-License-Identifier: MIT
// The way of a pixel through an inspection, from its place to a reported defect or to where it ended.
#include "host/explain/explain.h"

#include <optional>
#include <string>

#include "host/explain/explain_sentences.h"
#include "host/inspect/inspection_plan.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

bool IsSame(const Blob& reported, const CDefectBlob& blob)
{
    return reported.box == blob.rtDefect && reported.area == blob.nPairCount && reported.center == blob.ptCenter &&
           reported.bright == (blob.nDefectType == DefectType_Bright);
}

} // namespace

const CChainLink* Explanation::Own() const
{
    return chain.nAsked >= 0 ? &chain.links[static_cast<std::size_t>(chain.nAsked)] : nullptr;
}

const CChainLink* Explanation::Before() const
{
    for (const CChainLink& link : chain.links)
        if ((horizontal ? link.pixel.ptPlace.x : link.pixel.ptPlace.y) ==
            (horizontal ? place.x : place.y) - kernel.nHop)
            return &link;
    return nullptr;
}

namespace
{

/// Texture mode compares scores of many measures, lattice mode a reference of many pixels: not two pixels of the image.
const CheckedRecipe& Explainable(const CheckedRecipe& recipe)
{
    if (recipe->GetKind() == Kind_Texture || recipe->GetKind() == Kind_Lattice)
        throw HostError({{"mode", recipe->GetKind() == Kind_Texture ? "texture" : "lattice",
                          "zone, pixel, float, binarise, average or asg: a mode that compares pixels"}});
    return recipe;
}

} // namespace

class Explainer::State
{
public:
    State(const GreyImage& image, const CheckedRecipe& recipe)
        : m_image(image), m_plan(recipe, image.Width(), image.Height()), m_recipe(*m_plan.GetRecipe()),
          m_block(m_plan.BlockFor(image))
    {
        Inspector inspector(1, recipe->maxBlobs);
        m_result = inspector.Inspect(0, image, m_plan);
        if (recipe->GetKind() != Kind_Trapezium && recipe->twicePitch == 0.0)
            m_passes.emplace(m_block, recipe->GetKind() == Kind_Asg, inspector.Room(0));
    }

    const InspectionResult& Result() const { return m_result; }

    Explanation Explain(CPoint place)
    {
        if (place.x < 0 || place.y < 0 || place.x >= m_image.Width() || place.y >= m_image.Height())
            throw HostError(
                {{"place", At(place), "inside the image, 0, 0 to " + At(m_image.Width() - 1, m_image.Height() - 1)}});
        Explanation told;
        told.place = place;
        told.value = m_image.Row(place.y)[place.x];
        told.region = m_result.region;
        told.horizontal = m_result.direction == Direction_Horizontal;
        told.why.push_back("The pixel " + At(place) + " has the grey value " + std::to_string(told.value) + ".");
        if (!told.region.PtInRect(place))
            return End(told, Outcome::OutsideRegion,
                       "It lies outside the inspected region, " + BoundsText(told.region) + ".");
        return m_passes ? ExplainStaged(told) : ExplainByResult(told);
    }

private:
    static Explanation& End(Explanation& told, Outcome outcome, const std::string& sentence)
    {
        told.outcome = outcome;
        told.why.push_back(sentence);
        return told;
    }

    Explanation ExplainStaged(Explanation& told)
    {
        ReplayedPass* const pass = m_passes->Find(told.place);
        if (pass == nullptr)
            return End(told, Outcome::OutsideScan, "No pass of the inspection looked at it.");
        told.passRegion = pass->param.rtInspect;
        told.band = pass->band;
        told.bands = m_passes->Bands();
        told.pass = pass->number;
        told.passes = m_passes->PassesOver(pass->band);
        if (told.bands > 1)
            told.why.push_back("It lies in band " + std::to_string(told.band + 1) + " of " +
                               std::to_string(told.bands) + ", " + BoundsText(told.passRegion) + ".");
        if (told.passes > 1)
            told.why.push_back("Pass " + std::to_string(told.pass + 1) + " of " + std::to_string(told.passes) +
                               " over that band looked at it.");
        // The filters are for records of the kernels over rectangles, and a probe is.
        if (pass->steps.bFilters)
            TellComparison(told, *pass);
        else
            told.why.push_back(PlainModeText(m_recipe));

        m_passes->Replay(*pass);
        const int record = pass->FindRecord(told.place);
        if (record < 0)
            return EndWithoutRecord(told);
        told.record = pass->written[static_cast<std::size_t>(record)];
        told.why.push_back(RecordText(*told.record));
        if (pass->IsDropped())
            return End(told, Outcome::PassDropped,
                       "Its pass has " + std::to_string(pass->written.size()) + " records, more than " +
                           std::to_string(CNarvoAssem::nVerticalPairLimit) + ": all of them were dropped.");
        return FollowRecord(told, *pass, record);
    }

    void TellComparison(Explanation& told, ReplayedPass& pass)
    {
        const CKernelTrace& probe = m_passes->Probe(pass);
        told.kernel = probe.Properties();
        told.chain = probe.Pair(told.place.x, told.place.y);
        if (const CChainLink* own = told.Own())
            TellLink(told, *own, "It", m_block, m_image);
        else
            told.why.push_back("It is not compared with anything further on: the scan has no room for that here.");
        if (const CChainLink* before = told.Before())
            TellLink(told, *before, "The pixel " + At(before->pixel.ptPlace), m_block, m_image);
    }

    /// The smallest reported defect whose frame holds the place.
    const Blob* FindAround(CPoint place) const
    {
        const Blob* found = nullptr;
        for (const Blob& blob : m_result.blobs)
            if (blob.box.PtInRect(place) && (found == nullptr || blob.area < found->area))
                found = &blob;
        return found;
    }

    Explanation EndWithoutRecord(Explanation& told)
    {
        // Of an even defect that is larger than a pitch only the edges differ from what lies a pitch on.
        if (const Blob* around = FindAround(told.place))
            told.why.push_back("It lies within the frame of defect " + std::to_string(around->number) + ", " +
                               BoundsText(around->box) + ", but is none of its " + std::to_string(around->area) +
                               " pixels.");
        if (told.kernel.pWords == nullptr)
            return End(told, Outcome::NoHit, "The engine wrote no record for it.");
        const CChainLink* own = told.Own();
        const CChainLink* before = told.Before();
        const bool hit = (own != nullptr && own->pixel.bHit) || (before != nullptr && before->pixel.bHit);
        if (hit)
            return End(told, Outcome::NoRecord, NoRecordText(told, own, before));
        if (own == nullptr && before == nullptr)
            return End(told, Outcome::OutsideScan, "No comparison reaches it.");
        if (own != nullptr && own->pixel.bSkipped)
            return End(told, Outcome::Skipped, "It is not looked at, since its cell is skipped.");
        return End(told, Outcome::NoHit, "No comparison that could report it exceeds its threshold.");
    }

    Explanation FollowRecord(Explanation& told, ReplayedPass& pass, int index)
    {
        const auto at = static_cast<std::size_t>(index);
        const engine::CRecordTrace asked = PassReplay::Ask(pass, *told.record);
        TellFilters(told, asked);
        if (!told.filters.empty() && !told.filters.back().stands)
            return End(told, Outcome::Filtered,
                       "The " + told.filters.back().name + " filter took it for a false alarm.");
        if (pass.judged[at].nDefectType == DefectType_Removed && asked.bPattern)
            return End(told, Outcome::Verified,
                       "It matches at a short pitch of zone " + std::to_string(pass.written[at].nZoneIndex) +
                           ", so it was taken for pattern.");
        if (pass.judged[at].nDefectType == DefectType_Removed)
            return End(told, Outcome::ZoneLimit,
                       "The grey limits of zone " + std::to_string(pass.judged[at].nZoneIndex) + " dropped it.");
        const int blob = pass.FindBlob(pass.labels[at]);
        if (blob < 0)
            return End(told, Outcome::NoRoom, "There was no room for a further blob (max_blobs).");
        TellBlob(told, pass, blob);
        if (told.blobStep->ghostOf)
            return End(told, Outcome::Ghost,
                       "That blob lies in an edge band, and another one covers its place one distance inward, " +
                           At(*told.blobStep->ghostOf) + ": it was removed as a ghost.");
        return MatchResult(told, pass.final.at(blob));
    }

    static void TellFilters(Explanation& told, const engine::CRecordTrace& asked)
    {
        constexpr const char* names[] = {"margin", "jump", "cross"}; // as PairFilter
        for (int i = 0; i < asked.trail.nCount; ++i)
        {
            const auto& [filter, stands] = asked.trail.answers[i];
            told.filters.push_back({names[static_cast<std::size_t>(filter)], stands});
            told.why.push_back("The " + told.filters.back().name + " filter " +
                               (stands ? "lets it stand." : "drops it."));
        }
        if (asked.bFiltered && told.filters.empty())
            told.why.push_back("No filter is asked about it.");
    }

    void TellBlob(Explanation& told, ReplayedPass& pass, int blob)
    {
        m_passes->FollowBlob(pass, blob);
        const BlobStep& step = pass.followed.at(blob);
        told.blobStep = step;
        told.why.push_back("It went into a blob of " + std::to_string(step.builtArea) + " pixels, " +
                           BoundsText(step.built) + ".");
        if (step.mergedArea != step.builtArea)
            told.why.push_back("That was merged with others near it: " + std::to_string(step.mergedArea) + " pixels, " +
                               BoundsText(step.merged) + ".");
    }

    Explanation MatchResult(Explanation& told, const CDefectBlob& blob)
    {
        for (const Blob& reported : m_result.blobs)
            if (IsSame(reported, blob))
            {
                told.blob = reported.number;
                return End(told, Outcome::Reported,
                           "It is reported as part of defect " + std::to_string(reported.number) + ".");
            }
        if (blob.nPairCount < m_recipe.minArea)
            return End(told, Outcome::TooSmall,
                       "That is smaller than min_area, " + std::to_string(m_recipe.minArea) + ": it is not reported.");
        const GreyImage& dead = m_recipe.deadImage;
        if (CRect(0, 0, dead.Width(), dead.Height()).PtInRect(blob.ptPeak) &&
            dead.Row(blob.ptPeak.y)[blob.ptPeak.x] != 0)
            return End(told, Outcome::DeadPlace,
                       "That stands out most at " + At(blob.ptPeak) + ", a painted dead place: it is not reported.");
        return End(told, Outcome::Lost, "The blob found no room where those of all bands are gathered (max_blobs).");
    }

    /// Paths whose steps are not run one by one: by what is reported around the place.
    Explanation ExplainByResult(Explanation& told)
    {
        told.passRegion = told.region;
        told.why.push_back(m_recipe.GetKind() == Kind_Trapezium
                               ? "The region is cut into trapezia, whose steps are told by their result alone."
                               : "The inspection makes two passes at two pitches, told by their result alone.");
        const Blob* const found = FindAround(told.place);
        if (found == nullptr)
            return End(told, Outcome::NoHit, "No reported defect covers it.");
        told.blob = found->number;
        return End(told, Outcome::Reported,
                   "It lies within the frame of defect " + std::to_string(found->number) + ".");
    }

    const GreyImage& m_image;
    InspectionPlan m_plan;
    const Recipe& m_recipe;
    CConvParam m_block;
    InspectionResult m_result;
    std::optional<PassReplay> m_passes; ///< of staged paths
};

Explainer::Explainer(const GreyImage& image, const CheckedRecipe& recipe)
    : m_state(std::make_unique<State>(image, Explainable(recipe)))
{
}

Explainer::~Explainer() = default;

const InspectionResult& Explainer::Result() const
{
    return m_state->Result();
}

Explanation Explainer::Explain(CPoint place)
{
    return m_state->Explain(place);
}

} // namespace narvo
