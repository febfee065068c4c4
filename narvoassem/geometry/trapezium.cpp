// SPDX-License-Identifier: MIT
// The trapezium and the store that a cut fills.
#include "narvoassem/padpoligon.h"

#include <utility>

#include "narvoassem/base/wrap_int.h"

using namespace narvo::engine;

int CTrapezium::GetTop() const
{
    return ptCorner[0].y;
}

int CTrapezium::GetBottom() const
{
    return ptCorner[3].y;
}

CTrapezium* CTrapezium::GetSelfTrapezium()
{
    return this;
}

void CTrapezium::OffsetPlus(int dx, int dy)
{
    for (CPadPoint& pt : ptCorner)
        pt.SetPoint(WrapAdd(pt.x, dx), WrapAdd(pt.y, dy));
}

void CTrapezium::ChangeAxis()
{
    for (CPadPoint& pt : ptCorner)
        std::swap(pt.x, pt.y);
}

void CTrapeziumStorage::ResetTrapeziumCount()
{
    nCount = 0;
}

int CTrapeziumStorage::GetTrapeziumCount() const
{
    return nCount;
}

CTrapezium* CTrapeziumStorage::GetTrapezium(int nIndex)
{
    return &trapezium[nIndex];
}

int CTrapeziumStorage::OpenTrap(const CPadPoint& ptLeft, const CPadPoint& ptRight)
{
    if (nCount >= nMaxCount)
        return 0;
    trapezium[nCount].ptCorner[0] = ptLeft;
    trapezium[nCount].ptCorner[1] = ptRight;
    return 1;
}

int CTrapeziumStorage::CloseTrap(const CPadPoint& ptRight, const CPadPoint& ptLeft)
{
    if (nCount >= nMaxCount)
        return 0;
    trapezium[nCount].ptCorner[2] = ptRight;
    trapezium[nCount].ptCorner[3] = ptLeft;
    ++nCount;
    return 1;
}
