// The kernels' comparison and pairing, asked for single pixels.
#include "host/explain/kernel_probe.h"

#include <array>
#include <cstdlib>
#include <map>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

#include "host/problem.h"
#include "narvoassem/compare/float_driver.h"
#include "narvoassem/compare/pixel_driver.h"
#include "narvoassem/compare/zone_driver.h"
#include "narvoassem/comparison.h"
#include "narvoassem/fast/float_rows.h"
#include "narvoassem/fast/float_strips.h"
#include "narvoassem/fast/float_traits.h"
#include "narvoassem/fast/pixel_rule.h"
#include "narvoassem/fast/pixel_traits.h"
#include "narvoassem/fast/scan_rows.h"
#include "narvoassem/fast/scan_strips.h"
#include "narvoassem/fast/zone_rule.h"
#include "narvoassem/fast/zone_traits.h"
#include "narvoassem/narvoassem.h"

namespace narvo
{

namespace
{

constexpr std::array<std::string_view, 15> zoneNames = {"zone, vertical",
                                                        "zone, vertical, read directly",
                                                        "zone, vertical, means of 2 by 2",
                                                        "zone, vertical, skipped cells",
                                                        "zone, vertical, means of 2 by 2, skipped cells",
                                                        "zone, vertical, two threshold segments",
                                                        "zone, vertical, row table or shift",
                                                        "zone, horizontal",
                                                        "zone, horizontal, column table",
                                                        "zone, vertical, extended",
                                                        "zone, vertical, extended, zone tables",
                                                        "zone, vertical, extended, second threshold of dark hits",
                                                        "zone, vertical, extended, shift",
                                                        "zone, vertical, extended, class ids",
                                                        "zone, vertical, extended, class ids, row table"};
constexpr std::array<std::string_view, 13> pixelNames = {"pixel, horizontal",
                                                         "pixel, horizontal, column table",
                                                         "pixel, horizontal, extended",
                                                         "pixel, vertical, read directly",
                                                         "pixel, vertical",
                                                         "pixel, vertical, second threshold of dark hits",
                                                         "pixel, vertical, row table",
                                                         "pixel, vertical, row table, second threshold of dark hits",
                                                         "pixel, vertical, extended, dead zones",
                                                         "pixel, vertical, extended, row table, dead zones",
                                                         "pixel, vertical, extended",
                                                         "pixel, vertical, extended, row table",
                                                         "pixel, vertical, mask"};
constexpr std::array<std::string_view, 12> floatNames = {"float, horizontal, 2 by 2",
                                                         "float, horizontal, 3 by 2",
                                                         "float, horizontal, 3 by 3",
                                                         "float, horizontal, 2 by 2, column table",
                                                         "float, horizontal, 3 by 2, column table",
                                                         "float, vertical, 2 by 2",
                                                         "float, vertical, 2 by 3",
                                                         "float, vertical, 3 by 3",
                                                         "float, vertical, 2 by 2, row table or shift",
                                                         "float, vertical, 2 by 2, extended",
                                                         "float, vertical, 2 by 2, extended, row table or shift",
                                                         "float, vertical, 2 by 2, region"};

/// Listens to the pairing of one chain: passes every question on to the kernel's records and notes the answers for the
/// hit whose turn it is. Links of a chain lie one hop apart, so the first hit of a pair is that of the link before.
template <class TRecords>
class ListeningRecords
{
public:
    /// For each hit its link, or -1 for hits of other chains.
    ListeningRecords(TRecords& records, std::vector<ChainLink>& links, const std::vector<int>& owners)
        : m_records(records), m_links(links), m_owners(owners)
    {
    }

    bool IsFull() const { return m_records.IsFull(); }

    bool KeepsSingle(std::int64_t hit) const
    {
        const bool keeps = m_records.KeepsSingle(hit);
        if (ChainLink* link = Link(hit); link != nullptr && !keeps)
            link->fate = HitFate::SingleUnkept;
        return keeps;
    }

