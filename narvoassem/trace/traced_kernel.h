// SPDX-License-Identifier: MIT
// A kernel of any family behind the trace: it is asked through its own row source and rule (scan.h).
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "narvoassem/fast/find/compare_pixel.h"
#include "narvoassem/fast/pair/pair_writer.h"
#include "narvoassem/fast/scan/scan.h"
#include "narvoassem/trace/kernel_trace.h"
#include "narvoassem/trace/listening_records.h"

namespace narvo::engine
{

/// The first of the kernel's threshold sets that gives the threshold; nothing where the kernel has none.
inline void FindThresholdSet(const CPixelCall& call, FindVariant /*eFind*/, std::int64_t /*nElement*/,
                             CPixelTrace& pixel)
{
    const auto nLarger = static_cast<std::uint16_t>(std::max(pixel.nSrc, pixel.nCmp));
    for (const CThresholdSet& set : {call.first, call.second})
        if (pixel.nThresholdBase < 0 && FormThreshold(nLarger, static_cast<std::uint16_t>(set.nGain),
                                                      static_cast<std::uint16_t>(set.nBase)) == pixel.nThreshold)
        {
            pixel.nThresholdBase = static_cast<int>(set.nBase);
            pixel.nThresholdGain = static_cast<int>(set.nGain);
        }
}

inline void FindThresholdSet(const CZoneCall& call, FindVariant eFind, std::int64_t nElement, CPixelTrace& pixel)
{
    const auto read = [&](const std::int16_t* pMap) { return pMap != nullptr ? pMap[nElement] : std::int16_t{0}; };
    const auto nLarger = static_cast<std::uint16_t>(std::max(pixel.nSrc, pixel.nCmp));
    const bool bUpper = eFind == FindVariant::LinearKnee && call.pKneeMap != nullptr && nLarger > read(call.pKneeMap);
    int nBase = read(bUpper ? call.pOffsetMap2 : call.pOffsetMap);
    int nGain = read(bUpper ? call.pGainMap2 : call.pGainMap);
    if (eFind == FindVariant::LinearFloor)
    {
        nBase = pixel.nThreshold;
        nGain = 0;
    }
    if (FormThreshold(nLarger, static_cast<std::uint16_t>(nGain), static_cast<std::uint16_t>(nBase)) !=
        pixel.nThreshold)
        return;
    pixel.nThresholdBase = nBase;
    pixel.nThresholdGain = nGain;
}

/// TCall is the family's; VisitKernel(eKernel, call, visit) gives the kernel's row source and rule for it.
template <class TKernel, class TCall>
class CTracedKernel final : public CKernelTrace
{
public:
    /// makeCall(store, pEndLine) makes the engine's call.
    template <class TMakeCall>
    CTracedKernel(const CConvParam& param, TKernel eKernel, const char* pWords, const TMakeCall& makeCall)
        : CKernelTrace(param), m_eKernel(eKernel), m_call(makeCall(m_store, &m_nEndLine))
    {
        Ask(m_call,
            [&](auto& source, auto& rule)
            {
                using TRule = std::remove_reference_t<decltype(rule)>;
                const CBands bands = source.Unit().bands;
                m_properties = {.pWords = pWords,
                                .bHorizontal = source.kHorizontal,
                                .bLastBandFirst = TRule::kPairing.bLastBandFirst,
                                .nUnits = TRule::kFields.nUnits,
                                .nHop = static_cast<int>(bands.nHop),
                                .nFirstEnd = static_cast<int>(bands.nFirstEnd),
                                .nLastStart = static_cast<int>(bands.nLastStart)};
            });
    }

    bool Covers(int x, int y) const override
    {
        return Ask(m_call, [&](auto& source, auto& /*rule*/) { return source.Covers(x, y); });
    }

    CPixelTrace Compare(int x, int y, bool bZones) const override
    {
        return Ask(m_call,
                   [&](auto& source, auto& rule)
                   {
                       CFoundHit hit;
                       return Find(source, rule, x, y, bZones, hit);
                   });
    }

    CChainTrace Pair(int x, int y) const override
    {
        CChainTrace chain = MakeChain(x, y);
        const std::vector<SPlacedHit> row = FindRow(chain, y);
        Ask(m_call,
            [&](auto& source, auto& rule)
            {
                using TSource = std::remove_reference_t<decltype(source)>;
                using TRule = std::remove_reference_t<decltype(rule)>;
                std::vector<int> owners;
                if constexpr (IsPairedByRow<TSource, TRule>())
                    for (std::size_t n = 0; n + kGroupWidth <= row.size(); n += kGroupWidth)
                        Store(rule, &row[n], kGroupWidth, owners);
                else
                    for (std::size_t n = 0; n < chain.links.size(); ++n)
                        if (const CPixelTrace& pixel = chain.links[n].pixel; pixel.bHit)
                        {
                            SPlacedHit placed = {pixel.ptPlace, {}, static_cast<int>(n)};
                            Find(source, rule, placed.ptPlace.x, placed.ptPlace.y, true, placed.hit);
                            Store(rule, &placed, 1, owners);
                        }
                CPairWriter<TRule> records(rule);
                PairChain<TRule::kPairing>(chain.links, rule.hits, owners, source.Unit().bands, records);
                chain.records.assign(m_store.pPair, m_store.pPair + records.Count());
            });
        return chain;
    }

private:
    struct SPlacedHit
    {
        CPoint ptPlace;
        CFoundHit hit;
        int nOwner; ///< its link, or -1
    };

