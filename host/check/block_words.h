// SPDX-License-Identifier: MIT
// The parts of a block's check, each in words.
#pragma once

#include <string>
#include <vector>

#include "host/check/block_check.h"
#include "narvoassem/trace/block_trace.h"

namespace narvo
{

/// The reasons of a refusal, in the order of the engine's checks; `vertical` compares along y.
std::vector<Problem> WordRefusals(const CConvParam& param, engine::CRefusals refusals, bool vertical);
/// With what it may leave its tables: records of three ints are searched as if they had two.
std::vector<std::string> WordHazards(const engine::CBlockTrace& trace);
/// What a comparison that takes place does not look at.
std::vector<std::string> WordBlindSpots(const CConvParam& given, const engine::CBlockTrace& trace);
/// The first column of the region that is not looked at; its right side where there is none.
int UnseenFrom(const engine::CBlockTrace& trace);
/// What is set and not read.
std::vector<Problem> WordIgnored(const engine::CBlockTrace& trace);
/// What is read.
std::vector<TableRead> ListReads(const engine::CBlockTrace& trace);

} // namespace narvo
