// Probes of the float kernels, which compare sums of windows.
#include <cstddef>
#include <cstdint>
#include <map>
#include <type_traits>
#include <vector>

#include "host/probe/probe_backend.h"
#include "narvoassem/compare/float_driver.h"
#include "narvoassem/fast/float_rows.h"
#include "narvoassem/fast/float_strips.h"
#include "narvoassem/fast/float_table.h"

namespace narvo
{

namespace
{

template <CFloatTraits kTraits>
class FloatBackend : public KernelProbe::Backend
{
    using TScan = std::conditional_t<kTraits.bHorizontal, CFloatRows<kTraits>, CFloatStrips<kTraits>>;

public:
    FloatBackend(const CConvParam& param, const CFloatChoice& choice)
        : Backend(param, kTraits.bHorizontal), m_call(MakeFloatCall(m_store, choice, &m_endLine)), m_scan(m_call)
    {
    }

    int Units() const override { return kTraits.Units(); }
    CBands Bands() const override { return m_scan.Bands(); }
    bool Covers(int x, int y) const override { return m_scan.Covers(x, y); }

    ProbedPixel Compare(int x, int y, bool /*zones*/) const override
    {
        ProbedPixel pixel;
        pixel.place = CPoint(x, y);
        CSumsComparison result{};
        if (!m_scan.Covers(x, y) || !m_scan.Compare(x, y, result))
            return pixel;
        const CPitch16 pitch = m_scan.PitchAt(x, y);
        pixel.compared = true;
        pixel.source = result.nSrc;
        pixel.reference = result.nCmp;
        pixel.threshold = result.nThreshold;
        pixel.hit = result.IsDark() || result.IsBright();
        pixel.bright = result.IsBright();
        pixel.pitch16 = static_cast<int>(pitch.nWhole * 16 + pitch.nFraction);
        return pixel;
    }

    ProbedChain Pair(int x, int y) const override
    {
        ProbedChain chain = MakeChain(x, y);
        TScan scan(m_call);
        std::vector<int> owners;
        if constexpr (kTraits.bHorizontal)
            AppendRow(scan, chain, y, owners);
        else
            for (std::size_t i = 0; i < chain.links.size(); ++i)
            {
                const ProbedPixel& pixel = chain.links[i].pixel;
                if (pixel.hit)
                    Append(scan, Found(pixel), static_cast<int>(i), pixel.place.x, owners);
            }
        this->template RunPairing<TScan::kPairing>(chain, m_call.hits, owners, scan.m_records);
        return chain;
    }

protected:
    bool LastBandFirst() const override { return false; }

private:
    static CFoundHit Found(const ProbedPixel& pixel)
    {
        CFoundHit found(pixel.place.y, 0);
        found.nSrc = static_cast<std::uint16_t>(pixel.source);
        found.nCmp = static_cast<std::uint16_t>(pixel.reference);
        found.nThreshold = static_cast<std::int16_t>(pixel.threshold);
        return found;
    }

    static void Append(TScan& scan, const CFoundHit& found, int owner, std::int64_t x, std::vector<int>& owners)
    {
        scan.AppendGroup(x, &found, 1);
        owners.push_back(owner);
    }

    /// All hits of the row: in each group of 8 the dark ones come first, and that order decides where the search for a
    /// partner ends, so a chain cannot be paired apart from the others.
    void AppendRow(TScan& scan, const ProbedChain& chain, int y, std::vector<int>& owners) const
    {
        std::map<std::int64_t, int> linkAt;
        for (std::size_t i = 0; i < chain.links.size(); ++i)
            linkAt[chain.links[i].pixel.place.x] = static_cast<int>(i);
        std::vector<CFoundHit> group;
        const std::int64_t left = m_call.region.nLeft;
        const auto close = [&](std::int64_t x)
        {
            for (const bool dark : {true, false})
                for (const CFoundHit& hit : group)
                    if (const CSumsComparison result = {hit.nSrc, hit.nCmp, hit.nThreshold};
                        dark ? result.IsDark() : result.IsBright())
                    {
                        const auto link = linkAt.find(x + hit.Column());
                        owners.push_back(link != linkAt.end() ? link->second : -1);
                    }
            scan.AppendGroup(x, group.data(), static_cast<int>(group.size()));
            group.clear();
        };
        const auto take = [&](std::int64_t x, const CSumsComparison& result)
        {
            const int column = static_cast<int>((x - left) % kGroupWidth);
            if (result.IsDark() || result.IsBright())
            {
                CFoundHit& hit = group.emplace_back(y, column);
                hit.nSrc = result.nSrc;
                hit.nCmp = result.nCmp;
                hit.nThreshold = result.nThreshold;
            }
            if (column == kGroupWidth - 1)
                close(x - column);
        };
        if (y < m_call.region.nTop || y >= m_call.region.nBottom || !m_scan.CompareRow(y, left, m_scan.ScanEnd(), take))
            owners.clear();
    }

    CFloatCall m_call;
    mutable TScan m_scan;
};

} // namespace

BackendPointer MakeFloatBackend(const CConvParam& param, std::string& name)
{
    if (!RunsFloatKernel(param))
        return nullptr;
    const CFloatChoice& choice = ChooseFloatKernel(param);
    name = GetKernelRow(choice.eKernel).pWords;
    return CallWithEntry<floatKernels.size()>(
        static_cast<std::size_t>(choice.eKernel),
        [&](auto kernel) -> BackendPointer
        { return std::make_unique<FloatBackend<floatKernels[kernel].traits>>(param, choice); });
}

} // namespace narvo
