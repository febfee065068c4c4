// SPDX-License-Identifier: MIT
// Named lane operations of the finders over the instruction set: 16-bit lanes for the arithmetic, 8-bit lanes
// where a result is provably the same. Re-included once per instruction set.
#if defined(NARVOASSEM_FAST_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef NARVOASSEM_FAST_LANES_INL_H_
#undef NARVOASSEM_FAST_LANES_INL_H_
#else
#define NARVOASSEM_FAST_LANES_INL_H_
#endif

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace narvo::engine
{
namespace HWY_NAMESPACE
{
namespace
{
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

/// One value in every lane, as a member of a record: the vector, or the value alone where the size of a vector is not
/// known at compile time, since no record can hold such a vector.
template <class D>
class CLaneValue
{
#if HWY_HAVE_SCALABLE
public:
    CLaneValue(D /*d*/, hn::TFromD<D> nValue) : m_nValue(nValue)
    {
    }
    HWY_INLINE hn::Vec<D> Get() const
    {
        return hn::Set(D(), m_nValue);
    }

private:
    hn::TFromD<D> m_nValue;
#else
public:
    HWY_INLINE CLaneValue(D d, hn::TFromD<D> nValue) : m_vValue(hn::Set(d, nValue))
    {
    }
    HWY_INLINE hn::Vec<D> Get() const
    {
        return m_vValue;
    }

private:
    hn::Vec<D> m_vValue;
#endif
};

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

/// |vSrc - vCmp| > vThreshold, signed; all bits of a lane that is a hit are set.
template <class D>
HWY_INLINE hn::Mask<hn::RebindToSigned<D>> IsHit(D d, hn::Vec<D> vSrc, hn::Vec<D> vCmp, hn::Vec<D> vThreshold)
{
    const hn::RebindToSigned<D> di;
    (void)d;
    const auto vDiff = hn::SaturatedSub(hn::BitCast(di, vSrc), hn::BitCast(di, vCmp));
    return hn::Gt(hn::Abs(vDiff), hn::BitCast(di, vThreshold));
}

/// Writes the bits of two neighbouring masks of 16-bit lanes, the lowest first: one narrowing serves both where the
/// instruction set has no mask registers.
template <class DI>
HWY_INLINE void StoreMaskPair(DI di, hn::Mask<DI> bFirst, hn::Mask<DI> bSecond, std::uint8_t* pBits)
{
#if HWY_TARGET == HWY_AVX2
    const __m256i vPacked = _mm256_packs_epi16(hn::VecFromMask(di, bFirst).raw, hn::VecFromMask(di, bSecond).raw);
    const int nBits = _mm256_movemask_epi8(_mm256_permute4x64_epi64(vPacked, 0xD8));
    hwy::CopyBytes<4>(&nBits, pBits);
#elif HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_SSSE3
    const int nBits =
        _mm_movemask_epi8(_mm_packs_epi16(hn::VecFromMask(di, bFirst).raw, hn::VecFromMask(di, bSecond).raw));
    hwy::CopyBytes<2>(&nBits, pBits);
#else
    hn::StoreMaskBits(di, bFirst, pBits);
    hn::StoreMaskBits(di, bSecond, pBits + hn::Lanes(di) / 8);
#endif
}

#endif

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo::engine
HWY_AFTER_NAMESPACE();

#endif
