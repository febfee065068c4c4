// SPDX-License-Identifier: MIT
// A recipe's parameter block for the raw engine, with all that it points at. Apart from the figures of the host
// library, whose public headers use some of the host layer's names.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "narvoassem/convparam.h"

namespace narvo
{
class InspectionPlan;
} // namespace narvo

namespace bench
{

class CHostBlock
{
public:
    /// Of the recipe's JSON form with a painted cell, for images of that size; `nWidth` is a multiple of 4.
    CHostBlock(const std::string& strRecipe, const std::vector<std::uint8_t>& cell, int nCellWidth, int nCellHeight,
               int nWidth, int nHeight);
    ~CHostBlock();

    /// For one call.
    CConvParam For(const std::uint8_t* pPixels) const;

private:
    int m_nWidth;
    int m_nHeight;
    std::unique_ptr<const narvo::InspectionPlan> m_pPlan;
};

} // namespace bench
