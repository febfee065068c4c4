// SPDX-License-Identifier: MIT
// Names and keys from outside: what a terminal gets to see of them, and how they stand in a table.
#include "host/foreign_text.h"

#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

using namespace std::string_literals;

TEST(ForeignText, PlainTextStays)
{
    for (const char* text : {"", "panel.png", "C:\\new", "Gr\u00f6\u00dfe 5 \u00b5m", "\u677f\U0001F50D", "a  b"})
        EXPECT_EQ(Printable(text), text);
}

TEST(ForeignText, ControlCharactersAreWrittenOut)
{
    EXPECT_EQ(Printable("a\nb\tc\rd"), "a\\nb\\tc\\rd");
    EXPECT_EQ(Printable("\x1b[2J\a\x7f"), "\\x1b[2J\\x07\\x7f");
    EXPECT_EQ(Printable("a\0b"s), "a\\x00b");
    // C1 controls, of which U+009B begins an escape sequence as well, turns of the writing direction, other line ends.
    EXPECT_EQ(Printable("\u009b31m\u202egnp.\u2066\u2028"), "\\u009b31m\\u202egnp.\\u2066\\u2028");
}

TEST(ForeignText, BytesThatAreNoUtf8AreWrittenOut)
{
    EXPECT_EQ(Printable("a\xff z"), "a\\xff z");
    EXPECT_EQ(Printable("\xc3"), "\\xc3");                   // cut
    EXPECT_EQ(Printable("\xc0\x9b"), "\\xc0\\x9b");          // longer than it has to be
    EXPECT_EQ(Printable("\xed\xa0\x80"), "\\xed\\xa0\\x80"); // half of a surrogate pair
    EXPECT_EQ(Printable("\xf5\x80\x80\x80"), "\\xf5\\x80\\x80\\x80");
}

TEST(ForeignText, LinesKeepTheirEndsOnly)
{
    EXPECT_EQ(PrintableLines("a\n\x1b b\r\n"), "a\n\\x1b b\\r\n");
}

TEST(ForeignText, ProblemIsOneLineThatATerminalShows)
{
    const Problem problem = {"image a\nb.png", "\x1b[31m", "x"};
    EXPECT_EQ(problem.Text(), "image a\\nb.png: \\x1b[31m; allowed: x");
    EXPECT_STREQ(HostError({problem}).what(), "image a\\nb.png: \\x1b[31m; allowed: x");
}

TEST(ForeignText, LongFieldsAndValuesAreShownByBeginningAndEnd)
{
    EXPECT_EQ(Shortened(std::string(1000, 'a')), std::string(1000, 'a'));
    EXPECT_EQ(Shortened(std::string(500, 'a') + std::string(501, 'b')),
              std::string(500, 'a') + std::string(166, 'b') + "..." + std::string(333, 'b'));
    // No letter is cut.
    std::string letters;
    for (int i = 0; i < 600; ++i)
        letters += "\u00e4";
    for (const char* before : {"", "x"})
        EXPECT_EQ(Printable(Shortened(before + letters)), Shortened(before + letters));
    const Problem problem = {std::string(5000, 'f'), std::string(std::size_t{1} << 20U, 'v'), "x"};
    EXPECT_LT(problem.Text().size(), 2100U);
}

TEST(ForeignText, CellsAreQuotedWhereTheyHaveToBe)
{
    EXPECT_EQ(TableCell("panel 1.png"), "panel 1.png");
    EXPECT_EQ(TableCell("a,b"), "\"a,b\"");
    EXPECT_EQ(TableCell("a\"b"), "\"a\"\"b\"");
    EXPECT_EQ(TableCell("a\nb"), "\"a\nb\"");
    EXPECT_EQ(TableCell(""), "");
}

TEST(ForeignText, CellsThatSpreadsheetsTakeForFormulasAreGuarded)
{
    for (const char* text : {"=1+1", "+1", "-1", "@sum", "'=1", "\tx"})
        EXPECT_EQ(TableCell(text), "'"s + text);
    EXPECT_EQ(TableCell("=a,b"), "\"'=a,b\"");
    EXPECT_EQ(TableCell("\r=1"), "\"'\r=1\"");
    EXPECT_EQ(TableCell("a=1"), "a=1");
}

} // namespace

} // namespace narvo::test
