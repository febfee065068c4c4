// SPDX-License-Identifier: MIT
// The public names of the kernels: the check that none is missing, and their flat argument lists, collected in a call
// record. The macros for these expand inside a function whose parameters have the names of fastkernels.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/call/kernel_table.h"

namespace narvo::engine
{

/// Whether a kernel has its public name in this file.
template <auto eKernel>
inline constexpr bool bHasPublicName = false;

/// Whether each kernel of a table with that home has its public name in this file.
template <const auto& rows, KernelHome eHome>
constexpr bool HasPublicNames()
{
    return []<std::size_t... kRow>(std::index_sequence<kRow...> /*rows*/)
    {
        return ((rows[kRow].eHome != eHome || bHasPublicName<rows[kRow].eKernel>)&&...);
    }
    (std::make_index_sequence<rows.size()>());
}

} // namespace narvo::engine

// NOLINTBEGIN(cppcoreguidelines-macro-usage): they stand for declarations and for parameter lists that are macros

/// Goes before the function that is a kernel's public name.
#define NARVO_PUBLIC_NAME(eKernel, Name)                                                                               \
    template <>                                                                                                        \
    inline constexpr bool narvo::engine::bHasPublicName<eKernel> = true;                                               \
    static_assert(std::string_view(narvo::engine::GetKernelRow(eKernel).pName) == #Name)

/// The parts common to all three families.
#define NARVO_TAKE_COMMON_ARGUMENTS(call)                                                                              \
    do                                                                                                                 \
    {                                                                                                                  \
        (call).image = {pImage, nImageWidth, 0};                                                                       \
        (call).region = {nLeft, nTop, nRight, nBottom};                                                                \
        (call).hits = {nPixelSize, nPixelCount, pPixelX,  pPixelY,    pPixelType,                                      \
                       pPeak,      pSrcGray,    pCmpGray, pZoneIndex, pThresholds};                                    \
        (call).pairs = {pPair, nPairCount, nPairSize, nPairStride};                                                    \
        (call).nPitch16 = nPitch16;                                                                                    \
        (call).nGrayLimit = nGrayLimit;                                                                                \
        (call).pEndLine = pEndLine;                                                                                    \
    } while (false)

/// The same with the maps of the zone family.
#define NARVO_TAKE_ZONE_ARGUMENTS(call)                                                                                \
    do                                                                                                                 \
    {                                                                                                                  \
        NARVO_TAKE_COMMON_ARGUMENTS(call);                                                                             \
        (call).bKeepSingle = bKeepSingle;                                                                              \
        (call).pOffsetMap = pThresholdOffsetMap;                                                                       \
        (call).pGainMap = pThresholdGainMap;                                                                           \
        (call).pZoneIndexMap = pZoneIndexMap;                                                                          \
        (call).nMapStride = nZoneMapStride;                                                                            \
        (call).pOriginTable = static_cast<const int*>(pZoneOriginTable);                                               \
        (call).nRowBytes = nZoneRowBytes;                                                                              \
        (call).nCellWidth = nZoneConv;                                                                                 \
        (call).nCellHeight = nZoneScan;                                                                                \
    } while (false)

/// The same with the first threshold set of the pixel family.
#define NARVO_TAKE_PIXEL_ARGUMENTS(call)                                                                               \
    do                                                                                                                 \
    {                                                                                                                  \
        NARVO_TAKE_COMMON_ARGUMENTS(call);                                                                             \
        (call).bKeepSingle = bKeepSingle;                                                                              \
        (call).first = {nThreshold, nThresholdGain};                                                                   \
    } while (false)

/// The same with the threshold set of the float family, which has no argument for singles.
#define NARVO_TAKE_FLOAT_ARGUMENTS(call)                                                                               \
    do                                                                                                                 \
    {                                                                                                                  \
        NARVO_TAKE_COMMON_ARGUMENTS(call);                                                                             \
        (call).first = {nThreshold, nThresholdGain};                                                                   \
    } while (false)

// NOLINTEND(cppcoreguidelines-macro-usage)
