// SPDX-License-Identifier: MIT
// `narvo watch --mqtt` against a broker of the test's own on this machine: every message once and in order, what
// the broker keeps for those that come later, its word for a program that is gone, and brokers that go away.
#include <map>
#include <string>
#include <vector>

#include <unistd.h>

#include <nlohmann/json.hpp>

#include "host/host_test_help.h"
#include "tools/run_narvo.h"
#include "tools/watch/mqtt_address.h"

namespace narvo::test
{

namespace
{

using nlohmann::ordered_json;
using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> AddressProblems(const std::string& text)
{
    std::vector<std::string> allowed;
    for (const Problem& problem : ProblemsOf([&] { tools::ParseMqttAddress(text); }))
        allowed.push_back(problem.allowed);
    return allowed;
}

TEST(MqttAddress, TakesHostPortAndTopic)
{
    const tools::MqttAddress plain = tools::ParseMqttAddress("mqtt://plant/line1/aoi");
    EXPECT_EQ(plain.host, "plant");
    EXPECT_EQ(plain.port, 1883);
    EXPECT_EQ(plain.topic, "line1/aoi");
    const tools::MqttAddress full = tools::ParseMqttAddress("mqtt://[::1]:2000/a/");
    EXPECT_EQ(full.host, "::1");
    EXPECT_EQ(full.port, 2000);
    EXPECT_EQ(full.topic, "a");
}

TEST(MqttAddress, RefusesWhatNoBrokerTakes)
{
    for (const char* text : {"", "plant", "mqtt://plant", "mqtt:///a", "http://plant/a", "mqtt://user@plant/a"})
        EXPECT_THAT(AddressProblems(text), ElementsAre(HasSubstr("mqtt://HOST/TOPIC"))) << text;
    for (const char* text : {"mqtt://plant:0/a", "mqtt://plant:65536/a", "mqtt://plant:x/a", "mqtt://plant:/a"})
        EXPECT_THAT(AddressProblems(text), ElementsAre("a port of 1 to 65535")) << text;
    for (const std::string& text :
         {std::string("mqtt://plant/"), std::string("mqtt://plant/a/+/b"), std::string("mqtt://plant/#"),
          std::string("mqtt://plant/$SYS"), std::string("mqtt://plant/\xff"), std::string("mqtt://plant/a\0b", 16),
          "mqtt://plant/" + std::string(201, 'a')})
        EXPECT_THAT(AddressProblems(text), ElementsAre(HasSubstr("a topic of 1 to 200 bytes"))) << text;
}

#ifdef NARVO_MOSQUITTO

class NarvoMqtt : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(MakeSmallPanel(folder).code, 0);
        WriteRows(folder, "panel");
        std::ofstream(folder / "broker.conf") << "listener " << Port() << " 127.0.0.1\nallow_anonymous true\n";
    }

    static std::string Port() { return std::to_string(20000 + getpid() % 20000); }

    Outcome Line(const std::string& line) const { return RunLine(folder, functions + line + "\nkill $broker\nwait\n"); }

    /// What a subscriber has written: texts by topic, in their order.
    std::map<std::string, std::vector<std::string>> Heard(const std::string& file = "heard.txt") const
    {
        std::map<std::string, std::vector<std::string>> heard;
        std::istringstream text(ReadText(folder / file));
        for (std::string line; std::getline(text, line);)
            heard[line.substr(0, line.find(' '))].push_back(line.substr(line.find(' ') + 1));
        return heard;
    }
    static std::vector<int> Frames(const std::vector<std::string>& images)
    {
        std::vector<int> frames;
        for (const std::string& image : images)
            frames.push_back(ordered_json::parse(image).at("frame").get<int>());
        return frames;
    }

    const std::string address = "mqtt://127.0.0.1:" + Port() + "/line1";
    /// Each with a limit of its own, so that nothing stays behind.
    const std::string functions =
        "start() { timeout 60 " NARVO_MOSQUITTO " -c broker.conf > broker.txt 2>&1 & broker=$!\n"
        "  until timeout 2 mosquitto_pub -p " +
        Port() +
        " -t test -m up -r 2> /dev/null; do sleep 0.05; done; }\n"
        "await() { timeout 30 sh -c 'until grep -qs \"$0\" \"$1\"; do sleep 0.05; done' \"$1\" \"$2\"; }\n"
        // What the broker keeps comes first, so a subscriber that has heard of the start hears all that follows.
        "hear() { timeout 60 mosquitto_sub -p " +
        Port() +
        " -q 1 -t test -t 'line1/#' -v > \"$1\" & heard=$!; await 'test up' \"$1\"; }\n"
        "frames() { for i in $(seq \"$1\"); do cat panel.raw; sleep \"$2\"; done; }\n"
        "watch() { exec '" NARVO_PROGRAM "' watch pipe:- -r panel.recipe.json --raw Mono8:512x640 -q --mqtt " +
        address + " \"$@\"; }\n";
    TestFolder folder;
};

