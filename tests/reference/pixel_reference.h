// The pixel kernels in plain scalar form: pixel by pixel, row by row or strip by strip, record by record. This is what
// the kernels of the library are held against; it shares their argument record and none of their code.
#pragma once

#include <cstdint>

#include "narvoassem/fast/kernel_call.h"

namespace narvo::reference
{

/// The pixel kernels of the public interface but for the two that run another one twice.
enum class PixelKernel
{
    Hori,       ///< ConvPixelFast
    HoriTable,  ///< ConvPixelTableFast
    VertDirect, ///< ConvPixelVertFast
    Vert,       ///< ConvPixelVertSFast
    Vert2,      ///< ConvPixelVertSFast2
    Vtd,        ///< ConvPixelVTDSFast
    Vtd2,       ///< ConvPixelVTDSFast2
    HoriIntrin, ///< ConvPixel_Intrin
    VertIntrin, ///< ConvPixelVertS_Intrin
    VtdIntrin,  ///< ConvPixelVTDS_Intrin
    WideVert,   ///< ConvPixelVert_AVX, both overloads
    WideVtd,    ///< ConvPixelVTDS_Intrin_AVX
    VertMask    ///< ConvPixelVertMask
};

/// A call of a pixel kernel. Of the common part, pParam gives the dead zones (members only), nVtdPitch16 shifts the
/// compare position along x (WideVert, VertMask); WideVert keeps its hits to itself.
struct CPixelReferenceCall : CKernelCall
{
    std::int64_t nThreshold = 0; ///< first threshold set: base in grey levels, gain in 1/256
    std::int64_t nThresholdGain = 0;
    std::int64_t nBlackFilterGray = 0; ///< second threshold set, in force when the base is above 0
    std::int64_t nBlackFilterGain = 0;
    const std::uint8_t* pMask = nullptr; ///< VertMask: laid out as the image; null restricts nothing
};

/// Runs the plain form of a pixel kernel on the call's own image, hit arrays, pair array and end line.
/// A known image height (call.image.nRows) bounds every read: first the row, then the flat address.
/// @return the new pair count
int RunPixelKernel(PixelKernel eKernel, const CPixelReferenceCall& call);

} // namespace narvo::reference
