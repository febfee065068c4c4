// SPDX-License-Identifier: MIT
// Binarise, average and the plain window comparison again, one pixel at a time and without tables.
#pragma once

#include <cstdint>
#include <vector>

#include "narvoassem/convparam.h"
#include "narvoassem/defectpair.h"

namespace narvo::test
{

/// The outcome of a side mode: records from nFirst on are in the pair buffer.
struct CSideModeResult
{
    int nPairCount;
    int nEndLine;
};

CSideModeResult BinariseReference(const std::uint8_t* pImage, int nLowGray, int nHighGray, const CRect& rtInspect,
                                  int nImagePitch, std::vector<CDefectPair>& pairs, int nPairCount, int nPairSize);

/// nDefectFilter and nBackFilter above 0, the first not above the second.
CSideModeResult AverageReference(const std::uint8_t* pImage, int nImagePitch, const CRect& rtInspect,
                                 int nDarkThreshold, int nBrightThreshold, int nGrayLimit,
                                 std::vector<CDefectPair>& pairs, int nPairCount, int nPairSize, int nDefectFilter,
                                 int nBackFilter);

/// Sum of the window of nSize round (x, y), relative to the region.
std::int64_t WindowSumReference(const std::uint8_t* pImage, int nImagePitch, const CRect& rtInspect, int x, int y,
                                int nSize);

/// The records of the two-witness comparison, at most 10000, with a pitch of 0 or more rows; reads outside the image
/// count as its nearest row.
std::vector<CDefectPair> TwoWitnessReference(const CConvParam& param);

} // namespace narvo::test
