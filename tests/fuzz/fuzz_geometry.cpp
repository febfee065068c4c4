// SPDX-License-Identifier: MIT
// Bytes make polygons, which go through the geometry classes, the region object and the free-form strips. Cuts of
// convex polygons must tile them, regions must hold exactly the pixels that the even-odd rule gives them, strips must
// be those of the plain form; everything else must end without a fault.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/require.h"
#include "narvoassem/narvoassem.h"
#include "reference/region_reference.h"
#include "soak/case_source.h"
#include "support/convex_polygon.h"

namespace
{

using namespace narvo::test;

// --- polygons from draws ---

int DrawPlace(CCaseSource& source, int nReach)
{
    if (nReach == INT_MAX)
        return source.OneIn(4) ? source.Pick({INT_MIN, INT_MAX, INT_MIN + 1, 1 << 30, -(1 << 30)})
                               : source.Int(INT_MIN, INT_MAX);
    return source.Int(-nReach, nReach);
}

int DrawReach(CCaseSource& source)
{
    return source.Pick({30, 4, 300, 10000, INT_MAX});
}

std::vector<CPoint> DrawPoints(CCaseSource& source, int nMost, int nReach)
{
    std::vector<CPoint> points(static_cast<std::size_t>(source.Int(0, nMost)));
    const bool bUpright = source.OneIn(4);
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        points[i] = CPoint(DrawPlace(source, nReach), DrawPlace(source, nReach));
        if (bUpright && i > 0)
            (i % 2 == 0 ? points[i].x : points[i].y) = i % 2 == 0 ? points[i - 1].x : points[i - 1].y;
    }
    return points;
}

CPadPoligon MakePoligon(const std::vector<CPoint>& points)
{
    CPadPoligon poligon;
    for (const CPoint& pt : points)
        poligon.AddPoint(pt.x, pt.y);
    return poligon;
}

// --- cuts of convex polygons ---

void RequireTiling(const std::vector<CPoint>& hull)
{
    CPadPoligon poligon = MakePoligon(hull);
    poligon.Find_Corner();
    CTrapeziumStorage storage;
    Require(poligon.Cut_TrapeziumHori(&storage) == 1, "a convex polygon is cut");
    const int nCount = storage.GetTrapeziumCount();
    Require(nCount >= 1 && nCount < static_cast<int>(hull.size()), "trapezia of a convex polygon");
    Require(storage.GetTrapezium(0)->GetTop() == poligon.rtOut.top, "the first trapezium begins at the top");
    Require(storage.GetTrapezium(nCount - 1)->GetBottom() == poligon.rtOut.bottom, "the last one ends at the bottom");
    for (int i = 0; i < nCount; ++i)
    {
        const CPadPoint* const pCorner = storage.GetTrapezium(i)->ptCorner;
        Require(pCorner[0].y == pCorner[1].y && pCorner[2].y == pCorner[3].y, "top and bottom are level");
        Require(pCorner[0].y < pCorner[3].y, "a trapezium has height");
        if (i > 0)
        {
            const CPadPoint* const pAbove = storage.GetTrapezium(i - 1)->ptCorner;
            Require(pAbove[3].x == pCorner[0].x && pAbove[3].y == pCorner[0].y && pAbove[2].x == pCorner[1].x,
                    "trapezia meet");
        }
        const CSpan span = FindSpan(hull, pCorner[3].y);
        Require(std::abs(pCorner[3].x - span.dLeft) < i + 1.0 && std::abs(pCorner[2].x - span.dRight) < i + 1.0,
                "sides follow the polygon but for a truncation in each cut");
    }
}

void RequireClip(const std::vector<CPoint>& hull, int nLeft, int nRight)
{
    CPadPoligon poligon = MakePoligon(hull);
    poligon.CalOutRect();
    CPadPoligon out;
    poligon.Cut_Margin(nLeft, nRight, out);
    if (nLeft >= nRight || poligon.rtOut.left >= nRight || poligon.rtOut.right <= nLeft)
        return;
    Require(out.GetPointCount() >= 3, "a band through a polygon leaves a polygon");
    out.CalOutRect();
    Require(out.rtOut.left == std::max(nLeft, poligon.rtOut.left), "left side of the clip");
    Require(out.rtOut.right == std::min(nRight, poligon.rtOut.right), "right side of the clip");
    Require(out.rtOut.top >= poligon.rtOut.top && out.rtOut.bottom <= poligon.rtOut.bottom, "rows of the clip");
}

