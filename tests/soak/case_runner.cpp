// SPDX-License-Identifier: MIT
// See case_runner.h.
#include "soak/case_runner.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

#include "narvoassem/fast/scan/scan_scratch.h"
#include "soak/case_hash.h"

namespace narvo::test
{

namespace
{

constexpr int nSplitWidth = 2000;
constexpr int nSubEngines = 4;

void AddPair(CCaseHash& hash, const CDefectPair& pair)
{
    hash.Add(pair.nDefectPos, pair.nDefectPair);
    hash.Add(pair.nDefectType, pair.nPeak);
    hash.Add(pair.ptDefect.x, pair.ptDefect.y);
    hash.Add(pair.nSrcGray, pair.nCmpGray);
    hash.Add(pair.nZoneIndex, pair.nThreshold);
    hash.Add(pair.nSubZone);
}

void AddStatistics(CCaseHash& hash, const CDefectBlob& blob, bool bOwn)
{
    hash.Add(blob.nMaxPeak, blob.nMaxThreshold);
    hash.Add(blob.nMinSrcGray, blob.nMaxSrcGray);
    hash.Add(blob.nAvgSrcGray, blob.nAvgCmpGray);
    hash.Add(blob.nMinCmpGray, blob.nMaxCmpGray);
    hash.Add(blob.nMinDiff, blob.nMaxDiff);
    hash.Add(blob.nAvgDiff, blob.nAvgThreshold);
    hash.Add(blob.nSumSrcGray, blob.nSumCmpGray);
    hash.Add(blob.nSumDiff, bOwn ? blob.nSumThreshold : 0);
    for (int nZone = 0; nZone < CDefectBlob::nZoneLimit; ++nZone)
    {
        hash.Add(blob.nZoneCount[nZone], blob.nSubZoneCount[nZone]);
        hash.Add(blob.nZoneMinPeak[nZone], blob.nZoneMaxPeak[nZone]);
        hash.Add(blob.nZoneSumPeak[nZone]);
    }
}

/// bOwn: with the fields that only the engine that built the blob has: a label, which counts within one build, and a
/// sum that copying leaves out.
void AddBlob(CCaseHash& hash, const CDefectBlob& blob, bool bOwn)
{
    hash.Add(blob.nDefectPos, blob.nDefectPair);
    hash.Add(blob.nDefectType, bOwn ? blob.nBlobId : 0);
    hash.Add(blob.nPairCount, blob.nClass);
    hash.Add(blob.ptCenter.x, blob.ptCenter.y);
    hash.Add(blob.ptPeak.x, blob.ptPeak.y);
    hash.Add(blob.ptMaxGray.x, blob.ptMaxGray.y);
    hash.Add(blob.nRScale, blob.nMultiType);
    hash.Add(blob.rtDefect.left, blob.rtDefect.top);
    hash.Add(blob.rtDefect.right, blob.rtDefect.bottom);
    hash.Add(blob.bRemoved);
    AddStatistics(hash, blob, bOwn);
    for (const CPoint& pt : blob.ptExtreme)
        hash.Add(pt.x, pt.y);
    for (const double dValue : {blob.dAngle, blob.dMajorAxis, blob.dMinorAxis, blob.dCircularity, blob.dElongation})
        hash.Add(dValue);
}

} // namespace

CCaseRunner::CCaseRunner()
{
    if (m_control.InitAssemControl(1, nCaseBlobLimit) != 1)
        throw std::bad_alloc();
}

/// Sizes the stores and takes out of them what an earlier case has left where the library, by its rules, may read it:
/// zones and thresholds of hits that a kernel does not write, and the sum that copying a blob keeps.
void CCaseRunner::PrepareEngine(CNarvoAssem& engine, const CSoakCase& soakCase)
{
    const CConvParam& p = soakCase.param;
    engine.InitPixelStorage(soakCase.nPixelSize);
    engine.InitPairStorage(soakCase.nPairSize);
    engine.InitBlobStorage(soakCase.nBlobSize);
    const int nHits = std::min(std::max(p.nImageWidth, 16 * p.nImageHeight) + 64, soakCase.nPixelSize + 16);
    std::fill_n(engine.pZoneIndex, nHits, 0);
    std::fill_n(engine.pThreshold, nHits, 0);
    for (int i = 0; i < soakCase.nBlobSize; ++i)
        engine.pBlob[i].nSumThreshold = 0;
    engine.ResetReinspectCount();
}

const CCaseResult& CCaseRunner::Run(const CSoakCase& soakCase, bool bSplit)
{
    CNarvoAssem& lane = Lane();
    const bool bWide = soakCase.eSplit != CaseSplit::None;
    PrepareEngine(lane, soakCase);
    if (bWide)
        for (int i = 0; i < nSubEngines; ++i)
        {
            CNarvoAssem& engine = *lane.pThreadControl->GetAssem(i);
            PrepareEngine(engine, soakCase);
            engine.ResetNarvoAssem();
        }

    lane.ResetNarvoAssem();
    m_param = soakCase.param;
    m_param.bBandThread = bSplit ? 1 : 0;
    m_result = CCaseResult();
    engine::BoundUse& eBound = engine::GetScanScratch().bound.eUse;
    const engine::BoundUse eUsual = std::exchange(eBound, soakCase.eBound);
    switch (soakCase.eCall)
    {
    case CaseCall::Rect:
        m_result.nCode = m_control.Inspect_Rect(soakCase.nLane, &m_param, 0);
        break;
    case CaseCall::RectAsg:
        m_result.nCode = m_control.Inspect_Rect(soakCase.nLane, &m_param, 1);
        break;
    case CaseCall::Asg:
        m_result.nCode = m_control.Inspect_ASG(soakCase.nLane, &m_param);
        break;
    case CaseCall::Trapezium:
        m_result.nCode = m_control.Inspect_Trapezium(soakCase.nLane, &m_param);
        break;
    }
    eBound = eUsual;
    m_result.bBands = bWide && bSplit && m_param.nDirection != 0 && m_param.nInspectMode != 3 && CountBands() > 0 &&
                      (m_result.nCode == 1 || m_result.nCode == 16);
    Fold(bWide);
    return m_result;
}

/// As the split counts them.
int CCaseRunner::CountBands() const
{
    const CRect& rt = m_param.rtInspect;
    const int nSpan = m_param.nDirection == 1 ? rt.Width() : rt.Height();
    return std::clamp(nSpan / nSplitWidth, 0, nSubEngines);
}

void CCaseRunner::Fold(bool bWide)
{
    CNarvoAssem& lane = Lane();
    CCaseHash hash;
    hash.Add(m_result.nCode, m_param.nDirection);
    hash.Add(m_param.nThreshold, m_param.nBlackFilterGray);
    m_result.nPairs = lane.GetPairCount();
    m_result.nBlobs = lane.GetBlobCount();
    hash.Add(m_result.nPairs, m_result.nBlobs);

    // The counters of a split run are those of its sub-engines.
    const int nEngines = m_result.bBands ? CountBands() : 1;
    int aCounters[7] = {};
    for (int i = 0; i < nEngines; ++i)
    {
        const CNarvoAssem& engine = m_result.bBands ? *lane.pThreadControl->GetAssem(i) : lane;
        const int aOwn[7] = {engine.nRemovedPair, engine.nRemovedByFalse, engine.nRemovedByClass, engine.nMergedBlob,
                             engine.nRemovedScan, engine.nRemovedConv,    engine.nReinspectCount};
        for (std::size_t n = 0; n < 7; ++n)
            aCounters[n] += aOwn[n];
    }
    for (const int nCount : aCounters)
        hash.Add(nCount);
    m_result.nReruns = aCounters[6];

    Visit([&hash](const CDefectPair& pair) { AddPair(hash, pair); },
          [&hash, bWide](const CDefectBlob& blob) { AddBlob(hash, blob, !bWide); });
    m_result.nHash = hash.Get();
}

} // namespace narvo::test
