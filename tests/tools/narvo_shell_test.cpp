// SPDX-License-Identifier: MIT
// Manual pages and completions against the help of every command: what the help names, they name.
#include <algorithm>
#include <regex>
#include <set>

#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;

/// Commands as the program's own help lists them.
std::vector<std::string> Commands(const TestFolder& folder)
{
    const std::string help = RunNarvo(folder, {"--help"}).out;
    std::vector<std::string> names;
    const std::string list = help.substr(help.find("Subcommands:"));
    const std::regex line("\n  ([a-z-]+) ");
    for (std::sregex_iterator found(list.begin(), list.end(), line), end; found != end; ++found)
        names.push_back((*found)[1]);
    return names;
}

/// Options in a help text, with their dashes.
std::set<std::string> Options(const std::string& help)
{
    std::set<std::string> names;
    const std::regex line("\n  ((?:-[a-zA-Z],)?--?[a-zA-Z-]+)");
    for (std::sregex_iterator found(help.begin(), help.end(), line), end; found != end; ++found)
    {
        std::string name = (*found)[1];
        if (const std::size_t comma = name.find(','); comma != std::string::npos)
        {
            names.insert(name.substr(0, comma));
            name.erase(0, comma + 1);
        }
        names.insert(name);
    }
    return names;
}

std::string WithoutEscapes(const std::string& page)
{
    return std::regex_replace(page, std::regex(R"(\\-)"), "-");
}

/// What bash offers for the last of some words.
std::vector<std::string> Complete(const TestFolder& folder, const std::string& words, int place)
{
    std::ofstream(folder / "complete.sh") << "source bash/narvo\nCOMP_WORDS=(" << words << ")\nCOMP_CWORD=" << place
                                          << "\n_narvo 2> /dev/null\nprintf '%s\\n' \"${COMPREPLY[@]}\"\n";
    const std::string command = "cd '" + folder.Path().string() + "' && bash complete.sh > offered.txt";
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::vector<std::string> offered;
    std::ifstream stream(folder / "offered.txt");
    for (std::string line; std::getline(stream, line);)
        if (!line.empty())
            offered.push_back(line);
    return offered;
}

} // namespace

TEST(NarvoShell, EveryCommandHasAManualPageThatNamesItsOptionsAndTheExitCodes)
{
    const TestFolder folder;
    ASSERT_EQ(RunNarvo(folder, {"manual", "--folder", "man"}).code, 0);
    const std::vector<std::string> commands = Commands(folder);
    EXPECT_THAT(commands, testing::IsSupersetOf({"inspect", "pitch", "synth", "recipe", "bench", "completion"}));
    const std::string main = WithoutEscapes(ReadText(folder / "man/narvo.1"));
    for (const std::string& command : commands)
    {
        EXPECT_THAT(main, HasSubstr(".TP\n\\fB" + command + "\\fR\n"));
        const std::string page = WithoutEscapes(ReadText(folder / ("man/narvo-" + command + ".1")));
        for (const char* part : {".TH NARVO-", ".SH NAME\nnarvo-", ".SH SYNOPSIS\n", ".SH OPTIONS\n",
                                 ".SH EXIT STATUS\n.TP\n\\fB0\\fR\ndone\n", ".SH SEE ALSO\n"})
            EXPECT_THAT(page, HasSubstr(part)) << command;
        const std::set<std::string> options = Options(RunNarvo(folder, {command, "--help"}).out);
        EXPECT_THAT(options, Contains("--help"));
        for (const std::string& option : options)
            EXPECT_THAT(page, HasSubstr("\\fB" + option + "\\fR")) << command;
        EXPECT_EQ(WithoutEscapes(RunNarvo(folder, {"manual", command}).out), page);
    }
    EXPECT_EQ(static_cast<std::size_t>(std::distance(fs::directory_iterator(folder / "man"), {})), commands.size() + 1);
    EXPECT_EQ(RunNarvo(folder, {"manual", "explode"}).code, 2);
    EXPECT_EQ(RunNarvo(folder, {"manual", "--folder", "out.txt/man"}).code, 3);
}

TEST(NarvoShell, EveryOptionSaysWhatItIsFor)
{
    const TestFolder folder;
    for (const std::string& command : Commands(folder))
    {
        const std::string page = RunNarvo(folder, {"manual", command}).out;
        EXPECT_FALSE(std::regex_search(page, std::regex("\n\\.TP\n[^\n]*\n(\\.|$|\n)"))) << command;
    }
}

TEST(NarvoShell, CompletionsNameEveryCommandAndOption)
{
    const TestFolder folder;
    ASSERT_EQ(RunNarvo(folder, {"manual", "--completions", "."}).code, 0);
    const std::string bash = ReadText(folder / "bash/narvo");
    const std::string zsh = ReadText(folder / "zsh/_narvo");
    const std::string fish = ReadText(folder / "fish/narvo.fish");
    for (const char* shell : {"bash", "zsh", "fish"})
    {
        const std::string& script = shell[0] == 'b' ? bash : shell[0] == 'z' ? zsh : fish;
        EXPECT_EQ(RunNarvo(folder, {"completion", shell}).out, script);
    }
    EXPECT_EQ(RunNarvo(folder, {"completion", "csh"}).code, 2);
    for (const std::string& command : Commands(folder))
    {
        EXPECT_THAT(Complete(folder, "narvo ''", 1), Contains(command));
        EXPECT_THAT(zsh, HasSubstr("        '" + command + ":"));
        EXPECT_THAT(fish, HasSubstr(" -f -a " + command + " -d '"));
        const std::vector<std::string> offered = Complete(folder, "narvo " + command + " -", 2);
        const std::string zshPart = zsh.substr(zsh.find("        " + command + ")\n"));
        for (const std::string& option : Options(RunNarvo(folder, {command, "--help"}).out))
        {
            EXPECT_THAT(offered, Contains(option)) << command;
            EXPECT_THAT(zshPart.substr(0, zshPart.find(";;")), HasSubstr("'*" + option + "[")) << command;
            const bool isLong = option.starts_with("--");
            const std::regex line("'__fish_seen_subcommand_from " + command + "'[^\n]* " + (isLong ? "-l " : "-s ") +
                                  option.substr(isLong ? 2 : 1) + " ");
            EXPECT_TRUE(std::regex_search(fish, line)) << command << " " << option;
        }
    }
}

