// SPDX-License-Identifier: MIT
// See soak_file.h.
#include "soak/soak_file.h"

#include <fstream>
#include <iomanip>
#include <stdexcept>

namespace narvo::test
{

namespace
{

constexpr const char* szHead = "narvo-soak-1";

} // namespace

void WriteSoakFile(const std::string& strPath, const CSoakFile& file)
{
    std::ofstream out(strPath);
    out << szHead << ' ' << file.range.nFirst << ' ' << file.range.nCases << ' ' << file.nBlock << ' '
        << (file.bSplit ? "on" : "off") << '\n';
    out << std::hex << std::setfill('0');
    for (const CSoakSums& block : file.aBlocks)
        out << std::setw(16) << block.nPlain << ' ' << std::setw(16) << block.nOpen << '\n';
    out.close();
    if (!out)
        throw std::runtime_error(strPath + ": cannot be written");
}

CSoakFile ReadSoakFile(const std::string& strPath)
{
    std::ifstream in(strPath);
    CSoakFile file;
    std::string strHead;
    std::string strSplit;
    in >> strHead >> file.range.nFirst >> file.range.nCases >> file.nBlock >> strSplit;
    if (!in || strHead != szHead || file.nBlock == 0)
        throw std::runtime_error(strPath + ": is no file of block sums");
    file.bSplit = strSplit == "on";
    in >> std::hex;
    CSoakSums block;
    while (in >> block.nPlain >> block.nOpen)
        file.aBlocks.push_back(block);
    if (file.aBlocks.size() != (file.range.nCases + file.nBlock - 1) / file.nBlock)
        throw std::runtime_error(strPath + ": has not as many blocks as it says");
    return file;
}

} // namespace narvo::test
