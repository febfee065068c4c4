// SPDX-License-Identifier: MIT
// `narvo lot`: the statistics of runs in a store.
#include <algorithm>
#include <fstream>
#include <string>

#include <nlohmann/json.hpp>

#include "host/host_test_help.h"
#include "host/store/result_store.h"
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;

#ifdef NARVO_WITH_SQLITE

/// Twelve copies of one panel with its eight defects, and one that is no image.
void MakeRuns(const TestFolder& folder)
{
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    std::filesystem::create_directory(folder / "lot");
    for (int i = 10; i < 22; ++i)
        std::filesystem::copy_file(folder / "panel.png", folder / ("lot/p" + std::to_string(i) + ".png"));
    std::ofstream(folder / "lot/broken.png") << "no image";
    for (const char* run : {"lot7", "lot8"})
        ASSERT_EQ(RunNarvo(folder, {"inspect", "lot", "-r", "panel.recipe.json", "--store", "s.sqlite", "--run", run,
                                    "-o", run, "-q"})
                      .code,
                  7);
}

TEST(NarvoLot, FindsTheDefectsThatAllImagesHave)
{
    const TestFolder folder;
    MakeRuns(folder);
    // The cell is known from the store alone.
    std::filesystem::remove(folder / "panel.recipe.json");
    std::filesystem::remove(folder / "panel.zones.png");
    const Outcome lot = RunNarvo(folder, {"lot", "s.sqlite", "--json", "lot.json"});
    EXPECT_EQ(lot.code, 0) << lot.error;
    EXPECT_EQ(lot.error, "");
    EXPECT_THAT(lot.out, HasSubstr("lot: lot8\n13 images, 96 defects; 12 of one size and its regions, 1 refused\n"
                                   "8 places that come back ("));
    EXPECT_THAT(lot.out, HasSubstr(": 12 images, by chance 0."));
    const nlohmann::json saved = nlohmann::json::parse(ReadText(folder / "lot.json"));
    EXPECT_EQ(saved["tests"]["place"]["found"], 8);
    EXPECT_EQ(saved["tests"]["cell"]["notes"], nlohmann::json::array()) << saved["tests"]["cell"]["notes"];
    EXPECT_GT(saved["tests"]["cell"]["windows"], 1);
    const nlohmann::json truth = nlohmann::json::parse(ReadText(folder / "panel.truth.json"));
    for (const nlohmann::json& place : saved["tests"]["place"]["places"])
    {
        const auto& defects = truth["defects"];
        EXPECT_TRUE(std::any_of(defects.begin(), defects.end(),
                                [&](const nlohmann::json& defect)
                                {
                                    return place["box"]["left"] >= defect["left"].get<int>() - 3 &&
                                           place["box"]["left"] < defect["right"].get<int>() + 3 &&
                                           place["box"]["top"] >= defect["top"].get<int>() - 3 &&
                                           place["box"]["top"] < defect["bottom"].get<int>() + 3;
                                }))
            << place;
    }
    EXPECT_EQ(RunNarvo(folder, {"lot", "s.sqlite", "-q", "--json", "again.json"}).out, "");
    EXPECT_EQ(ReadText(folder / "again.json"), ReadText(folder / "lot.json"));
}

TEST(NarvoLot, IsPartOfTheReportOfARun)
{
    const TestFolder folder;
    MakeRuns(folder);
    ASSERT_EQ(RunNarvo(folder, {"report", "--store", "s.sqlite", "--run", "lot7", "-o", "lot.html", "-q"}).code, 0);
    const std::string page = ReadText(folder / "lot.html");
    EXPECT_THAT(page, HasSubstr("\"comparesImages\":true"));
    EXPECT_THAT(page, HasSubstr("\"findings\":[[\"place\",\"x "));
    EXPECT_THAT(page, HasSubstr("\"12 images\",\"0."));
    // One image has nothing in common with others.
    ASSERT_EQ(RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "--store", "s.sqlite", "-q"}).code,
              0);
    ASSERT_EQ(RunNarvo(folder, {"report", "--store", "s.sqlite", "-o", "one.html", "-q"}).code, 0);
    EXPECT_THAT(ReadText(folder / "one.html"), HasSubstr("\"comparesImages\":false,\"findings\":[]"));
}

TEST(NarvoLot, TakesSeveralRuns)
{
    const TestFolder folder;
    MakeRuns(folder);
    for (const std::vector<std::string>& choice :
         {std::vector<std::string>{"--run", "lot7", "--run", "lot8"}, std::vector<std::string>{"--all"}})
    {
        std::vector<std::string> command = {"lot", "s.sqlite", "--distance", "2", "--risk", "0.001", "--baseline", "5"};
        command.insert(command.end(), choice.begin(), choice.end());
        const Outcome lot = RunNarvo(folder, command);
        EXPECT_EQ(lot.code, 0) << lot.error;
        EXPECT_THAT(lot.out, HasSubstr("lot: lot7, lot8\n26 images, 192 defects; 24 of one size"));
        EXPECT_THAT(lot.out, HasSubstr("8 places that come back ("));
    }
}

TEST(NarvoLot, SaysWhatIsWrong)
{
    const TestFolder folder;
    MakeRuns(folder);
    std::ofstream(folder / "garbage") << std::string(4000, 'x');
    const auto refused = [&](const std::vector<std::string>& more, const std::string& text)
    {
        std::vector<std::string> command = {"lot"};
        command.insert(command.end(), more.begin(), more.end());
        const Outcome lot = RunNarvo(folder, command);
        EXPECT_EQ(lot.code, 2) << text;
        EXPECT_THAT(lot.error, HasSubstr(text));
    };
    refused({}, "store is required");
    refused({"none.sqlite"}, "none.sqlite");
    refused({"garbage"}, "garbage");
    refused({"s.sqlite", "--run", "lot9"}, "--run: lot9; allowed: one of the store's runs: lot7, lot8");
    refused({"s.sqlite", "--run", "lot7", "--all"}, "--run excludes --all");
    refused({"s.sqlite", "--distance", "0"}, "--distance");
    refused({"s.sqlite", "--distance", "65"}, "--distance");
    refused({"s.sqlite", "--risk", "0.2"}, "--risk");
    refused({"s.sqlite", "--risk", "nan"}, "--risk");
    refused({"s.sqlite", "--baseline", "1"}, "--baseline");
    refused({"s.sqlite", "--json", "s.sqlite"}, "s.sqlite");
    EXPECT_EQ(RunNarvo(folder, {"lot", "s.sqlite", "--json", "no/such/folder/f"}).code, 3);
    // Another recipe's run is no part of the lot.
    EXPECT_EQ(RunNarvo(folder, {"golden", "panel.png", "lot/p10.png", "lot/p11.png", "--store", "s.sqlite", "--run",
                                "board", "-q"})
                  .code,
              0);
    refused({"s.sqlite", "--run", "lot7", "--run", "board"}, "run board: made by another recipe than lot7");
    const Outcome board = RunNarvo(folder, {"lot", "s.sqlite"});
    EXPECT_EQ(board.code, 0) << board.error;
    EXPECT_THAT(board.out, HasSubstr("not tested: the store's recipe is none that has a pitch"));
}

#endif

} // namespace

#ifndef NARVO_WITH_SQLITE

TEST(NarvoLot, SaysThatItIsNotBuiltIn)
{
    const TestFolder folder;
    const Outcome run = RunNarvo(folder, {"lot", "s.sqlite"});
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.error, HasSubstr("libsqlite3-dev"));
}

#endif

} // namespace narvo::test
