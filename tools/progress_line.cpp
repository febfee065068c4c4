// SPDX-License-Identifier: MIT
#include "tools/progress_line.h"

#include <cstdio>

#include "host/foreign_text.h"

namespace narvo::tools
{

void ProgressLine::Show(const std::string& text)
{
    const Clock::time_point now = Clock::now();
    if (m_stream < 0 || now - m_shown < m_pause)
        return;
    m_shown = now;
    dprintf(m_stream, "narvo: %s\n", Printable(text).c_str());
}

} // namespace narvo::tools
