// SPDX-License-Identifier: MIT
// Makes inspections for the bound in front of the finder: regions on both sides of its least width, thresholds at the
// ends of what it can use, sources whose difference is the threshold or next to it, in few places or in many.
#pragma once

#include <cstdint>

#include "soak/case_maker.h"

namespace narvo::test
{

class CBoundCaseMaker
{
public:
    /// What the kernels of the cases compare.
    enum class Compared
    {
        Pixels,
        Windows
    };

    explicit CBoundCaseMaker(Compared eCompared = Compared::Pixels) : m_eCompared(eCompared) {}

    /// A case from the draws of the source. It lasts until the next call.
    const CSoakCase& Make(CCaseSource& source);

private:
    void SetMode(CCaseSource& source);
    void SetThresholds(CCaseSource& source);
    void FillImage(CCaseSource& source);
    int PickStep(CCaseSource& source, int nGrey) const;
    int PickWindowStep(CCaseSource& source, int nGrey) const;

    Compared m_eCompared;
    CCaseMaker m_maker{CCaseMaker::Memory::Kept, CCaseMaker::Sizes::Rows};
    CCaseArray<std::uint8_t> m_image;
    CSoakCase m_case;
};

} // namespace narvo::test
