// The float kernels as a table: one row of options for each public kernel. Adding a kernel means adding a row here and
// a name in kernel_call.h.
#pragma once

#include "narvoassem/fast/find_sums.h"
#include "narvoassem/fast/kernel_call.h"

namespace narvo
{

/// Options of a float kernel, fixed at compile time.
struct CFloatTraits
{
    SumsVariant eFind = SumsVariant::Larger;
    bool bHorizontal = false;
    int nAcross = 2;       ///< window, across the scan
    int nAlong = 2;        ///< window, along the scan
    bool bShifted = false; ///< reference displaced along x, row table
    bool bMember = false;  ///< smaller of two thresholds, dead zones, each record judged by the set of its polarity
    bool bRegion = false;  ///< singles always, but they must pass the jump filter

    constexpr int Area() const { return nAcross * nAlong; }
    /// Units per grey level of the values compared.
    constexpr int Units() const { return 16 * Area(); }
    constexpr bool HasColumnTables() const { return HasColumnWeights(eFind); }
};

constexpr CFloatTraits GetFloatTraits(FloatKernel eKernel)
{
    using enum SumsVariant;
    switch (eKernel)
    {
    case FloatKernel::Hori4:
        return {.bHorizontal = true};
    case FloatKernel::Hori6:
        return {.eFind = Source, .bHorizontal = true, .nAlong = 3};
    case FloatKernel::Hori9:
        return {.eFind = Source, .bHorizontal = true, .nAcross = 3, .nAlong = 3};
    case FloatKernel::HoriTable4:
        return {.eFind = ColumnLarger, .bHorizontal = true};
    case FloatKernel::HoriTable6:
        return {.eFind = ColumnSource, .bHorizontal = true, .nAlong = 3};
    case FloatKernel::Vert4:
        return {};
    case FloatKernel::Vert6:
        return {.eFind = Source, .nAlong = 3};
    case FloatKernel::Vert9:
        return {.eFind = Source, .nAcross = 3, .nAlong = 3};
    case FloatKernel::Vtd:
        return {.bShifted = true};
    case FloatKernel::VertIntrin:
        return {.eFind = LargerSmaller, .bMember = true};
    case FloatKernel::VtdIntrin:
        return {.eFind = LargerSmaller, .bShifted = true, .bMember = true};
    case FloatKernel::VertRegion:
        return {.eFind = LargerSmaller, .bMember = true, .bRegion = true};
    }
    return {};
}

} // namespace narvo
