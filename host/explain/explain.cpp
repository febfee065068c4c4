// The replay of an inspection, pass by pass and step by step, and the way of a pixel through it.
#include "host/explain/explain.h"

#include <algorithm>
#include <map>

#include "host/inspect/parameter_set.h"
#include "host/probe/comparison_alone.h"
#include "host/problem.h"
#include "host/recipe/recipe_check.h"
#include "narvoassem/narvoassem.h"

namespace narvo
{

namespace
{

// A vertical pass with more records builds no blobs.
constexpr int nVerticalRecordLimit = 100000;

std::string At(int x, int y)
{
    return std::to_string(x) + ", " + std::to_string(y);
}

std::string At(const CPoint& place)
{
    return At(place.x, place.y);
}

std::string BoundsText(const CRect& box)
{
    return At(box.left, box.top) + " to " + At(box.right - 1, box.bottom - 1);
}

/// Blobs held apart from an engine. The record of a blob is large, so they are copied only where a pass is replayed.
using Blobs = std::vector<CDefectBlob>;

Blobs CopyBlobs(CBlobStorage& store)
{
    return {store.pBlob, store.pBlob + store.nBlobCount};
}

void PutBlobs(CBlobStorage& store, const Blobs& blobs)
{
    std::copy(blobs.begin(), blobs.end(), store.pBlob);
    store.nBlobCount = static_cast<int>(blobs.size());
}

bool IsSame(const Blob& reported, const CDefectBlob& blob)
{
    return reported.box == blob.rtDefect && reported.area == blob.nPairCount && reported.center == blob.ptCenter &&
           reported.bright == (blob.nDefectType == DefectType_Bright);
}

} // namespace

const ChainLink* Explanation::Own() const
{
    return chain.asked >= 0 ? &chain.links[static_cast<std::size_t>(chain.asked)] : nullptr;
}

const ChainLink* Explanation::Before() const
{
    for (const ChainLink& link : chain.links)
        if ((horizontal ? link.pixel.place.x : link.pixel.place.y) == (horizontal ? place.x : place.y) - hop)
            return &link;
    return nullptr;
}

class Explainer::State
{
public:
    State(const GreyImage& image, const Recipe& recipe)
        : m_image(image), m_recipe(recipe), m_kind(recipe.GetKind()), m_asg(m_kind == Kind_Asg), m_set(image, recipe)
    {
        m_result = Inspector(1, recipe.maxBlobs).Inspect(0, image, recipe);
        if (IsStaged())
            FindPasses();
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
        if (IsStaged())
            return ExplainStaged(told);
        return ExplainByResult(told);
    }

private:
    /// A pass over a band: the parameters that it ran with, and the blobs that were there before.
    struct Pass
    {
        int band = 0;
        int number = 0;
        CConvParam param;
        Blobs earlier;
        std::unique_ptr<KernelProbe> probe; ///< made when it is asked for

        // The replay, likewise.
        bool replayed = false;
        std::vector<CDefectPair> written; ///< as the kernel wrote them
        std::vector<CDefectPair> judged;  ///< as the build left them
        std::vector<int> labels;
        Blobs built;                      ///< earlier ones and those of this pass, before merging
        std::map<int, BlobStep> steps;    ///< by the blob's place in `built`
        std::map<int, CDefectBlob> final; ///< what became of it; missing where it was a ghost
    };

    /// Paths whose steps can be run one by one; the others are told by their records and results.
    bool IsStaged() const { return m_kind != Kind_Trapezium && m_recipe.twicePitch == 0.0; }
    bool ComparesAtAPitch() const
    {
        return m_kind == Kind_Zone || m_kind == Kind_Pixel || m_kind == Kind_Float || m_kind == Kind_Asg;
    }
    bool IsVertical() const { return m_result.direction == Direction_Vertical && ComparesAtAPitch(); }

    static Explanation& End(Explanation& told, Outcome outcome, const std::string& sentence)
    {
        told.outcome = outcome;
        told.why.push_back(sentence);
        return told;
    }

