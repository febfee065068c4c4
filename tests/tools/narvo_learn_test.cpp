// SPDX-License-Identifier: MIT
// narvo learn and narvo cloth as a user runs them: images made, a recipe learnt, and further images inspected by it.
#include <fstream>

#include "host/image/grey_image.h"
#include "host/recipe/recipe_file.h"
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;
using testing::Not;

/// Four good images and two with defects in the folder `name`, 640 by 192 pixels.
Outcome MakeSmallCloth(const TestFolder& folder, const char* name, const char* seed, const char* noise = "4")
{
    return RunNarvo(folder, {"cloth", "--good", "4", "--bad", "2", "--width", "640", "--height", "192", "--margin",
                             "80", "--noise", noise, "--defects", "2", "--seed", seed, "--output", name});
}

/// The images of the folder `from` again in `to`, as portable anymaps of this kind: "P5" of 16 bits, "P6" of 8. `pixel`
/// appends the bytes of each pixel.
template <typename AppendPixel>
void Rewrite(const TestFolder& folder, const char* from, const char* to, const char* ending, const char* kind,
             AppendPixel pixel)
{
    std::filesystem::create_directory(folder / to);
    for (const auto& entry : std::filesystem::directory_iterator(folder / from))
    {
        const GreyImage image = LoadGreyImage(entry.path());
        std::string bytes = std::string(kind) + '\n' + std::to_string(image.Width()) + ' ' +
                            std::to_string(image.Height()) + (kind[1] == '5' ? "\n65535\n" : "\n255\n");
        for (int y = 0; y < image.Height(); ++y)
            for (int x = 0; x < image.Width(); ++x)
                pixel(image.Row(y)[x], bytes);
        std::ofstream(folder / to / (entry.path().stem().string() + ending), std::ios::binary) << bytes;
    }
}

std::size_t CountLines(const std::string& text)
{
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(NarvoCloth, SameSeedMakesTheSameImagesAndMasksShowTheDefects)
{
    const TestFolder folder;
    const Outcome made = MakeSmallCloth(folder, "a", "5");
    ASSERT_EQ(made.code, 0) << made.error;
    EXPECT_THAT(made.out, HasSubstr("4 good images in a/good, 2 with defects in a/defective, their masks in a/mask"));
    ASSERT_EQ(MakeSmallCloth(folder, "b", "5").code, 0);
    ASSERT_EQ(MakeSmallCloth(folder, "c", "6").code, 0);
    for (const char* file : {"good/001.png", "good/004.png", "defective/002.png", "mask/002.png", "truth/002.json"})
    {
        EXPECT_FALSE(ReadText(folder / "a" / file).empty()) << file;
        EXPECT_EQ(ReadText(folder / "a" / file), ReadText(folder / "b" / file)) << file;
    }
    EXPECT_NE(ReadText(folder / "a/good/001.png"), ReadText(folder / "c/good/001.png"));
    EXPECT_FALSE(std::filesystem::exists(folder / "a/good/005.png"));
    EXPECT_FALSE(std::filesystem::exists(folder / "a/mask/003.png"));
    const GreyImage mask = LoadGreyImage(folder / "a/mask/001.png");
    const nlohmann::json truth = nlohmann::json::parse(ReadText(folder / "a/truth/001.json"));
    ASSERT_EQ(truth["defects"].size(), 2U);
    int outside = 0;
    int inside = 0;
    for (int y = 0; y < mask.Height(); ++y)
        for (int x = 0; x < mask.Width(); ++x)
            if (mask.Row(y)[x] != 0)
            {
                bool covered = false;
                for (const nlohmann::json& defect : truth["defects"])
                    covered = covered || (x >= defect["left"] && x < defect["right"] && y >= defect["top"] &&
                                          y < defect["bottom"]);
                ++(covered ? inside : outside);
            }
    EXPECT_EQ(outside, 0);
    EXPECT_GT(inside, 100);
}

TEST(NarvoCloth, NumbersOutOfRangeAreNamed)
{
    const TestFolder folder;
    const Outcome outcome = RunNarvo(folder, {"cloth", "--width", "100", "--pitch-x", "3", "--output", "x"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("--width: 100; allowed: 128 to 8192 pixels"));
    EXPECT_THAT(outcome.error, HasSubstr("--pitch-x: 3; allowed: 4 to 40 pixels"));
    EXPECT_FALSE(std::filesystem::exists(folder / "x"));
}

TEST(NarvoLearn, RecipeFromAFolderInspectsFurtherImages)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallCloth(folder, "cloth", "1").code, 0);
    ASSERT_EQ(MakeSmallCloth(folder, "later", "2").code, 0);
    const Outcome both = RunNarvo(folder, {"learn", "cloth/good", "-o", "both"});
    ASSERT_EQ(both.code, 0) << both.error;
    EXPECT_THAT(both.out, HasSubstr("- Of spots planted in good images"));
    EXPECT_THAT(both.out, HasSubstr("texture mode, without a period found"));
    EXPECT_THAT(both.out, HasSubstr("float mode, windows of 2 by 2, vertically at"));
    const Outcome outcome = RunNarvo(folder, {"learn", "cloth/good", "--mode", "texture", "--bad", "cloth/defective",
                                              "--name", "weave", "-o", "learnt"});
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("learning from 4 images"));
    EXPECT_THAT(outcome.out, HasSubstr("chosen: texture mode, without a period"));
    EXPECT_THAT(outcome.out, HasSubstr("2 of 2 images with defects have blobs.\n"));
    EXPECT_THAT(outcome.error, HasSubstr("narvo: warning: Learnt from 4 images; take 6 or more"));
    const std::string page = ReadText(folder / "learnt.html");
    EXPECT_THAT(page, HasSubstr("Recipe learnt from 4 good images"));
    EXPECT_THAT(page, HasSubstr("id=\"spots\""));
    EXPECT_THAT(page, HasSubstr("cloth/good/003.png"));
    EXPECT_THAT(page, HasSubstr("2 of 2 images with defects have blobs."));
    EXPECT_THAT(page, Not(HasSubstr("<script")));

    const auto blobsIn = [&](const char* images, const char* output)
    {
        const Outcome inspected = RunNarvo(folder, {"inspect", images, "-r", "learnt.recipe.json", "-o", output});
        EXPECT_EQ(inspected.code, 0) << inspected.error;
        return CountLines(ReadText(folder / (std::string(output) + ".csv"))) - 1;
    };
    EXPECT_EQ(blobsIn("cloth/good", "same"), 0U);
    EXPECT_LE(blobsIn("later/good", "good"), 1U);
    EXPECT_GE(blobsIn("later/defective", "bad"), 2U);
    EXPECT_THAT(ReadText(folder / "bad.csv"), HasSubstr(",scale,"));
}

