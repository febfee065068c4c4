// The float kernels in plain scalar form: window sums formed pixel by pixel, row by row or strip by strip, record by
// record. This is what the kernels of the library are held against; it shares their argument record and none of their
// code.
#pragma once

#include <cstdint>
#include <functional>

#include "narvoassem/convparam.h"
#include "narvoassem/fast/kernel_call.h"

namespace narvo::reference
{

/// The float kernels that take an argument list.
enum class FloatKernel
{
    Hori4,      ///< ConvFloatFast4
    Hori6,      ///< ConvFloatFast6
    Hori9,      ///< ConvFloatFast9
    HoriTable4, ///< ConvFloatTableFast4
    HoriTable6, ///< ConvFloatTableFast6
    Vert4,      ///< ConvFloatVertFast4
    Vert6,      ///< ConvFloatVertFast6
    Vert9,      ///< ConvFloatVertFast9
    Vtd,        ///< ConvFloatVTDFast
    VertIntrin, ///< ConvFloatVert_Intrin
    VtdIntrin   ///< ConvFloatVTD_Intrin
};

/// A call of a float kernel. Of the common part, pParam gives dead zones, the second threshold set and bKeepSingle
/// (members only), nVtdPitch16 the displacement along x (the VTD forms).
struct CFloatReferenceCall : CKernelCall
{
    std::int64_t nThreshold = 0;     ///< base, units of the window sum
    std::int64_t nThresholdGain = 0; ///< 1/256
};

/// Runs the plain form of a float kernel on the call's own image, hit arrays, pair array and end line.
/// A known image height (call.image.nRows) bounds every read: first the row, then the flat address.
/// @return the new pair count
int RunFloatKernel(FloatKernel eKernel, const CFloatReferenceCall& call);

/// What the two region kernels of the engine work on: its parameters, its stores, and its jump filter.
struct CFloatRegionCall
{
    const CConvParam* pParam = nullptr;
    CHitArrays hits;
    CPairSink pairs;
    CRect rtRegion;
    int* pEndLine = nullptr;
    /// JumpFilter_Vert2by2 on a record just written: 0 marks it as removed.
    std::function<int(CDefectPair*, CRect)> fnJumpFilter;
};

/// ConvFloatVJF_Intrin and ConvFloatVJF_Cpp. @return the new pair count
int RunFloatRegionIntrin(const CFloatRegionCall& call);
int RunFloatRegionCpp(const CFloatRegionCall& call);

} // namespace narvo::reference
