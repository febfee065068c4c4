// Which comparison and which zone kernel a parameter block selects, in an inspection of a rectangle or in an asg one.
#pragma once

#include "narvoassem/compare/zone_driver.h"
#include "narvoassem/comparison.h"
#include "narvoassem/convparam.h"

namespace narvo
{

inline Comparison ChooseComparison(const CConvParam& param, bool asg)
{
    return asg ? ChooseAsgComparison(param) : ChooseComparison(param);
}

struct ZoneChoice
{
    const CZoneChoice& kernel;
    CZoneCellSize cell;
};

inline ZoneChoice ChooseZone(const CConvParam& param, bool asg)
{
    if (asg)
        return {ChooseAsgZoneKernel(param), GetAsgZoneCellSize(param)};
    return {ChooseZoneKernel(param), GetZoneCellSize(param)};
}

} // namespace narvo
