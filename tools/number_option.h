// SPDX-License-Identifier: MIT
// Numbers on the command line that the parser's own checks let pass: not-a-number, and whole numbers that it cuts to
// what fits.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace narvo::tools
{

/// A real number in a range; `unit` is for the message.
CLI::Validator RealRange(double low, double high, const std::string& unit);

/// A seed of random numbers, 0 to 9223372036854775807.
CLI::Validator SeedRange();

} // namespace narvo::tools