    /// Runs the inspection with 0, 1, ... re-runs allowed: each time the engines keep the parameters of their last
    /// pass, and the blobs of all passes so far.
    void FindPasses()
    {
        CAssemControl pool;
        if (pool.InitAssemControl(1, m_recipe.maxBlobs) != 1)
            throw HostError({{"memory", "not enough for a replay", "a smaller max_blobs"}});
        CNarvoAssem& lane = *pool.GetNarvoAssem(0);
        std::vector<Blobs> before;
        for (int reruns = 0;; ++reruns)
        {
            std::vector<CNarvoAssem*> engines = {&lane};
            for (int i = 0; i < lane.pThreadControl->GetCount(); ++i)
                engines.push_back(lane.pThreadControl->GetAssem(i));
            for (CNarvoAssem* engine : engines)
            {
                engine->ResetNarvoAssem();
                engine->ResetReinspectCount();
                engine->ConvParam.pImage = nullptr;
            }
            CConvParam block = m_set.Block();
            block.nMaxReinspect = reruns;
            pool.Inspect_Rect(0, &block, m_asg ? 1 : 0);

            // Without a band split the lane's engine has run itself; with it, only the sub-engines have.
            std::erase_if(engines, [](const CNarvoAssem* engine) { return engine->ConvParam.pImage == nullptr; });
            if (engines.size() > 1)
                std::erase(engines, &lane);
            bool more = false;
            for (std::size_t i = 0; i < engines.size(); ++i)
            {
                CNarvoAssem& engine = *engines[i];
                if (reruns > 0 && !RanAgain(engine, static_cast<int>(i)))
                    continue;
                Pass& pass = m_passes.emplace_back();
                pass.band = static_cast<int>(i);
                pass.number = reruns;
                pass.param = engine.ConvParam;
                if (reruns > 0)
                    pass.earlier = before[i];
                more = true;
            }
            m_bands = static_cast<int>(engines.size());
            before.clear();
            for (CNarvoAssem* engine : engines)
                before.push_back(CopyBlobs(*engine));
            if (!more || reruns >= m_set.Block().nMaxReinspect)
                break;
        }
        if (m_replay.InitAssem(0, m_recipe.maxBlobs) != 1)
            throw HostError({{"memory", "not enough for a replay", "a smaller max_blobs"}});
    }

    /// Whether a further allowed re-run took this band on.
    bool RanAgain(const CNarvoAssem& engine, int band) const
    {
        for (auto pass = m_passes.rbegin(); pass != m_passes.rend(); ++pass)
            if (pass->band == band)
                return !(pass->param.rtInspect == engine.ConvParam.rtInspect);
        return false;
    }

    /// The pass whose part of the region holds the place: the last one of its band that begins at or before it.
    Pass* FindPass(const CPoint& place)
    {
        const bool columns = m_result.direction == Direction_Vertical && ComparesAtAPitch();
        Pass* found = nullptr;
        for (Pass& pass : m_passes)
        {
            const CRect& region = pass.param.rtInspect;
            const bool behind = columns ? place.x >= region.left && place.x < region.right
                                        : place.y >= region.top && place.y < region.bottom;
            if (behind && (found == nullptr || pass.number > found->number || pass.band > found->band))
                found = &pass;
        }
        return found;
    }

    Explanation ExplainStaged(Explanation& told)
    {
        Pass* const pass = FindPass(told.place);
        if (pass == nullptr)
            return End(told, Outcome::OutsideScan, "No pass of the inspection looked at it.");
        told.passRegion = pass->param.rtInspect;
        told.band = pass->band;
        told.bands = m_bands;
        told.pass = pass->number;
        told.passes = 1 + static_cast<int>(std::count_if(m_passes.begin(), m_passes.end(),
                                                         [&](const Pass& other)
                                                         { return other.band == pass->band && other.number > 0; }));
        if (m_bands > 1)
            told.why.push_back("It lies in band " + std::to_string(told.band + 1) + " of " + std::to_string(m_bands) +
                               ", " + BoundsText(told.passRegion) + ".");
        if (told.passes > 1)
            told.why.push_back("Pass " + std::to_string(told.pass + 1) + " of " + std::to_string(told.passes) +
                               " over that band looked at it.");
        if (ComparesAtAPitch())
            TellComparison(told, *pass);
        else
            TellPlainMode(told);

        Replay(*pass);
        const int record = FindRecord(*pass, told.place);
        if (record < 0)
            return EndWithoutRecord(told);
        told.record = pass->written[static_cast<std::size_t>(record)];
        TellRecord(told);
        if (IsVertical() && !m_asg && static_cast<int>(pass->written.size()) > nVerticalRecordLimit)
            return End(told, Outcome::PassDropped,
                       "Its pass has " + std::to_string(pass->written.size()) + " records, more than " +
                           std::to_string(nVerticalRecordLimit) + ": all of them were dropped.");
        return FollowRecord(told, *pass, record);
    }

