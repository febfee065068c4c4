// SPDX-License-Identifier: MIT
// The pictures of a report, from the files of its images.
#pragma once

#include <vector>

#include "tools/report/report_choice.h"
#include "tools/report/report_draft.h"

namespace narvo::tools
{

/// Adds overviews of images, and sheets with the crops of the chosen defects; what cannot be shown is noted.
void Illustrate(ReportDraft& draft, const std::vector<BlobPlace>& thumbnails);

} // namespace narvo::tools
