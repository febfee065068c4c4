// SPDX-License-Identifier: MIT
// Splitting of the text, and numbers.
#include "host/exchange/klarf_tokens.h"

#include <charconv>
#include <cmath>
#include <utility>

#include "host/problem.h"

namespace narvo
{

namespace
{

constexpr std::string_view blanks = " \t\r\n,";
constexpr std::string_view signs = ";{}";

} // namespace

KlarfTokens::KlarfTokens(std::string file, std::string_view text) : m_file(std::move(file))
{
    int line = 1;
    for (std::size_t place = 0; place < text.size();)
    {
        const char sign = text[place];
        if (blanks.find(sign) != std::string_view::npos)
        {
            line += sign == '\n';
            ++place;
        }
        else if (signs.find(sign) != std::string_view::npos)
            m_tokens.push_back({text.substr(place++, 1), line, false});
        else if (sign == '"')
        {
            const std::size_t end = text.find('"', place + 1);
            const std::size_t lineEnd = text.find('\n', place);
            if (end == std::string_view::npos || end > lineEnd)
                Refuse({text.substr(place, 40), line, false}, "a text that is closed by a quote in its line");
            m_tokens.push_back({text.substr(place + 1, end - place - 1), line, true});
            place = end + 1;
        }
        else
        {
            std::size_t end = place;
            while (end < text.size() && blanks.find(text[end]) == std::string_view::npos &&
                   signs.find(text[end]) == std::string_view::npos && text[end] != '"')
                ++end;
            m_tokens.push_back({text.substr(place, end - place), line, false});
            place = end;
        }
    }
}

const KlarfToken& KlarfTokens::Peek(const char* wanted) const
{
    if (AtEnd())
        Refuse({"the end of the file", m_tokens.empty() ? 1 : m_tokens.back().line, false}, wanted);
    return m_tokens[m_next];
}

const KlarfToken& KlarfTokens::Take(const char* wanted)
{
    const KlarfToken& token = Peek(wanted);
    ++m_next;
    return token;
}

void KlarfTokens::Expect(char sign)
{
    const char wanted[] = {sign, '\0'};
    if (const KlarfToken& token = Take(wanted); !token.Is(sign))
        Refuse(token, wanted);
}

int KlarfTokens::TakeCount(const char* wanted, int low, int high)
{
    return WholeNumberOf(Take(wanted), wanted, low, high);
}

std::vector<KlarfToken> KlarfTokens::TakeUntil(char sign)
{
    const char wanted[] = {sign, '\0'};
    std::vector<KlarfToken> taken;
    while (!Peek(wanted).Is(sign))
        taken.push_back(Take(wanted));
    Expect(sign);
    return taken;
}

void KlarfTokens::Refuse(const KlarfToken& token, const std::string& wanted) const
{
    constexpr std::size_t nLongest = 60;
    throw HostError(
        {{m_file + ", line " + std::to_string(token.line), std::string(token.text.substr(0, nLongest)), wanted}});
}

double KlarfTokens::NumberOf(const KlarfToken& token, const char* wanted) const
{
    double number = 0.0;
    const char* const first = token.text.data() + (token.text.starts_with('+') ? 1 : 0);
    const char* const last = token.text.data() + token.text.size();
    const auto [end, error] = std::from_chars(first, last, number);
    if (token.quoted || error != std::errc() || end != last || !std::isfinite(number))
        Refuse(token, wanted);
    return number;
}

int KlarfTokens::WholeNumberOf(const KlarfToken& token, const char* wanted, int low, int high) const
{
    const double number = NumberOf(token, wanted);
    if (number != std::floor(number) || number < low || number > high)
        Refuse(token,
               std::string(wanted) + ", a whole number from " + std::to_string(low) + " to " + std::to_string(high));
    return static_cast<int>(number);
}

} // namespace narvo
