// SPDX-License-Identifier: MIT
// The cuts of a polygon: the clip to a column band and the sweep into horizontal trapezia.
#include "narvoassem/padpoligon.h"

void CPadPoligon::Cut_Margin(int nLeft, int nRight, CPadPoligon& out) const
{
    const CPadPoligon source = *this;
    out.ResetPoligon();
    for (int i = 0; i < source.nPointCount; ++i)
    {
        const CPadPoint& a = source.ptPoint[i];
        const CPadPoint& b = source.ptPoint[source.GetNextIndex(i)];
        const auto addCrossing = [&](int nColumn)
        {
            CPadPoint p = a;
            p.ChangeCrossVert(b, nColumn);
            out.AddPoint(p);
        };
        if (a.x < nLeft)
        {
            if (nLeft < b.x)
                addCrossing(nLeft);
            if (nRight < b.x)
                addCrossing(nRight);
        }
        else if (a.x > nRight)
        {
            if (b.x < nRight)
                addCrossing(nRight);
            if (b.x < nLeft)
                addCrossing(nLeft);
        }
        else
        {
            out.AddPoint(a);
            if (b.x < nLeft)
                addCrossing(nLeft);
            else if (nRight < b.x)
                addCrossing(nRight);
        }
    }
}

int CPadPoligon::Cut_TrapeziumHori(CTrapeziumStorage* pStorage) const
{
    pStorage->ResetTrapeziumCount();
    if (nPointCount < 3)
        return 0;
    if (nPointCount == 3)
        for (int i = 0; i < 3; ++i)
        {
            const CPadPoint& a = ptPoint[i];
            const CPadPoint& b = ptPoint[GetNextIndex(i)];
            if (a.x == b.x && a.y == b.y)
                return 0;
        }

    CPadPoint ptLeft = ptPoint[nCorner[1]];
    CPadPoint ptRight = ptPoint[nCorner[2]];
    int nLeft = GetPreIndex(nCorner[1]);
    int nRight = GetNextIndex(nCorner[2]);
    const int nLeftEnd = GetPreIndex(nCorner[4]);
    const int nRightEnd = GetNextIndex(nCorner[3]);
    // On a polygon that is not convex, or level throughout, the walkers can pass each other forever.
    for (int nStepsLeft = 2 * nPointCount; nLeft != nLeftEnd || nRight != nRightEnd; --nStepsLeft)
    {
        if (nStepsLeft == 0)
        {
            pStorage->ResetTrapeziumCount();
            return 0;
        }
        pStorage->OpenTrap(ptLeft, ptRight);
        const CPadPoint& ptNextLeft = ptPoint[nLeft];
        const CPadPoint& ptNextRight = ptPoint[nRight];
        const bool bMoveLeft = ptNextLeft.y <= ptNextRight.y;
        const bool bMoveRight = ptNextRight.y <= ptNextLeft.y;
        if (bMoveLeft)
            ptLeft = ptNextLeft;
        else
            ptLeft.ChangeCrossHori(ptNextLeft, ptNextRight.y);
        if (bMoveRight)
            ptRight = ptNextRight;
        else
            ptRight.ChangeCrossHori(ptNextRight, ptNextLeft.y);
        pStorage->CloseTrap(ptRight, ptLeft);
        if (bMoveLeft)
            nLeft = GetPreIndex(nLeft);
        if (bMoveRight)
            nRight = GetNextIndex(nRight);
    }
    return 1;
}

int CPadPoligon::Cut_TrapeziumVert(CTrapeziumStorage* pStorage) const
{
    pStorage->ResetTrapeziumCount();
    return nPointCount >= 3 ? 1 : 0;
}
