// SPDX-License-Identifier: MIT
// Help, version, exit codes of a bad command line, and the reference of recipe fields.
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;
using testing::StartsWith;

TEST(NarvoUsage, HelpNamesCommandsAndExitCodes)
{
    const TestFolder folder;
    const Outcome outcome = RunNarvo(folder, {"--help"});
    EXPECT_EQ(outcome.code, 0);
    for (const char* text :
         {"inspect", "pitch", "synth", "recipe", "Exit codes:", "  0  ", "  1  ", "  2  ", "  3  ", "  4  ", "  5  "})
        EXPECT_THAT(outcome.out, HasSubstr(text));
}

TEST(NarvoUsage, HelpOfACommandNamesItsOptions)
{
    const TestFolder folder;
    const Outcome outcome = RunNarvo(folder, {"inspect", "--help"});
    EXPECT_EQ(outcome.code, 0);
    for (const char* text : {"--recipe", "--truth", "--output", "--quiet"})
        EXPECT_THAT(outcome.out, HasSubstr(text));
}

TEST(NarvoUsage, VersionIsPrinted)
{
    const TestFolder folder;
    const Outcome outcome = RunNarvo(folder, {"--version"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_TRUE(testing::Matches(testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+\n"))(outcome.out)) << outcome.out;
}

TEST(NarvoUsage, BadCommandLinesExitWithTwo)
{
    const TestFolder folder;
    for (const auto& arguments : std::initializer_list<std::initializer_list<std::string>>{{},
                                                                                           {"explode"},
                                                                                           {"inspect"},
                                                                                           {"inspect", "a.png"},
                                                                                           {"synth", "--width", "wide"},
                                                                                           {"synth", "--depth", "3"}})
    {
        const Outcome outcome = RunNarvo(folder, arguments);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_NE(outcome.error, "");
        EXPECT_EQ(outcome.out, "");
    }
}

TEST(NarvoUsage, RecipeListsFieldsWithRangeAndDefault)
{
    const TestFolder folder;
    const Outcome outcome = RunNarvo(folder, {"recipe"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.out, HasSubstr("pitch.x: 1 to 16384 pixels; required; modes zone, pixel, float, "
                                       "float/trapezium, float/polygon, asg; period of the pattern along x\n"));
    EXPECT_THAT(outcome.out, HasSubstr("grey_limit: whole number, 1 to 255 grey levels; default 255; modes "));
}

} // namespace

} // namespace narvo::test
