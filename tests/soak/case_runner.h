// SPDX-License-Identifier: MIT
// Runs made-up inspections through the pool, each as if on a new one, and combines everything that a host can read into
// a hash.
#pragma once

#include <cstdint>

#include "narvoassem/narvoassem.h"
#include "soak/case_maker.h"

namespace narvo::test
{

struct CCaseResult
{
    int nCode = 0;
    int nPairs = 0;
    int nBlobs = 0;
    int nReruns = 0;
    bool bBands = false; ///< the region was handed to sub-engines
    std::uint64_t nHash = 0;
};

class CCaseRunner
{
public:
    /// Throws std::bad_alloc without memory.
    CCaseRunner();

    /// Runs a case with bBandThread set to bSplit. The results stay in the engines until the next run.
    const CCaseResult& Run(const CSoakCase& soakCase, bool bSplit);

    /// Calls visit for each pair and then for each blob of the last run.
    template <class TPairs, class TBlobs>
    void Visit(TPairs visitPair, TBlobs visitBlob)
    {
        const int nEngines = m_result.bBands ? CountBands() : 1;
        for (int i = 0; i < nEngines; ++i)
        {
            CNarvoAssem& engine = m_result.bBands ? *Lane().pThreadControl->GetAssem(i) : Lane();
            for (int n = 0; n < engine.GetPairCount(); ++n)
                visitPair(*engine.GetPairDefect(n));
        }
        for (int n = 0; n < Lane().GetBlobCount(); ++n)
            visitBlob(*Lane().GetBlobDefect(n));
    }

    /// Bands that a region of the last run's size is cut into; 0 where it is too small.
    int CountBands() const;

    /// The parameter block as the pool has left it.
    const CConvParam& Param() const { return m_param; }
    CNarvoAssem& Lane() { return *m_control.GetNarvoAssem(0); }

private:
    void PrepareEngine(CNarvoAssem& engine, const CSoakCase& soakCase);
    void Fold(bool bWide);

    CAssemControl m_control;
    CConvParam m_param;
    CCaseResult m_result;
};

} // namespace narvo::test