    bool Write(const CPairCandidate& candidate)
    {
        const std::int64_t before = m_records.Count();
        const bool settled = m_records.Write(candidate);
        const bool written = m_records.Count() > before;
        const bool pair = candidate.ePair == DefectPair_Paired;
        ChainLink* const carrier = Link(candidate.nHit);
        if (carrier == nullptr)
            return settled;
        ChainLink& turn = pair ? *(carrier - 1) : *carrier;
        if (pair)
            turn.fate = written ? HitFate::Paired : HitFate::PairRefused;
        else
            turn.fate = written ? HitFate::Single : HitFate::SingleRefused;
        if (written)
            turn.record = static_cast<int>(before);
        if (pair && settled)
            carrier->fate = HitFate::Consumed;
        return settled;
    }

private:
    ChainLink* Link(std::int64_t hit) const
    {
        const int owner = m_owners[static_cast<std::size_t>(hit)];
        return owner >= 0 ? &m_links[static_cast<std::size_t>(owner)] : nullptr;
    }

    TRecords& m_records;
    std::vector<ChainLink>& m_links;
    const std::vector<int>& m_owners;
};

} // namespace

/// A kernel behind one face.
class KernelProbe::Backend
{
public:
    explicit Backend(const CConvParam& param, bool horizontal) : m_horizontal(horizontal)
    {
        const int longest = std::max(param.rtInspect.Width(), param.rtInspect.Height()) + 16;
        m_store.ConvParam = param;
        if (m_store.InitPixelStorage(longest) < longest || m_store.InitPairStorage(longest) < longest)
            throw HostError({{"memory", "not enough for the hits of one column", "a smaller region"}});
        m_store.nPixelCount = 0;
    }
    virtual ~Backend() = default;
    Backend(const Backend&) = delete;
    Backend& operator=(const Backend&) = delete;

    virtual int Units() const = 0;
    virtual CBands Bands() const = 0;
    virtual bool Covers(int x, int y) const = 0;
    virtual ProbedPixel Compare(int x, int y, bool zones) const = 0;
    virtual ProbedChain Pair(int x, int y) const = 0;

protected:
    /// The chain of (x, y) without its pairing.
    ProbedChain MakeChain(int x, int y) const
    {
        const int hop = static_cast<int>(std::max<std::int64_t>(Bands().nHop, 1));
        const int place = m_horizontal ? x : y;
        const auto at = [&](int along) { return m_horizontal ? CPoint(along, y) : CPoint(x, along); };
        const auto covers = [&](int along) { return Covers(at(along).x, at(along).y); };
        ProbedChain chain;
        int first = place;
        while (covers(first - hop))
            first -= hop;
        // A pixel behind the scan still has the last links of its chain in front of it.
        if (!covers(first))
            for (const CRect& region = m_store.ConvParam.rtInspect;
                 first >= (m_horizontal ? region.left : region.top) && !covers(first);)
                first -= hop;
        while (covers(first - hop))
            first -= hop;
        for (int along = first; covers(along); along += hop)
        {
            ChainLink& link = chain.links.emplace_back();
            link.pixel = Compare(at(along).x, at(along).y, true);
            const CBands bands = Bands();
            const bool last = along > bands.nLastStart && (LastBandFirst() || along >= bands.nFirstEnd);
            link.band = last ? DefectPos_Last : along < bands.nFirstEnd ? DefectPos_First : DefectPos_Middle;
            if (along == place)
                chain.asked = static_cast<int>(chain.links.size()) - 1;
        }
        return chain;
    }

    virtual bool LastBandFirst() const = 0;

    /// Runs the pairing over hits in the kernel's order. owners: for each its link, or -1 for hits of other chains.
    template <CPairingTraits kPairing, class TRecords>
    void RunPairing(ProbedChain& chain, const CHitArrays& hits, const std::vector<int>& owners, TRecords& records) const
    {
        for (ChainLink& link : chain.links)
            if (link.pixel.hit)
                link.fate = link.band == DefectPos_Middle ? HitFate::NoPartner : HitFate::Blocked;
        PairHits<kPairing>({&hits, static_cast<std::int64_t>(owners.size())}, Bands(),
                           ListeningRecords<TRecords>(records, chain.links, owners));
        // A middle hit that gave nothing although there is a hit one hop on was blocked by it.
        for (std::size_t i = 0; i + 1 < chain.links.size(); ++i)
            if (chain.links[i].fate == HitFate::NoPartner && chain.links[i + 1].pixel.hit)
                chain.links[i].fate = HitFate::Blocked;
        chain.records.assign(m_store.pPair, m_store.pPair + records.Count());
    }

