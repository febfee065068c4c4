// SPDX-License-Identifier: MIT
// Where each field of the engine's parameter block comes from: the recipe's fields that set it, or why it has none.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace narvo
{

struct BlockField
{
    std::string_view name;   ///< in the parameter block
    std::string_view fields; ///< of the recipe, space separated; empty where the host layer sets it by itself
    std::string_view how;    ///< what becomes of them, or why there is none
};

/// All fields but the reserved ones, in the order of the block.
std::span<const BlockField> BlockFields();

/// One line for each field of the block.
std::string DescribeBlockFields();

} // namespace narvo
