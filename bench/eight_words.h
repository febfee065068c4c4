// SPDX-License-Identifier: MIT
// Eight words of 16 bits in a vector of 128, by the processor's own intrinsics: what the baselines are written with.
#pragma once

#include <cstdint>

#if defined(__aarch64__)
#include <arm_neon.h>
#else
#include <smmintrin.h>
#endif

namespace bench
{

#if defined(__aarch64__)

using Words = int16x8_t;

/// Eight bytes at p, widened.
inline Words WidenBytes(const std::uint8_t* p)
{
    return vreinterpretq_s16_u16(vmovl_u8(vld1_u8(p)));
}
inline Words LoadWords(const short* p)
{
    return vld1q_s16(p);
}
inline void StoreWords(short* p, Words a)
{
    vst1q_s16(p, a);
}
inline Words SetAll(std::int64_t n)
{
    return vdupq_n_s16(static_cast<short>(n));
}
inline Words AddWords(Words a, Words b)
{
    return vaddq_s16(a, b);
}
/// The low halves of the products.
inline Words MulWords(Words a, Words b)
{
    return vmulq_s16(a, b);
}
inline Words SubSaturated(Words a, Words b)
{
    return vqsubq_s16(a, b);
}
template <int nBits>
inline Words ShiftRightUnsigned(Words a)
{
    return vreinterpretq_s16_u16(vshrq_n_u16(vreinterpretq_u16_s16(a), nBits));
}
inline Words AbsWords(Words a)
{
    return vabsq_s16(a);
}
inline Words MinSigned(Words a, Words b)
{
    return vminq_s16(a, b);
}
inline Words MaxSigned(Words a, Words b)
{
    return vmaxq_s16(a, b);
}
inline Words MinUnsigned(Words a, Words b)
{
    return vreinterpretq_s16_u16(vminq_u16(vreinterpretq_u16_s16(a), vreinterpretq_u16_s16(b)));
}
inline Words MaxUnsigned(Words a, Words b)
{
    return vreinterpretq_s16_u16(vmaxq_u16(vreinterpretq_u16_s16(a), vreinterpretq_u16_s16(b)));
}
/// All bits of the words of a that are greater, signed.
inline Words IsGreater(Words a, Words b)
{
    return vreinterpretq_s16_u16(vcgtq_s16(a, b));
}
/// Of a mask as IsGreater makes.
inline Words Select(Words mask, Words yes, Words no)
{
    return vbslq_s16(vreinterpretq_u16_s16(mask), yes, no);
}
/// Two bits for each word of a mask, the first word's lowest.
inline int MaskBits(Words mask)
{
    constexpr std::uint16_t bits[8] = {0x3, 0xC, 0x30, 0xC0, 0x300, 0xC00, 0x3000, 0xC000};
    return vaddvq_u16(vandq_u16(vreinterpretq_u16_s16(mask), vld1q_u16(bits)));
}

#else

using Words = __m128i;

/// Eight bytes at p, widened.
inline Words WidenBytes(const std::uint8_t* p)
{
    return _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}
inline Words LoadWords(const short* p)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline void StoreWords(short* p, Words a)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), a);
}
inline Words SetAll(std::int64_t n)
{
    return _mm_set1_epi16(static_cast<short>(n));
}
inline Words AddWords(Words a, Words b)
{
    return _mm_add_epi16(a, b);
}
/// The low halves of the products.
inline Words MulWords(Words a, Words b)
{
    return _mm_mullo_epi16(a, b);
}
inline Words SubSaturated(Words a, Words b)
{
    return _mm_subs_epi16(a, b);
}
template <int nBits>
inline Words ShiftRightUnsigned(Words a)
{
    return _mm_srli_epi16(a, nBits);
}
inline Words AbsWords(Words a)
{
    return _mm_abs_epi16(a);
}
inline Words MinSigned(Words a, Words b)
{
    return _mm_min_epi16(a, b);
}
inline Words MaxSigned(Words a, Words b)
{
    return _mm_max_epi16(a, b);
}
inline Words MinUnsigned(Words a, Words b)
{
    return _mm_min_epu16(a, b);
}
inline Words MaxUnsigned(Words a, Words b)
{
    return _mm_max_epu16(a, b);
}
/// All bits of the words of a that are greater, signed.
inline Words IsGreater(Words a, Words b)
{
    return _mm_cmpgt_epi16(a, b);
}
/// Of a mask as IsGreater makes.
inline Words Select(Words mask, Words yes, Words no)
{
    return _mm_blendv_epi8(no, yes, mask);
}
/// Two bits for each word of a mask, the first word's lowest.
inline int MaskBits(Words mask)
{
    return _mm_movemask_epi8(mask);
}

#endif

} // namespace bench