TEST_F(NarvoMqtt, TellsOfEveryImageOnceAndInOrder)
{
    const Outcome run = Line("start; hear heard.txt; frames 8 0.02 | watch --lanes 2; code=$?\n"
                             "await offline heard.txt; kill $heard\n"
                             "hear late.txt; await offline late.txt; kill $heard; echo code $code");
    EXPECT_THAT(run.out, HasSubstr("code 0")) << run.error;
    auto heard = Heard();
    EXPECT_THAT(Frames(heard["line1/image"]), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
    const ordered_json line =
        ordered_json::parse(ReadText(folder / "watch.jsonl").substr(0, ReadText(folder / "watch.jsonl").find('\n')));
    const ordered_json image = ordered_json::parse(heard["line1/image"].front());
    EXPECT_EQ(image["verdict"], line["verdict"]);
    EXPECT_EQ(image["failed"], line["failed"]);
    EXPECT_EQ(image["acquired"], line["acquired"]);
    EXPECT_EQ(image["blob_count"], line["blob_count"]);
    EXPECT_EQ(image["blobs"].size(), line["blob_count"].get<std::size_t>());
    EXPECT_THAT(heard["line1/state"], ElementsAre("online", "offline"));
    // Who comes later hears what the broker keeps, and no images.
    auto late = Heard("late.txt");
    EXPECT_THAT(late["line1/state"], ElementsAre("offline"));
    EXPECT_EQ(ordered_json::parse(late["line1/counts"].at(0))["frames"]["inspected"], 8);
    EXPECT_EQ(ordered_json::parse(late["line1/recipe"].at(0))["digest"], line["recipe"]);
    EXPECT_EQ(late.count("line1/image"), 0U);
}

TEST_F(NarvoMqtt, TheBrokerSaysWhenTheProgramIsGoneWithoutAWord)
{
    const Outcome run = Line("start; hear heard.txt; frames 200 0.02 | watch & narvo=$!; await line1/image heard.txt\n"
                             "kill -KILL $narvo; await offline heard.txt; kill $heard");
    auto heard = Heard();
    EXPECT_THAT(heard["line1/state"], ElementsAre("online", "offline")) << run.error;
    EXPECT_FALSE(heard["line1/image"].empty());
}

TEST_F(NarvoMqtt, KeepsWhatABrokerThatIsAwayHasNotHeard)
{
    const Outcome run =
        Line("start; frames 60 0.1 | watch 2> told.txt & narvo=$!; sleep 1; kill $broker; wait $broker\n"
             "await 'trying again' told.txt; start; hear heard.txt; wait $narvo; echo code $?\n"
             "await offline heard.txt; kill $heard; cat told.txt >&2");
    EXPECT_THAT(run.out, HasSubstr("code 0")) << run.error;
    EXPECT_THAT(run.error, HasSubstr("trying again"));
    EXPECT_THAT(run.error, HasSubstr("is back"));
    EXPECT_THAT(run.error, testing::Not(HasSubstr("not delivered")));
    auto heard = Heard();
    const std::vector<int> frames = Frames(heard["line1/image"]);
    ASSERT_FALSE(frames.empty());
    EXPECT_LT(frames.front(), 25) << "the first messages of the absence";
    for (std::size_t i = 1; i < frames.size(); ++i)
        EXPECT_EQ(frames[i], frames[i - 1] + 1);
    EXPECT_EQ(frames.back(), 59);
    // A broker that was started again has forgotten what it kept.
    EXPECT_THAT(heard["line1/state"], ElementsAre("online", "offline"));
    EXPECT_EQ(heard["line1/recipe"].size(), 1U);
}

TEST_F(NarvoMqtt, ARunThatDoesNotBeginIsNotLeftOnline)
{
    std::ofstream(folder / "watch.jsonl") << "of another run\n";
    const Outcome run =
        Line("start; frames 1 0 | watch; echo code $?; hear late.txt; await offline late.txt; kill $heard");
    EXPECT_THAT(run.out, HasSubstr("code 2")) << run.error;
    EXPECT_THAT(Heard("late.txt")["line1/state"], ElementsAre("offline"));
}

TEST_F(NarvoMqtt, InspectsWithoutABrokerAndSaysWhatWasNotDelivered)
{
    const Outcome run = Line("broker=; frames 3 0 | watch; echo code $?; true");
    EXPECT_THAT(run.out, HasSubstr("code 0"));
    EXPECT_THAT(run.error, HasSubstr("trying again"));
    EXPECT_THAT(run.error, HasSubstr("messages not delivered: the broker was away"));
}

TEST_F(NarvoMqtt, ARefusedLoginIsSaidBeforeAnythingIsWritten)
{
    std::ofstream(folder / "broker.conf") << "listener " << Port() << " 127.0.0.1\nallow_anonymous false\n";
    std::ofstream(folder / "login.txt") << "line1\nwrong\n";
    std::ofstream(folder / "empty.txt");
    const std::string up = "timeout 20 " NARVO_MOSQUITTO " -c broker.conf > broker.txt 2>&1 & broker=$!; sleep 1\n";
    const Outcome run = Line(up + "frames 3 0 | watch --mqtt-login login.txt; echo code $?\n"
                                  "frames 3 0 | watch --mqtt-login empty.txt; echo code $?");
    EXPECT_THAT(run.out, HasSubstr("code 2\ncode 2"));
    EXPECT_THAT(run.error, HasSubstr("--mqtt-login"));
    EXPECT_THAT(run.error, HasSubstr("user and password that the broker takes"));
    EXPECT_FALSE(std::filesystem::exists(folder / "watch.jsonl"));
}

#endif

} // namespace

} // namespace narvo::test
