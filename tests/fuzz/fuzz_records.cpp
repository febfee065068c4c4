// SPDX-License-Identifier: MIT
// Bytes make lists of pair records, which are grouped into blobs, merged and freed of ghosts as in the plain double
// loops. Lists of arbitrary records, with an image or without, go through the filtered builders and must not fault.
#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "fuzz/require.h"
#include "reference/blob_reference.h"
#include "soak/case_source.h"
#include "storage/store_samples.h"

namespace
{

using namespace narvo::test;
using narvo::test::reference::CBlobReference;

constexpr int nMostPairs = 400;

/// A record somewhere in a square; often near the record before it, so that groups form.
CDefectPair DrawPair(CCaseSource& source, int nExtent, const CPoint& ptBefore)
{
    CDefectPair pair;
    pair.ptDefect = source.OneIn(4) ? CPoint(source.Int(0, nExtent), source.Int(0, nExtent))
                                    : CPoint(ptBefore.x + source.Int(-2, 6), ptBefore.y + source.Int(-2, 2));
    pair.nDefectPos = source.Int(1, 3);
    pair.nDefectPair = source.Pick({1, 5, 3, 4});
    pair.nDefectType = source.Pick({0, 1, 0, 1, 0, 4, 2, 3, -1});
    pair.nPeak = source.Int(-20, 400);
    pair.nSrcGray = source.OneIn(16) ? source.Int(-100000, 100000) : source.Int(0, 255);
    pair.nCmpGray = source.Int(0, 255);
    pair.nZoneIndex = source.Int(0, 15);
    pair.nSubZone = source.Int(0, 15);
    pair.nThreshold = source.Int(0, 50);
    return pair;
}

std::vector<CDefectPair> DrawPairs(CCaseSource& source)
{
    std::vector<CDefectPair> pairs;
    const int nExtent = source.Pick({60, 20, 300, 3000, 20000});
    CPoint ptBefore(nExtent / 2, nExtent / 2);
    for (int i = source.Int(0, nMostPairs); i > 0; --i)
    {
        pairs.push_back(DrawPair(source, nExtent, ptBefore));
        ptBefore = pairs.back().ptDefect;
    }
    return pairs;
}

void RequireSameBlobs(const CBlobReference& reference, const CBlobStorage& store, const std::string& strStep)
{
    Require(store.nBlobCount == static_cast<int>(reference.blobs.size()), strStep + ": as many blobs");
    for (int i = 0; i < store.nBlobCount; ++i)
    {
        const std::string strDifference =
            narvo::test::reference::FindDifference(reference.blobs[static_cast<std::size_t>(i)], store.pBlob[i]);
        Require(strDifference.empty(), strStep + ": blob " + std::to_string(i) + ": " + strDifference);
    }
}

void BuildLikeTheReference(CCaseSource& source)
{
    narvo::test::CSampleStore store(nMostPairs, nMostPairs);
    CBlobReference reference;
    CConvParam& param = store.ConvParam;
    param.nMultiType = source.Int(-1, 5);
    param.dPixelSizeX = 0.5 * source.Int(0, 10);
    param.dPixelSizeY = 0.7 * source.Int(0, 10);
    for (int nZone = 0; nZone < CConvParam::nZoneLimit; ++nZone)
    {
        param.nDarkGrayLimit[nZone] = source.OneIn(4) ? source.Int(1, 255) : 0;
        param.nBrightMinDiff[nZone] = source.OneIn(4) ? source.Int(1, 100) : 0;
    }
    for (int nBuild = source.Int(1, 2); nBuild > 0; --nBuild)
    {
        std::vector<CDefectPair> pairs = DrawPairs(source);
        store.ResetPairStorage();
        for (const CDefectPair& pair : pairs)
            narvo::test::AddPair(store, pair);
        store.nBlobSize = reference.nBlobSize =
            source.OneIn(4) ? std::min(store.nBlobCount + source.Int(0, 40), store.nBlobCapacity) : store.nBlobCapacity;
        const bool bVertical = source.OneIn(2);
        const int nFirst = source.OneIn(4) ? 0 : store.nBlobCount;
        bVertical ? store.BlobDefectVert_NonFilter() : store.BlobDefect_NonFilter();
        reference.Build(pairs, bVertical ? CBlobReference::EWindow::Vertical : CBlobReference::EWindow::Horizontal,
                        param);
        for (std::size_t i = 0; i < pairs.size(); ++i)
            Require(store.pPairLabel[i] == reference.labels[i] && store.pPair[i].nDefectType == pairs[i].nDefectType,
                    "label and type of pair " + std::to_string(i));
        Require(store.nRemovedPair == reference.nRemovedPair, "as many pairs removed");
        RequireSameBlobs(reference, store, "build");
        const int nDist = source.OneIn(6) ? source.Int(-8, 3000) : source.Int(0, 12);
        store.MergeDivision(nFirst, nDist);
        reference.MergeDivision(nFirst, nDist, param);
        Require(store.nMergedBlob == reference.nMerged, "as many blobs merged");
        RequireSameBlobs(reference, store, "merge");
        const double dPitch = 0.25 * source.Int(-400, 2000);
        bVertical ? store.ShadowFilterVert(nFirst, dPitch) : store.ShadowFilter(nFirst, dPitch);
        reference.Shadow(nFirst, dPitch, bVertical ? 1 : 0);
        RequireSameBlobs(reference, store, "shadow");
    }
}

int DrawWild(CCaseSource& source)
{
    return source.OneIn(3) ? source.Pick({INT_MIN, INT_MAX, -1, 16, 1 << 20, INT_MAX - 3, 255}) : source.Int(-4, 60);
}

double DrawWildPitch(CCaseSource& source)
{
    return source.OneIn(4) ? source.Pick({0.0, -3.5, 1e300, -1e300, std::numeric_limits<double>::infinity(),
                                          std::numeric_limits<double>::quiet_NaN()})
                           : source.Int(0, 400) / 16.0;
}

void BuildFromWildRecords(CCaseSource& source)
{
    narvo::test::CSampleStore store(nMostPairs, 60);
    narvo::test::CTestImage image(source.Int(1, 60), source.Int(1, 60), source.Int(0, 255));
    CConvParam& param = store.ConvParam;
    if (!source.OneIn(8))
        image.Attach(param);
    param.nInspectMode = source.Int(0, 2);
    param.nConvWidth = source.Int(0, 4);
    param.nConvHeight = source.Int(0, 4);
    param.dConvPitch = DrawWildPitch(source);
    param.dScanPitch = DrawWildPitch(source);
    param.nConvMultiple = param.nScanMultiple = source.Int(0, 2);
    param.bFalseFilter = source.Int(0, 1);
    param.bMarginFilter = source.Int(0, 1);
    param.nFilterMode = source.Int(0, 1);
    param.nFilterMode2 = source.Int(0, 1);
    param.nThresholdExtra = DrawWild(source);
    param.bZoneFlagged = source.Int(0, 1);
    if (source.OneIn(3))
        param.rtMarginFrame.SetRect(DrawWild(source), DrawWild(source), DrawWild(source), DrawWild(source));
    CString aTexts[CConvParam::nZoneLimit];
    for (int nZone = 0; nZone < CConvParam::nZoneLimit; ++nZone)
    {
        aTexts[nZone] = source.Pick({"1;101;201", "2;101;201;301", "", ";;;;", "9;999;2-1", "1;1"});
        param.dVeriPitchConv[nZone] = DrawWildPitch(source);
        param.dVeriPitchScan[nZone] = DrawWildPitch(source);
    }
    if (source.OneIn(2))
        param.pVeriPitchString = aTexts;
    for (int i = source.Int(0, 120); i > 0; --i)
    {
        CDefectPair pair;
        for (int* pField :
             {&pair.nDefectPos, &pair.nDefectPair, &pair.nDefectType, &pair.nPeak, &pair.ptDefect.x, &pair.ptDefect.y,
              &pair.nSrcGray, &pair.nCmpGray, &pair.nZoneIndex, &pair.nThreshold, &pair.nSubZone})
            *pField = DrawWild(source);
        narvo::test::AddPair(store, pair);
    }
    source.OneIn(2) ? store.BlobDefectVert() : store.BlobDefect();
    Require(store.nBlobCount >= 0 && store.nBlobCount <= store.nBlobSize, "blobs fit their store");
    store.MergeDivision(source.Int(0, 3), DrawWild(source));
    store.ShadowFilter(0, DrawWildPitch(source));
    store.ShadowFilterVert(0, DrawWildPitch(source));
    Require(store.nBlobCount >= 0 && store.nBlobCount <= store.nBlobSize, "blobs fit their store");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes)
{
    CByteSource source(pBytes, nBytes);
    if (source.OneIn(2))
        BuildFromWildRecords(source);
    else
        BuildLikeTheReference(source);
    return 0;
}
