// SPDX-License-Identifier: MIT
// The finder of the float family: for every pixel of a row it gives one bit, whether the sums of two windows differ
// by more than their threshold. Sums are computed before (derive_rows.h). Its vector code (find_sums.cc) is
// compiled once per instruction set.
#pragma once

#include <cstdint>

namespace narvo::engine
{

/// What the finder compares. A variant is added only here; its arithmetic refers to it by name.
enum class SumsVariant
{
    Larger,        ///< reference between two sums; the gain works on the larger value
    LargerSmaller, ///< the same with the smaller of two thresholds
    Source,        ///< the gain works on the source alone
    ColumnLarger,  ///< reference of weighted parts, column by column; the gain works on the larger value
    ColumnSource,  ///< the same with the gain on the source
    Plain,         ///< reference between two sums, threshold nBase unchanged
    PlainWitness,  ///< the same, and a second comparison, one pitch back from the reference, must agree
    Count
};

/// The gain applies to the source alone, not to the larger value.
constexpr bool WorksOnSource(SumsVariant eVariant)
{
    return eVariant == SumsVariant::Source || eVariant == SumsVariant::ColumnSource;
}

/// Shift of a value before its gain: one more where the gain applies to the source: to three quarters of its mean.
constexpr int GrayShift(SumsVariant eVariant)
{
    return WorksOnSource(eVariant) ? 7 : 6;
}

/// The threshold is nBase unchanged.
constexpr bool IsPlain(SumsVariant eVariant)
{
    return eVariant == SumsVariant::Plain || eVariant == SumsVariant::PlainWitness;
}

/// The reference has its weights by column.
constexpr bool HasColumnWeights(SumsVariant eVariant)
{
    return eVariant == SumsVariant::ColumnLarger || eVariant == SumsVariant::ColumnSource;
}

/// One row. All rows begin at the first pixel and hold 8 elements for each group. Arithmetic is done on 16-bit lanes:
/// products and sums wrap, shifts are logical. A pixel is marked when either difference, at least 0, exceeds the
/// threshold as signed 16-bit values.
///
/// Source value 16 * pSrc, reference pNear * weight near + pFar * weight far; the column variants have their weights by
/// column and add 16 * pMiddle. Both values are limited. Threshold (((v >> GrayShift) * nGain >> 8) + nBase) * nUnits.
/// The witness compares 16 * pNear with pSrc * weight near + pBack * weight far, without the limit.
struct CSumsRow
{
    const std::uint16_t* pSrc = nullptr;
    const std::uint16_t* pNear = nullptr;
    const std::uint16_t* pMiddle = nullptr;
    const std::uint16_t* pFar = nullptr;
    const std::uint16_t* pBack = nullptr; ///< witness: the sums in front of pSrc
    std::uint16_t nWeightNear = 16;       ///< sixteenths
    std::uint16_t nWeightFar = 0;
    const std::int16_t* pColumnNear = nullptr;
    const std::int16_t* pColumnFar = nullptr;

    std::uint16_t nLimit = 0;
    std::uint16_t nUnits = 64; ///< units per grey level
    std::uint16_t nBase = 0;   ///< grey levels
    std::uint16_t nGain = 0;   ///< 1/256
    std::uint16_t nBase2 = 0;  ///< second set
    std::uint16_t nGain2 = 0;

    std::int64_t nGroups = 0;      ///< groups of 8 pixels
    std::uint8_t* pMask = nullptr; ///< out: one mask a group, bit i for pixel i
};

/// Finds the marked pixels of one row with the widest vectors of the processor.
void FindSums(SumsVariant eVariant, const CSumsRow& row);

} // namespace narvo::engine