void CutConvex(CCaseSource& source)
{
    const std::vector<CPoint> points = DrawPoints(source, 14, source.Pick({30, 4, 300, 10000}));
    std::vector<CPoint> hull = MakeHull(points);
    if (hull.size() < 3 || hull.size() > 10)
        return;
    std::rotate(hull.begin(), hull.begin() + source.Int(0, static_cast<int>(hull.size()) - 1), hull.end());
    if (source.OneIn(2))
        std::reverse(hull.begin(), hull.end());
    RequireTiling(hull);
    if (hull.size() <= 8)
    {
        const int nLeft = source.Int(-400, 400);
        RequireClip(hull, nLeft, nLeft + source.Int(-3, 600));
    }
}

/// For any vertices, the classes return and stay within their arrays.
void CutAnything(CCaseSource& source)
{
    const int nReach = DrawReach(source);
    CPadPoligon poligon = MakePoligon(DrawPoints(source, 13, nReach));
    for (int nStep = source.Int(1, 12); nStep > 0; --nStep)
    {
        CTrapeziumStorage storage;
        CPadPoligon out;
        const int a = DrawPlace(source, nReach);
        const int b = DrawPlace(source, nReach);
        switch (source.Int(0, 9))
        {
        case 0:
            poligon.Find_Corner();
            break;
        case 1:
        {
            const int nResult = poligon.Cut_TrapeziumHori(&storage);
            Require(storage.GetTrapeziumCount() <= 10, "trapezia fit their storage");
            Require(nResult == 1 || storage.GetTrapeziumCount() == 0, "a refusal leaves the storage empty");
            for (int i = 0; i < storage.GetTrapeziumCount(); ++i)
            {
                storage.GetTrapezium(i)->OffsetPlus(a, b);
                storage.GetTrapezium(i)->ChangeAxis();
            }
            break;
        }
        case 2:
            poligon.Cut_Margin(a, b, out);
            poligon.Cut_Margin(std::min(a, b), std::max(a, b), poligon);
            break;
        case 3:
            if (poligon.GetPointCount() > 0)
                poligon.OffsetPlusIndex(a);
            break;
        case 4:
            if (poligon.GetPointCount() > 0)
                poligon.ReverseIndex(a);
            break;
        case 5:
            poligon.OffsetPlus(a, b);
            break;
        case 6:
            poligon.CalOutRect();
            break;
        case 7:
            poligon.AddPoint(a, b);
            break;
        case 8:
            Require(poligon.Cut_TrapeziumVert(&storage) == (poligon.GetPointCount() >= 3 ? 1 : 0), "vertical cut");
            Require(storage.GetTrapeziumCount() == 0, "the vertical cut makes no trapezium");
            break;
        default:
        {
            CPadPoint pt(a, b);
            int nCross = 0;
            pt.FindCrossX(CPadPoint(b, a), source.Int(INT_MIN, INT_MAX), nCross);
            pt.FindCrossY(CPadPoint(b, a), nCross, nCross);
            pt.ChangeCrossHori(CPadPoint(a, a), b);
            pt.ChangeCrossVert(CPadPoint(b, b), a);
            poligon.IsClockwise();
            break;
        }
        }
        Require(poligon.GetPointCount() >= 0 && poligon.GetPointCount() <= 10, "vertices fit the polygon");
    }
}

// --- regions ---

void RequireBanded(const std::vector<CRect>& rects)
{
    for (std::size_t i = 0; i < rects.size(); ++i)
    {
        Require(!rects[i].IsRectEmpty(), "no rectangle of a region is empty");
        if (i == 0)
            continue;
        const CRect& a = rects[i - 1];
        const CRect& b = rects[i];
        Require(a.top == b.top ? a.bottom == b.bottom && a.right < b.left : a.bottom <= b.top,
                "rectangles are banded and do not touch within a band");
    }
}

bool IsCovered(const std::vector<CRect>& rects, int x, int y)
{
    return std::any_of(rects.begin(), rects.end(), [=](const CRect& rt) { return rt.PtInRect(CPoint(x, y)); });
}

