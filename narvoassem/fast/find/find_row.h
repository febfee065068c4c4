// SPDX-License-Identifier: MIT
// The finder: for every pixel of one row of strips it gives one bit, whether the comparison exceeds its threshold.
// It keeps only the bits; the values of a hit are computed again, in plain code, for the few that are set
// (compare_pixel.h). Its vector code (find_row.cc) is compiled once per instruction set.
#pragma once

#include <cstddef>
#include <cstdint>

#include "narvoassem/base/table_rows.h"

namespace narvo::engine
{

constexpr int kStripWidth = 16; ///< columns of a strip
constexpr int kGroupWidth = 8;  ///< columns of a group: capacities are tested after each
constexpr int kSpareMasks = 8;  ///< masks after a row's last that may be read

/// Where the finder's reference comes from.
enum class FindReference
{
    Linear,   ///< two weighted rows
    Bilinear, ///< four weighted pixels
    Column    ///< two rows weighted column by column
};

/// Where its threshold comes from.
enum class FindThreshold
{
    Map,    ///< maps
    Knee,   ///< two segments from maps; no grey limit
    Floor,  ///< one threshold for all pixels, no gain
    Scalar, ///< base and gain for all pixels
    Smaller ///< the smaller of two such thresholds
};

/// What the finder compares. A variant is added here and in findVariants, nowhere else.
enum class FindVariant
{
    LinearMap,
    LinearKnee,
    LinearFloor,
    BilinearMap,
    ColumnMap,
    LinearScalar,
    LinearSmaller,
    BilinearSmaller,
    ColumnScalar,
    Count
};

struct CFindTraits
{
    FindVariant eVariant;
    FindReference eReference;
    FindThreshold eThreshold;

    constexpr bool UsesMaps() const { return eThreshold == FindThreshold::Map || eThreshold == FindThreshold::Knee; }
    /// Values are limited before they are compared.
    constexpr bool IsLimited() const { return eThreshold != FindThreshold::Knee; }
};

/// The variants, each at its own number.
inline constexpr CFindTraits findVariants[] = {
    {FindVariant::LinearMap, FindReference::Linear, FindThreshold::Map},
    {FindVariant::LinearKnee, FindReference::Linear, FindThreshold::Knee},
    {FindVariant::LinearFloor, FindReference::Linear, FindThreshold::Floor},
    {FindVariant::BilinearMap, FindReference::Bilinear, FindThreshold::Map},
    {FindVariant::ColumnMap, FindReference::Column, FindThreshold::Map},
    {FindVariant::LinearScalar, FindReference::Linear, FindThreshold::Scalar},
    {FindVariant::LinearSmaller, FindReference::Linear, FindThreshold::Smaller},
    {FindVariant::BilinearSmaller, FindReference::Bilinear, FindThreshold::Smaller},
    {FindVariant::ColumnScalar, FindReference::Column, FindThreshold::Scalar},
};

constexpr const CFindTraits& GetFindTraits(FindVariant eVariant)
{
    return findVariants[static_cast<std::size_t>(eVariant)];
}

static_assert(HasRowForEach(findVariants, &CFindTraits::eVariant, FindVariant::Count));

/// Neighbouring strips with consecutive map elements and equal displacement of their references.
struct CStripRun
{
    std::int64_t nFirstStrip = 0; ///< index within the row
    std::int64_t nStripCount = 0;
    std::int64_t nMapBase = 0; ///< element of the run's first pixel, minus nMapRow of the row
    std::int64_t nDisplacement =
        0; ///< column variants: bytes from a pixel's place in the reference rows to its reference
};

/// One row. Byte rows begin at the first pixel of the first strip and hold 16 bytes for each strip; those marked +1
/// hold one byte more. The reference rows of the column variants hold them at the runs' displacements.
/// Arithmetic is done on 16-bit lanes: products and sums wrap, shifts are logical, the threshold test is signed.
struct CFindRow
{
    const std::uint8_t* pSrc = nullptr;  ///< source row
    const std::uint8_t* pNear = nullptr; ///< reference row (bilinear: +1)
    const std::uint8_t* pFar = nullptr;  ///< the row, or the pixel, after it (bilinear: +1)

    /// Bytes from pFar to the memory that the next row will be the first to read. Prefetching it a row ahead hides the
    /// latency of main memory, which the processor's own prefetcher does not.
    std::int64_t nPrefetch = 0;

    std::uint16_t nWeightNear = 16; ///< sixteenths
    std::uint16_t nWeightFar = 0;
    std::uint16_t nWeightLeft = 16;            ///< bilinear: weight of column x, sixteenths
    std::uint16_t nWeightRight = 0;            ///< bilinear: weight of column x + 1
    const std::int16_t* pColumnNear = nullptr; ///< column variants: 16 weights for each strip
    const std::int16_t* pColumnFar = nullptr;

    std::uint16_t nGrayLimit = 255;
    std::uint16_t nBase = 0;  ///< scalar thresholds; floor variant: the threshold
    std::uint16_t nGain = 0;  ///< 1/256
    std::uint16_t nBase2 = 0; ///< second set
    std::uint16_t nGain2 = 0;

    const std::int16_t* pOffsetMap = nullptr; ///< maps; null counts as all 0
    const std::int16_t* pGainMap = nullptr;
    const std::int16_t* pKneeMap = nullptr;
    const std::int16_t* pOffsetMap2 = nullptr;
    const std::int16_t* pGainMap2 = nullptr;
    const std::int16_t* pZeroMap = nullptr; ///< zeros for as many elements as the row has columns
    std::int64_t nMapRow = 0;               ///< row index times map stride

    const CStripRun* pRuns = nullptr; ///< strips to look at, in ascending order
    std::size_t nRunCount = 0;

    /// Out: one 16-bit mask per strip, bit i for column i. Strips outside the runs are not written.
    std::uint16_t* pMask = nullptr;
};

/// Finds the hits of one row with the widest vectors of the processor.
void FindRow(FindVariant eVariant, const CFindRow& row);

/// Name of the instruction set that FindRow currently uses, for tests and reports.
const char* GetVectorTargetName();

} // namespace narvo::engine
