// SPDX-License-Identifier: MIT
// The float kernels in plain scalar form: window sums formed pixel by pixel, row by row or strip by strip, record by
// record. The kernels of the library are compared with it; it shares their argument record and none of their
// code.
#pragma once

#include <functional>

#include "narvoassem/convparam.h"
#include "narvoassem/fast/call/kernel_call.h"
#include "narvoassem/fast/float/float_table.h"

namespace narvo::test::reference
{

using engine::FloatKernel;

/// Runs the plain form of a float kernel with an argument list on the call's own image, hit arrays, pair array and end
/// line. A known image height (call.image.nRows) bounds every read: first the row, then the flat address.
/// @return the new pair count
int RunFloatKernel(FloatKernel eKernel, const engine::CFloatCall& call);

/// What the two region kernels of the engine work on: its parameters, its stores, and its jump filter.
struct CFloatRegionCall
{
    const CConvParam* pParam = nullptr;
    engine::CHitArrays hits;
    engine::CPairSink pairs;
    CRect rtRegion;
    int* pEndLine = nullptr;
    /// JumpFilter_Vert2by2 on a record just written: 0 marks it as removed.
    std::function<int(CDefectPair*, CRect)> fnJumpFilter;
};

/// ConvFloatVJF_Intrin and ConvFloatVJF_Cpp. @return the new pair count
int RunFloatRegionIntrin(const CFloatRegionCall& call);
int RunFloatRegionCpp(const CFloatRegionCall& call);

} // namespace narvo::test::reference
