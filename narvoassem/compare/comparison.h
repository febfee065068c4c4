// SPDX-License-Identifier: MIT
// Which comparison a parameter block asks for. The engine's driver runs it, the bounds check needs to know it.
#pragma once

#include "narvoassem/convparam.h"

namespace narvo::engine
{

enum class Comparison
{
    None,     ///< an unknown mode: nothing is compared
    Average,  ///< CompareAverage
    Zone,     ///< Compare_Zone2
    Pixel,    ///< Compare_Pixel
    Float,    ///< Compare_Float
    Binarise, ///< BinalizeInspection
    AsgZone,  ///< Compare_ASGZone; chosen by Inspect_ASG alone
    Trapezium ///< Compare_Trapezium; run by Inspect_Trapezium alone
};

/// The choice of a rectangle inspection: average mode first, then the maps, which override every other mode.
inline Comparison ChooseComparison(const CConvParam& param)
{
    if (param.nInspectMode == 3)
        return Comparison::Average;
    if (param.pThresholdOffsetMap != nullptr)
        return Comparison::Zone;
    switch (param.nInspectMode)
    {
    case 0:
        return Comparison::Float;
    case 1:
        return Comparison::Pixel;
    case 2:
        return Comparison::Binarise;
    default:
        return Comparison::None;
    }
}

/// The choice of an ASG inspection.
inline Comparison ChooseAsgComparison(const CConvParam& param)
{
    return param.pThresholdOffsetMap != nullptr ? Comparison::AsgZone : Comparison::Pixel;
}

} // namespace narvo::engine