    mutable CPairStorage m_store;
    mutable int m_endLine = 0;
    bool m_horizontal;
};

namespace
{

/// Zone and pixel kernels.
template <class TRule, class TCall>
class RuleBackend : public KernelProbe::Backend
{
    static constexpr CScanTraits kScan = TRule::kScan;
    using TScan = std::conditional_t<kScan.bHorizontal, CRowScan<TRule>, CStripScan<TRule>>;

public:
    template <class TMakeCall>
    RuleBackend(const CConvParam& param, TMakeCall&& makeCall)
        : Backend(param, kScan.bHorizontal), m_call(makeCall(m_store, &m_endLine)), m_rule(m_call),
          m_scan(m_call, m_rule)
    {
        m_rule.BeginScan(m_scan.ScanEnd());
    }

    int Units() const override { return 1; }
    CBands Bands() const override { return m_scan.Bands(); }
    bool Covers(int x, int y) const override { return m_scan.Covers(x, y); }

    ProbedPixel Compare(int x, int y, bool zones) const override
    {
        ProbedPixel pixel;
        pixel.place = CPoint(x, y);
        CFoundHit found;
        pixel.compared = Find(x, y, zones, pixel, found);
        return pixel;
    }

    ProbedChain Pair(int x, int y) const override
    {
        ProbedChain chain = MakeChain(x, y);
        TRule rule(m_call);
        rule.BeginScan(m_scan.ScanEnd());
        std::vector<int> owners;
        for (std::size_t i = 0; i < chain.links.size(); ++i)
        {
            const ChainLink& link = chain.links[i];
            ProbedPixel again;
            CFoundHit found;
            if (!link.pixel.hit || !Find(link.pixel.place.x, link.pixel.place.y, true, again, found))
                continue;
            const std::int64_t column = found.Column();
            if (!rule.Store(static_cast<std::int64_t>(owners.size()), link.pixel.place.x - column, found))
                throw HostError({{"memory", "not enough for the hits of one column", "a smaller region"}});
            owners.push_back(static_cast<int>(i));
        }
        this->template RunPairing<TScan::kPairing>(chain, rule.hits, owners, rule.records);
        return chain;
    }

protected:
    bool LastBandFirst() const override { return kScan.bLastBandFirst; }

private:
    bool Find(int x, int y, bool zones, ProbedPixel& pixel, CFoundHit& found) const
    {
        if (!m_scan.Covers(x, y))
            return false;
        std::int64_t element = 0;
        if constexpr (requires(const TRule& rule) { rule.FindCell(0, 0); })
            if (zones)
            {
                const CCellOrigin origin = m_rule.FindCell(x, y);
                element = origin.MapElement(x, y, m_call.nMapStride);
                pixel.skipped = origin.nSkip != 0;
                pixel.inCell = true;
                pixel.cellOrigin = CPoint(static_cast<int>(origin.nX), static_cast<int>(origin.nY));
                pixel.cellPlace = CPoint(static_cast<int>(x - origin.nX), static_cast<int>(y - origin.nY));
            }
        pixel.skipped = pixel.skipped || !m_rule.Inspects(x, y);
        const CPitch16 pitch = m_scan.PitchAt(y);
        found = m_rule.Compare(pitch, x, y, element, static_cast<int>((x - m_call.region.nLeft) & 15));
        pixel.source = found.nSrc;
        pixel.reference = found.nCmp;
        pixel.threshold = found.nThreshold;
        pixel.zone = found.nZone;
        if (zones)
            FindThresholdSet(pixel, element);
        const std::int16_t difference = SaturatedDifference(found.nSrc, found.nCmp);
        pixel.bright = difference >= 1;
        pixel.hit = !pixel.skipped && ExceedsThreshold(difference, found.nThreshold);
        pixel.pitch16 = static_cast<int>(pitch.nWhole * 16 + pitch.nFraction);
        return true;
    }

