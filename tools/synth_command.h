// The command `narvo synth`.
#pragma once

#include <string>

#include "tools/panel.h"

namespace narvo
{

struct SynthOptions
{
    PanelPlan plan;
    std::string output = "panel"; ///< what the files' names begin with
    bool quiet = false;
};

/// Makes a panel with its zones, recipe and truth. @return exit code
int RunSynth(const SynthOptions& options);

} // namespace narvo