    // --- the comparison ---

    void TellComparison(Explanation& told, Pass& pass)
    {
        if (pass.probe == nullptr)
        {
            CConvParam param = pass.param;
            if (m_asg)
                param.bKeepSingle = 0;
            pass.probe = std::make_unique<KernelProbe>(param, m_asg);
        }
        const KernelProbe& probe = *pass.probe;
        told.kernel = probe.Name();
        told.units = probe.Units();
        told.hop = probe.Hop();
        told.firstBandEnd = probe.FirstBandEnd();
        told.lastBandStart = probe.LastBandStart();
        told.chain = probe.Pair(told.place.x, told.place.y);
        if (const ChainLink* own = told.Own())
            TellLink(told, *own, "It", true);
        else
            told.why.push_back("It is not compared with anything further on: the scan has no room for that here.");
        if (const ChainLink* before = told.Before())
            TellLink(told, *before, "The pixel " + At(before->pixel.place), false);
    }

    std::string Grey(const Explanation& told, int value) const
    {
        if (told.units == 1)
            return std::to_string(value);
        return FormatNumber(static_cast<double>(value * 100 / told.units) / 100.0);
    }

    /// who: the pixel whose comparison this is.
    void TellLink(Explanation& told, const ChainLink& link, const std::string& who, bool own)
    {
        const ProbedPixel& pixel = link.pixel;
        std::string text = who + " is compared with what lies " + FormatNumber(pixel.pitch16 / 16.0) + " pixels " +
                           (told.horizontal ? "to the right" : "below") + (own ? "" : ", which is here") + ": " +
                           Grey(told, pixel.source) + " against " + Grey(told, pixel.reference) + ", a difference of " +
                           Grey(told, std::abs(pixel.Difference())) + " where the threshold is " +
                           Grey(told, pixel.threshold);
        if (pixel.thresholdBase >= 0)
            text += " (" + std::to_string(pixel.thresholdBase) + " + " + std::to_string(pixel.thresholdGain) +
                    "/256 of " + std::to_string(std::max(pixel.source, pixel.reference)) + ")";
        told.why.push_back(text + ".");
        if (own)
            TellSamples(told, pixel);
        if (own && pixel.inCell)
            told.why.push_back("It lies in zone " + std::to_string(pixel.zone) + ", at " + At(pixel.cellPlace) +
                               " of the zone cell that begins at " + At(pixel.cellOrigin) + ".");
        if (pixel.skipped)
            told.why.push_back("Its cell is skipped.");
        else if (!pixel.hit)
            told.why.push_back("That is no hit.");
        else
            told.why.push_back("That is a hit, " + std::string(pixel.bright ? "brighter" : "darker") +
                               " than what it is compared with, in the " + BandName(link.band) +
                               " band: " + FateName(link.fate) + ".");
    }

    /// The two pixels that a plain reference lies between; nothing where it is made of more.
    void TellSamples(Explanation& told, const ProbedPixel& pixel) const
    {
        const CConvParam& param = m_set.Block();
        const int fraction = pixel.pitch16 & 15;
        if (told.units != 1 || fraction == 0 || param.bAverage2by2 != 0 || param.fVtdPitch != 0.0F ||
            (told.horizontal && param.pConvPitchTable != nullptr))
            return;
        const int whole = pixel.pitch16 >> 4;
        const auto place = [&](int by) {
            return told.horizontal ? CPoint(pixel.place.x + by, pixel.place.y)
                                   : CPoint(pixel.place.x, pixel.place.y + by);
        };
        const CPoint near = place(whole);
        const CPoint far = place(whole + 1);
        if (far.x >= m_image.Width() || far.y >= m_image.Height())
            return;
        told.why.push_back("That reference lies " + std::to_string(fraction) + "/16 of the way from " +
                           std::to_string(m_image.Row(near.y)[near.x]) + " at " + At(near) + " to " +
                           std::to_string(m_image.Row(far.y)[far.x]) + " at " + At(far) + ".");
    }

    static std::string BandName(int band)
    {
        return band == DefectPos_First ? "first" : band == DefectPos_Last ? "last" : "middle";
    }

