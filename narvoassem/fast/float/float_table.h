// SPDX-License-Identifier: MIT
// The float kernels, and what selects them. Adding a kernel means an entry and a row here, its declaration in a public
// header, and its public name in the file that its home asks for it (kernel_args.h).
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "narvoassem/fast/call/kernel_table.h"
#include "narvoassem/fast/float/float_traits.h"

namespace narvo::engine
{

enum class FloatKernel
{
    Hori4,
    Hori6,
    Hori9,
    HoriTable4,
    HoriTable6,
    Vert4,
    Vert6,
    Vert9,
    Vtd,
    VertIntrin,
    VtdIntrin,
    VertRegion,
    Count
};

using CFloatRow = CKernelRow<FloatKernel, CFloatTraits>;
using CFloatChoice = CKernelChoice<FloatKernel>;

inline constexpr auto floatKernels = []
{
    using enum KernelHome;
    using enum SumsVariant;
    return std::to_array<CFloatRow>({
        {FloatKernel::Hori4, "ConvFloatFast4", Fast, "float, horizontal, 2 by 2", {.bHorizontal = true}},
        {FloatKernel::Hori6,
         "ConvFloatFast6",
         Fast,
         "float, horizontal, 3 by 2",
         {.eFind = Source, .bHorizontal = true, .nAlong = 3}},
        {FloatKernel::Hori9,
         "ConvFloatFast9",
         Fast,
         "float, horizontal, 3 by 3",
         {.eFind = Source, .bHorizontal = true, .nAcross = 3, .nAlong = 3}},
        {FloatKernel::HoriTable4,
         "ConvFloatTableFast4",
         Fast,
         "float, horizontal, 2 by 2, column table",
         {.eFind = ColumnLarger, .bHorizontal = true}},
        {FloatKernel::HoriTable6,
         "ConvFloatTableFast6",
         Fast,
         "float, horizontal, 3 by 2, column table",
         {.eFind = ColumnSource, .bHorizontal = true, .nAlong = 3}},
        {FloatKernel::Vert4, "ConvFloatVertFast4", Fast, "float, vertical, 2 by 2", {}},
        {FloatKernel::Vert6, "ConvFloatVertFast6", Fast, "float, vertical, 2 by 3", {.eFind = Source, .nAlong = 3}},
        {FloatKernel::Vert9,
         "ConvFloatVertFast9",
         Fast,
         "float, vertical, 3 by 3",
         {.eFind = Source, .nAcross = 3, .nAlong = 3}},
        {FloatKernel::Vtd, "ConvFloatVTDFast", Fast, "float, vertical, 2 by 2, row table or shift", {.bShifted = true}},
        {FloatKernel::VertIntrin,
         "ConvFloatVert_Intrin",
         Engine,
         "float, vertical, 2 by 2, extended",
         {.eFind = LargerSmaller, .bMember = true}},
        {FloatKernel::VtdIntrin,
         "ConvFloatVTD_Intrin",
         Engine,
         "float, vertical, 2 by 2, extended, row table or shift",
         {.eFind = LargerSmaller, .bShifted = true, .bMember = true}},
        // Free-form regions run it without being selected.
        {FloatKernel::VertRegion,
         "ConvFloatVJF_Intrin",
         Protected,
         "float, vertical, 2 by 2, region",
         {.eFind = LargerSmaller, .bMember = true, .bRegion = true},
         false},
    });
}();

static_assert(HasRowForEach(floatKernels, &CFloatRow::eKernel, FloatKernel::Count));

// The plain float kernels keep singles whatever the block says.

inline constexpr auto floatChoicesHori = []
{
    using enum KernelOption;
    using enum FloatKernel;
    return std::to_array<CFloatChoice>({
        {ConvPitches | LargerWindow, HoriTable6, Window6, "horizontal table"},
        {ConvPitches, HoriTable4, {}, "horizontal table"},
        {Window6, Hori6, {}, "3 by 2 horizontal"},
        {LargerWindow, Hori9, Window9, "3 by 3 horizontal"},
        {{}, Hori4, {}, "horizontal"},
    });
}();

inline constexpr auto floatChoicesVert = []
{
    using enum KernelOption;
    using enum FloatKernel;
    constexpr COptionSet kExtended = SecondSet | DeadZones | NoSingles;
    return std::to_array<CFloatChoice>({
        {ScanPitches | Extended, VtdIntrin, CrossShift | kExtended, "extended row table", LargerWindow},
        {CrossShift | Extended, VtdIntrin, kExtended, "extended cross shift", LargerWindow},
        {ScanPitches, Vtd, CrossShift, "row table", LargerWindow},
        {CrossShift, Vtd, {}, "cross shift", LargerWindow},
        {Window6, Vert6, {}, "2 by 3 vertical"},
        {LargerWindow, Vert9, Window9, "3 by 3 vertical"},
        {Flagged, VertRegion, SecondSet | NoSingles, "mask", {}, ChoicePath::FreeForm},
        {Extended, VertIntrin, kExtended, "extended"},
        {{}, Vert4, {}, "plain vertical"},
    });
}();

static_assert(AreKernelsChosen(floatKernels, floatChoicesHori, floatChoicesVert));

constexpr const CFloatRow& GetKernelRow(FloatKernel eKernel)
{
    return floatKernels[static_cast<std::size_t>(eKernel)];
}

/// What selects a kernel of Compare_Float, in order.
constexpr std::span<const CFloatChoice> GetFloatChoices(bool bVertical)
{
    return bVertical ? std::span<const CFloatChoice>(floatChoicesVert) : floatChoicesHori;
}

} // namespace narvo::engine
