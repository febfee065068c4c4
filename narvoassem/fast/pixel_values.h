// Source and reference of one pixel in plain code, for the few pixels that the finder marked.
#pragma once

#include <cstdint>

#include "narvoassem/fast/compare_pixel.h"
#include "narvoassem/fast/image_rows.h"
#include "narvoassem/fast/pitch16.h"
#include "narvoassem/fast/scan.h"

namespace narvo
{

/// Index into the weight tables of column nColumn of a region that begins at nLeft. A block of 16 columns reads the
/// eight weights at its first column, low four bits cleared, for both of its halves.
constexpr std::int64_t ColumnWeightIndex(std::int64_t nLeft, std::int64_t nColumn)
{
    return RoundDownTo16(nLeft + RoundDownTo16(nColumn)) + (nColumn & 7);
}

/// Index into the displacement table, likewise.
constexpr std::int64_t ColumnBlockIndex(std::int64_t nLeft, std::int64_t nColumn)
{
    return RoundDownTo16(nLeft + RoundDownTo16(nColumn));
}

/// Spreads the weight tables to one weight a column and points the row there. @return false without memory
template <class TRow>
bool SpreadColumnWeights(const CKernelCall& call, std::int64_t nColumns, CScanScratch& scratch, TRow& row)
{
    const auto nCount = static_cast<std::size_t>(nColumns);
    if (!scratch.columnNear.Reserve(nCount) || !scratch.columnFar.Reserve(nCount))
        return false;
    for (std::size_t n = 0; n < nCount; ++n)
    {
        const std::int64_t nWeight = ColumnWeightIndex(call.region.nLeft, static_cast<std::int64_t>(n));
        scratch.columnNear[n] = call.pConvWeightNear[nWeight];
        scratch.columnFar[n] = call.pConvWeightFar[nWeight];
    }
    row.pColumnNear = scratch.columnNear.Data();
    row.pColumnFar = scratch.columnFar.Data();
    return true;
}

/// Whole columns that the reference of a bilinear kernel is shifted by: the zone kernels take the fraction of their
/// shift alone.
template <CScanTraits kScan>
std::int64_t ReferenceShift(const CKernelCall& call)
{
    return kScan.bShifted ? call.nVtdPitch16 >> 4 : 0;
}

/// One sample at (x, y): a pixel, or the mean of the 2 by 2 block whose top left pixel it is.
template <CScanTraits kScan>
std::uint16_t ReadSample(const CImageView& image, std::int64_t x, std::int64_t y)
{
    if constexpr (kScan.bMeans)
        return Mean2by2(ReadPixel(image, x, y), ReadPixel(image, x + 1, y), ReadPixel(image, x, y + 1),
                        ReadPixel(image, x + 1, y + 1));
    else
        return ReadPixel(image, x, y);
}

/// The reference of pixel (x, y), one pitch on.
template <CScanTraits kScan>
std::uint16_t ReadReference(const CKernelCall& call, const CPitch16& pitch, std::int64_t x, std::int64_t y)
{
    using enum FindVariant;
    const CImageView& image = call.image;
    const auto nFar = static_cast<std::uint16_t>(pitch.nFraction);
    const auto nNear = static_cast<std::uint16_t>(16 - pitch.nFraction);
    const std::int64_t nAt = x + ReferenceShift<kScan>(call);
    if constexpr (kScan.bHorizontal)
        return Interpolate(ReadPixel(image, x + pitch.nWhole, y), nNear, ReadPixel(image, x + pitch.nWhole + 1, y),
                           nFar);
    else if constexpr (kScan.eFind == BilinearMap || kScan.eFind == BilinearSmaller)
    {
        const auto nRight = static_cast<std::uint16_t>(call.nVtdPitch16 & 15);
        const auto nLeft = static_cast<std::uint16_t>(16 - nRight);
        const auto readRow = [&](std::int64_t nRow)
        { return Interpolate(ReadPixel(image, nAt, nRow), nLeft, ReadPixel(image, nAt + 1, nRow), nRight); };
        return Interpolate(readRow(y + pitch.nWhole), nNear, readRow(y + pitch.nWhole + 1), nFar);
    }
    else
        return Interpolate(ReadSample<kScan>(image, nAt, y + pitch.nWhole), nNear,
                           ReadSample<kScan>(image, nAt, y + pitch.nWhole + 1), nFar);
}

/// The reference of column x in row y of a kernel with column tables, nDisplacement pixels on.
inline std::uint16_t ReadColumnReference(const CKernelCall& call, std::int64_t nDisplacement, std::int64_t x,
                                         std::int64_t y)
{
    const std::int64_t nWeight = ColumnWeightIndex(call.region.nLeft, x - call.region.nLeft);
    return Interpolate(
        ReadPixel(call.image, x + nDisplacement, y), static_cast<std::uint16_t>(call.pConvWeightNear[nWeight]),
        ReadPixel(call.image, x + nDisplacement + 1, y), static_cast<std::uint16_t>(call.pConvWeightFar[nWeight]));
}

} // namespace narvo
