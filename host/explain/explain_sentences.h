// SPDX-License-Identifier: MIT
// The sentences of an explanation: comparisons, records and the want of one, in words.
#pragma once

#include <string>

#include "host/explain/explain.h"
#include "host/image/grey_image.h"
#include "narvoassem/convparam.h"

namespace narvo
{

std::string At(int x, int y);
std::string At(const CPoint& place);
/// The first and the last place of a box.
std::string BoundsText(const CRect& box);
/// "first", "middle", "last".
std::string BandName(int band);

/// A comparison, and what came of it; `who` is the pixel whose comparison it is. The asked pixel's own one is told with
/// the two pixels that its reference lies between, and its place in the zone cell.
void TellLink(Explanation& told, const CChainLink& link, const std::string& who, const CConvParam& param,
              const GreyImage& image);

/// What is a defect in the modes without a kernel at a pitch.
std::string PlainModeText(const Recipe& recipe);

/// The record at the asked pixel.
std::string RecordText(const CDefectPair& record);

/// Why a hit at the asked pixel, or one distance before it, left no record there. Either may be null, not both.
std::string NoRecordText(const Explanation& told, const CChainLink* own, const CChainLink* before);

} // namespace narvo
