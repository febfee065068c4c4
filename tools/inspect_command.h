// The command `narvo inspect`.
#pragma once

#include <string>

namespace narvo
{

struct InspectOptions
{
    std::string image;
    std::string recipe;
    std::string truth;  ///< empty: none
    std::string output; ///< what the files' names begin with; empty: the image's name without its ending
    bool quiet = false;
};

/// Inspects an image and writes blobs and overlay. @return exit code
int RunInspect(const InspectOptions& options);

} // namespace narvo
