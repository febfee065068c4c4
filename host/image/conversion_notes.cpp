// SPDX-License-Identifier: MIT
// One note of each kind.
#include "host/image/conversion_notes.h"

#include <utility>

namespace narvo
{

bool ConversionNotes::Wants(Loss loss) const
{
    const std::lock_guard lock(m_mutex);
    return !m_noted.at(static_cast<std::size_t>(loss));
}

void ConversionNotes::Add(Loss loss, const std::string& text)
{
    const std::lock_guard lock(m_mutex);
    if (!std::exchange(m_noted.at(static_cast<std::size_t>(loss)), true))
        m_texts.push_back(text);
}

std::vector<std::string> ConversionNotes::Take()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_texts, {});
}

} // namespace narvo
