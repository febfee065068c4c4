// SPDX-License-Identifier: MIT
// The images of a report held against a golden cell.
#pragma once

#include <memory>
#include <string>

#include "host/image/grey_image.h"
#include "tools/cell/cell_reference.h"
#include "tools/report/report_page.h"

namespace narvo::tools
{

class ReportCell
{
public:
    explicit ReportCell(std::shared_ptr<const CellReference> reference);

    /// The next image; one of several regions comes once for each, in a row, and is compared once. One that cannot be
    /// compared is noted on the page.
    void Add(ReportPage& page, const std::string& file, const GreyImage& image);
    /// Puts what was found on the page.
    void Finish(ReportPage& page) const;

private:
    std::shared_ptr<const CellReference> m_reference;
    ReportCellFindings m_found;
    std::string m_file;   ///< of the latest image
    double m_most = -1.0; ///< standard errors of the place that is drawn
};

} // namespace narvo::tools
