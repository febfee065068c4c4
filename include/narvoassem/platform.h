// SPDX-License-Identifier: MIT
/// @file
/// Platform types: rectangle, point, counted text and region object. A build with MFC takes MFC's own; elsewhere
/// this header gives types of the same names and behaviour, as far as the library and its hosts use them.
#pragma once

#include "narvoassem/export.h"

#if defined(_MSC_VER) && defined(_AFXDLL)

#include <afxwin.h>

#else

#include <cstddef>
#include <cstdint>
#include <string>

#if defined(_WIN32)
// The region vocabulary is that of Windows, so that a host may include windows.h before or after.
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#endif

/// A point in image pixels; y grows downward.
class CPoint
{
public:
    int x = 0; ///< pixels, to the right
    int y = 0; ///< pixels, downward

    /// The origin.
    CPoint() = default;
    /// The point (nX, nY).
    CPoint(int nX, int nY) : x(nX), y(nY) {}

    /// True when both ordinates are equal.
    friend bool operator==(const CPoint& a, const CPoint& b) { return a.x == b.x && a.y == b.y; }
    /// True when an ordinate differs.
    friend bool operator!=(const CPoint& a, const CPoint& b) { return !(a == b); }
};

/// A rectangle in image pixels; right and bottom are exclusive.
class CRect
{
public:
    int left = 0;   ///< first column
    int top = 0;    ///< first row
    int right = 0;  ///< column after the last
    int bottom = 0; ///< row after the last

    /// All four sides 0.
    CRect() = default;
    /// The four sides.
    CRect(int nLeft, int nTop, int nRight, int nBottom) : left(nLeft), top(nTop), right(nRight), bottom(nBottom) {}

    /// right minus left; negative for a reversed rectangle. Wraps at 32 bits.
    int Width() const { return static_cast<int>(static_cast<unsigned>(right) - static_cast<unsigned>(left)); }
    /// bottom minus top; negative for a reversed rectangle. Wraps at 32 bits.
    int Height() const { return static_cast<int>(static_cast<unsigned>(bottom) - static_cast<unsigned>(top)); }

    /// Sets the four sides.
    void SetRect(int nLeft, int nTop, int nRight, int nBottom) { *this = CRect(nLeft, nTop, nRight, nBottom); }
    /// Sets all four sides to 0.
    void SetRectEmpty() { *this = CRect(); }
    /// True when right is at or left of left, or bottom at or above top.
    bool IsRectEmpty() const { return right <= left || bottom <= top; }
    /// True when left <= x < right and top <= y < bottom.
    bool PtInRect(const CPoint& pt) const { return left <= pt.x && pt.x < right && top <= pt.y && pt.y < bottom; }
    /// Moves the rectangle by (dx, dy) pixels.
    void OffsetRect(int dx, int dy)
    {
        left += dx;
        right += dx;
        top += dy;
        bottom += dy;
    }

    /// True when all four sides are equal.
    friend bool operator==(const CRect& a, const CRect& b)
    {
        return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
    }
    /// True when a side differs.
    friend bool operator!=(const CRect& a, const CRect& b) { return !(a == b); }
};

/// Counted narrow text.
class CString
{
public:
    /// Empty text.
    CString() = default;
    /// A copy of the zero-terminated text; null gives empty text.
    CString(const char* pText) : m_strText(pText != nullptr ? pText : "") {}

    /// Characters.
    int GetLength() const { return static_cast<int>(m_strText.size()); }
    /// True without characters.
    bool IsEmpty() const { return m_strText.empty(); }
    /// Character at nIndex, 0 <= nIndex < GetLength(); any other index gives the character 0.
    char GetAt(int nIndex) const
    {
        return nIndex >= 0 && nIndex < GetLength() ? m_strText[static_cast<std::size_t>(nIndex)] : '\0';
    }
    /// Index of the first cWanted at or after nStart, or -1. A negative nStart counts as 0.
    int Find(char cWanted, int nStart = 0) const
    {
        const std::size_t nPos = m_strText.find(cWanted, nStart > 0 ? static_cast<std::size_t>(nStart) : 0);
        return nPos == std::string::npos ? -1 : static_cast<int>(nPos);
    }
    /// The text, zero-terminated; valid until the object changes.
    const char* GetString() const { return m_strText.c_str(); }

private:
    std::string m_strText;
};

#if !defined(_WIN32)

// Region vocabulary, with the values that Windows gives it.
enum : int
{
    ALTERNATE = 1 ///< polygon filling: even-odd
};
enum : int
{
    RGN_AND = 1 ///< combination: intersection
};
enum : int
{
    RGN_ERROR = 0,    ///< the combination failed
    NULLREGION = 1,   ///< the result is empty
    SIMPLEREGION = 2, ///< the result is one rectangle
    COMPLEXREGION = 3 ///< the result is several rectangles
};

/// Head of a region's data.
struct RGNDATAHEADER
{
    std::uint32_t dwSize;   ///< bytes of this head
    std::uint32_t iType;    ///< 1: rectangles
    std::uint32_t nCount;   ///< rectangles that follow
    std::uint32_t nRgnSize; ///< bytes of the rectangles
    CRect rcBound;          ///< bounds
};

/// A region's data: the head, then nCount rectangles (CRect), sorted by top and, within a band of equal top and bottom,
/// by left. They do not overlap; neighbouring rows of the same spans form one band.
struct RGNDATA
{
    RGNDATAHEADER rdh; ///< the head
    char Buffer[1];    ///< the first byte of the rectangles
};

#endif

/// A set of pixels. An object holds no region until one of the Create operations; creating a second one before
/// DeleteObject fails. Nothing throws or prints; lack of memory is failure. A polygon is converted to rectangles
/// when its data is asked for, and only inside the other region's bounds when it is combined, so that vertices may
/// lie anywhere.
class NARVO_API CRgn
{
public:
    CRgn() = default;
    ~CRgn();
    CRgn(const CRgn&) = delete;
    CRgn& operator=(const CRgn&) = delete;

    /// The rectangle, right and bottom exclusive; a reversed one is empty. @return 1, or 0 on failure
    int CreateRectRgn(int x1, int y1, int x2, int y2);
    /// As CreateRectRgn. @return 1, or 0 on failure
    int CreateRectRgnIndirect(const CRect* pRect);
    /// The interior of the closed polygon under the even-odd rule, right and bottom edges excluded: a pixel belongs to
    /// it when, at the pixel's own ordinate, its x is at or right of an odd crossing and left of the next one. nMode
    /// must be ALTERNATE. @return 1, or 0 on failure and with fewer than 2 points
    int CreatePolygonRgn(const CPoint* pPoint, int nCount, int nMode);
    /// Sets this object's region to the intersection of two others; both and this one must hold regions. nMode must be
    /// RGN_AND. @return RGN_ERROR, NULLREGION, SIMPLEREGION or COMPLEXREGION
    int CombineRgn(CRgn* pFirst, CRgn* pSecond, int nMode);
    /// The region, or null when the object holds none. Only for comparison with null.
    const void* GetSafeHandle() const;
    /// Fills a block of nSize bytes with the region's data. @return the bytes needed when pData is null or the bytes
    /// written; 0 on failure, and when the block is too small
    int GetRegionData(RGNDATA* pData, int nSize) const;
    /// Frees the region; the object holds none then. @return 1, or 0 when it held none
    int DeleteObject();

private:
    struct CBody;
    CBody* m_pBody = nullptr;
};

#endif
