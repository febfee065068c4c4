// SPDX-License-Identifier: MIT
// See guard_scene.h.
#include "engine/guard_scene.h"

#include <algorithm>

#include "narvoassem/base/truncate.h"

namespace narvo::test
{

namespace
{

/// Records that a walk over one row of the panel can pass beyond those that the grid declares.
constexpr std::int64_t nSpareRecords = CGuardScene::nWidth + 8;
/// Reach of the maps on either side of an origin.
constexpr std::int64_t nMapReachX = 2 * CGuardScene::nWidth + 64;
constexpr std::int64_t nMapReachY = 2 * CGuardScene::nHeight + 32;

bool IsSpot(int x, int y, int nLeft, int nTop, int nSide)
{
    return x >= nLeft && x < nLeft + nSide && y >= nTop && y < nTop + nSide;
}

/// A pattern of the scene's pitches, with spots of both polarities in the middle and in the edge bands.
unsigned char PanelPixel(int x, int y)
{
    if (IsSpot(x, y, 50, 40, 4) || IsSpot(x, y, 3, 20, 3) || IsSpot(x, y, 107, 60, 3) || IsSpot(x, y, 60, 2, 3))
        return 230;
    if (IsSpot(x, y, 30, 55, 3) || IsSpot(x, y, 80, 79, 4) || IsSpot(x, y, 70, 30, 2))
        return 10;
    const int nColumn = static_cast<int>(x * 16 / CGuardScene::dConvPitch) % 16;
    const int nRow = static_cast<int>(y * 16 / CGuardScene::dScanPitch) % 16;
    return static_cast<unsigned char>(80 + nColumn * 3 + nRow * 2 + (x * 7 + y * 13) % 5);
}

int ToInt(std::int64_t n)
{
    return static_cast<int>(std::clamp<std::int64_t>(n, INT32_MIN, INT32_MAX));
}

} // namespace

CGuardShape CGuardShape::Of(const CConvParam& param, bool bAsg)
{
    CGuardShape shape;
    shape.nImageWidth = std::max(param.nImageWidth, 0);
    shape.nImageHeight = std::max(param.nImageHeight, 0);
    shape.nMapStride = std::max(param.nZoneMapStride, 0);
    shape.nZoneColumns = std::max(param.nZoneColumns, 0);
    const double dWidth = bAsg && param.nDirection == 0 ? param.GetRealConvPitch() : param.GetZoneConvPitch();
    shape.nCellWidth = std::max(engine::TruncateToInt(dWidth), 1);
    shape.nCellHeight = std::max(engine::TruncateToInt(param.GetZoneScanPitch()), 1);
    // The free-form region, which the same flag selects, reads records of two.
    shape.bFlagged = param.bZoneFlagged != 0 && param.pThresholdOffsetMap != nullptr;
    return shape;
}

CGuardScene::CGuardScene(bool bFlushBack, const CGuardShape& shape) : m_shape(shape)
{
    polygon = {{10, 5}, {100, 12}, {90, 75}, {20, 70}};
    for (int i = 0; i < 16; ++i)
        verifyText[i] = i % 2 == 0 ? "1;101;201" : "2;101;201;301";
    MakeImage(bFlushBack);
    MakeTables(bFlushBack);
    MakeGrid(bFlushBack);
    FillTables();
}

CConvParam CGuardScene::MakeParam()
{
    CConvParam param;
    param.nInspectMode = 1;
    param.pImage = m_image.Get();
    param.nImageWidth = nWidth;
    param.nImageHeight = nHeight;
    param.rtInspect.SetRect(0, 0, nWidth, nHeight);
    param.nConvWidth = param.nConvHeight = 2;
    param.dConvPitch = dConvPitch;
    param.dScanPitch = dScanPitch;
    param.nConvMultiple = param.nScanMultiple = 1;
    param.nThreshold = 12;
    const CGuardShape usual;
    param.nZoneMapStride = usual.nMapStride;
    param.nZoneColumns = usual.nZoneColumns;
    param.nAverageParam1 = 27;
    param.nAverageParam2 = 3;
    param.dPixelSizeX = param.dPixelSizeY = 2.0;
    return param;
}

void CGuardScene::MakeImage(bool bFlushBack)
{
    const std::int64_t nStride = m_shape.nImageWidth;
    m_image.Make(nStride * m_shape.nImageHeight, bFlushBack);
    const int nColumns = std::min(m_shape.nImageWidth, nWidth);
    const int nRows = std::min(m_shape.nImageHeight, nHeight);
    for (int y = 0; y < nRows && nColumns > 0; ++y)
    {
        m_image.Memory().Open(static_cast<std::uint64_t>(y * nStride), static_cast<std::uint64_t>(nColumns));
        for (int x = 0; x < nColumns; ++x)
            m_image.Get()[y * nStride + x] = PanelPixel(x, y);
    }
}

/// One entry per 16 rows or columns, or per column, of the whole image. The trapezium kernels read tables of rows by
/// column and tables of columns by row.
void CGuardScene::MakeTables(bool bFlushBack)
{
    const std::int64_t nRows = (std::int64_t{m_shape.nImageHeight} + 15) / 16;
    const std::int64_t nColumns = (std::int64_t{m_shape.nImageWidth} + 15) / 16;
    m_rows.Make(std::max(nRows, nColumns), bFlushBack);
    m_tiltConv.Make(std::max(nRows, nColumns), bFlushBack);
    m_tiltScan.Make(nRows, bFlushBack);
    m_convPitch.Make(m_shape.nImageWidth, bFlushBack);
    m_weightNear.Make(nColumns * 16, bFlushBack);
    m_weightFar.Make(nColumns * 16, bFlushBack);
    m_mask.Make(std::int64_t{m_shape.nImageWidth} * m_shape.nImageHeight, bFlushBack);
    m_nMapMiddle = nMapReachY * m_shape.nMapStride + nMapReachX;
    for (auto& map : m_maps)
        map.Make(2 * m_nMapMiddle, bFlushBack);
}

/// Origins one cell apart, with one row of cells above the image. Walks that leave a grid row on its right continue in
/// the row below.
void CGuardScene::MakeGrid(bool bFlushBack)
{
    const std::int64_t nRecord = m_shape.bFlagged ? 3 : 2;
    m_nGridRow = m_shape.nZoneColumns * nRecord;
    m_nGridRows = nHeight / m_shape.nCellHeight + 5;
    m_nGridFilled = std::min<std::int64_t>(m_shape.nZoneColumns, nSpareRecords);
    m_grid.Make(m_nGridRows * m_nGridRow + nSpareRecords * nRecord, bFlushBack);
    for (std::int64_t nRow = 0; nRow < m_nGridRows; ++nRow)
    {
        const std::int64_t nStart = nRow * m_nGridRow;
        const std::int64_t nCount = m_nGridFilled + (nRow + 1 == m_nGridRows ? nSpareRecords : 0);
        m_grid.Memory().Open(static_cast<std::uint64_t>(nStart) * 4, static_cast<std::uint64_t>(nCount * nRecord) * 4);
        for (std::int64_t i = 0; i < nCount; ++i)
        {
            int* const pRecord = m_grid.Get() + nStart + i * nRecord;
            pRecord[0] = ToInt(i * m_shape.nCellWidth);
            pRecord[1] = ToInt((nRow - 1) * m_shape.nCellHeight);
            if (m_shape.bFlagged)
                pRecord[2] = i % 4 == 2 ? 1 : 0;
        }
    }
}

void CGuardScene::SetGridSkip(int nValue)
{
    if (!m_shape.bFlagged)
        return;
    for (std::int64_t nRow = 0; nRow < m_nGridRows; ++nRow)
        for (std::int64_t i = 0; i < m_nGridFilled; ++i)
            m_grid.Get()[nRow * m_nGridRow + i * 3 + 2] = nValue;
}

void CGuardScene::FillTables()
{
    SetRowTable(static_cast<int>(dScanPitch * 16.0));
    SetTiltScan(3);
    SetTiltConv(static_cast<int>(dConvPitch * 16.0));
    SetConvPitch(static_cast<int>(dConvPitch));
    SetWeightNear(12);
    SetWeightFar(4);
    SetMask(1);
    constexpr int nMapValues[nMaps] = {12, 20, 3, 20, 10, 120, 1};
    for (int nMap = 0; nMap < nMaps; ++nMap)
        SetMap(nMap, nMapValues[nMap]);
    for (auto& table : zoneTable)
        std::fill(std::begin(table), std::end(table), 10);
}

} // namespace narvo::test
