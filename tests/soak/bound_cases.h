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
    /// A case from the draws of the source. It lasts until the next call.
    const CSoakCase& Make(CCaseSource& source);

private:
    void SetMode();
    void SetThresholds(CCaseSource& source);
    void FillImage(CCaseSource& source);
    int PickStep(CCaseSource& source, int nGrey) const;

    CCaseMaker m_maker{CCaseMaker::Memory::Kept, CCaseMaker::Sizes::Rows};
    CCaseArray<std::uint8_t> m_image;
    CSoakCase m_case;
};

} // namespace narvo::test