void FillRegion(CCaseSource& source)
{
    const int nReach = DrawReach(source);
    const std::vector<CPoint> polygon = DrawPoints(source, 24, nReach);
    CRgn rgn;
    const int nMade = rgn.CreatePolygonRgn(polygon.data(), static_cast<int>(polygon.size()), ALTERNATE);
    Require(nMade == (polygon.size() >= 2 ? 1 : 0), "a polygon of two points or more is a region");
    if (nMade == 0)
        return;
    const int nLeft = std::clamp(DrawPlace(source, nReach), INT_MIN, INT_MAX - 32);
    const int nTop = std::clamp(DrawPlace(source, nReach), INT_MIN, INT_MAX - 32);
    const int nWidth = source.Int(0, 32);
    const int nHeight = source.Int(0, 32);
    CRgn frame;
    Require(frame.CreateRectRgn(nLeft, nTop, nLeft + nWidth, nTop + nHeight) == 1, "a rectangle is a region");
    CRgn both;
    Require(both.CreateRectRgn(0, 0, 0, 0) == 1, "an empty rectangle is a region");
    const int nResult =
        source.OneIn(2) ? both.CombineRgn(&rgn, &frame, RGN_AND) : both.CombineRgn(&frame, &rgn, RGN_AND);
    const std::vector<CRect> rects = ReadRegion(both);
    const int nKind = rects.empty() ? NULLREGION : rects.size() == 1 ? SIMPLEREGION : COMPLEXREGION;
    Require(nResult == nKind, "the combination says what it is");
    RequireBanded(rects);
    for (int y = nTop; y < nTop + nHeight; ++y)
        for (int x = nLeft; x < nLeft + nWidth; ++x)
            Require(IsCovered(rects, x, y) == IsInPolygon(polygon, x, y), "each pixel by the even-odd rule");
    for (const CRect& rt : rects)
        Require(rt.left >= nLeft && rt.top >= nTop && rt.right <= nLeft + nWidth && rt.bottom <= nTop + nHeight,
                "nothing lies outside the frame");
}

class CFrameProbe : public CNarvoAssem
{
public:
    using CNarvoAssem::MakeFrameRegion;
};

void MakeStrips(CCaseSource& source)
{
    const int nReach = source.Pick({120, 30, 600, INT_MAX});
    std::vector<CPoint> polygon = DrawPoints(source, 24, nReach);
    CRect rtFrame(source.Int(-20, 60), source.Int(-20, 60), source.Int(0, 500), source.Int(0, 300));
    CFrameProbe probe;
    int nCount = 0;
    CRect* pList = nullptr;
    const int nResult =
        probe.MakeFrameRegion(polygon.data(), static_cast<int>(polygon.size()), rtFrame, nCount, &pList);
    std::vector<CRect> found;
    if (nResult == 1)
        found.assign(pList, pList + nCount);
    else
        Require(pList == nullptr, "no list without a region");
    std::free(pList);

    std::vector<CPoint> transposed;
    for (const CPoint& pt : polygon)
        transposed.emplace_back(pt.y, pt.x);
    CRgn frame;
    CRgn rgn;
    frame.CreateRectRgn(rtFrame.top, rtFrame.left, rtFrame.bottom, rtFrame.right);
    std::vector<CRect> bands;
    if (!rtFrame.IsRectEmpty() &&
        rgn.CreatePolygonRgn(transposed.data(), static_cast<int>(transposed.size()), ALTERNATE) == 1 &&
        frame.CombineRgn(&frame, &rgn, RGN_AND) != RGN_ERROR)
        bands = ReadRegion(frame);
    Require(nResult == (bands.empty() ? 0 : 1), "a list where the polygon meets the frame");
    if (nResult == 1)
        Require(found == JoinBandsReference(bands), "strips as in the plain form");
}

/// The look-up of a zone cell in a grid that covers the point.
void FindCell(CCaseSource& source)
{
    const int nColumns = source.Int(1, 12);
    const int nRows = source.Int(2, 12);
    const int nWidth = source.Int(1, 40);
    const int nHeight = source.Int(1, 40);
    const int nLeft = source.Int(-50, 50);
    const int nTop = source.Int(-50, 50);
    std::vector<int> grid;
    for (int i = 0; i < nRows * nColumns + 1; ++i)
        grid.insert(grid.end(), {nLeft + i % nColumns * nWidth, nTop + i / nColumns * nHeight});
    const int x = source.Int(nLeft - 60, nLeft + nColumns * nWidth - 1);
    const int y = source.Int(nTop - 60, nTop + nRows * nHeight - 1);
    CGammaPoint cell;
    cell.FindOrigin(grid.data(), nColumns, x, y, source.OneIn(3) ? nWidth : -1.0, nHeight);
    if (nColumns > 1 && x >= nLeft && y >= nTop)
        Require(cell.x <= x && x < cell.x + nWidth && cell.y <= y && y < cell.y + nHeight, "the cell holds the point");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes)
{
    CByteSource source(pBytes, nBytes);
    switch (source.Int(0, 4))
    {
    case 0:
        CutConvex(source);
        break;
    case 1:
        CutAnything(source);
        break;
    case 2:
        FillRegion(source);
        break;
    case 3:
        MakeStrips(source);
        break;
    default:
        FindCell(source);
        break;
    }
    return 0;
}
