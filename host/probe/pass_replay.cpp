// SPDX-License-Identifier: MIT
// Runs of an inspection with 0, 1, ... re-runs allowed, and the steps of a pass on an engine of its own.
#include "host/probe/pass_replay.h"

#include <algorithm>

#include "host/problem.h"

namespace narvo
{

namespace
{

Blobs CopyBlobs(CBlobStorage& store)
{
    return {store.pBlob, store.pBlob + store.nBlobCount};
}

void PutBlobs(CBlobStorage& store, const Blobs& blobs)
{
    std::copy(blobs.begin(), blobs.end(), store.pBlob);
    store.nBlobCount = static_cast<int>(blobs.size());
}

} // namespace

int ReplayedPass::FindRecord(const CPoint& place) const
{
    for (std::size_t i = 0; i < written.size(); ++i)
        if (written[i].ptDefect == place)
            return static_cast<int>(i);
    return -1;
}

int ReplayedPass::FindBlob(int label) const
{
    for (int i = static_cast<int>(built.size()) - 1; i >= static_cast<int>(earlier.size()); --i)
        if (built[static_cast<std::size_t>(i)].nBlobId == label)
            return i;
    return -1;
}

PassReplay::PassReplay(const CConvParam& block, bool asg, int maxBlobs) : m_asg(asg)
{
    FindPasses(block, maxBlobs);
}

/// Runs the inspection with 0, 1, ... re-runs allowed: each time the engines keep the parameters of their last
/// pass, and the blobs of all passes so far.
void PassReplay::FindPasses(const CConvParam& allowed, int maxBlobs)
{
    CAssemControl pool;
    if (pool.InitAssemControl(1, maxBlobs) != 1)
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
        CConvParam block = allowed;
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
            ReplayedPass& pass = m_passes.emplace_back();
            pass.band = static_cast<int>(i);
            pass.number = reruns;
            pass.param = engine.ConvParam;
            pass.steps = engine::GetBlobSteps(pass.param, engine::ChooseComparison(pass.param, m_asg));
            if (reruns > 0)
                pass.earlier = before[i];
            more = true;
        }
        m_bands = static_cast<int>(engines.size());
        before.clear();
        for (CNarvoAssem* engine : engines)
            before.push_back(CopyBlobs(*engine));
        if (!more || reruns >= allowed.nMaxReinspect)
            break;
    }
    if (m_replay.InitAssem(0, maxBlobs) != 1)
        throw HostError({{"memory", "not enough for a replay", "a smaller max_blobs"}});
}

/// Whether a further allowed re-run took this band on.
bool PassReplay::RanAgain(const CNarvoAssem& engine, int band) const
{
    for (auto pass = m_passes.rbegin(); pass != m_passes.rend(); ++pass)
        if (pass->band == band)
            return !(pass->param.rtInspect == engine.ConvParam.rtInspect);
    return false;
}

ReplayedPass* PassReplay::Find(const CPoint& place)
{
    ReplayedPass* found = nullptr;
    for (ReplayedPass& pass : m_passes)
        if (pass.param.rtInspect.PtInRect(place) && (found == nullptr || pass.number > found->number))
            found = &pass;
    return found;
}

int PassReplay::PassesOver(int band) const
{
    return 1 + static_cast<int>(std::count_if(m_passes.begin(), m_passes.end(),
                                              [&](const ReplayedPass& pass)
                                              { return pass.band == band && pass.number > 0; }));
}

const CKernelTrace& PassReplay::Probe(ReplayedPass& pass) const
{
    if (pass.probe == nullptr)
        pass.probe = ProbeKernel(pass.param, m_asg);
    return *pass.probe;
}

void PassReplay::Replay(ReplayedPass& pass)
{
    if (pass.replayed)
        return;
    pass.replayed = true;
    m_replay.SetConvParam(&pass.param);
    engine::TraceToPairs(m_replay, engine::ChooseComparison(pass.param, m_asg));
    const int count = std::min(m_replay.nPairCount, m_replay.nPairSize);
    pass.written.assign(m_replay.pPair, m_replay.pPair + count);
    if (pass.IsDropped())
        return;
    PutBlobs(m_replay, pass.earlier);
    engine::BuildBlobs(m_replay, pass.steps);
    pass.judged.assign(m_replay.pPair, m_replay.pPair + count);
    pass.labels.assign(m_replay.pPairLabel, m_replay.pPairLabel + count);
    pass.built = CopyBlobs(m_replay);
}

engine::CRecordTrace PassReplay::Ask(const ReplayedPass& pass, const CDefectPair& record)
{
    engine::CRecordTrace trace;
    if (!engine::TraceRecord(pass.param, pass.steps, record, trace))
        throw HostError({{"memory", "not enough for a record", "more memory"}});
    return trace;
}

/// Merges and looks for ghosts once more with this blob marked: a count of sub-zones that nothing else has, which
/// merging adds up.
void PassReplay::FollowBlob(ReplayedPass& pass, int blob)
{
    if (pass.followed.contains(blob))
        return;
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
    const CDefectBlob& built = pass.built[static_cast<std::size_t>(blob)];
    BlobStep step;
    step.built = built.rtDefect;
    step.builtArea = built.nPairCount;
    engine::MergeBlobs(m_replay, first);
    const CDefectBlob* const merged = find();
    if (merged == nullptr)
        throw HostError({{"replay", "lost a blob in merging", "the blobs of the inspection"}});
    step.merged = merged->rtDefect;
    step.mergedArea = merged->nPairCount;
    const CDefectBlob kept = *merged;
    engine::RemoveGhosts(m_replay, pass.steps, first);
    if (const CDefectBlob* const left = find())
        pass.final.emplace(blob, *left);
    else
    {
        const bool vertical = pass.steps.bVertical;
        const double pitch = vertical ? pass.param.GetRealScanPitch() : pass.param.GetRealConvPitch();
        const double distance = kept.nDefectPos == DefectPos_First ? pitch : -pitch;
        step.ghostOf = vertical ? CPoint(kept.ptCenter.x, static_cast<int>(kept.ptCenter.y + distance))
                                : CPoint(static_cast<int>(kept.ptCenter.x + distance), kept.ptCenter.y);
    }
    pass.followed.emplace(blob, step);
}

} // namespace narvo
