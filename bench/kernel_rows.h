// SPDX-License-Identifier: MIT
// The kernels of the interface, each with its baseline and its targets, behind one signature.
#pragma once

#include <span>

#include "bench/plain_kernels.h"

namespace bench
{

using LibraryKernel = int (*)(SKernelCall&); ///< starts with no pairs held; @return the pair count

struct SKernelRow
{
    const char* pName;
    LibraryKernel pLibrary;
    PlainKernel pPlain; ///< null where there is none
    // Targets, 0 for none.
    double dOverPlainAvx2;   ///< times the baseline's rate at AVX2
    double dOverPlainAvx512; ///< the same at AVX-512
    double dOfReading;       ///< share of the read pass's rate at AVX-512
    // A kernel of the library whose rate this one should reach.
    const char* pPeerName = nullptr;
    LibraryKernel pPeer = nullptr;
    double dOfPeer = 0.0; ///< share of the peer's rate at AVX-512
};

/// The public name of a kernel of the library.
template <class TKernel>
constexpr const char* NameOf(TKernel eKernel)
{
    return GetKernelRow(eKernel).pName;
}

std::span<const SKernelRow> ZoneKernels();
std::span<const SKernelRow> PixelKernels();
std::span<const SKernelRow> FloatKernels();

/// The kernels that an inspection with the scene's parameters runs, one per mode.
int RunZoneVert(SKernelCall& call);
int RunPixelVert(SKernelCall& call);
int RunFloatVert4(SKernelCall& call);
int RunFloatVert9(SKernelCall& call);

} // namespace bench
