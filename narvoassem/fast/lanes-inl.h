// Named lane operations between the finders and the instruction set: 16-bit lanes for the arithmetic, 8-bit lanes
// where a result is provably the same. Re-included once per instruction set.
#if defined(NARVOASSEM_FAST_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef NARVOASSEM_FAST_LANES_INL_H_
#undef NARVOASSEM_FAST_LANES_INL_H_
#else
#define NARVOASSEM_FAST_LANES_INL_H_
#endif

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace narvo
{
namespace HWY_NAMESPACE
{
namespace
{
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

/// Bytes at p, widened to the lanes of d. Reads as many bytes as d has lanes.
template <class D>
HWY_INLINE hn::Vec<D> LoadWide(D d, const std::uint8_t* p)
{
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<std::uint8_t, D>(), p));
}

/// 16-bit elements at p.
template <class D>
HWY_INLINE hn::Vec<D> LoadMap(D d, const std::int16_t* p)
{
    return hn::LoadU(d, reinterpret_cast<const std::uint16_t*>(p));
}

/// (vNear * vWeightNear + vFar * vWeightFar) >> 4.
template <class V>
HWY_INLINE V Interpolate(V vNear, V vWeightNear, V vFar, V vWeightFar)
{
    return hn::ShiftRight<4>(hn::Add(hn::Mul(vNear, vWeightNear), hn::Mul(vFar, vWeightFar)));
}

/// ((vGray * vGain) >> 8) + vBase.
template <class V>
HWY_INLINE V FormThreshold(V vGray, V vGain, V vBase)
{
    return hn::Add(hn::ShiftRight<8>(hn::Mul(vGray, vGain)), vBase);
}

/// Writes the bits of |vSrc - vCmp| > vThreshold, signed; one bit a lane, the lowest first.
template <class D>
HWY_INLINE void StoreHits(D d, hn::Vec<D> vSrc, hn::Vec<D> vCmp, hn::Vec<D> vThreshold, std::uint8_t* pBits)
{
    const hn::RebindToSigned<D> di;
    const auto vDiff = hn::SaturatedSub(hn::BitCast(di, vSrc), hn::BitCast(di, vCmp));
    hn::StoreMaskBits(di, hn::Gt(hn::Abs(vDiff), hn::BitCast(di, vThreshold)), pBits);
}

#endif

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo
HWY_AFTER_NAMESPACE();

#endif
