// SPDX-License-Identifier: MIT
// Zone and pixel kernels behind the probe's face: the kernels that compare single pixels by a rule.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

#include "host/probe/probe_backend.h"
#include "host/problem.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/find/compare_pixel.h"
#include "narvoassem/fast/pair/pair_writer.h"
#include "narvoassem/fast/scan/cell_walk.h"
#include "narvoassem/fast/source/pixel_source.h"

namespace narvo
{

template <class TRule, class TCall>
class RuleBackend : public KernelProbe::Backend
{
    static constexpr engine::CScanTraits kScan = TRule::kScan;

public:
    template <class TMakeCall>
    RuleBackend(const CConvParam& param, TMakeCall&& makeCall)
        : Backend(param, kScan.bHorizontal), m_call(makeCall(m_store, &m_endLine)), m_rule(m_call),
          m_source(m_call, m_rule)
    {
    }

    int Units() const override { return 1; }
    engine::CBands Bands() const override { return m_source.Unit().bands; }
    bool Covers(int x, int y) const override { return m_source.Covers(x, y); }

    ProbedPixel Compare(int x, int y, bool zones) const override
    {
        ProbedPixel pixel;
        pixel.place = CPoint(x, y);
        engine::CFoundHit found;
        pixel.compared = Find(x, y, zones, pixel, found);
        return pixel;
    }

    ProbedChain Pair(int x, int y) const override
    {
        ProbedChain chain = MakeChain(x, y);
        TRule rule(m_call);
        engine::CPairWriter<TRule> records(rule);
        std::vector<int> owners;
        for (std::size_t i = 0; i < chain.links.size(); ++i)
        {
            const ChainLink& link = chain.links[i];
            ProbedPixel again;
            engine::CFoundHit found;
            if (!link.pixel.hit || !Find(link.pixel.place.x, link.pixel.place.y, true, again, found))
                continue;
            if (!rule.Store(static_cast<std::int64_t>(owners.size()), link.pixel.place.x, link.pixel.place.y, found, 0))
                throw HostError({{"memory", "not enough for the hits of one column", "a smaller region"}});
            owners.push_back(static_cast<int>(i));
        }
        this->template RunPairing<TRule::kPairing>(chain, rule.hits, owners, records);
        return chain;
    }

protected:
    bool LastBandFirst() const override { return kScan.bLastBandFirst; }

private:
    bool Find(int x, int y, bool zones, ProbedPixel& pixel, engine::CFoundHit& found) const
    {
        if (!m_source.Covers(x, y))
            return false;
        std::int64_t element = 0;
        if constexpr (requires(const TRule& rule) { rule.FindCell(0, 0); })
            if (zones)
            {
                const engine::CCellOrigin origin = m_rule.FindCell(x, y);
                element = origin.MapElement(x, y, m_call.nMapStride);
                pixel.skipped = origin.nSkip != 0;
                pixel.inCell = true;
                pixel.cellOrigin = CPoint(static_cast<int>(origin.nX), static_cast<int>(origin.nY));
                pixel.cellPlace = CPoint(static_cast<int>(x - origin.nX), static_cast<int>(y - origin.nY));
            }
        pixel.skipped = pixel.skipped || !m_rule.Inspects(x, y);
        if (!m_source.ComparePlace(x, y, element, found))
            return false;
        const engine::CPitch16 pitch = m_source.PitchAt(x, y);
        pixel.source = found.Src();
        pixel.reference = found.Cmp();
        pixel.threshold = found.Threshold();
        pixel.zone = found.Zone();
        if (zones)
            FindThresholdSet(pixel, element);
        const std::int16_t difference = engine::SaturatedDifference(found.Src(), found.Cmp());
        pixel.bright = difference >= 1;
        pixel.hit = !pixel.skipped && engine::ExceedsThreshold(difference, found.Threshold());
        pixel.pitch16 = static_cast<int>(pitch.nWhole * 16 + pitch.nFraction);
        return true;
    }

    /// The first of the kernel's threshold sets that gives the threshold.
    void FindThresholdSet(ProbedPixel& pixel, std::int64_t element) const
    {
        const auto larger = static_cast<std::uint16_t>(std::max(pixel.source, pixel.reference));
        const auto offer = [&](std::int64_t base, std::int64_t gain)
        {
            if (pixel.thresholdBase >= 0 || engine::FormThreshold(larger, static_cast<std::uint16_t>(gain),
                                                                  static_cast<std::uint16_t>(base)) != pixel.threshold)
                return;
            pixel.thresholdBase = static_cast<int>(base);
            pixel.thresholdGain = static_cast<int>(gain);
        };
        if constexpr (std::is_same_v<TCall, engine::CZoneCall>)
        {
            const auto read = [&](const std::int16_t* map) { return map != nullptr ? map[element] : std::int16_t{0}; };
            if constexpr (kScan.eFind == engine::FindVariant::LinearFloor)
                return offer(pixel.threshold, 0);
            const bool upper = kScan.eFind == engine::FindVariant::LinearKnee && m_call.pKneeMap != nullptr &&
                               larger > read(m_call.pKneeMap);
            offer(read(upper ? m_call.pOffsetMap2 : m_call.pOffsetMap),
                  read(upper ? m_call.pGainMap2 : m_call.pGainMap));
        }
        else
        {
            offer(m_call.first.nBase, m_call.first.nGain);
            offer(m_call.second.nBase, m_call.second.nGain);
        }
    }

    TCall m_call;
    TRule m_rule;
    mutable engine::CPixelSource<TRule> m_source;
};

/// Whether the reference lies between pixels.
inline bool HasFraction(const CConvParam& param)
{
    return param.fVtdPitch != static_cast<float>(static_cast<int>(param.fVtdPitch));
}

} // namespace narvo
