// SPDX-License-Identifier: MIT
// Weighted sums of pairs of bytes. Re-included once per instruction set.
#if defined(NARVOASSEM_FAST_PAIR_PRODUCTS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef NARVOASSEM_FAST_PAIR_PRODUCTS_INL_H_
#undef NARVOASSEM_FAST_PAIR_PRODUCTS_INL_H_
#else
#define NARVOASSEM_FAST_PAIR_PRODUCTS_INL_H_
#endif

#include <cstdint>

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

// MultiplyPairs: the sum of each two bytes, multiplied by a weight from -128 to 127 each; no sum exceeds 16 bits with
// their sign. PackBytes: values 0 .. 255 of two vectors as bytes, in the order before InterleaveLower and Upper.
#if HWY_TARGET <= HWY_SSSE3

HWY_INLINE hn::Vec128<std::int16_t> MultiplyPairs(hn::Vec128<std::uint8_t> vBytes, hn::Vec128<std::int16_t> vWeights)
{
    return hn::Vec128<std::int16_t>{_mm_maddubs_epi16(vBytes.raw, vWeights.raw)};
}
HWY_INLINE hn::Vec128<std::uint8_t> PackBytes(hn::Vec128<std::int16_t> vLower, hn::Vec128<std::int16_t> vUpper)
{
    return hn::Vec128<std::uint8_t>{_mm_packus_epi16(vLower.raw, vUpper.raw)};
}
#if HWY_TARGET <= HWY_AVX2
HWY_INLINE hn::Vec256<std::int16_t> MultiplyPairs(hn::Vec256<std::uint8_t> vBytes, hn::Vec256<std::int16_t> vWeights)
{
    return hn::Vec256<std::int16_t>{_mm256_maddubs_epi16(vBytes.raw, vWeights.raw)};
}
HWY_INLINE hn::Vec256<std::uint8_t> PackBytes(hn::Vec256<std::int16_t> vLower, hn::Vec256<std::int16_t> vUpper)
{
    return hn::Vec256<std::uint8_t>{_mm256_packus_epi16(vLower.raw, vUpper.raw)};
}
#endif
#if HWY_TARGET <= HWY_AVX3
HWY_INLINE hn::Vec512<std::int16_t> MultiplyPairs(hn::Vec512<std::uint8_t> vBytes, hn::Vec512<std::int16_t> vWeights)
{
    return hn::Vec512<std::int16_t>{_mm512_maddubs_epi16(vBytes.raw, vWeights.raw)};
}
HWY_INLINE hn::Vec512<std::uint8_t> PackBytes(hn::Vec512<std::int16_t> vLower, hn::Vec512<std::int16_t> vUpper)
{
    return hn::Vec512<std::uint8_t>{_mm512_packus_epi16(vLower.raw, vUpper.raw)};
}
#endif

#else

template <class VBytes, class VWords>
HWY_INLINE VWords MultiplyPairs(VBytes vBytes, VWords vWeights)
{
    const hn::DFromV<VWords> d;
    const VWords vPairs = hn::BitCast(d, vBytes);
    const VWords vFirst = hn::And(vPairs, hn::Set(d, 0xFF));
    const VWords vSecond = hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(hn::RebindToUnsigned<decltype(d)>(), vPairs)));
    return hn::Add(hn::Mul(vFirst, hn::ShiftRight<8>(hn::ShiftLeft<8>(vWeights))),
                   hn::Mul(vSecond, hn::ShiftRight<8>(vWeights)));
}
template <class VWords>
HWY_INLINE auto PackBytes(VWords vLower, VWords vUpper)
{
    const hn::Repartition<std::uint8_t, hn::DFromV<VWords>> d;
    return hn::ConcatEven(d, hn::BitCast(d, vUpper), hn::BitCast(d, vLower));
}

#endif

#endif

} // namespace
} // namespace HWY_NAMESPACE
} // namespace narvo::engine
HWY_AFTER_NAMESPACE();

#endif
