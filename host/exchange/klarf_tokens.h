// SPDX-License-Identifier: MIT
// The words of a KLARF file, for the reader.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace narvo
{

struct KlarfToken
{
    std::string_view text; ///< without the quotes
    int line = 1;
    bool quoted = false;

    /// One of the signs ; { } and comma, unless quoted.
    bool Is(char sign) const { return !quoted && text.size() == 1 && text[0] == sign; }
    bool Is(std::string_view word) const { return !quoted && text == word; }
};

/// Goes through the tokens, whose text stays that of the file.
class KlarfTokens
{
public:
    /// `file` names it in problems; commas separate tokens. @throws HostError where a quote is not closed
    KlarfTokens(std::string file, std::string_view text);

    bool AtEnd() const { return m_next == m_tokens.size(); }
    /// @throws HostError at the end
    const KlarfToken& Peek(const char* wanted) const;
    const KlarfToken& Take(const char* wanted);
    /// Takes that sign. @throws HostError where another token stands
    void Expect(char sign);
    /// A whole number from `low` to `high`. @throws HostError
    int TakeCount(const char* wanted, int low, int high);

    /// Takes tokens until the sign, which is taken too.
    std::vector<KlarfToken> TakeUntil(char sign);

    /// @throws HostError about a token
    [[noreturn]] void Refuse(const KlarfToken& token, const std::string& wanted) const;
    double NumberOf(const KlarfToken& token, const char* wanted) const;
    int WholeNumberOf(const KlarfToken& token, const char* wanted, int low, int high) const;

private:
    std::string m_file;
    std::vector<KlarfToken> m_tokens;
    std::size_t m_next = 0;
};

} // namespace narvo
