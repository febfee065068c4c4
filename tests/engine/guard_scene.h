// SPDX-License-Identifier: MIT
// A small periodic panel with defects, and everything that a parameter block can point at, between guard pages: the
// scene for tests that put any number into any field.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "narvoassem/narvoassem.h"
#include "support/sparse_memory.h"

namespace narvo::test
{

/// What decides the size of image, tables, grid and maps.
struct CGuardShape
{
    int nImageWidth = 112;
    int nImageHeight = 84;
    int nMapStride = 64;
    int nZoneColumns = 11;
    int nCellWidth = 17;
    int nCellHeight = 15;
    bool bFlagged = false;

    /// The shape that a block declares; bAsg for the ASG entries, whose horizontal cells are one compare distance wide.
    /// Sizes below 0 count as 0, cells below a pixel as one.
    static CGuardShape Of(const CConvParam& param, bool bAsg);
    bool operator==(const CGuardShape& other) const = default;
};

/// Image and tables are as long as the shape says, and no longer; grid and maps reach as far as walks over regular
/// grids lead. Of huge memory only the first part is filled.
class CGuardScene
{
public:
    static constexpr int nWidth = 112;
    static constexpr int nHeight = 84;
    static constexpr double dConvPitch = 17.25;
    static constexpr double dScanPitch = 15.375;

    /// bFlushBack: which side of each piece of memory borders on its guard page. Throws std::bad_alloc where the
    /// address space has no room for the shape.
    explicit CGuardScene(bool bFlushBack, const CGuardShape& shape = CGuardShape());

    const CGuardShape& GetShape() const { return m_shape; }
    /// A block over the whole panel in pixel mode, with the image alone.
    CConvParam MakeParam();
    /// Fills all tables again.
    void FillTables();

    int* GetRowTable() { return m_rows.Get(); }
    int* GetTiltScan() { return m_tiltScan.Get(); }
    int* GetTiltConv() { return m_tiltConv.Get(); }
    unsigned short* GetConvPitch() { return m_convPitch.Get(); }
    short* GetWeightNear() { return m_weightNear.Get(); }
    short* GetWeightFar() { return m_weightFar.Get(); }
    unsigned char* GetMask() { return m_mask.Get(); }
    /// The grid's entry: its first row, above the image, for vertical runs; the row after it for horizontal ones.
    int* GetGrid(int nDirection) { return m_grid.Get() + (nDirection == 0 ? m_nGridRow : 0); }
    short* GetMap(int nMap) { return m_maps[nMap].Get() + m_nMapMiddle; }

    static constexpr int nMaps = 7; ///< offset, gain, zone, offset 2, gain 2, knee, class id
    int zoneTable[6][16] = {};      ///< filter offsets and gains, twice, and the two tables by zone
    CString verifyText[16];         ///< verification checks
    std::vector<CPoint> polygon;    ///< a free-form region

    /// Set all entries of a table or map to nValue, cut to its type. FillTables restores them.
    void SetRowTable(int nValue) { m_rows.Fill(nValue); }
    void SetTiltScan(int nValue) { m_tiltScan.Fill(nValue); }
    void SetTiltConv(int nValue) { m_tiltConv.Fill(nValue); }
    void SetConvPitch(int nValue) { m_convPitch.Fill(nValue); }
    void SetWeightNear(int nValue) { m_weightNear.Fill(nValue); }
    void SetWeightFar(int nValue) { m_weightFar.Fill(nValue); }
    void SetMask(int nValue) { m_mask.Fill(nValue); }
    void SetMap(int nMap, int nValue) { m_maps[nMap].Fill(nValue); }
    void SetGridSkip(int nValue);

private:
    /// A table of nCount elements, filled as far as nFillLimit.
    template <class TElement>
    class CTable
    {
    public:
        void Make(std::int64_t nCount, bool bFlushBack)
        {
            const auto nBytes = static_cast<std::uint64_t>(nCount > 0 ? nCount : 1) * sizeof(TElement);
            m_pMemory = std::make_unique<narvo::test::CSparseMemory>(nBytes, bFlushBack);
            m_nFilled = nCount < nFillLimit ? nCount : nFillLimit;
            if (m_nFilled > 0)
                m_pMemory->Open(0, static_cast<std::uint64_t>(m_nFilled) * sizeof(TElement));
        }
        void Fill(int nValue)
        {
            for (std::int64_t i = 0; i < m_nFilled; ++i)
                Get()[i] = static_cast<TElement>(nValue);
        }
        TElement* Get() const { return reinterpret_cast<TElement*>(m_pMemory->Data()); }
        narvo::test::CSparseMemory& Memory() { return *m_pMemory; }

    private:
        static constexpr std::int64_t nFillLimit = 1 << 16;
        std::unique_ptr<narvo::test::CSparseMemory> m_pMemory;
        std::int64_t m_nFilled = 0;
    };

    void MakeImage(bool bFlushBack);
    void MakeTables(bool bFlushBack);
    void MakeGrid(bool bFlushBack);

    CGuardShape m_shape;
    CTable<unsigned char> m_image, m_mask;
    CTable<int> m_rows, m_tiltScan, m_tiltConv, m_grid;
    CTable<unsigned short> m_convPitch;
    CTable<short> m_weightNear, m_weightFar, m_maps[nMaps];
    std::int64_t m_nMapMiddle = 0;
    std::int64_t m_nGridRow = 0; ///< ints of a grid row
    std::int64_t m_nGridRows = 0;
    std::int64_t m_nGridFilled = 0; ///< records written in each row
};

} // namespace narvo::test
