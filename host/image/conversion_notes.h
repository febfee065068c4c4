// SPDX-License-Identifier: MIT
// What images lose on their way to 8-bit grey, told once for any number of images.
#pragma once

#include <array>
#include <mutex>
#include <string>
#include <vector>

namespace narvo
{

enum Loss : int
{
    Loss_Colour = 0,
    Loss_Depth = 1, ///< more than 8 bits
    Loss_Alpha = 2,
    Loss_Lightless = 3,      ///< places of the flat field
    Loss_SaturatedField = 4, ///< places of the flat field
    Loss_Saturated = 5,      ///< pixels before the correction by fields
    Loss_Count = 6
};

/// Collects the first note of each kind. Any number of threads may call.
class ConversionNotes
{
public:
    /// Whether nothing of that kind has been noted yet.
    bool Wants(Loss loss) const;
    /// Keeps the first note of a kind.
    void Add(Loss loss, const std::string& text);
    /// Notes that have not been taken yet.
    std::vector<std::string> Take();

private:
    mutable std::mutex m_mutex;
    std::array<bool, Loss_Count> m_noted{};
    std::vector<std::string> m_texts;
};

} // namespace narvo