    void TellPlainMode(Explanation& told)
    {
        if (m_kind == Kind_Binarise)
            told.why.push_back("A pixel is a defect where it is above 0 and below " +
                               std::to_string(m_recipe.binariseLimit) + ".");
        else if (m_kind == Kind_Average)
            told.why.push_back("A pixel is a defect where the mean of its window lies more than " +
                               std::to_string(m_recipe.averageDark) + " below or " +
                               std::to_string(m_recipe.averageBright) + " above that of its background.");
        else
            told.why.push_back("The region is a polygon; its pixels are compared " +
                               FormatNumber(m_recipe.RealPitchY()) + " pixels below.");
    }

    Explanation EndWithoutRecord(Explanation& told)
    {
        if (!ComparesAtAPitch())
            return End(told, Outcome::NoHit, "The engine wrote no record for it.");
        const ChainLink* own = told.Own();
        const ChainLink* before = told.Before();
        const bool hit = (own != nullptr && own->pixel.hit) || (before != nullptr && before->pixel.hit);
        if (hit)
            return End(told, Outcome::NoRecord, NoRecordText(told, own, before));
        if (own == nullptr && before == nullptr)
            return End(told, Outcome::OutsideScan, "No comparison reaches it.");
        if (own != nullptr && own->pixel.skipped)
            return End(told, Outcome::Skipped, "It is not looked at, since its cell is skipped.");
        return End(told, Outcome::NoHit, "No comparison that could report it exceeds its threshold.");
    }

    static std::string NoRecordText(const Explanation& told, const ChainLink* own, const ChainLink* before)
    {
        // The hit at the pixel itself says more than the one before it.
        const bool ownHit = own != nullptr && own->pixel.hit;
        const ChainLink& link = ownHit ? *own : *before;
        const std::string place = "the pixel " + At(link.pixel.place);
        switch (link.fate)
        {
        case HitFate::Paired:
            return ownHit ? "The defect lies one distance on, where the partner is: the record stands there."
                          : "The record of " + place + " stands elsewhere.";
        case HitFate::Single:
            return ownHit && link.band == DefectPos_Last
                       ? "In the last band the defect is taken to lie one distance on: the record stands there."
                       : "The hit stands alone at " + place + ": the record stands there.";
        case HitFate::PairRefused:
        case HitFate::SingleRefused:
            return "The kernel refused the record of " + place + ": a dead zone, or the second threshold.";
        case HitFate::SingleUnkept:
            return "The hit of " + place +
                   " would stand alone, but singles are not kept, or it does not rise enough above its threshold.";
        case HitFate::Blocked:
            return "The hit " + std::to_string(told.hop) + " pixels on from " + place +
                   " cannot be its partner: it has the same polarity, is taken, or stands behind a farther one in the "
                   "kernel's list. So there is no record.";
        case HitFate::NoPartner:
            return "The hit of " + place + " has no partner of the other polarity " + std::to_string(told.hop) +
                   " pixels on, and in the middle band a hit without partner gives nothing.";
        case HitFate::Consumed:
            return ownHit ? "The hit is the second one of a pair that the kernel refused."
                          : "The hit of " + place +
                                " is the second one of a pair: the defect is there, and the asked "
                                "pixel was its reference.";
        default:
            return "The hit of " + place + " gives no record here.";
        }
    }

    // --- the replay ---

    void Replay(Pass& pass)
    {
        if (pass.replayed)
            return;
        pass.replayed = true;
        m_replay.ResetNarvoAssem();
        m_replay.SetConvParam(&pass.param);
        RunComparisonAlone(m_replay, m_asg);
        const int count = std::min(m_replay.nPairCount, m_replay.nPairSize);
        pass.written.assign(m_replay.pPair, m_replay.pPair + count);
        if (IsVertical() && !m_asg && count > nVerticalRecordLimit)
            return;
        PutBlobs(m_replay, pass.earlier);
        if (!ComparesAtAPitch())
            m_kind == Kind_FreeForm ? m_replay.BlobDefectVert_NonFilter() : m_replay.BlobDefect_NonFilter();
        else if (IsVertical())
            m_replay.BlobDefectVert();
        else
            m_replay.BlobDefect();
        pass.judged.assign(m_replay.pPair, m_replay.pPair + count);
        pass.labels.assign(m_replay.pPairLabel, m_replay.pPairLabel + count);
        pass.built = CopyBlobs(m_replay);
    }

    static int FindRecord(const Pass& pass, const CPoint& place)
    {
        for (std::size_t i = 0; i < pass.written.size(); ++i)
            if (pass.written[i].ptDefect == place)
                return static_cast<int>(i);
        return -1;
    }

