// SPDX-License-Identifier: MIT
// The pictures of a report, from the files of its images.
#pragma once

#include <vector>

#include "tools/report/report_cell.h"
#include "tools/report/report_choice.h"
#include "tools/report/report_draft.h"

namespace narvo::tools
{

/// Adds overviews of images, and sheets with the crops of the chosen defects; what cannot be shown is noted.
/// Images are held against the golden cell where there is one.
void Illustrate(ReportDraft& draft, const std::vector<BlobPlace>& thumbnails, ReportCell* cell);

} // namespace narvo::tools
