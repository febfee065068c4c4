// SPDX-License-Identifier: MIT
// Validators of numbers.
#include "tools/number_option.h"

#include <charconv>
#include <cstdint>

#include "host/problem.h"

namespace narvo::tools
{

namespace
{

/// The number that is the whole of a text; nothing where it is none or does not fit.
template <typename Number>
bool Read(const std::string& text, Number& number)
{
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end;
}

} // namespace

CLI::Validator RealRange(double low, double high, const std::string& unit)
{
    const std::string range = FormatNumber(low) + " to " + FormatNumber(high) + " " + unit;
    return {[=](std::string& text)
            {
                double number = 0.0;
                // Not-a-number is neither below nor above anything.
                const bool inside = Read(text, number) && number >= low && number <= high;
                return inside ? std::string() : text + "; allowed: " + range;
            },
            "in [" + FormatNumber(low) + " - " + FormatNumber(high) + "]"};
}

CLI::Validator SeedRange()
{
    return {[](std::string& text)
            {
                std::int64_t number = 0;
                const bool inside = Read(text, number) && number >= 0;
                return inside ? std::string() : text + "; allowed: whole number, 0 to 9223372036854775807";
            },
            "in [0 - 9223372036854775807]"};
}

} // namespace narvo::tools