TEST(NarvoLearn, TruthSaysWhatIsFoundAndDecidesBetweenWaysOfInspecting)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallCloth(folder, "cloth", "1").code, 0);
    const Outcome masks =
        RunNarvo(folder, {"learn", "cloth/good", "--bad", "cloth/defective", "--truth", "cloth/mask", "-o", "masks"});
    ASSERT_EQ(masks.code, 0) << masks.error;
    EXPECT_THAT(masks.out, testing::ContainsRegex("- Of [0-9]+ known defects, .* found [0-9]+, .* found [0-9]+; "));
    EXPECT_THAT(masks.out,
                testing::ContainsRegex("have blobs. Of [0-9]+ known defects, [1-9][0-9]* found; [0-9]+ blob"));
    EXPECT_THAT(ReadText(folder / "masks.html"), testing::ContainsRegex("<th>of [0-9]+ known defects</th>"));
    EXPECT_THAT(ReadText(folder / "masks.html"), HasSubstr("<th>false blobs</th></tr>"));

    std::ofstream(folder / "none.txt") << "";
    std::ofstream(folder / "corner.txt") << "0 0 4 4 corner\n";
    const Outcome files = RunNarvo(folder, {"learn", "cloth/good", "--mode", "texture", "--bad", "cloth/defective",
                                            "--truth", "none.txt", "--truth", "corner.txt", "-o", "files"});
    ASSERT_EQ(files.code, 0) << files.error;
    EXPECT_THAT(files.out, HasSubstr("2 of 2 images with defects have blobs. Of 1 known defect, 0 found;"));

    const auto expect = [&](const std::vector<std::string>& more, const char* message)
    {
        std::vector<std::string> arguments = {"learn", "cloth/good", "--mode", "texture", "-o", "x"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = RunNarvo(folder, arguments);
        EXPECT_EQ(outcome.code, 2) << message;
        EXPECT_THAT(outcome.error, HasSubstr(message));
        EXPECT_FALSE(std::filesystem::exists(folder / "x.recipe.json"));
    };
    expect({"--truth", "none.txt"}, "--bad");
    expect({"--bad", "cloth/defective", "--truth", "none.txt"},
           "--truth: 1 file; allowed: a folder, or 2 files, one for each image with defects");
    std::filesystem::create_directory(folder / "empty");
    expect({"--bad", "cloth/defective", "--truth", "empty"}, "nothing for image cloth/defective/");
}

