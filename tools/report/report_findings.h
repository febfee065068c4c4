// SPDX-License-Identifier: MIT
// What the statistics of a lot found, as rows of the page.
#pragma once

#include <vector>

#include "host/lot/lot_statistics.h"
#include "tools/report/report_page.h"

namespace narvo::tools
{

/// At most a hundred of each kind, and changes of level.
std::vector<ReportFinding> FindingsOf(const Lot& lot, const LotStatistics& statistics);

} // namespace narvo::tools
