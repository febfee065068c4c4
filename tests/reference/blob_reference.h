// SPDX-License-Identifier: MIT
// Blob building and tidying once more, in the plainest form: the record as named values, every walk a double loop.
// The tests compare the library's searches with it. Only the pair record comes from the library.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "narvoassem/convparam.h"
#include "narvoassem/defectblob.h"
#include "narvoassem/defectpair.h"

namespace narvo::test::reference
{

/// A blob of the reference: the fields of the record, wide types throughout, cut where the record cuts.
struct SBlob
{
    int nPos = 0;
    int nPair = 0;
    int nType = 3;
    int nId = 0;
    int nCount = 0;
    int nClass = -1;
    int nMultiType = -1;
    int nRScale = 0;
    bool bRemoved = false;
    std::array<int, 2> center{0, 0};
    std::array<int, 2> peak{-1, -1};
    std::array<int, 2> maxGray{0, 0};
    std::array<int, 4> rect{0x7fffffff, 0x7fffffff, 0, 0}; ///< left, top, right, bottom
    int nMaxPeak = 0;
    int nMinSrc = 2048, nMaxSrc = 0, nAvgSrc = 0, nSumSrc = 0;
    int nMinCmp = 2048, nMaxCmp = 0, nAvgCmp = 0, nSumCmp = 0;
    int nMinDiff = 2048, nMaxDiff = 0, nAvgDiff = 0, nSumDiff = 0;
    int nMaxThreshold = 0, nAvgThreshold = 0, nSumThreshold = 0;
    std::array<int, 16> zoneCount{}, subZoneCount{}, zoneMinPeak{}, zoneMaxPeak{}, zoneSumPeak{};
    std::array<std::array<int, 2>, 8> extreme{};
    std::array<double, 5> shape{}; ///< angle, major axis, minor axis, circularity, elongation
};

/// The stores of the reference.
class CBlobReference
{
public:
    enum class EWindow
    {
        Horizontal,
        Vertical
    };

    std::vector<SBlob> blobs;
    std::vector<SBlob> places; ///< what each record of the array holds; assignment keeps its sum of thresholds
    int nBlobSize = 0;
    int nRemovedPair = 0;
    int nMerged = 0;

    /// Groups and builds; pairs that the zone limits drop get type 4.
    void Build(std::vector<CDefectPair>& pairs, EWindow eWindow, const CConvParam& param);
    void MergeDivision(int nFirst, int nDist, const CConvParam& param);
    /// nAxis 0 along x, 1 along y.
    void Shadow(int nFirst, double dPitch, int nAxis);

    std::vector<int> labels; ///< of the last build
    std::vector<int> linked;

private:
    void Compact(int nFirst);
};

/// Names the first field in which the two differ; empty when they agree.
std::string FindDifference(const SBlob& expected, const CDefectBlob& blob);

} // namespace narvo::test::reference