    /// The first of the kernel's threshold sets that gives the threshold.
    void FindThresholdSet(ProbedPixel& pixel, std::int64_t element) const
    {
        const auto larger = static_cast<std::uint16_t>(std::max(pixel.source, pixel.reference));
        const auto offer = [&](std::int64_t base, std::int64_t gain)
        {
            if (pixel.thresholdBase >= 0 || FormThreshold(larger, static_cast<std::uint16_t>(gain),
                                                          static_cast<std::uint16_t>(base)) != pixel.threshold)
                return;
            pixel.thresholdBase = static_cast<int>(base);
            pixel.thresholdGain = static_cast<int>(gain);
        };
        if constexpr (std::is_same_v<TCall, CZoneCall>)
        {
            const auto read = [&](const std::int16_t* map) { return map != nullptr ? map[element] : std::int16_t{0}; };
            if constexpr (kScan.eFind == FindVariant::LinearFloor)
                return offer(pixel.threshold, 0);
            const bool upper =
                kScan.eFind == FindVariant::LinearKnee && m_call.pKneeMap != nullptr && larger > read(m_call.pKneeMap);
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
    TScan m_scan;
};

/// Float kernels.
template <CFloatTraits kTraits>
class FloatBackend : public KernelProbe::Backend
{
    using TScan = std::conditional_t<kTraits.bHorizontal, CFloatRows<kTraits>, CFloatStrips<kTraits>>;

public:
    FloatBackend(const CConvParam& param, FloatKernel kernel)
        : Backend(param, kTraits.bHorizontal), m_call(MakeFloatCall(m_store, kernel, &m_endLine)), m_scan(m_call)
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

using BackendPointer = std::unique_ptr<KernelProbe::Backend>;

/// Zone kernels read as tables of rows do; nothing else does.
template <std::size_t kIndex, bool kFraction>
BackendPointer MakeZone(const CConvParam& param, const CZoneCellSize& cell)
{
    constexpr auto kKernel = static_cast<ZoneKernel>(kIndex);
    constexpr CZoneTraits kTraits = GetZoneTraits(kKernel, kFraction);
    return std::make_unique<RuleBackend<CZoneRule<kTraits>, CZoneCall>>(
        param, [&](CPairStorage& store, int* endLine) { return MakeZoneCall(store, kKernel, cell, endLine); });
}

template <std::size_t kIndex, bool kFraction>
BackendPointer MakePixel(const CConvParam& param)
{
    constexpr auto kKernel = static_cast<PixelKernel>(kIndex);
    constexpr CPixelTraits kTraits = GetPixelTraits(kKernel, kFraction);
    return std::make_unique<RuleBackend<CPixelRule<kTraits>, CPixelCall>>(
        param,
        [&](CPairStorage& store, int* endLine)
        {
            CPixelCall call = MakePixelCall(store, kKernel, endLine);
            if (kTraits.bZeroOutside)
            {
                call.image.nFilledTop = call.region.nTop;
                call.image.nFilledBottom = call.region.nBottom;
            }
            return call;
        });
}

/// Calls `make` with the place of an enumerator as a constant.
template <std::size_t... kIndex, class TMake>
BackendPointer Choose(std::size_t index, std::index_sequence<kIndex...>, TMake&& make)
{
    BackendPointer made;
    ((kIndex == index ? (made = make(std::integral_constant<std::size_t, kIndex>()), true) : false) || ...);
    return made;
}

bool IsFraction(float shift)
{
    return shift != static_cast<float>(static_cast<int>(shift));
}

BackendPointer MakeBackend(const CConvParam& param, bool asg, std::string& name)
{
    const bool fraction = IsFraction(param.fVtdPitch);
    switch (asg ? ChooseAsgComparison(param) : ChooseComparison(param))
    {
    case Comparison::Zone:
    case Comparison::AsgZone:
    {
        const ZoneKernel kernel = asg ? ChooseAsgZoneKernel(param) : ChooseZoneKernel(param);
        const CZoneCellSize cell = asg ? GetAsgZoneCellSize(param) : GetZoneCellSize(param);
        name = zoneNames[static_cast<std::size_t>(kernel)];
        return Choose(static_cast<std::size_t>(kernel), std::make_index_sequence<zoneNames.size()>(),
                      [&](auto index)
                      { return fraction ? MakeZone<index, true>(param, cell) : MakeZone<index, false>(param, cell); });
    }
    case Comparison::Pixel:
    {
        const PixelKernel kernel = ChoosePixelKernel(param).eKernel;
        name = pixelNames[static_cast<std::size_t>(kernel)];
        return Choose(static_cast<std::size_t>(kernel), std::make_index_sequence<pixelNames.size()>(),
                      [&](auto index)
                      { return fraction ? MakePixel<index, true>(param) : MakePixel<index, false>(param); });
    }
    case Comparison::Float:
    {
        const CFloatChoice choice = ChooseFloatKernel(param);
        if (choice.ePath != CFloatChoice::Path::Kernel)
            return nullptr;
        name = floatNames[static_cast<std::size_t>(choice.eKernel)];
        return Choose(static_cast<std::size_t>(choice.eKernel), std::make_index_sequence<floatNames.size()>(),
                      [&](auto index) -> BackendPointer
                      {
                          constexpr CFloatTraits kTraits = GetFloatTraits(static_cast<FloatKernel>(index.value));
                          return std::make_unique<FloatBackend<kTraits>>(param, static_cast<FloatKernel>(index.value));
                      });
    }
    default:
        return nullptr;
    }
}

} // namespace

KernelProbe::KernelProbe(const CConvParam& param, bool asg)
    : m_backend(MakeBackend(param, asg, m_name)), m_horizontal(param.nDirection != 1)
{
    if (m_backend == nullptr)
        throw HostError({{"mode", "compares nothing at a pitch", "zone, pixel, float over a rectangle, or asg"}});
}

KernelProbe::~KernelProbe() = default;

void RunComparisonAlone(CNarvoAssem& engine, bool asg)
{
    /// Reaches what the engine keeps to itself and to those that derive from it.
    struct OpenEngine : CNarvoAssem
    {
        using CNarvoAssem::Inspect_FreeFormMask;
    };
    const CConvParam& param = engine.ConvParam;
    engine.ResetPixelStorage();
    engine.ResetPairStorage();
    int endLine = param.nDirection != 0 ? param.rtInspect.right : param.rtInspect.bottom;
    switch (asg ? ChooseAsgComparison(param) : ChooseComparison(param))
    {
    case Comparison::Zone:
    case Comparison::AsgZone:
    {
        const ZoneKernel kernel = asg ? ChooseAsgZoneKernel(param) : ChooseZoneKernel(param);
        const CZoneCellSize cell = asg ? GetAsgZoneCellSize(param) : GetZoneCellSize(param);
        engine.nPairCount = RunZoneKernel(kernel, MakeZoneCall(engine, kernel, cell, &endLine));
        break;
    }
    case Comparison::Pixel:
    {
        const PixelKernel kernel = ChoosePixelKernel(param).eKernel;
        engine.nPairCount = RunPixelKernel(kernel, MakePixelCall(engine, kernel, &endLine));
        break;
    }
    case Comparison::Float:
    {
        const CFloatChoice choice = ChooseFloatKernel(param);
        if (choice.ePath == CFloatChoice::Path::Kernel)
            engine.nPairCount = RunFloatKernel(choice.eKernel, MakeFloatCall(engine, choice.eKernel, &endLine));
        else if (choice.ePath == CFloatChoice::Path::FreeForm)
            engine.nPairCount = (engine.*&OpenEngine::Inspect_FreeFormMask)(endLine);
        break;
    }
    case Comparison::Binarise:
        engine.nPairCount = engine.BinalizeInspection(param.pImage, 0, param.nThreshold, param.rtInspect,
                                                      param.nImageWidth, engine.pPair, 0, engine.nPairSize, endLine);
        break;
    case Comparison::Average:
    {
        CRect region = param.rtInspect;
        std::vector<std::int64_t> sums((static_cast<std::size_t>(region.Width()) + 1) *
                                       (static_cast<std::size_t>(region.Height()) + 1));
        engine.nPairCount =
            CompareAverageROI(param.pImage, sums.data(), param.nImageWidth, &region, param.nBlackFilterGray,
                              param.nThreshold, param.nGrayLimit, engine.ConvParam.rtDeadZone, engine.pPair, 0,
                              engine.nPairSize, param.nAverageParam2, param.nAverageParam1, &endLine);
        break;
    }
    default:
        break;
    }
}

int KernelProbe::Units() const
{
    return m_backend->Units();
}

int KernelProbe::Hop() const
{
    return static_cast<int>(m_backend->Bands().nHop);
}

int KernelProbe::FirstBandEnd() const
{
    return static_cast<int>(m_backend->Bands().nFirstEnd);
}

int KernelProbe::LastBandStart() const
{
    return static_cast<int>(m_backend->Bands().nLastStart);
}

bool KernelProbe::Covers(int x, int y) const
{
    return m_backend->Covers(x, y);
}

ProbedPixel KernelProbe::Compare(int x, int y) const
{
    return m_backend->Compare(x, y, true);
}

ProbedPixel KernelProbe::CompareValues(int x, int y) const
{
    return m_backend->Compare(x, y, false);
}

ProbedChain KernelProbe::Pair(int x, int y) const
{
    return m_backend->Pair(x, y);
}

} // namespace narvo
