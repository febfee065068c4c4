// SPDX-License-Identifier: MIT
// Vector code of the pitch search. All lanes are 16 bits wide, where no sum of weighted 8-bit pixels can overflow.
#include "narvoassem/fast/pitch/pitch_check_cost.h"

#include <algorithm>
#include <cstdlib>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "narvoassem/fast/pitch/pitch_check_cost.cc"
#include <hwy/foreach_target.h>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace narvo::engine
{
namespace HWY_NAMESPACE
{
namespace
{

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

void GetLineCosts(const CPitchLines& lines, std::int64_t nWhole, int nFirst, int nCount, std::int64_t nFloor,
                  std::int64_t* pCosts)
{
    const std::int64_t s = lines.nAlong;
    for (int k = 0; k < nCount; ++k)
    {
        const int f = nFirst + k;
        std::int64_t nCost = 0;
        for (std::int64_t y = 0; y < lines.nRows; ++y)
        {
            const std::uint8_t* p = lines.pFirst + y * lines.nStride;
            const std::uint8_t* q = lines.pFirst + (y * lines.nStride + nWhole * s);
            for (std::int64_t x = 0; x < lines.nColumns; ++x)
            {
                const int nE = 16 * (p[x] + p[x + s]) - (16 - f) * q[x] - 16 * q[x + s] - f * q[x + 2 * s];
                nCost += std::max<std::int64_t>(std::abs(nE) - nFloor, 0);
            }
        }
        pCosts[k] = nCost;
    }
}

void FillBoxStrip(const std::uint8_t* pSource, const std::uint8_t* pDisplaced, std::int64_t nStride, std::int64_t nRows,
                  int nFraction, std::int16_t* pPlain, std::int16_t* pShifted)
{
    for (std::int64_t y = 0; y < nRows; ++y)
        for (std::int64_t x = 0; x < 16; ++x)
        {
            const std::uint8_t* p = pSource + (y * nStride + x);
            const std::uint8_t* q = pDisplaced + (y * nStride + x);
            pPlain[y * 16 + x] = static_cast<std::int16_t>(p[0] + p[1]);
            pShifted[y * 16 + x] =
                static_cast<std::int16_t>(((q[0] * (16 - nFraction) + q[2] * nFraction) >> 4) + q[1]);
        }
}

void AddBoxCosts(const std::int16_t* pPlain, const std::int16_t* pShifted, std::int64_t nRows, int nFirst, int nCount,
                 std::int64_t* pCosts)
{
    for (int k = 0; k < nCount; ++k)
    {
        const int f = nFirst + k;
        for (std::int64_t i = 0; i < nRows * 16; ++i)
            pCosts[k] += std::abs(16 * (pPlain[i] + pPlain[i + 16]) - (16 - f) * pShifted[i] - 16 * pShifted[i + 16] -
                                  f * pShifted[i + 32]);
    }
}

void WidenBytes(const std::uint8_t* pByte, std::int16_t* pShort, std::int64_t nCount)
{
    for (std::int64_t i = 0; i < nCount; ++i)
        pShort[i] = pByte[i];
}

#else

/// Candidates whose sums stay in registers together.
constexpr int nGroup = 4;

/// At most 16 lanes, the columns of a block.
using D = hn::CappedTag<std::int16_t, 16>;
using V = hn::Vec<D>;
using D32 = hn::Repartition<std::int32_t, D>;
using V32 = hn::Vec<D32>;

HWY_INLINE std::int64_t GetLanes()
{
    return static_cast<std::int64_t>(hn::Lanes(D()));
}

/// Steps after which 32-bit sums of differences of up to 16320 per lane must be extracted.
constexpr std::int64_t nStepsLimit = std::int64_t{1} << 15;

HWY_INLINE V LoadBytes(const std::uint8_t* p)
{
    return hn::PromoteTo(D(), hn::LoadU(hn::Rebind<std::uint8_t, D>(), p));
}

/// Adds |E| above a floor, for each lane of 16 bits, to sums of 32 bits.
HWY_INLINE V32 AddExcess(V32 vSum, V vE, V vFloor)
{
    // Neither |E| nor the floor reaches the sign bit.
    const V vExcess = hn::Max(hn::Sub(hn::Abs(vE), vFloor), hn::Zero(D()));
    V32 vRest = hn::Zero(D32());
    vSum = hn::ReorderWidenMulAccumulate(D32(), vExcess, hn::Set(D(), 1), vSum, vRest);
    return hn::Add(vSum, vRest);
}

HWY_INLINE std::int64_t AddLanes(V32 vSum)
{
    HWY_ALIGN std::int32_t nLanes[hn::MaxLanes(D32())];
    hn::Store(vSum, D32(), nLanes);
    std::int64_t nSum = 0;
    for (std::size_t i = 0; i < hn::Lanes(D32()); ++i)
        nSum += nLanes[i];
    return nSum;
}

/// Adds the columns nFrom .. nTo - 1, up to nStepsLimit vectors, to the costs of nCount consecutive fractions. For a
/// vector of columns, differ(x, vE, vStep) gives E at fraction 0 and its step from one fraction to the next.
template <int nCount, class TDiffer>
HWY_INLINE void AddColumns(std::int64_t nFrom, std::int64_t nTo, int nFirst, int nFloor, std::int64_t* pCosts,
                           const TDiffer& differ)
{
    static_assert(nCount <= nGroup && nGroup == 4);
    const V vFirst = hn::Set(D(), static_cast<std::int16_t>(nFirst));
    const V vFloor = hn::Set(D(), static_cast<std::int16_t>(nFloor));
    V32 vSum0 = hn::Zero(D32());
    V32 vSum1 = hn::Zero(D32());
    V32 vSum2 = hn::Zero(D32());
    V32 vSum3 = hn::Zero(D32());
    for (std::int64_t x = nFrom; x < nTo; x += GetLanes())
    {
        V vE = hn::Zero(D());
        V vStep = hn::Zero(D());
        differ(x, vE, vStep);
        vE = hn::Add(vE, hn::Mul(vStep, vFirst));
        vSum0 = AddExcess(vSum0, vE, vFloor);
        if constexpr (nCount > 1)
        {
            vE = hn::Add(vE, vStep);
            vSum1 = AddExcess(vSum1, vE, vFloor);
        }
        if constexpr (nCount > 2)
        {
            vE = hn::Add(vE, vStep);
            vSum2 = AddExcess(vSum2, vE, vFloor);
        }
        if constexpr (nCount > 3)
            vSum3 = AddExcess(vSum3, hn::Add(vE, vStep), vFloor);
    }
    pCosts[0] += AddLanes(vSum0);
    if constexpr (nCount > 1)
        pCosts[1] += AddLanes(vSum1);
    if constexpr (nCount > 2)
        pCosts[2] += AddLanes(vSum2);
    if constexpr (nCount > 3)
        pCosts[3] += AddLanes(vSum3);
}

template <int nCount>
void SumLines(const CPitchLines& lines, std::int64_t nWhole, int nFirst, int nFloor, std::int64_t* pCosts)
{
    const std::int64_t s = lines.nAlong;
    const std::int64_t nLimit = nStepsLimit * GetLanes();
    for (std::int64_t y = 0; y < lines.nRows; ++y)
    {
        const std::uint8_t* p = lines.pFirst + y * lines.nStride;
        const std::uint8_t* q = lines.pFirst + (y * lines.nStride + nWhole * s);
        for (std::int64_t x = 0; x < lines.nColumns; x += nLimit)
            AddColumns<nCount>(x, std::min(x + nLimit, lines.nColumns), nFirst, nFloor, pCosts,
                               [&](std::int64_t i, V& vE, V& vStep) HWY_ATTR
                               {
                                   const V vNear = LoadBytes(q + i);
                                   const V vPlain = hn::Add(LoadBytes(p + i), LoadBytes(p + i + s));
                                   const V vShifted = hn::Add(vNear, LoadBytes(q + i + s));
                                   vE = hn::ShiftLeft<4>(hn::Sub(vPlain, vShifted));
                                   vStep = hn::Sub(vNear, LoadBytes(q + i + 2 * s));
                               });
    }
}

template <int nCount>
void SumBoxes(const std::int16_t* pPlain, const std::int16_t* pShifted, std::int64_t nRows, int nFirst,
              std::int64_t* pCosts)
{
    const D d;
    const std::int64_t nLimit = nStepsLimit * GetLanes();
    for (std::int64_t n = 0; n < nRows * 16; n += nLimit)
        AddColumns<nCount>(n, std::min(n + nLimit, nRows * 16), nFirst, 0, pCosts,
                           [&](std::int64_t i, V& vE, V& vStep) HWY_ATTR
                           {
                               const V vNear = hn::LoadU(d, pShifted + i);
                               const V vPlain = hn::Add(hn::LoadU(d, pPlain + i), hn::LoadU(d, pPlain + i + 16));
                               const V vShifted = hn::Add(vNear, hn::LoadU(d, pShifted + i + 16));
                               vE = hn::ShiftLeft<4>(hn::Sub(vPlain, vShifted));
                               vStep = hn::Sub(vNear, hn::LoadU(d, pShifted + i + 32));
                           });
}

/// Calls sum(count constant, first fraction, costs) for groups of candidates.
template <class TSum>
void ForGroups(int nFirst, int nCount, std::int64_t* pCosts, const TSum& sum)
{
    for (int k = 0; k < nCount; k += nGroup)
        switch (std::min(nCount - k, nGroup))
        {
        case 1:
            sum(std::integral_constant<int, 1>(), nFirst + k, pCosts + k);
            break;
        case 2:
            sum(std::integral_constant<int, 2>(), nFirst + k, pCosts + k);
            break;
        case 3:
            sum(std::integral_constant<int, 3>(), nFirst + k, pCosts + k);
            break;
        default:
            sum(std::integral_constant<int, nGroup>(), nFirst + k, pCosts + k);
            break;
        }
}

void GetLineCosts(const CPitchLines& lines, std::int64_t nWhole, int nFirst, int nCount, std::int64_t nFloor,
                  std::int64_t* pCosts)
{
    // No difference exceeds 8160; a floor below 0 adds the same to every pixel.
    const int nFloorInRange = static_cast<int>(std::clamp<std::int64_t>(nFloor, 0, 8160));
    const std::int64_t nPixels = std::max<std::int64_t>(lines.nColumns, 0) * std::max<std::int64_t>(lines.nRows, 0);
    std::fill_n(pCosts, nCount, nFloor < 0 ? -nFloor * nPixels : 0);
    ForGroups(nFirst, nCount, pCosts,
              [&](auto count, int nFraction, std::int64_t* pGroup)
              { SumLines<decltype(count)::value>(lines, nWhole, nFraction, nFloorInRange, pGroup); });
}

void FillBoxStrip(const std::uint8_t* pSource, const std::uint8_t* pDisplaced, std::int64_t nStride, std::int64_t nRows,
                  int nFraction, std::int16_t* pPlain, std::int16_t* pShifted)
{
    const D d;
    const V vFar = hn::Set(d, static_cast<std::int16_t>(nFraction));
    const V vNear = hn::Set(d, static_cast<std::int16_t>(16 - nFraction));
    for (std::int64_t y = 0; y < nRows; ++y, pPlain += 16, pShifted += 16)
        for (std::int64_t x = 0; x < 16; x += GetLanes())
        {
            const std::uint8_t* p = pSource + (y * nStride + x);
            const std::uint8_t* q = pDisplaced + (y * nStride + x);
            hn::StoreU(hn::Add(LoadBytes(p), LoadBytes(p + 1)), d, pPlain + x);
            const V vEnds = hn::Add(hn::Mul(LoadBytes(q), vNear), hn::Mul(LoadBytes(q + 2), vFar));
            hn::StoreU(hn::Add(hn::ShiftRight<4>(vEnds), LoadBytes(q + 1)), d, pShifted + x);
        }
}

void AddBoxCosts(const std::int16_t* pPlain, const std::int16_t* pShifted, std::int64_t nRows, int nFirst, int nCount,
                 std::int64_t* pCosts)
{
    ForGroups(nFirst, nCount, pCosts,
              [&](auto count, int nFraction, std::int64_t* pGroup)
              { SumBoxes<decltype(count)::value>(pPlain, pShifted, nRows, nFraction, pGroup); });
}

void WidenBytes(const std::uint8_t* pByte, std::int16_t* pShort, std::int64_t nCount)
{
    const hn::FixedTag<std::int16_t, 8> d;
    const hn::Rebind<std::uint8_t, decltype(d)> dByte;
    std::int64_t i = 0;
    for (; i + 16 <= nCount; i += 16)
    {
        hn::Stream(hn::PromoteTo(d, hn::LoadU(dByte, pByte + i)), d, pShort + i);
        hn::Stream(hn::PromoteTo(d, hn::LoadU(dByte, pByte + i + 8)), d, pShort + i + 8);
    }
    hwy::FlushStream();
    for (; i < nCount; ++i)
        pShort[i] = pByte[i];
}

#endif

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo::engine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace narvo::engine
{

namespace
{
HWY_EXPORT(GetLineCosts);
HWY_EXPORT(FillBoxStrip);
HWY_EXPORT(AddBoxCosts);
HWY_EXPORT(WidenBytes);
} // namespace

void GetLineCosts(const CPitchLines& lines, std::int64_t nWhole, int nFirst, int nCount, std::int64_t nFloor,
                  std::int64_t* pCosts)
{
    HWY_DYNAMIC_DISPATCH(GetLineCosts)(lines, nWhole, nFirst, nCount, nFloor, pCosts);
}

void FillBoxStrip(const std::uint8_t* pSource, const std::uint8_t* pDisplaced, std::int64_t nStride, std::int64_t nRows,
                  int nFraction, std::int16_t* pPlain, std::int16_t* pShifted)
{
    HWY_DYNAMIC_DISPATCH(FillBoxStrip)(pSource, pDisplaced, nStride, nRows, nFraction, pPlain, pShifted);
}

void AddBoxCosts(const std::int16_t* pPlain, const std::int16_t* pShifted, std::int64_t nRows, int nFirst, int nCount,
                 std::int64_t* pCosts)
{
    HWY_DYNAMIC_DISPATCH(AddBoxCosts)(pPlain, pShifted, nRows, nFirst, nCount, pCosts);
}

void WidenBytes(const std::uint8_t* pByte, std::int16_t* pShort, std::int64_t nCount)
{
    HWY_DYNAMIC_DISPATCH(WidenBytes)(pByte, pShort, nCount);
}

} // namespace narvo::engine
#endif
