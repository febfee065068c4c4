// SPDX-License-Identifier: MIT
// Room is made in steps, so that an image costs no more than its own defects on average.
#include "host/lot/lot_window.h"

#include <utility>

namespace narvo
{

LotWindow::LotWindow(LotSource source, std::size_t mostImages, std::size_t mostDefects)
    : m_builder(std::move(source)), m_mostImages(mostImages), m_mostDefects(mostDefects)
{
}

void LotWindow::Add(const std::string& name, const ImageResult& result)
{
    constexpr std::size_t nSteps = 8;
    const std::size_t defects = result.BlobCount();
    if (defects > m_mostDefects / nSteps)
    {
        ++m_leftOut;
        return;
    }
    while (m_builder.Images() > 0 &&
           (m_builder.Images() >= m_mostImages || m_builder.Defects() + defects > m_mostDefects))
        m_builder.DropFirst(m_builder.Images() / nSteps + 1);
    m_builder.Add(name, result);
}

} // namespace narvo