TEST(NarvoLearn, TwelveBitsInSixteenAreReadOverTheirRangeAndTheRecipeKeepsIt)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallCloth(folder, "cloth", "1").code, 0);
    Rewrite(folder, "cloth/good", "deep", ".pgm", "P5",
            [](int grey, std::string& bytes)
            {
                bytes += static_cast<char>(grey * 16 >> 8);
                bytes += static_cast<char>(grey * 16 & 255);
            });
    const Outcome outcome = RunNarvo(folder, {"learn", "deep", "--mode", "texture", "-o", "learnt"});
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr(": they are read over 0 to 4095, which the recipe keeps.\n"));
    EXPECT_THAT(outcome.error, Not(HasSubstr("16")));
    EXPECT_EQ(LoadRecipe(folder / "learnt.recipe.json")->levelHigh, 4095);
    const Outcome given = RunNarvo(folder, {"learn", "deep", "--mode", "texture", "--levels", "0:3000", "-o", "given"});
    ASSERT_EQ(given.code, 0) << given.error;
    EXPECT_THAT(given.out, Not(HasSubstr("which the recipe keeps")));
    EXPECT_EQ(LoadRecipe(folder / "given.recipe.json")->levelHigh, 3000);
}

TEST(NarvoLearn, OfColoursTheChannelThatShowsMoreKnownDefectsIsTaken)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallCloth(folder, "cloth", "1").code, 0);
    std::uint32_t state = 1;
    const auto noisy = [&] { return static_cast<char>((state = state * 1664525U + 1013904223U) >> 24); };
    const auto green = [&](int grey, std::string& bytes)
    {
        bytes += noisy();
        bytes += static_cast<char>(grey);
        bytes += noisy();
    };
    Rewrite(folder, "cloth/good", "colours", ".pgm", "P6", green);
    Rewrite(folder, "cloth/defective", "bad", ".pgm", "P6", green);
    const auto learn = [&](std::vector<std::string> more)
    {
        std::vector<std::string> arguments = {"learn", "colours", "--mode", "texture", "-o", "learnt"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = RunNarvo(folder, arguments);
        EXPECT_EQ(outcome.code, 0) << outcome.error;
        EXPECT_THAT(outcome.error, Not(HasSubstr("colours are read")));
        return outcome.out;
    };
    EXPECT_THAT(
        learn({"--bad", "bad", "--truth", "cloth/mask"}),
        testing::ContainsRegex("- Colours: of [0-9]+ known defects were found by luma [0-9]+, by red [0-9]+, by "
                               "green [0-9]+, by blue [0-9]+, by each channel [0-9]+. The recipe takes green."));
    EXPECT_EQ(LoadRecipe(folder / "learnt.recipe.json")->channel, Channel_Green);
    EXPECT_THAT(learn({}), HasSubstr("- Colours are read as luma."));
    EXPECT_EQ(LoadRecipe(folder / "learnt.recipe.json")->channel, Channel_Luma);
    EXPECT_THAT(learn({"--channel", "red"}), Not(HasSubstr("Colours")));
    EXPECT_EQ(LoadRecipe(folder / "learnt.recipe.json")->channel, Channel_Red);
    learn({"--channel", "each"});
    EXPECT_EQ(LoadRecipe(folder / "learnt.recipe.json")->channel, Channel_Each);
    ASSERT_EQ(RunNarvo(folder, {"inspect", "bad", "-r", "learnt.recipe.json", "-q", "-o", "lot"}).code, 0);
    EXPECT_THAT(ReadText(folder / "lot.jsonl"), HasSubstr("\"channel\":\"green\""));
    // Red and blue are noise. What is counted are channels, not images.
    const Outcome periodic =
        RunNarvo(folder, {"learn", "colours", "--mode", "periodic", "--channel", "each", "-o", "none"});
    EXPECT_THAT(periodic.error, testing::ContainsRegex("a period was found in [0-9]+ of [0-9]+ channels"));
}