    static void TellRecord(Explanation& told)
    {
        const CDefectPair& record = *told.record;
        const std::string polarity = record.nDefectType == DefectType_Bright ? "bright" : "dark";
        std::string text = "The record at the pixel is " + polarity + ", " + std::to_string(record.nSrcGray) +
                           " against " + std::to_string(record.nCmpGray) + ", threshold " +
                           std::to_string(record.nThreshold);
        if (record.nDefectPair == DefectPair_Paired)
            text += "; both answers were found";
        else if (record.nDefectPair == DefectPair_Single)
            text += record.nDefectPos == DefectPos_Last ? "; it stands for the unseen partner of the hit one distance "
                                                          "before"
                                                        : "; it stands alone";
        told.why.push_back(text + ".");
    }

    Explanation FollowRecord(Explanation& told, Pass& pass, int index)
    {
        const auto at = static_cast<std::size_t>(index);
        if (ComparesAtAPitch())
        {
            AskFilters(told, pass, pass.written[at]);
            if (!told.filters.empty() && !told.filters.back().stands)
                return End(told, Outcome::Filtered,
                           "The " + told.filters.back().name + " filter took it for a false alarm.");
        }
        if (pass.judged[at].nDefectType == DefectType_Removed && IsPattern(pass, pass.written[at]))
            return End(told, Outcome::Verified,
                       "It matches at a short pitch of zone " + std::to_string(pass.written[at].nZoneIndex) +
                           ", so it was taken for pattern.");
        if (pass.judged[at].nDefectType == DefectType_Removed)
            return End(told, Outcome::ZoneLimit,
                       "The grey limits of zone " + std::to_string(pass.judged[at].nZoneIndex) + " dropped it.");
        const int blob = FindBlob(pass, pass.labels[at]);
        if (blob < 0)
            return End(told, Outcome::NoRoom, "There was no room for a further blob (max_blobs).");
        TellBlob(told, pass, blob);
        if (told.blobStep->ghostOf)
            return End(told, Outcome::Ghost,
                       "That blob lies in an edge band, and another one covers its place one distance inward, " +
                           At(*told.blobStep->ghostOf) + ": it was removed as a ghost.");
        return MatchResult(told, pass.final.at(blob));
    }

    /// The filters on this record alone, in a store of its own.
    void AskFilters(Explanation& told, const Pass& pass, const CDefectPair& record)
    {
        CPairStorage store;
        store.ConvParam = pass.param;
        if (m_asg)
            store.ConvParam.nFilterMode = 1;
        if (store.InitPairStorage(1) < 1)
            throw HostError({{"memory", "not enough for a record", "more memory"}});
        store.pPair[0] = record;
        store.nPairCount = 1;
        store.CorrectDefGray();
        const CConvParam& param = store.ConvParam;
        if (IsVertical() && param.bZoneFlagged != 0)
            return;
        CDefectPair judged = store.pPair[0];
        const auto ask = [&](const char* name, int stands)
        {
            told.filters.push_back({name, stands != 0});
            told.why.push_back("The " + std::string(name) + " filter " +
                               (stands != 0 ? "lets it stand." : "drops it."));
            return stands != 0;
        };
        const bool tested = param.nFilterMode2 == 1 || record.nDefectPair == DefectPair_Single;
        if (IsVertical())
        {
            if (param.bFalseFilter == 0 || tested)
                if (ask("margin", store.OneFilter_Vert(&judged)) && param.bFalseFilter != 0)
                    param.nFilterMode == 1 ? ask("jump", store.JumpFilter_Vert(&judged))
                                           : ask("cross", store.CrossFilter_Hori(&judged));
            store.Filtering_Vert();
        }
        else
        {
            if (param.bFalseFilter != 0 && tested)
                if (ask("margin", store.MarginFilter_Hori(&judged)))
                    param.nFilterMode == 1 ? ask("jump", store.JumpFilter_Hori(&judged))
                                           : ask("cross", store.CrossFilter_Vert(&judged));
            store.Filtering_Hori();
        }
        // The walk of the inspection has the last word.
        const bool stands = store.pPair[0].nDefectType != DefectType_Removed;
        if (told.filters.empty() ? !stands : told.filters.back().stands != stands)
            ask("pair", stands ? 1 : 0);
        if (told.filters.empty())
            told.why.push_back("No filter is asked about it.");
    }