    /// Source and rule work in the memory of the calling thread, so each question has its own.
    template <class TVisit>
    auto Ask(const TCall& call, const TVisit& visit) const
    {
        return VisitKernel(m_eKernel, call, visit);
    }

    /// In a group of 8 columns of a row the dark hits come first, and that order decides where the search for a partner
    /// ends, so a chain cannot be paired apart from the others.
    template <class TSource, class TRule>
    static constexpr bool IsPairedByRow()
    {
        return TSource::kHorizontal && TRule::kPasses > 1;
    }

    template <class TSource, class TRule>
    CPixelTrace Find(TSource& source, const TRule& rule, int x, int y, bool bZones, CFoundHit& hit) const
    {
        CPixelTrace pixel;
        pixel.ptPlace = CPoint(x, y);
        if (!source.Covers(x, y))
            return pixel;
        std::int64_t nElement = 0;
        if constexpr (requires { rule.FindCell(0, 0); })
            if (bZones)
            {
                const CCellOrigin origin = rule.FindCell(x, y);
                nElement = origin.MapElement(x, y, m_call.nMapStride);
                pixel.bSkipped = origin.nSkip != 0;
                pixel.bInCell = true;
                pixel.ptCell = CPoint(static_cast<int>(origin.nX), static_cast<int>(origin.nY));
                pixel.ptInCell = CPoint(static_cast<int>(x - origin.nX), static_cast<int>(y - origin.nY));
            }
        if (!source.ComparePlace(x, y, nElement, hit))
            throw std::bad_alloc();
        const CPitch16 pitch = source.PitchAt(x, y);
        pixel.bCompared = true;
        pixel.nSrc = hit.Src();
        pixel.nCmp = hit.Cmp();
        pixel.nThreshold = hit.Threshold();
        pixel.nPitch16 = static_cast<int>(pitch.nWhole * 16 + pitch.nFraction);
        if constexpr (requires { TRule::kScan; })
        {
            const std::int16_t nDifference = SaturatedDifference(hit.Src(), hit.Cmp());
            pixel.nZone = hit.Zone();
            pixel.bSkipped = pixel.bSkipped || !rule.Inspects(x, y);
            pixel.bHit = !pixel.bSkipped && ExceedsThreshold(nDifference, hit.Threshold());
            pixel.bBright = nDifference >= 1;
            if (bZones)
                FindThresholdSet(m_call, TRule::kScan.eFind, nElement, pixel);
        }
        else
        {
            pixel.bHit = hit.IsDark() || hit.IsBright();
            pixel.bBright = hit.IsBright();
        }
        return pixel;
    }

    /// All pixels of row y, where that is how the kernel pairs.
    std::vector<SPlacedHit> FindRow(const CChainTrace& chain, int y) const
    {
        std::vector<SPlacedHit> row;
        TCall call = m_call;
        call.region.nTop = std::max<std::int64_t>(call.region.nTop, y);
        call.region.nBottom = std::min<std::int64_t>(call.region.nBottom, y + 1);
        if (call.region.nTop >= call.region.nBottom)
            return row;
        Ask(call,
            [&](auto& source, auto& rule)
            {
                if constexpr (IsPairedByRow<std::remove_reference_t<decltype(source)>,
                                            std::remove_reference_t<decltype(rule)>>())
                {
                    CMarkedRow marked;
                    if (!source.BeginTile(1) || !source.NextRow(marked))
                        return;
                    for (std::int64_t n = 0; n < marked.nGroups * kGroupWidth; ++n)
                    {
                        SPlacedHit placed = {CPoint(static_cast<int>(call.region.nLeft + n), y), {}, -1};
                        source.Compare(n, placed.hit);
                        row.push_back(placed);
                    }
                }
            });
        for (std::size_t n = 0; n < chain.links.size(); ++n)
            for (SPlacedHit& placed : row)
                if (placed.ptPlace == chain.links[n].pixel.ptPlace)
                    placed.nOwner = static_cast<int>(n);
        return row;
    }

    /// Stores a group of hits as the scan does.
    template <class TRule>
    static void Store(TRule& rule, const SPlacedHit* pGroup, int nCount, std::vector<int>& owners)
    {
        for (int nPass = 0; nPass < TRule::kPasses; ++nPass)
            for (const SPlacedHit* pHit = pGroup; pHit < pGroup + nCount; ++pHit)
                if (rule.Takes(pHit->hit, nPass))
                {
                    const auto nIndex = static_cast<std::int64_t>(owners.size());
                    if (!rule.Store(nIndex, pHit->ptPlace.x, pHit->ptPlace.y, pHit->hit, nPass))
                        throw std::bad_alloc();
                    owners.push_back(pHit->nOwner);
                }
    }

    TKernel m_eKernel;
    TCall m_call;
};

} // namespace narvo::engine
