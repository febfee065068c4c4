// SPDX-License-Identifier: MIT
/// @file
/// Polygons and trapezia in plain integer geometry: a convex region given by its vertices, its clip to a column
/// band, and its cut into horizontal trapezia. All coordinates are image pixels, y grows downward. Nothing here
/// allocates, throws or has a virtual operation; all are value types, copied by plain assignment.
#pragma once

#include "narvoassem/export.h"
#include "narvoassem/platform.h"

/// One vertex.
class NARVO_API CPadPoint
{
public:
    int x = 0; ///< column
    int y = 0; ///< row

    CPadPoint() = default;
    /// The point (nX, nY).
    CPadPoint(int nX, int nY) : x(nX), y(nY) {}

    /// Sets both coordinates.
    void SetPoint(int nX, int nY);
    /// Replaces this point by the vector from it to `to`.
    void VectorTo(const CPadPoint& to);

    /// The x of the line through this point and `other` at row nY, into nX. Products are 32-bit and wrap; the
    /// quotient truncates toward zero, so a crossing is rounded toward this point.
    /// @return 1; on a level line nX is other.x and the result is 1 only if the line lies on row nY, else 0.
    int FindCrossX(const CPadPoint& other, int nY, int& nX) const;
    /// FindCrossX with the axes exchanged: the y of the line at column nX, into nY.
    int FindCrossY(const CPadPoint& other, int nX, int& nY) const;
    /// Moves this point along the line to row nY; on a level line it becomes a copy of `other`.
    /// @return as FindCrossX.
    int ChangeCrossHori(const CPadPoint& other, int nY);
    /// ChangeCrossHori with the axes exchanged: moves this point along the line to column nX.
    int ChangeCrossVert(const CPadPoint& other, int nX);
};

/// Four corners, clockwise from top left: top left, top right, bottom right, bottom left.
class NARVO_API CTrapezium
{
public:
    CPadPoint ptCorner[4]; ///< clockwise from top left

    /// y of corner 0.
    int GetTop() const;
    /// y of corner 3.
    int GetBottom() const;
    /// This object.
    CTrapezium* GetSelfTrapezium();
    /// Adds (dx, dy) to all four corners.
    void OffsetPlus(int dx, int dy);
    /// Swaps x and y in all four corners: the form that vertical scanning takes.
    void ChangeAxis();
};

/// Up to ten trapezia, the output of a cut.
class NARVO_API CTrapeziumStorage
{
public:
    static constexpr int nTrapeziumLimit = 10; ///< trapezia held

    int nMaxCount = nTrapeziumLimit;       ///< capacity
    int nCount = 0;                        ///< closed trapezia held
    CTrapezium trapezium[nTrapeziumLimit]; ///< a half-open one lies at index nCount

    /// Count to 0.
    void ResetTrapeziumCount();
    /// The count.
    int GetTrapeziumCount() const;
    /// Address of a trapezium; the index is not checked.
    CTrapezium* GetTrapezium(int nIndex);
    /// Stores the top corners of the next trapezium. @return 1, or 0 when the storage is full. The count stays.
    int OpenTrap(const CPadPoint& ptLeft, const CPadPoint& ptRight);
    /// Stores the bottom corners, right first, and counts the trapezium. @return 1, or 0 when the storage is full.
    int CloseTrap(const CPadPoint& ptRight, const CPadPoint& ptLeft);
};

/// A closed polygon of at most ten vertices. To be cut it must be simple and convex, have at least three
/// vertices, and Find_Corner must have run since the vertices last changed.
class NARVO_API CPadPoligon
{
public:
    static constexpr int nPointLimit = 10; ///< vertices held

    int nPointCount = 0;            ///< vertices in use
    int nCorner[5] = {};            ///< by Find_Corner: 1 top start, 2 top end, 3 bottom start, 4 bottom end; 0 unused
    CPadPoint ptPoint[nPointLimit]; ///< vertices in order
    CRect rtOut;                    ///< by CalOutRect: bounds, right and bottom inclusive
    int nReserved[2] = {};          ///< never read

    /// Count to 0; nothing else changes.
    void ResetPoligon();
    /// Appends a vertex; an eleventh is ignored and the count stays.
    void AddPoint(const CPadPoint& pt);
    /// As AddPoint with a point.
    void AddPoint(int nX, int nY);
    /// The count.
    int GetPointCount() const;
    /// Address of a vertex; the index is not checked.
    CPadPoint* GetPadPoint(int nIndex);
    /// Address of the vertex of index GetRoundIndex(nIndex).
    CPadPoint* GetPadPoint_Round(int nIndex);
    /// nIndex remainder count, with the sign of nIndex. The polygon must not be empty (likewise below).
    int GetRoundIndex(int nIndex) const;
    /// (nIndex + 1) remainder count.
    int GetNextIndex(int nIndex) const;
    /// (nIndex + count - 1) remainder count.
    int GetPreIndex(int nIndex) const;
    /// This object.
    CPadPoligon* GetSelfPoligon();
    /// Bounds of the vertices into rtOut. With no vertex: left, top 10000000 and right, bottom -10000000.
    void CalOutRect();
    /// Adds (dx, dy) to each vertex in use; rtOut and nCorner stay.
    void OffsetPlus(int dx, int dy);
    /// Rotates the order: new vertex i is old vertex (i + nOffset) remainder count.
    void OffsetPlusIndex(int nOffset);
    /// Reverses the order: new vertex i is old vertex (count + nOffset - i) remainder count.
    void ReverseIndex(int nOffset);
    /// @return 0 with fewer than three vertices or when a turn among vertices 0 .. count - 1 is negative; the two
    /// turns through the closing edge are not tested. Otherwise 1.
    int IsClockwise() const;
    /// Makes the order clockwise (vertex 0 stays in its place), finds the four corner indices and rtOut. With fewer
    /// than three vertices nothing is touched.
    void Find_Corner();
    /// Clips to the columns nLeft .. nRight, both included, into `out` (which may be this object). `out` gets
    /// vertices only: Find_Corner must follow. At most ten vertices are kept.
    void Cut_Margin(int nLeft, int nRight, CPadPoligon& out) const;
    /// Cuts into horizontal trapezia, top to bottom. @return 1; 0 with an empty storage for fewer than three
    /// vertices, for a triangle with two equal vertices, and for a polygon whose two sides never meet.
    int Cut_TrapeziumHori(CTrapeziumStorage* pStorage) const;
    /// Empties the storage. @return 1 with at least three vertices, otherwise 0. No trapezium is made.
    int Cut_TrapeziumVert(CTrapeziumStorage* pStorage) const;
    /// Appends nine fixed vertices: a polygon for testing the cut.
    void Test();
};

/// A fixed set of polygons.
class NARVO_API CPoligonStorage
{
public:
    static constexpr int nPoligonLimit = 10; ///< polygons held

    int nPoligonCount;                  ///< kept by the host; not set here and never read
    CPadPoligon poligon[nPoligonLimit]; ///< the polygons

    /// Leaves nPoligonCount as it is.
    CPoligonStorage(); // NOLINT(modernize-use-equals-default): the count stays unset on purpose
    /// Address of a polygon; the index is not checked.
    CPadPoligon* GetPadPoligon(int nIndex);
};
