// SPDX-License-Identifier: MIT
// How found pixels become hits: what the rules (scan.h) of single pixels share, and those of window sums.
#pragma once

#include <cstdint>

#include "narvoassem/fast/find/compare_pixel.h"
#include "narvoassem/fast/pair/band_pairing.h"
#include "narvoassem/fast/pair/hit_chains.h"
#include "narvoassem/fast/pair/pair_writer.h"
#include "narvoassem/fast/scan/scan_traits.h"

namespace narvo::engine
{

/// A found pixel is one hit; its polarity is that of the difference.
template <CScanTraits kTraits, bool kPeak>
struct CPixelHits : CRuleBase
{
    static constexpr CScanTraits kScan = kTraits;
    static constexpr CPairingTraits kPairing = {.eAxis = kScan.bHorizontal ? PairAxis::X : PairAxis::Y,
                                                .bLastBandFirst = kScan.bLastBandFirst,
                                                .bPassUnusable = kScan.bHorizontal,
                                                .bAnyAcross = kScan.bAnyRow};
    static constexpr int kPasses = 1;
    static constexpr bool kFirstGroup = true;

    bool Takes(const CFoundHit& /*hit*/, int /*nPass*/) const { return true; }
    bool Store(std::int64_t nIndex, std::int64_t x, std::int64_t y, const CFoundHit& hit, int /*nPass*/) const
    {
        const std::int16_t nDiff = SaturatedDifference(hit.Src(), hit.Cmp());
        hits.pX[nIndex] = static_cast<int>(x);
        hits.pY[nIndex] = static_cast<int>(y);
        hits.pType[nIndex] = nDiff >= 1 ? DefectType_Bright : DefectType_Dark;
        if constexpr (kPeak)
            hits.pPeak[nIndex] = HitPeak(nDiff, hit.Threshold());
        hits.pSrcGray[nIndex] = hit.Src();
        hits.pCmpGray[nIndex] = hit.Cmp();
        hits.pZoneIndex[nIndex] = hit.Zone();
        hits.pThreshold[nIndex] = hit.Threshold();
        return true;
    }
};

/// In each group those with the brighter reference come first, then those with the brighter source; a pixel may be
/// both. kArea: pixels of a window. kValues: values and thresholds are stored.
template <SumsVariant kVariant, int kArea, bool kValues>
struct CSumHits : CRuleBase
{
    static constexpr SumsVariant kFind = kVariant;
    static constexpr int kPasses = 2;

    bool Takes(const CFoundHit& hit, int nPass) const { return nPass == 0 ? hit.IsDark() : hit.IsBright(); }
    bool Store(std::int64_t nIndex, std::int64_t x, std::int64_t y, const CFoundHit& hit, int nPass) const
    {
        const std::int16_t nDiff = nPass == 0 ? SumsDifference<kVariant>(hit.Cmp(), hit.Src())
                                              : SumsDifference<kVariant>(hit.Src(), hit.Cmp());
        hits.pX[nIndex] = static_cast<int>(x);
        hits.pY[nIndex] = static_cast<int>(y);
        hits.pType[nIndex] = nPass == 0 ? DefectType_Dark : DefectType_Bright;
        hits.pPeak[nIndex] = static_cast<short>(kArea == 4 ? nDiff >> 6 : nDiff / (16 * kArea));
        if constexpr (kValues)
        {
            hits.pSrcGray[nIndex] = hit.Src();
            hits.pCmpGray[nIndex] = hit.Cmp();
            hits.pThreshold[nIndex] = hit.Threshold();
        }
        return true;
    }
};

} // namespace narvo::engine
