// SPDX-License-Identifier: MIT
// Image by image, so that one is in memory at a time.
#include "tools/report/report_cell.h"

#include <utility>
#include <vector>

#include "host/foreign_text.h"
#include "host/problem.h"
#include "tools/cell/cell_picture.h"
#include "tools/page/embedded_jpeg.h"

namespace narvo::tools
{

ReportCell::ReportCell(std::shared_ptr<const CellReference> reference) : m_reference(std::move(reference))
{
    m_found.wanted = true;
}

void ReportCell::Add(ReportPage& page, const std::string& file, const GreyImage& image)
{
    constexpr int nQuality = 90;
    if (file == m_file)
        return;
    m_file = file;
    const std::string name = Printable(file);
    try
    {
        const std::vector<v1::CellReport> reports = m_reference->compare(image);
        m_found.repeats.Add(name, reports);
        m_found.regions.clear();
        for (std::size_t i = 0; i < reports.size(); ++i)
        {
            m_found.regions.push_back(reports[i].region);
            const double errors = reports[i].places.empty() ? 0.0 : reports[i].places[0].standardErrors;
            if (errors <= m_most)
                continue;
            m_most = errors;
            m_found.picture = EncodeJpeg(DrawCells(m_reference->means.at(i), reports[i]), nQuality);
            m_found.drawn = name;
        }
    }
    catch (const HostError& error)
    {
        page.notes.push_back(name + ": not held against the golden cell: " + error.Problems().front().Text());
    }
}

void ReportCell::Finish(ReportPage& page) const
{
    page.cell = m_found;
}

} // namespace narvo::tools
