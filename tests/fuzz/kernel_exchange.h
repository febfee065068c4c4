// Runs the engine on the plain scalar kernels in place of the library's own: whole inspections, with all that follows
// the kernels, can then be held against each other. The linker turns the drivers' calls over to this (see the target's
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