TEST(NarvoShell, BashOffersWordsWhereWordsAreWantedAndFilesElsewhere)
{
    const TestFolder folder;
    ASSERT_EQ(RunNarvo(folder, {"manual", "--completions", "."}).code, 0);
    std::ofstream(folder / "panel.recipe.json") << "{}";
    EXPECT_THAT(Complete(folder, "narvo ins", 1), testing::ElementsAre("inspect"));
    EXPECT_THAT(Complete(folder, "narvo completion ''", 2), testing::ElementsAre("bash", "zsh", "fish"));
    EXPECT_THAT(Complete(folder, "narvo inspect --re", 2),
                testing::UnorderedElementsAre("--recipe", "--recursive", "--resume", "--retry"));
    EXPECT_THAT(Complete(folder, "narvo inspect --recipe pan", 3), testing::ElementsAre("panel.recipe.json"));
    EXPECT_THAT(Complete(folder, "narvo inspect pan", 2), testing::ElementsAre("panel.recipe.json"));
}

TEST(NarvoShell, ExitCodesAreTheSameInTheHelpAndInTheDocuments)
{
    const TestFolder folder;
    const std::string help = RunNarvo(folder, {"--help"}).out;
    const std::string page = ReadText(NARVO_SOURCE_FOLDER "/docs/command-line.md");
    const std::string codes = help.substr(help.find("Exit codes:"));
    const std::regex line("\n  ([0-9]+)  ([^\n]+)");
    int count = 0;
    for (std::sregex_iterator found(codes.begin(), codes.end(), line), end; found != end; ++found, ++count)
        EXPECT_THAT(page, HasSubstr("| " + (*found)[1].str() + " | " + (*found)[2].str() + " |\n"));
    EXPECT_GE(count, 8);
}

TEST(NarvoRecipe, ChecksARecipeAndShowsItsDefaultsItsSchemaAndItsBlock)
{
    const TestFolder folder;
    std::ofstream(folder / "a.json") << SmallestRecipe("pixel");
    const Outcome shown = RunNarvo(folder, {"recipe", "a.json"});
    EXPECT_EQ(shown.code, 0);
    EXPECT_EQ(nlohmann::json::parse(shown.out)["merge_distance"], 4);
    std::ofstream(folder / "b.json") << "{\"version\": 1}";
    const Outcome refused = RunNarvo(folder, {"recipe", "b.json"});
    EXPECT_EQ(refused.code, 2);
    EXPECT_THAT(refused.error, HasSubstr("narvo: pitch.x: missing; allowed: 1 to 16384 pixels\n"));
    EXPECT_EQ(nlohmann::json::parse(RunNarvo(folder, {"recipe", "--schema"}).out)["properties"]["version"]["maximum"],
              1);
    EXPECT_THAT(RunNarvo(folder, {"recipe", "--block"}).out, HasSubstr("nGrayLimit: grey_limit\n"));
    EXPECT_EQ(RunNarvo(folder, {"recipe", "--block", "--schema"}).code, 2);
}

TEST(NarvoBench, MeasuresTheRecipeByLevelAndLanes)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const Outcome outcome = RunNarvo(folder, {"bench", "panel.png", "-r", "panel.recipe.json", "--seconds", "0.01",
                                              "--lanes", "1,2", "--json", "figures.json"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("level    lanes    images/s"));
    const nlohmann::json figures = nlohmann::json::parse(ReadText(folder / "figures.json"));
    EXPECT_EQ(figures["inspected_pixels"], 512 * 640);
    EXPECT_GE(figures["rows"].size(), 2U);
    EXPECT_EQ(figures["rows"].size() % 2, 0U);
    for (const nlohmann::json& row : figures["rows"])
        for (const char* name :
             {"images_per_second", "megapixels_per_second", "milliseconds", "read_megapixels_per_second"})
            EXPECT_GT(row[name].get<double>(), 0.0) << name;
    EXPECT_EQ(nlohmann::json::parse(RunNarvo(folder, {"bench", "panel.png", "-r", "panel.recipe.json", "--seconds",
                                                      "0.01", "--lanes", "1", "--json", "-"})
                                        .out)["width"],
              512);
    const Outcome level = RunNarvo(folder, {"bench", "panel.png", "-r", "panel.recipe.json", "--level", "MMX"});
    EXPECT_EQ(level.code, 2);
    EXPECT_THAT(level.error, HasSubstr("narvo: --level: MMX; allowed: the levels of this machine: "));
    EXPECT_EQ(RunNarvo(folder, {"bench", "none.png", "-r", "panel.recipe.json"}).code, 2);
    EXPECT_EQ(RunNarvo(folder, {"bench", "panel.png", "-r", "panel.recipe.json", "--lanes", "0"}).code, 2);
}

} // namespace narvo::test
