// Runs of an inspection with 0, 1, ... re-runs allowed, and the steps of a pass on an engine of its own.
#include "host/explain/pass_replay.h"

#include <algorithm>

#include "host/probe/comparison_alone.h"
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

PassReplay::PassReplay(const CConvParam& block, const EnginePath& path, int maxBlobs) : m_path(path)
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
        pool.Inspect_Rect(0, &block, m_path.IsAsg() ? 1 : 0);

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
    const bool columns = m_path.IsVertical();
    ReplayedPass* found = nullptr;
    for (ReplayedPass& pass : m_passes)
    {
        const CRect& region = pass.param.rtInspect;
        const bool behind = columns ? place.x >= region.left && place.x < region.right
                                    : place.y >= region.top && place.y < region.bottom;
        if (behind && (found == nullptr || pass.number > found->number || pass.band > found->band))
            found = &pass;
    }
    return found;
}

int PassReplay::PassesOver(int band) const
{
    return 1 + static_cast<int>(std::count_if(m_passes.begin(), m_passes.end(),
                                              [&](const ReplayedPass& pass)
                                              { return pass.band == band && pass.number > 0; }));
}

const KernelProbe& PassReplay::Probe(ReplayedPass& pass) const
{
    if (pass.probe == nullptr)
    {
        CConvParam param = pass.param;
        if (m_path.IsAsg())
            param.bKeepSingle = 0;
        pass.probe = std::make_unique<KernelProbe>(param, m_path.IsAsg());
    }
    return *pass.probe;
}

void PassReplay::Replay(ReplayedPass& pass)
{
    if (pass.replayed)
        return;
    pass.replayed = true;
    m_replay.ResetNarvoAssem();
    m_replay.SetConvParam(&pass.param);
    RunComparisonAlone(m_replay, m_path.IsAsg());
    const int count = std::min(m_replay.nPairCount, m_replay.nPairSize);
    pass.written.assign(m_replay.pPair, m_replay.pPair + count);
    if (IsDropped(pass))
        return;
    PutBlobs(m_replay, pass.earlier);
    if (!m_path.RunsRectangleKernel())
        m_path.kind == Kind_FreeForm ? m_replay.BlobDefectVert_NonFilter() : m_replay.BlobDefect_NonFilter();
    else if (m_path.IsVertical())
        m_replay.BlobDefectVert();
    else
        m_replay.BlobDefect();
    pass.judged.assign(m_replay.pPair, m_replay.pPair + count);
    pass.labels.assign(m_replay.pPairLabel, m_replay.pPairLabel + count);
    pass.built = CopyBlobs(m_replay);
}

bool PassReplay::IsDropped(const ReplayedPass& pass) const
{
    return m_path.IsVertical() && !m_path.IsAsg() && static_cast<int>(pass.written.size()) > nVerticalRecordLimit;
}

/// Merges and looks for ghosts once more with this blob marked: a count of sub-zones that nothing else has, which
/// merging adds up.
void PassReplay::FollowBlob(ReplayedPass& pass, int blob)
{
    if (pass.steps.contains(blob))
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
    const bool vertical = m_path.IsVertical() || m_path.kind == Kind_FreeForm;
    const double pitch = vertical ? param.GetRealScanPitch() : param.GetRealConvPitch();
    if (vertical)
        m_replay.ShadowFilterVert(first, pitch);
    else if (m_path.RunsRectangleKernel())
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

} // namespace narvo
