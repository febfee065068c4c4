// SPDX-License-Identifier: MIT
// Block sums as a text file: what one binary writes and another is held against.
#pragma once

#include <string>
#include <vector>

#include "soak/soak_run.h"

namespace narvo::test
{

struct CSoakFile
{
    CSoakRange range;
    std::uint64_t nBlock = 0;
    bool bSplit = true;
    std::vector<CSoakSums> aBlocks;
};

/// Both throw std::runtime_error with the file's name.
void WriteSoakFile(const std::string& strPath, const CSoakFile& file);
CSoakFile ReadSoakFile(const std::string& strPath);

} // namespace narvo::test
