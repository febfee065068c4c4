// SPDX-License-Identifier: MIT
// Probes of the float kernels, which compare sums of windows.
#include <cstddef>
#include <cstdint>
#include <map>
#include <type_traits>
#include <vector>

#include "host/probe/probe_backend.h"
#include "narvoassem/compare/float_driver.h"
#include "narvoassem/fast/float/float_rows.h"
#include "narvoassem/fast/float/float_strips.h"
#include "narvoassem/fast/float/float_table.h"

namespace narvo
{

namespace
{

template <engine::CFloatTraits kTraits>
class FloatBackend : public KernelProbe::Backend
{
    using TRule = engine::CFloatRule<kTraits>;
    using TSource = std::conditional_t<kTraits.bHorizontal, engine::CFloatRows<kTraits>, engine::CFloatStrips<kTraits>>;

public:
    FloatBackend(const CConvParam& param, const engine::CFloatChoice& choice)
        : Backend(param, kTraits.bHorizontal), m_call(engine::MakeFloatCall(m_store, choice, &m_endLine)),
          m_rule(m_call), m_source(m_call, m_rule)
    {
    }

    int Units() const override { return kTraits.Units(); }
    engine::CBands Bands() const override { return m_source.Unit().bands; }
    bool Covers(int x, int y) const override { return m_source.Covers(x, y); }

    ProbedPixel Compare(int x, int y, bool /*zones*/) const override
    {
        ProbedPixel pixel;
        pixel.place = CPoint(x, y);
        engine::CFoundHit found;
        if (!m_source.Covers(x, y) || !m_source.ComparePlace(x, y, 0, found))
            return pixel;
        const engine::CPitch16 pitch = m_source.PitchAt(x, y);
        pixel.compared = true;
        pixel.source = found.Src();
        pixel.reference = found.Cmp();
        pixel.threshold = found.Threshold();
        pixel.hit = found.IsDark() || found.IsBright();
        pixel.bright = found.IsBright();
        pixel.pitch16 = static_cast<int>(pitch.nWhole * 16 + pitch.nFraction);
        return pixel;
    }

    ProbedChain Pair(int x, int y) const override
    {
        ProbedChain chain = MakeChain(x, y);
        TRule rule(m_call);
        engine::CPairWriter<TRule> records(rule);
        std::vector<int> owners;
        if constexpr (kTraits.bHorizontal)
            StoreRow(rule, chain, y, owners);
        else
            for (std::size_t i = 0; i < chain.links.size(); ++i)
            {
                const CPoint place = chain.links[i].pixel.place;
                engine::CFoundHit found;
                if (chain.links[i].pixel.hit && m_source.ComparePlace(place.x, place.y, 0, found))
                    Store(rule, {{place, found, static_cast<int>(i)}}, owners);
            }
        this->template RunPairing<TRule::kPairing>(chain, rule.hits, owners, records);
        return chain;
    }

protected:
    bool LastBandFirst() const override { return false; }

private:
    struct GroupHit
    {
        CPoint place;
        engine::CFoundHit found;
        int owner;
    };

    static void Store(const TRule& rule, const std::vector<GroupHit>& group, std::vector<int>& owners)
    {
        for (int pass = 0; pass < TRule::kPasses; ++pass)
            for (const GroupHit& hit : group)
                if (rule.Takes(hit.found, pass))
                {
                    rule.Store(static_cast<std::int64_t>(owners.size()), hit.place.x, hit.place.y, hit.found, pass);
                    owners.push_back(hit.owner);
                }
    }

    /// All hits of the row: in each group of 8 the dark ones come first, and that order decides where the search for a
    /// partner ends, so a chain cannot be paired apart from the others.
    void StoreRow(const TRule& rule, const ProbedChain& chain, int y, std::vector<int>& owners) const
    {
        std::map<int, int> linkAt;
        for (std::size_t i = 0; i < chain.links.size(); ++i)
            linkAt[chain.links[i].pixel.place.x] = static_cast<int>(i);
        engine::CFloatCall call = m_call;
        call.region.nTop = y;
        call.region.nBottom = y + 1;
        TSource source(call, rule);
        engine::CMarkedRow row;
        if (y < m_call.region.nTop || y >= m_call.region.nBottom || !source.BeginTile(1) || !source.NextRow(row))
            return;
        for (std::int64_t number = 0; number < row.nGroups; ++number)
        {
            std::vector<GroupHit> group;
            for (std::int64_t n = number * engine::kGroupWidth; n < (number + 1) * engine::kGroupWidth; ++n)
            {
                engine::CFoundHit found;
                source.Compare(n, found);
                const CPoint place(static_cast<int>(call.region.nLeft + n), y);
                const auto link = linkAt.find(place.x);
                group.push_back({place, found, link != linkAt.end() ? link->second : -1});
            }
            Store(rule, group, owners);
        }
    }

    engine::CFloatCall m_call;
    TRule m_rule;
    mutable TSource m_source;
};

} // namespace

BackendPointer MakeFloatBackend(const CConvParam& param, std::string& name)
{
    if (!engine::RunsFloatKernel(param))
        return nullptr;
    const engine::CFloatChoice& choice = engine::ChooseFloatKernel(param);
    name = engine::GetKernelRow(choice.eKernel).pWords;
    return engine::CallWithEntry<engine::floatKernels.size()>(
        static_cast<std::size_t>(choice.eKernel),
        [&](auto kernel) -> BackendPointer
        { return std::make_unique<FloatBackend<engine::floatKernels[kernel].traits>>(param, choice); });
}

} // namespace narvo