    /// The verification of a vertical build, asked for this record alone.
    bool IsPattern(const Pass& pass, const CDefectPair& record) const
    {
        if (!IsVertical())
            return false;
        CBlobStorage store;
        store.ConvParam = pass.param;
        if (store.InitPairStorage(1) < 1)
            throw HostError({{"memory", "not enough for a record", "more memory"}});
        store.pPair[0] = record;
        store.nPairCount = 1;
        store.CorrectDefGray();
        return store.VeriPitchDPCFiltering(&store.pPair[0]) != 0;
    }

    /// The blob of a label in the pass's own blobs; -1 where none was opened.
    static int FindBlob(const Pass& pass, int label)
    {
        for (int i = static_cast<int>(pass.built.size()) - 1; i >= static_cast<int>(pass.earlier.size()); --i)
            if (pass.built[static_cast<std::size_t>(i)].nBlobId == label)
                return i;
        return -1;
    }

    /// Merges and looks for ghosts once more with this blob marked: a count of sub-zones that nothing else has, which
    /// merging adds up.
    void FollowBlob(Pass& pass, int blob)
    {
        const int mark = CDefectBlob::nZoneLimit - 1;
        const int first = static_cast<int>(pass.earlier.size());
        m_replay.SetConvParam(&pass.param);
        PutBlobs(m_replay, pass.built);
        for (int i = 0; i < m_replay.nBlobCount; ++i)
            m_replay.pBlob[i].nSubZoneCount[mark] = i == blob ? 1 : 0;
        const auto find = [&]() -> CDefectBlob*
        {
            for (int i = first; i < m_replay.nBlobCount; ++i)
                if (m_replay.pBlob[i].nSubZoneCount[mark] != 0)
                    return &m_replay.pBlob[i];
            return nullptr;
        };
        const CConvParam& param = m_replay.ConvParam;
        const CDefectBlob& built = pass.built[static_cast<std::size_t>(blob)];
        BlobStep step;
        step.built = built.rtDefect;
        step.builtArea = built.nPairCount;
        m_replay.MergeDivision(first, param.nMergeDivision);
        const CDefectBlob* const merged = find();
        if (merged == nullptr)
            throw HostError({{"replay", "lost a blob in merging", "the blobs of the inspection"}});
        step.merged = merged->rtDefect;
        step.mergedArea = merged->nPairCount;
        const CDefectBlob kept = *merged;
        const bool vertical = IsVertical() || m_kind == Kind_FreeForm;
        const double pitch = vertical ? param.GetRealScanPitch() : param.GetRealConvPitch();
        if (vertical)
            m_replay.ShadowFilterVert(first, pitch);
        else if (ComparesAtAPitch())
            m_replay.ShadowFilter(first, pitch);
        if (const CDefectBlob* const left = find())
            pass.final.emplace(blob, *left);
        else
        {
            const double distance = kept.nDefectPos == DefectPos_First ? pitch : -pitch;
            step.ghostOf = vertical ? CPoint(kept.ptCenter.x, static_cast<int>(kept.ptCenter.y + distance))
                                    : CPoint(static_cast<int>(kept.ptCenter.x + distance), kept.ptCenter.y);
        }
        pass.steps.emplace(blob, step);
    }

    void TellBlob(Explanation& told, Pass& pass, int blob)
    {
        if (!pass.steps.contains(blob))
            FollowBlob(pass, blob);
        const BlobStep& step = pass.steps.at(blob);
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
        told.why.push_back(m_kind == Kind_Trapezium
                               ? "The region is cut into trapezia, whose steps are told by their result alone."
                               : "The inspection makes two passes at two pitches, told by their result alone.");
        const Blob* found = nullptr;
        for (const Blob& blob : m_result.blobs)
            if (blob.box.PtInRect(told.place) && (found == nullptr || blob.area < found->area))
                found = &blob;
        if (found == nullptr)
            return End(told, Outcome::NoHit, "No reported defect covers it.");
        told.blob = found->number;
        return End(told, Outcome::Reported,
                   "It lies within the frame of defect " + std::to_string(found->number) + ".");
    }

    const GreyImage& m_image;
    Recipe m_recipe;
    Kind m_kind;
    bool m_asg;
    ParameterSet m_set;
    InspectionResult m_result;
    std::vector<Pass> m_passes;
    int m_bands = 1;
    CNarvoAssem m_replay;
};

Explainer::Explainer(const GreyImage& image, const Recipe& recipe) : m_state(std::make_unique<State>(image, recipe))
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
