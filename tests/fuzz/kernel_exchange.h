// SPDX-License-Identifier: MIT
// Runs the engine on the plain scalar kernels in place of the library's own: whole inspections, with all that follows
// the kernels, can then be compared. The linker redirects the drivers' calls to this (see the target's
// wrap options).
#pragma once

namespace narvo::test
{

/// While it lives, the drivers run the reference kernels.
class CPlainKernels
{
public:
    CPlainKernels();
    ~CPlainKernels();
    CPlainKernels(const CPlainKernels&) = delete;
    CPlainKernels& operator=(const CPlainKernels&) = delete;

    /// Kernels that have run since it was made.
    int GetRuns() const;
};

} // namespace narvo::test
