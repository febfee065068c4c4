// SPDX-License-Identifier: MIT
// The polygon model: vertices in order, their orientation, corners and bounds. The cuts are in poligon_cut.cpp.
#include "narvoassem/padpoligon.h"

#include <algorithm>
#include <cstdint>

#include "narvoassem/base/wrap_int.h"

using namespace narvo::engine;

namespace
{

/// (nIndex) modulo nCount, never negative: an index into the vertices for any offset.
int WrapIndex(std::int64_t nIndex, int nCount)
{
    const std::int64_t nRest = nIndex % nCount;
    return static_cast<int>(nRest < 0 ? nRest + nCount : nRest);
}

} // namespace

void CPadPoligon::ResetPoligon()
{
    nPointCount = 0;
}

void CPadPoligon::AddPoint(const CPadPoint& pt)
{
    if (nPointCount < nPointLimit)
        ptPoint[nPointCount++] = pt;
}

void CPadPoligon::AddPoint(int nX, int nY)
{
    AddPoint(CPadPoint(nX, nY));
}

int CPadPoligon::GetPointCount() const
{
    return nPointCount;
}

CPadPoint* CPadPoligon::GetPadPoint(int nIndex)
{
    return &ptPoint[nIndex];
}

CPadPoint* CPadPoligon::GetPadPoint_Round(int nIndex)
{
    return &ptPoint[GetRoundIndex(nIndex)];
}

int CPadPoligon::GetRoundIndex(int nIndex) const
{
    return nIndex % nPointCount;
}

int CPadPoligon::GetNextIndex(int nIndex) const
{
    return WrapAdd(nIndex, 1) % nPointCount;
}

int CPadPoligon::GetPreIndex(int nIndex) const
{
    return WrapAdd(nIndex, nPointCount - 1) % nPointCount;
}

CPadPoligon* CPadPoligon::GetSelfPoligon()
{
    return this;
}

void CPadPoligon::CalOutRect()
{
    constexpr int nFar = 10000000;
    rtOut.SetRect(nFar, nFar, -nFar, -nFar);
    for (int i = 0; i < nPointCount; ++i)
    {
        rtOut.left = std::min(rtOut.left, ptPoint[i].x);
        rtOut.top = std::min(rtOut.top, ptPoint[i].y);
        rtOut.right = std::max(rtOut.right, ptPoint[i].x);
        rtOut.bottom = std::max(rtOut.bottom, ptPoint[i].y);
    }
}

void CPadPoligon::OffsetPlus(int dx, int dy)
{
    for (int i = 0; i < nPointCount; ++i)
        ptPoint[i].SetPoint(WrapAdd(ptPoint[i].x, dx), WrapAdd(ptPoint[i].y, dy));
}

void CPadPoligon::OffsetPlusIndex(int nOffset)
{
    const CPadPoligon old = *this;
    for (int i = 0; i < nPointCount; ++i)
        ptPoint[i] = old.ptPoint[WrapIndex(std::int64_t{i} + nOffset, nPointCount)];
}

void CPadPoligon::ReverseIndex(int nOffset)
{
    const CPadPoligon old = *this;
    for (int i = 0; i < nPointCount; ++i)
        ptPoint[i] = old.ptPoint[WrapIndex(std::int64_t{nPointCount} + nOffset - i, nPointCount)];
}

int CPadPoligon::IsClockwise() const
{
    if (nPointCount < 3)
        return 0;
    for (int i = 0; i + 2 < nPointCount; ++i)
    {
        CPadPoint a = ptPoint[i];
        CPadPoint b = ptPoint[i + 1];
        a.VectorTo(ptPoint[i + 1]);
        b.VectorTo(ptPoint[i + 2]);
        if (WrapSub(WrapMul(a.x, b.y), WrapMul(b.x, a.y)) < 0)
            return 0;
    }
    return 1;
}

void CPadPoligon::Find_Corner()
{
    if (nPointCount < 3)
        return;
    if (IsClockwise() == 0)
        ReverseIndex(0);

    int nTop = 0;
    int nBottom = 0;
    CPadPoint ptTop(0, 1000000000);
    CPadPoint ptBottom(0, -1000000000);
    for (int i = 0; i < nPointCount; ++i)
    {
        const CPadPoint& pt = ptPoint[i];
        if (pt.y < ptTop.y || (pt.y == ptTop.y && pt.x < ptTop.x))
        {
            ptTop = pt;
            nTop = i;
        }
        if (pt.y > ptBottom.y || (pt.y == ptBottom.y && pt.x > ptBottom.x))
        {
            ptBottom = pt;
            nBottom = i;
        }
    }

    // The last vertex of a corner's row, going clockwise from it.
    const auto findRowEnd = [this](int nStart)
    {
        int nEnd = nStart;
        for (int k = 0; k < nPointCount; ++k)
        {
            const int nIndex = GetRoundIndex(nStart + k);
            if (ptPoint[nIndex].y != ptPoint[nStart].y)
                break;
            nEnd = nIndex;
        }
        return nEnd;
    };
    nCorner[1] = nTop;
    nCorner[2] = findRowEnd(nTop);
    nCorner[3] = nBottom;
    nCorner[4] = findRowEnd(nBottom);
    CalOutRect();
}

void CPadPoligon::Test()
{
    static constexpr int nVertex[][2] = {{100, 150}, {400, 30},  {600, 100}, {800, 200}, {500, 400},
                                         {400, 400}, {300, 400}, {200, 350}, {100, 200}};
    for (const auto& nXY : nVertex)
        AddPoint(nXY[0], nXY[1]);
}

CPoligonStorage::CPoligonStorage()
{
} // NOLINT(modernize-use-equals-default): see the header

CPadPoligon* CPoligonStorage::GetPadPoligon(int nIndex)
{
    return &poligon[nIndex];
}
