// The command `narvo pitch`.
#pragma once

#include <string>
#include <vector>

namespace narvo
{

struct PitchOptions
{
    std::string image;
    std::vector<int> region; ///< left, top, right, bottom; empty: the whole image
    std::string plot;        ///< file of the charts; empty: none
    std::string recipe;      ///< file of the recipe; empty: none
};

/// Finds the period of an image's pattern along x and y. @return exit code
int RunPitch(const PitchOptions& options);

} // namespace narvo
