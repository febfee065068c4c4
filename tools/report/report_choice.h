// SPDX-License-Identifier: MIT
// Which defects a report lists, and which of them it shows.
#pragma once

#include <cstddef>
#include <vector>

#include "tools/report/report_page.h"

namespace narvo::tools
{

/// A defect of a page by its image, and its place among the image's blobs.
struct BlobPlace
{
    std::size_t image;
    std::size_t blob;
};

const Blob& BlobAt(const ReportPage& page, const BlobPlace& place);

/// Marks the defects that the page lists, where they are too many for it, and notes what it leaves out.
/// @return those to be shown with crops, at most `thumbnails`: the largest ones of either polarity
std::vector<BlobPlace> ChooseBlobs(ReportPage& page, int thumbnails);

} // namespace narvo::tools
