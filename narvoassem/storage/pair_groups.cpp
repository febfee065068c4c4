// The plain grouping walk.
#include "narvoassem/storage/pair_groups.h"

#include <cstdint>
#include <cstdlib>

namespace narvo
{

namespace
{

struct SOffset
{
    std::int64_t x;
    std::int64_t y;
};

bool EndsWalk(EGroupWindow eWindow, const SOffset& offset)
{
    return eWindow == EGroupWindow::Horizontal ? offset.y > 1 : offset.x > 16;
}

bool IsInWindow(EGroupWindow eWindow, const SOffset& offset)
{
    if (eWindow == EGroupWindow::Horizontal)
        return offset.x >= -1 && offset.x < 2;
    return std::abs(offset.x) <= 3 && std::abs(offset.y) <= 3;
}

} // namespace

void GroupPairs(EGroupWindow eWindow, const CDefectPair* pPairs, int nCount, int* pLabel, int* pLinked)
{
    for (int i = 0; i < nCount; ++i)
    {
        const CDefectPair& first = pPairs[i];
        if (first.nDefectType == DefectType_Removed)
            continue;
        for (int j = i + 1; j < nCount; ++j)
        {
            const CDefectPair& second = pPairs[j];
            if (second.nDefectType != first.nDefectType || pLinked[j] != 0)
                continue;
            const SOffset offset{static_cast<std::int64_t>(second.ptDefect.x) - first.ptDefect.x,
                                 static_cast<std::int64_t>(second.ptDefect.y) - first.ptDefect.y};
            if (EndsWalk(eWindow, offset))
                break;
            if (IsInWindow(eWindow, offset))
            {
                pLabel[j] = pLabel[i];
                pLinked[j] = 1;
            }
        }
    }
}

} // namespace narvo
