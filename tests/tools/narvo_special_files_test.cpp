// SPDX-License-Identifier: MIT
// FIFOs, devices, sockets and folders in the place of every input: refused at once, with what they are.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::HasSubstr;

/// panel.png and board.png with what belongs to them, and one special file of each kind.
void PrepareSpecialFiles(const TestFolder& folder)
{
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0666), 0);
    std::filesystem::create_symlink("fifo", folder / "link");
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(listener, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string place = folder / "socket";
    ASSERT_LT(place.size(), sizeof address.sun_path);
    place.copy(address.sun_path, place.size());
    EXPECT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    close(listener);
}

struct Special
{
    const char* name;
    const char* kind;
};

constexpr Special specials[] = {{"fifo", "a FIFO"},
                                {"link", "a FIFO"},
                                {"socket", "a socket"},
                                {"/dev/zero", "a device"},
                                {"/dev/tty", "a device"}};

} // namespace

TEST(NarvoSpecialFiles, AreRefusedAsEveryInputOfEveryCommand)
{
    const TestFolder folder;
    PrepareSpecialFiles(folder);
    for (const Special& special : specials)
    {
        const Outcome outcome = RunLine(folder, std::string("narvo inspect ") + special.name + " -r " + special.name);
        EXPECT_EQ(outcome.code, 2) << special.name;
        for (const char* input : {"image ", "recipe "})
            EXPECT_THAT(outcome.error, HasSubstr(std::string(input) + special.name + ": " + special.kind));
    }
    for (const Special& special : {specials[0], specials[3]})
        for (const char* line : {"inspect @ -r panel.recipe.json",
                                 "inspect panel.png -r @",
                                 "inspect panel.png -r panel.recipe.json -t @",
                                 "inspect panel.png panel.zones.png -r @",
                                 "inspect --list @ -r panel.recipe.json",
                                 "golden @ panel.png",
                                 "golden panel.png panel.png -o x -t @",
                                 "pitch @",
                                 "explain @ -r panel.recipe.json --at 1,1",
                                 "explain panel.png -r @ --at 1,1",
                                 "tune @ -r panel.recipe.json -f min_area --from 1 --to 2",
                                 "tune panel.png -r @ -f min_area --from 1 --to 2",
                                 "tune panel.png --reference @ -f threshold --from 1 --to 2",
                                 "field @ -o even.png",
                                 "learn @ -o learnt",
                                 "tune panel.png -r panel.recipe.json -t @ -f min_area --from 1 --to 2",
                                 "report @ -r panel.recipe.json",
                                 "report panel.png -r @",
                                 "recipe @",
                                 "bench @ -r panel.recipe.json",
                                 "bench panel.png -r @"})
        {
            std::string text = line;
            text.replace(text.find('@'), 1, special.name);
            const Outcome outcome = RunLine(folder, "narvo " + text);
            EXPECT_EQ(outcome.code, 2) << text;
            EXPECT_THAT(outcome.error, HasSubstr(std::string(special.name) + ": " + special.kind + "; allowed: "))
                << text;
        }
    for (const char* name : {"piped.json", "piped.jsonl"})
    {
        ASSERT_EQ(mkfifo((folder / name).c_str(), 0666), 0);
        EXPECT_EQ(RunLine(folder, std::string("narvo report ") + name).code, 2) << name;
    }
}

TEST(NarvoSpecialFiles, AreOneRefusalAmongTheImagesOfABatchAndNoneOfAFolder)
{
    const TestFolder folder;
    PrepareSpecialFiles(folder);
    std::filesystem::create_directory(folder / "images");
    std::filesystem::copy_file(folder / "panel.png", folder / "images/b.png");
    ASSERT_EQ(mkfifo((folder / "images/a.png").c_str(), 0666), 0);
    const Outcome named = RunLine(folder, "narvo inspect images/a.png images/b.png /dev/zero -r panel.recipe.json -q");
    EXPECT_EQ(named.code, 7);
    EXPECT_THAT(named.error, HasSubstr("image images/a.png: a FIFO; allowed: "));
    EXPECT_THAT(named.error, HasSubstr("image /dev/zero: a device; allowed: "));
    const std::string lines = ReadText(folder / "results.jsonl");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 3);
    EXPECT_EQ(RunLine(folder, "narvo inspect images -r panel.recipe.json -q -o all").code, 0);
}

TEST(NarvoSpecialFiles, PaintedImageOfARecipeIsRefused)
{
    const TestFolder folder;
    PrepareSpecialFiles(folder);
    json recipe = json::parse(ReadText(folder / "panel.recipe.json"));
    recipe["zones"]["image"] = "fifo";
    std::ofstream(folder / "piped.json") << recipe;
    const Outcome outcome = RunLine(folder, "narvo inspect panel.png -r piped.json");
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("a FIFO"));
}

TEST(NarvoSpecialFiles, OutputsMayBeStreamsButResultsOfManyImagesMayNot)
{
    const TestFolder folder;
    PrepareSpecialFiles(folder);
    EXPECT_EQ(RunLine(folder, "narvo bench panel.png -r panel.recipe.json --seconds 0.01 --lanes 1 --json "
                              "/dev/null")
                  .code,
              0);
    const Outcome through = RunLine(folder, "narvo bench panel.png -r panel.recipe.json --seconds 0.01 --lanes 1 "
                                            "--json >(cat > figures.json) > table.txt; wait $!");
    EXPECT_EQ(through.code, 0) << through.error;
    EXPECT_EQ(json::parse(ReadText(folder / "figures.json"))["version"], 1);
    const Outcome unread = RunLine(folder, "narvo bench panel.png -r panel.recipe.json --seconds 0.01 --lanes 1 "
                                           "--json fifo");
    EXPECT_EQ(unread.code, 3);
    EXPECT_THAT(unread.error, HasSubstr("file fifo: cannot be written: "));
    ASSERT_EQ(mkfifo((folder / "results.jsonl").c_str(), 0666), 0);
    const Outcome lines = RunLine(folder, "narvo inspect panel.png -r panel.recipe.json --overwrite");
    EXPECT_EQ(lines.code, 3);
    EXPECT_THAT(lines.error, HasSubstr("file results.jsonl: cannot be written: no regular file"));
}

} // namespace narvo::test
