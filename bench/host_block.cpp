// SPDX-License-Identifier: MIT
// Parameter blocks by the host layer's own plans.
#include "bench/host_block.h"

#include <nlohmann/json.hpp>

#include "host/inspect/inspection_plan.h"
#include "host/recipe/recipe_file.h"

namespace bench
{

CHostBlock::CHostBlock(const std::string& strRecipe, const std::vector<std::uint8_t>& cell, int nCellWidth,
                       int nCellHeight, int nWidth, int nHeight)
    : m_nWidth(nWidth), m_nHeight(nHeight)
{
    narvo::RecipeImages images;
    images.zoneImage = narvo::GreyImage(cell.data(), nCellWidth, nCellHeight, nCellWidth);
    m_pPlan = std::make_unique<const narvo::InspectionPlan>(
        narvo::ParseRecipe(narvo::ParseJsonText(strRecipe, "recipe"), ".", images), nWidth, nHeight);
}

CHostBlock::~CHostBlock() = default;

CConvParam CHostBlock::For(const std::uint8_t* pPixels) const
{
    return m_pPlan->BlockFor(narvo::GreyView(pPixels, m_nWidth, m_nHeight));
}

} // namespace bench