TEST(NarvoLearn, LanesChangeNothingInRecipeAndPage)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallCloth(folder, "cloth", "3").code, 0);
    for (const char* lanes : {"1", "3"})
        ASSERT_EQ(RunNarvo(folder, {"learn", "cloth/good", "--lanes", lanes, "-q", "-o", lanes}).code, 0);
    EXPECT_EQ(ReadText(folder / "1.recipe.json"), ReadText(folder / "3.recipe.json"));
    EXPECT_EQ(ReadText(folder / "1.html"), ReadText(folder / "3.html"));
}

TEST(NarvoLearn, OneImageAndAListAreEnough)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallCloth(folder, "cloth", "4").code, 0);
    std::ofstream(folder / "list.txt") << "cloth/good/001.png\n";
    const Outcome outcome = RunNarvo(folder, {"learn", "--list", "list.txt", "--mode", "texture", "-o", "one"});
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("One image says nothing of how images differ"));
    EXPECT_THAT(outcome.error, HasSubstr("Learnt from 1 image;"));
    EXPECT_EQ(RunNarvo(folder, {"inspect", "cloth/good/001.png", "-r", "one.recipe.json", "-o", "r"}).code, 0);
    EXPECT_EQ(CountLines(ReadText(folder / "r.blobs.csv")), 1U);
}

TEST(NarvoLearn, WhatIsWrongIsNamedAndNothingIsWritten)
{
    const TestFolder folder;
    SaveGreyImage(folder / "small.png", GreyImage(100, 200, 90));
    const auto expect = [&](std::initializer_list<std::string> arguments, const char* message)
    {
        const Outcome outcome = RunNarvo(folder, arguments);
        EXPECT_EQ(outcome.code, 2) << message;
        EXPECT_THAT(outcome.error, HasSubstr(message));
    };
    expect({"learn", "-o", "x"}, "good or --list is required");
    expect({"learn", "small.png"}, "--output is required");
    expect({"learn", "none.png", "-o", "x"}, "none.png");
    expect({"learn", "small.png", "--false-rate", "0", "-o", "x"},
           "--false-rate: 0; allowed: 0.001 to 10 false blobs an image");
    expect({"learn", "small.png", "--lanes", "257", "-o", "x"}, "--lanes");
    expect({"learn", "small.png", "--mode", "weave", "-o", "x"}, "--mode");
    expect({"learn", "small.png", "--mode", "texture", "-o", "x"},
           "image small.png: 100 by 200 pixels; allowed: sides of 128 pixels or more");
    expect({"learn", "small.png", "--mode", "periodic", "-o", "x"}, "There is no common period");
    ASSERT_EQ(MakeSmallCloth(folder, "cloth", "7").code, 0);
    const Outcome closed = RunNarvo(folder, {"learn", "cloth/good", "--mode", "texture", "-o", "small.png/x"});
    EXPECT_EQ(closed.code, 3);
    EXPECT_THAT(closed.error, HasSubstr("small.png/x.recipe.json"));
    std::filesystem::copy_file(folder / "small.png", folder / "y.html");
    expect({"learn", "y.html", "-o", "y"}, "y.html");
    expect({"--max-pixels", "19999", "learn", "small.png", "-o", "x"}, "100 by 200 pixels; allowed: at most 19999");
    EXPECT_FALSE(std::filesystem::exists(folder / "x.recipe.json"));
    EXPECT_FALSE(std::filesystem::exists(folder / "x.html"));
}

TEST(NarvoLearn, TextureModeIsRefusedWhereOnlyPixelComparisonsCanAnswer)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallCloth(folder, "cloth", "7").code, 0);
    ASSERT_EQ(RunNarvo(folder, {"learn", "cloth/good", "-q", "--mode", "texture", "-o", "t"}).code, 0);
    const Outcome explained =
        RunNarvo(folder, {"explain", "cloth/good/001.png", "-r", "t.recipe.json", "--at", "300,100"});
    EXPECT_EQ(explained.code, 2);
    EXPECT_THAT(explained.error, HasSubstr("mode: texture; allowed: zone, pixel, float, binarise, average or asg"));
    const Outcome timed = RunNarvo(folder, {"bench", "cloth/good/001.png", "-r", "t.recipe.json", "--seconds", "0.05"});
    EXPECT_EQ(timed.code, 0) << timed.error;
}

} // namespace

} // namespace narvo::test
