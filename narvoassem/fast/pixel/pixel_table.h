// SPDX-License-Identifier: MIT
// The pixel kernels, and what selects them. Adding a kernel means an entry and a row here, its declaration in a public
// header, and its public name in the file that its home asks for it (kernel_args.h).
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "narvoassem/fast/call/kernel_table.h"
#include "narvoassem/fast/pixel/pixel_traits.h"

namespace narvo::engine
{

/// The twice kernels are two runs of one of these.
enum class PixelKernel
{
    Hori,
    HoriTable,
    HoriIntrin,
    VertDirect,
    Vert,
    Vert2,
    Vtds,
    Vtds2,
    VertIntrin,
    VtdsIntrin,
    VertWide,
    VtdsWide,
    VertMask,
    Count
};

using CPixelRow = CKernelRow<PixelKernel, CPixelTraits>;
using CPixelChoice = CKernelChoice<PixelKernel>;

inline constexpr auto pixelKernels = []
{
    using enum FindVariant;
    using enum KernelHome;
    using enum SecondSet;
    constexpr CScanTraits kRows = {.eFind = LinearScalar, .bHorizontal = true, .bAnyRow = true};
    constexpr CScanTraits kStrips = {.eFind = LinearScalar, .eCut = StripCut::Overruns};
    constexpr CScanTraits kTable = {.eFind = LinearScalar, .bRowTable = true, .eCut = StripCut::Overruns};
    constexpr CScanTraits kSmaller = {.eFind = LinearSmaller, .eCut = StripCut::Overruns};
    constexpr CScanTraits kSmallerTable = {.eFind = LinearSmaller, .bRowTable = true, .eCut = StripCut::Overruns};
    constexpr CScanTraits kShifted = {.eFind = LinearSmaller, .eCut = StripCut::Overruns, .bShifted = true};
    return std::to_array<CPixelRow>({
        {PixelKernel::Hori, "ConvPixelFast", Fast, "pixel, horizontal", {.scan = kRows}},
        {PixelKernel::HoriTable,
         "ConvPixelTableFast",
         Fast,
         "pixel, horizontal, column table",
         {.scan = {.eFind = ColumnScalar, .bHorizontal = true, .bAnyRow = true}}},
        {PixelKernel::HoriIntrin,
         "ConvPixel_Intrin",
         Engine,
         "pixel, horizontal, extended",
         {.scan = kRows, .bPeak = false}},
        {PixelKernel::VertDirect,
         "ConvPixelVertFast",
         Fast,
         "pixel, vertical, read directly",
         {.scan = {.eFind = LinearScalar, .nFreeRows = 1, .bEndLine = false, .eCut = StripCut::Overruns}}},
        {PixelKernel::Vert, "ConvPixelVertSFast", Fast, "pixel, vertical", {.scan = kStrips}},
        {PixelKernel::Vert2,
         "ConvPixelVertSFast2",
         Fast,
         "pixel, vertical, second threshold of dark hits",
         {.scan = kStrips, .eSecond = Narrows}},
        {PixelKernel::Vtds,
         "ConvPixelVTDSFast",
         Fast,
         "pixel, vertical, row table",
         {.scan = kTable, .bZeroOutside = true}},
        {PixelKernel::Vtds2,
         "ConvPixelVTDSFast2",
         Fast,
         "pixel, vertical, row table, second threshold of dark hits",
         {.scan = kTable, .eSecond = Narrows, .bZeroOutside = true}},
        {PixelKernel::VertIntrin,
         "ConvPixelVertS_Intrin",
         Engine,
         "pixel, vertical, extended, dead zones",
         {.scan = kSmaller, .eSecond = ByType, .bPeak = false, .bDeadZones = true}},
        {PixelKernel::VtdsIntrin,
         "ConvPixelVTDS_Intrin",
         Engine,
         "pixel, vertical, extended, row table, dead zones",
         {.scan = kSmallerTable, .eSecond = ByType, .bPeak = false, .bDeadZones = true, .bZeroOutside = true},
         false},
        {PixelKernel::VertWide,
         "ConvPixelVert_AVX",
         Wide,
         "pixel, vertical, extended",
         {.scan = kShifted, .eSecond = ByType, .bPeak = false, .bOwnHits = true, .bFraction = true}},
        {PixelKernel::VtdsWide,
         "ConvPixelVTDS_Intrin_AVX",
         Wide,
         "pixel, vertical, extended, row table",
         {.scan = kSmallerTable, .eSecond = ByType, .bPeak = false, .bZeroOutside = true}},
        // Free-form regions run it without being selected.
        {PixelKernel::VertMask,
         "ConvPixelVertMask",
         Wide,
         "pixel, vertical, mask",
         {.scan = kShifted, .eSecond = ByType, .bPeak = false, .bRecordPeak = true, .bFraction = true},
         false},
    });
}();

static_assert(HasRowForEach(pixelKernels, &CPixelRow::eKernel, PixelKernel::Count));

inline constexpr auto pixelChoicesHori = []
{
    using enum KernelOption;
    using enum PixelKernel;
    return std::to_array<CPixelChoice>({
        {ConvPitches, HoriTable, NoSingles, "horizontal table"},
        {Extended | Twice, HoriIntrin, NoSingles, "two-pass horizontal"},
        {Extended, HoriIntrin, NoSingles, "extended horizontal"},
        {{}, Hori, NoSingles, "horizontal"},
    });
}();

inline constexpr auto pixelChoicesVert = []
{
    using enum KernelOption;
    using enum PixelKernel;
    return std::to_array<CPixelChoice>({
        {ScanPitches | Extended, VtdsWide, SecondSet | NoSingles, "extended row table"},
        {ScanPitches | SecondSet, Vtds2, NoSingles, "dark filter row table"},
        {ScanPitches, Vtds, NoSingles, "row table"},
        {NoLineBuffer, VertDirect, NoSingles, "direct"},
        {Extended | Twice, VertIntrin, DeadZones | SecondSet | NoSingles, "two-pass"},
        // The form of the wide kernel with a real pitch has it in place of the shift.
        {Extended | ClassPitch, VertWide, SecondSet | NoSingles, "extended real-pitch"},
        {Extended, VertWide, SecondSet | CrossShift | NoSingles, "extended"},
        {SecondSet, Vert2, NoSingles, "dark filter"},
        {{}, Vert, NoSingles, "plain vertical"},
    });
}();

static_assert(AreKernelsChosen(pixelKernels, pixelChoicesHori, pixelChoicesVert));

constexpr const CPixelRow& GetKernelRow(PixelKernel eKernel)
{
    return pixelKernels[static_cast<std::size_t>(eKernel)];
}

/// What selects a kernel of Compare_Pixel, in order.
constexpr std::span<const CPixelChoice> GetPixelChoices(bool bVertical)
{
    return bVertical ? std::span<const CPixelChoice>(pixelChoicesVert) : pixelChoicesHori;
}

} // namespace narvo::engine
