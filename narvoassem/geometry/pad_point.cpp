// SPDX-License-Identifier: MIT
// A vertex and the crossings of the line through two vertices with a row or a column.
#include "narvoassem/padpoligon.h"

#include "narvoassem/base/wrap_int.h"

using namespace narvo::engine;

namespace
{

/// Where the line from (nFromAlong, nFrom) to (nToAlong, nTo) meets the ordinate nAt; nFrom and nTo differ. The first
/// of each pair is the coordinate asked for.
int CrossLine(int nFromAlong, int nFrom, int nToAlong, int nTo, int nAt)
{
    const int nProduct = WrapMul(WrapSub(nAt, nFrom), WrapSub(nToAlong, nFromAlong));
    return WrapAdd(nFromAlong, WrapDiv(nProduct, WrapSub(nTo, nFrom)));
}

} // namespace

void CPadPoint::SetPoint(int nX, int nY)
{
    x = nX;
    y = nY;
}

void CPadPoint::VectorTo(const CPadPoint& to)
{
    SetPoint(WrapSub(to.x, x), WrapSub(to.y, y));
}

int CPadPoint::FindCrossX(const CPadPoint& other, int nY, int& nX) const
{
    if (other.y != y)
    {
        nX = CrossLine(x, y, other.x, other.y, nY);
        return 1;
    }
    nX = other.x;
    return y == nY ? 1 : 0;
}

int CPadPoint::FindCrossY(const CPadPoint& other, int nX, int& nY) const
{
    if (other.x != x)
    {
        nY = CrossLine(y, x, other.y, other.x, nX);
        return 1;
    }
    nY = other.y;
    return x == nX ? 1 : 0;
}

int CPadPoint::ChangeCrossHori(const CPadPoint& other, int nY)
{
    if (other.y != y)
    {
        SetPoint(CrossLine(x, y, other.x, other.y, nY), nY);
        return 1;
    }
    *this = other;
    return y == nY ? 1 : 0;
}

int CPadPoint::ChangeCrossVert(const CPadPoint& other, int nX)
{
    if (other.x != x)
    {
        SetPoint(nX, CrossLine(y, x, other.y, other.x, nX));
        return 1;
    }
    *this = other;
    return x == nX ? 1 : 0;
}
