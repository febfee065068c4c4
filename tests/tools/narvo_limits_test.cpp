// SPDX-License-Identifier: MIT
// What an unlucky user or a hostile file can make the program take: memory, lanes, and what it says when there is none.
#include "tools/run_narvo.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace narvo::test
{

namespace
{

using testing::HasSubstr;

/// RunNarvo with so many kilobytes of address space.
Outcome RunWithin(const TestFolder& folder, int kilobytes, std::initializer_list<std::string> arguments)
{
    std::string command = "cd '" + folder.Path().string() + "' && ulimit -v " + std::to_string(kilobytes) +
                          " && exec '" NARVO_PROGRAM "'";
    for (const std::string& argument : arguments)
        command += " '" + argument + "'";
    command = "(" + command + ") > out.txt 2> error.txt";
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadText(folder / "out.txt"), ReadText(folder / "error.txt")};
}

/// The least address space in which the program starts, in steps.
int LeastKilobytes(const TestFolder& folder)
{
    int kilobytes = 16000;
    while (RunWithin(folder, kilobytes, {"--version"}).code != 0)
        kilobytes += 16000;
    return kilobytes;
}

TEST(NarvoLimits, RoomForBlobsIsTakenWhenItIsNeeded)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    nlohmann::json document = nlohmann::json::parse(ReadText(folder / "panel.recipe.json"));
    const int kilobytes = LeastKilobytes(folder) + 700000;
    ASSERT_EQ(RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "-o", "small"}).code, 0);
    document["max_blobs"] = 1000000;
    std::ofstream(folder / "large.json") << document;
    const Outcome outcome = RunWithin(folder, kilobytes, {"inspect", "panel.png", "-r", "large.json", "-o", "large"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_EQ(ReadText(folder / "large.blobs.csv"), ReadText(folder / "small.blobs.csv"));
}

TEST(NarvoLimits, MaxPixelsHoldsForEveryCommandThatReadsImages)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    for (const auto& line : std::initializer_list<std::initializer_list<std::string>>{
             {"inspect", "panel.png", "-r", "panel.recipe.json", "--max-pixels", "327679"},
             {"pitch", "panel.png", "--max-pixels", "327679"},
             {"field", "panel.png", "-o", "even.png", "--max-pixels", "327679"},
             {"learn", "panel.png", "-o", "learnt", "--max-pixels", "327679"},
             {"golden", "panel.png", "panel.png", "--max-pixels", "327679"},
             {"explain", "panel.png", "-r", "panel.recipe.json", "--at", "1,1", "--max-pixels", "327679"}})
    {
        const Outcome outcome = RunNarvo(folder, line);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_THAT(outcome.error, HasSubstr("narvo: image panel.png: 512 by 640 pixels; allowed: at most 327679 "
                                             "pixels, unless max-pixels allows more\n"));
    }
    EXPECT_EQ(RunNarvo(folder, {"pitch", "panel.png", "--max-pixels", "327680"}).code, 0);
    EXPECT_EQ(RunNarvo(folder, {"pitch", "panel.png", "--max-pixels", "0"}).code, 2);
    EXPECT_EQ(RunNarvo(folder, {"pitch", "panel.png", "--max-pixels", "1073741825"}).code, 2);
}

TEST(NarvoLimits, NumbersThatAreNoneAreRefused)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    for (const char* seconds : {"nan", "inf", "0", "601", "1x"})
        EXPECT_THAT(RunNarvo(folder, {"bench", "panel.png", "-r", "panel.recipe.json", "--seconds", seconds}).error,
                    HasSubstr(std::string("--seconds: ") + seconds + "; allowed: 0.01 to 600 seconds"));
    for (const char* command : {"synth", "board", "golden"})
        for (const char* seed : {"-1", "9223372036854775808", "18446744073709551616", "1.5", "x"})
        {
            const Outcome outcome = RunNarvo(folder, {command, std::string("--seed=") + seed});
            EXPECT_EQ(outcome.code, 2);
            EXPECT_THAT(outcome.error, HasSubstr(std::string("--seed: ") + seed + "; allowed: whole number, 0 to 9"));
        }
    for (const char* place : {"1,2,3", "1", "1,", ",2", "1.5,2", "1,2x", "99999999999,1"})
        EXPECT_THAT(RunNarvo(folder, {"explain", "panel.png", "-r", "panel.recipe.json", "--at", place}).error,
                    HasSubstr(std::string("narvo: --at: ") + place + "; allowed: x,y in whole pixels\n"));
}

TEST(NarvoLimits, ListsMayBeginWithAByteOrderMark)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    std::ofstream(folder / "list.txt") << "\xef\xbb\xbfpanel.png\r\n";
    EXPECT_EQ(RunNarvo(folder, {"inspect", "-l", "list.txt", "-r", "panel.recipe.json"}).code, 0);
    std::ofstream(folder / "wide.txt") << "\xff\xfep" << std::string("\0a\0", 3);
    const Outcome wide = RunNarvo(folder, {"inspect", "-l", "wide.txt", "-r", "panel.recipe.json", "-o", "wide"});
    EXPECT_EQ(wide.code, 2);
    EXPECT_THAT(wide.error, HasSubstr("list wide.txt: text in UTF-16; allowed: "));
}

TEST(NarvoLimits, TruthThatIsNotThereIsNamed)
{
    const TestFolder folder;
    const Outcome outcome = RunNarvo(folder, {"golden", "-t", "nowhere"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, testing::StartsWith("narvo: truth nowhere: no such file or folder; allowed: "));
}

} // namespace

} // namespace narvo::test
