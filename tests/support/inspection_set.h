// SPDX-License-Identifier: MIT
// One inspection for every way through the engine: each comparison mode in both directions, with each table, map and
// switch that chooses another kernel, over one made-up picture with defects. What an inspection finds is not known
// beforehand; the set serves tests that hold one run against another.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "narvoassem/narvoassem.h"

namespace narvo::test
{

/// The call of the pool that runs an inspection.
enum class PoolCall
{
    Rect,
    RectAsg,
    Trapezium
};

struct SInspection
{
    std::string strName;
    PoolCall eCall = PoolCall::Rect;
    CConvParam param;
};

/// What the host reads after an inspection; two of them are equal when all of it is.
struct SFound
{
    int nCode = 0;
    int nPairCount = 0;
    std::vector<CDefectBlob> blobs;
};

bool operator==(const SFound& a, const SFound& b);

/// Picture, maps and tables, and the inspections of them. The picture is nWidth by nHeight pixels, of a pattern of
/// nPitch pixels each way; both sides must be at least 4 * nPitch and 48.
class CInspectionSet
{
public:
    static constexpr int nPitch = 16;

    /// nDefects spots; nSeed places them.
    CInspectionSet(int nWidth, int nHeight, int nDefects, unsigned nSeed);
    CInspectionSet(const CInspectionSet&) = delete;
    CInspectionSet& operator=(const CInspectionSet&) = delete;

    const std::deque<SInspection>& Get() const { return m_inspections; }

private:
    void DrawPicture(int nDefects, unsigned nSeed);
    void MakeMaps();
    void MakeTables();
    CConvParam MakeParam(int nMode, int nDirection) const;
    CConvParam MakeZoneParam(int nDirection) const;
    SInspection& Add(const std::string& strName, const CConvParam& param, PoolCall eCall = PoolCall::Rect);
    void AddZone();
    void AddPixel();
    void AddFloat();
    void AddSideModes();

    int m_nWidth;
    int m_nHeight;
    std::vector<unsigned char> m_picture;
    std::vector<unsigned char> m_mask;
    std::vector<short> m_offset;
    std::vector<short> m_gain;
    std::vector<short> m_zone;
    std::vector<short> m_knee;
    std::vector<int> m_origin;        ///< x, y
    std::vector<int> m_flaggedOrigin; ///< x, y, skip
    std::vector<int> m_rowPitch;
    std::vector<unsigned short> m_columnPitch;
    std::vector<short> m_weightNear;
    std::vector<short> m_weightFar;
    std::vector<int> m_zoneOffset;
    std::vector<int> m_zoneGain;
    std::deque<SInspection> m_inspections;
};

/// Runs an inspection on a lane of the pool. The parameters are copied before: the call may write to them.
int RunOnPool(CAssemControl& pool, int nLane, const SInspection& inspection);
/// What the lane holds after a call that gave nCode.
SFound ReadFound(CAssemControl& pool, int nLane, int nCode);

} // namespace narvo::test
