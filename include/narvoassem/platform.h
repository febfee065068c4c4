// Platform types: rectangle, point, counted text and region object. A build with MFC takes MFC's own; elsewhere
// this header gives types of the same names and behaviour, as far as the library and its hosts use them.
#pragma once

#include "narvoassem/export.h"

#if defined(_MSC_VER) && defined(_AFXDLL)

#include <afxwin.h>

#else

#include <cstddef>
#include <string>

/// A point in image pixels; y grows downward.
class CPoint
{
public:
    int x = 0;
    int y = 0;

    CPoint() = default;
    CPoint(int nX, int nY) : x(nX), y(nY) {}

    friend bool operator==(const CPoint& a, const CPoint& b) { return a.x == b.x && a.y == b.y; }
    friend bool operator!=(const CPoint& a, const CPoint& b) { return !(a == b); }
};

/// A rectangle in image pixels; right and bottom are exclusive.
class CRect
{
public:
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    CRect() = default;
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

    friend bool operator==(const CRect& a, const CRect& b)
    {
        return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
    }
    friend bool operator!=(const CRect& a, const CRect& b) { return !(a == b); }
};

/// Counted narrow text.
class CString
{
public:
    CString() = default;
    CString(const char* pText) : m_strText(pText != nullptr ? pText : "") {}

    int GetLength() const { return static_cast<int>(m_strText.size()); }
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

#endif
