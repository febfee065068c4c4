// SPDX-License-Identifier: MIT
// The way from a camera's buffers to frames, with a camera that does what each test says: gaps, damage, lost links.
#include "sources/camera/camera_source.h"

#include <cstdlib>
#include <deque>
#include <fstream>

#include <dlfcn.h>

#include "host/host_test_help.h"
#include "sources/camera/camera_module.h"
#include "sources/camera/camera_shape.h"

namespace narvo::test
{

namespace
{

using namespace narvo::sources;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// What a connection to the camera brings; then the link is lost, or the camera is silent.
struct Connection
{
    struct Sent
    {
        std::optional<std::uint64_t> id = {};
        std::string fault = {};
        std::int64_t width = 6;
        std::size_t missing = 0; ///< bytes
    };
    std::vector<Sent> frames = {};
    bool isLost = false;
    CameraShape shape = {"Mono8", 6, 4, 24, false};
    std::vector<Problem> openProblems = {};
    bool absent = false;
    bool held = false;
    std::vector<Problem> startProblems = {};
    std::int64_t padding = 0;
    bool overran = false;
};

class ScriptedLink : public CameraLink
{
public:
    explicit ScriptedLink(Connection connection)
        : m_connection(std::move(connection)), m_bytes(static_cast<std::size_t>(m_connection.shape.payload), 7)
    {
        for (std::size_t i = 0; i < m_bytes.size(); ++i)
            m_bytes[i] = static_cast<std::uint8_t>(i);
    }
    const CameraShape& Shape() const override { return m_connection.shape; }
    std::vector<Problem> Start() override { return m_connection.startProblems; }
    void Stop() override { m_stopped = true; }
    bool Take(std::chrono::milliseconds, CameraFrame& frame) override
    {
        EXPECT_FALSE(m_taken);
        // The last one comes out only when nothing more can come.
        if (m_next == m_connection.frames.size() ||
            (m_connection.isLost && !m_stopped && m_next + 1 == m_connection.frames.size()))
            return false;
        const Connection::Sent& sent = m_connection.frames[m_next++];
        frame.id = sent.id;
        frame.fault = sent.fault;
        frame.width = sent.width;
        frame.height = 4;
        frame.rowPadding = m_connection.padding;
        frame.bytes = {m_bytes.data(), m_bytes.size() - sent.missing};
        m_taken = true;
        return true;
    }
    void GiveBack() override { m_taken = false; }
    bool IsLost() const override { return m_connection.isLost; }
    bool TakeOverrun() override { return m_connection.overran; }

private:
    Connection m_connection;
    std::vector<std::uint8_t> m_bytes;
    std::size_t m_next = 0;
    bool m_taken = false;
    bool m_stopped = false;
};

class CameraSourceTest : public testing::Test
{
protected:
    std::unique_ptr<CameraSource> Open(const ImageReading& reading = {})
    {
        const auto open = [this](const std::string& id, const CameraSettings&, CameraOpening& opening)
        {
            EXPECT_EQ(id, "one");
            if (connections.empty())
                connections.push_back({});
            opening.problems = connections.front().openProblems;
            opening.absent = connections.front().absent;
            opening.held = connections.front().held;
            if (opening.problems.empty())
                opening.link = std::make_unique<ScriptedLink>(connections.front());
            connections.pop_front();
            ++openings;
        };
        FrameReading frames;
        frames.reading = reading;
        return std::make_unique<CameraSource>("aravis:one", "one", CameraSettings(), frames, open,
                                              std::chrono::milliseconds(1));
    }

    /// Takes frames until `wanted` have come, or a line says that.
    std::vector<std::uint64_t> TakeNumbers(CameraSource& source, std::size_t wanted, const std::string& line = {})
    {
        std::vector<std::uint64_t> numbers;
        std::stop_source stop;
        source.TellWhenNoted(
            [&]
            {
                for (std::string& note : source.TakeNotes())
                {
                    if (!line.empty() && note.find(line) != std::string::npos)
                        stop.request_stop();
                    notes.push_back(std::move(note));
                }
            });
        while (numbers.size() < wanted)
        {
            std::optional<Frame> frame = source.Next(stop.get_token());
            if (!frame)
                break;
            numbers.push_back(frame->number);
            FileIdentity identity;
            images.push_back(frame->load(identity));
        }
        source.TellWhenNoted(nullptr);
        return numbers;
    }

    std::deque<Connection> connections;
    std::size_t openings = 0;
    std::vector<std::string> notes;
    std::vector<std::shared_ptr<const GreyImage>> images;
};

TEST_F(CameraSourceTest, HandsOutWholeFramesAndCountsTheOthers)
{
    connections = {{.frames = {{10}, {11, "packets are missing"}, {12, "", 5}, {13, "", 6, 1}, {14}, {17}, {19}}}};
    const auto source = Open();
    EXPECT_THAT(TakeNumbers(*source, 3), ElementsAre(0, 4, 7));
    EXPECT_EQ(source->Losses().incomplete, 3U);
    EXPECT_EQ(source->Losses().lost, 2U);
    EXPECT_THAT(TakeNumbers(*source, 1), ElementsAre(9));
    EXPECT_EQ(source->Losses().lost, 3U);
    EXPECT_THAT(notes, ElementsAre("frame 1 is incomplete: packets are missing",
                                   "frame 2 is incomplete: 5 by 4 of 6 by 4 pixels came",
                                   "frame 3 is incomplete: 23 of 24 bytes came", "2 frames from 5 on are lost",
                                   "1 frame from 8 on is lost"));
    EXPECT_EQ(images[0]->Width(), 6);
    EXPECT_EQ(images[0]->Row(3)[5], 23);
}

TEST_F(CameraSourceTest, ManyIncompleteFramesAreToldOfOnceWithWhatMayHelp)
{
    Connection connection;
    for (std::uint64_t id = 1; id <= 40; ++id)
        connection.frames.push_back(id % 4 == 0 ? Connection::Sent{id} : Connection::Sent{id, "packets are missing"});
    connections = {connection};
    const auto source = Open();
    TakeNumbers(*source, 10);
    EXPECT_EQ(source->Losses().incomplete, 30U);
    EXPECT_EQ(std::count(notes.begin(), notes.end(),
                         "10 of 13 frames are incomplete: the system may have too little room for their packets; allow "
                         "96 bytes (sysctl net.core.rmem_max), or the right cap_net_raw"),
              1);
    EXPECT_EQ(notes.size(), 31U);
}

TEST_F(CameraSourceTest, ShortNumbersGoOnBehind65535WithOne)
{
    CameraShape shape{"Mono8", 6, 4, 24, true};
    connections = {{.frames = {{65534}, {65535}, {1}, {3}, {65000}, {65001}}, .shape = shape}};
    const auto source = Open();
    EXPECT_THAT(TakeNumbers(*source, 6), ElementsAre(0, 1, 2, 4, 5, 6));
    EXPECT_EQ(source->Losses().lost, 1U);
    EXPECT_THAT(notes,
                ElementsAre("1 frame from 3 on is lost", "aravis:one numbers its frames anew, from 65000 after 3"));
}

TEST_F(CameraSourceTest, AFrameWithoutANumberIsTheNextOne)
{
    const Connection::Sent unknown{{}, "packets are missing"};
    connections = {
        {.frames = {unknown, {65534}, unknown, unknown, {2}, unknown, {6}}, .shape = {"Mono8", 6, 4, 24, true}}};
    const auto source = Open();
    EXPECT_THAT(TakeNumbers(*source, 3), ElementsAre(1, 4, 8));
    EXPECT_EQ(source->Losses().incomplete, 4U);
    EXPECT_EQ(source->Losses().lost, 2U);
}

TEST_F(CameraSourceTest, LongNumbersDoNotWrap)
{
    connections = {{.frames = {{65534}, {65536}, {65537}, {0}, {0}}, .overran = true}};
    const auto source = Open();
    EXPECT_THAT(TakeNumbers(*source, 5), ElementsAre(0, 2, 3, 4, 5));
    EXPECT_EQ(source->Losses().lost, 1U);
    EXPECT_THAT(notes, ElementsAre("1 frame from 1 on is lost, since no buffer was free; camera.buffers sets how many "
                                   "there are",
                                   "aravis:one numbers its frames anew, from 0 after 65537",
                                   "aravis:one numbers its frames anew, from 0 after 0"));
}

TEST_F(CameraSourceTest, TakesRowsOutOfTheirPadding)
{
    connections = {{.frames = {{1}}, .shape = {"Mono8", 6, 4, 36, false}, .padding = 3}};
    const auto source = Open();
    ASSERT_THAT(TakeNumbers(*source, 1), ElementsAre(0));
    EXPECT_EQ(images[0]->Row(1)[0], 9);
    EXPECT_EQ(images[0]->Row(3)[5], 32);
    connections = {{.frames = {{1}, {2}}, .shape = {"Mono12p", 5, 4, 40, false}, .padding = 1}};
    connections.front().frames[0].width = connections.front().frames[1].width = 5;
    const auto packed = Open();
    EXPECT_THAT(TakeNumbers(*packed, 1, "is incomplete"), IsEmpty());
    EXPECT_THAT(notes, ElementsAre("frame 0 is incomplete: bytes stand behind rows that end within a byte"));
}

TEST_F(CameraSourceTest, FindsALostCameraAgainAndTellsOnceOfEach)
{
    connections = {{.frames = {{1}, {2}, {4, "the connection ended within it"}}, .isLost = true},
                   {.openProblems = {{"aravis:one", "not found", "none"}}, .absent = true},
                   {.openProblems = {{"camera.features[0].Width", "5000", "1 to 2048"}}},
                   {.openProblems = {{"camera.features[0].Width", "5000", "1 to 2048"}}},
                   {.startProblems = {{"aravis:one", "busy", "a camera that starts to send"}}},
                   {.frames = {{1}, {2}}}};
    const auto source = Open();
    EXPECT_THAT(TakeNumbers(*source, 4), ElementsAre(0, 1, 4, 5));
    EXPECT_EQ(openings, 6U);
    EXPECT_EQ(source->Losses().incomplete, 1U);
    EXPECT_EQ(source->Losses().lost, 1U);
    ASSERT_EQ(notes.size(), 6U);
    EXPECT_EQ(notes[0], "aravis:one is lost; it is looked for until it is back");
    EXPECT_EQ(notes[1], "1 frame from 2 on is lost");
    EXPECT_EQ(notes[2], "frame 3 is incomplete: the connection ended within it");
    EXPECT_EQ(notes[3], "aravis:one is seen, but cannot be opened: camera.features[0].Width: 5000; allowed: 1 to 2048");
    EXPECT_THAT(notes[4], HasSubstr("busy"));
    EXPECT_THAT(notes[5], HasSubstr("aravis:one is back after "));
}

TEST_F(CameraSourceTest, EndsWhereTheCameraComesBackWithAnotherShape)
{
    connections = {{.isLost = true}, {.shape = {"Mono8", 8, 4, 32, false}}};
    const auto source = Open();
    EXPECT_THAT(ProblemsOf([&] { TakeNumbers(*source, 1); }),
                ElementsAre(IsProblem("aravis:one", "back with Mono8, 8 by 4 pixels",
                                      "Mono8, 6 by 4 pixels, as before; camera.features of the recipe sets it")));
}

TEST_F(CameraSourceTest, StopsWhileItIsLookedFor)
{
    connections = {{.isLost = true}};
    for (int i = 0; i < 50; ++i)
        connections.push_back({.openProblems = {{"aravis:one", "not found", "none"}}, .absent = true});
    const auto source = Open();
    EXPECT_THAT(TakeNumbers(*source, 1, "is lost;"), IsEmpty());
    EXPECT_EQ(openings, 1U);
}

TEST_F(CameraSourceTest, RefusesWhatTheCameraRefuses)
{
    connections = {{.openProblems = {{"aravis:one", "not found", "none"}}, .absent = true},
                   {.startProblems = {{"camera.buffers", "8", "fewer"}}}};
    EXPECT_THAT(ProblemsOf([&] { Open(); }), ElementsAre(IsProblem("aravis:one", "not found", "none")));
    EXPECT_THAT(ProblemsOf([&] { Open(); }), ElementsAre(IsProblem("camera.buffers", "8", "fewer")));
}

TEST_F(CameraSourceTest, WaitsForACameraThatAKilledProgramStillHolds)
{
    const Problem held = {"aravis:one", "in the hands of another program", "none"};
    connections = {{.openProblems = {held}, .held = true}, {.openProblems = {held}, .held = true}, {.frames = {{1}}}};
    const auto source = Open();
    EXPECT_EQ(openings, 3U);
    EXPECT_THAT(TakeNumbers(*source, 1), ElementsAre(0));
    for (int i = 0; i < 10000; ++i)
        connections.push_back({.openProblems = {held}, .held = true});
    EXPECT_THAT(ProblemsOf([&] { Open(); }),
                ElementsAre(IsProblem("aravis:one", "in the hands of another program", "none")));
    EXPECT_LE(openings, 3U + 6001U);
}

TEST(CameraShape, KnowsEveryPackingWithEveryMosaic)
{
    const std::string known = KnownPixelFormats();
    EXPECT_EQ(std::count(known.begin(), known.end(), ','), 29);
    for (const char* const name : {"Mono8", "Mono10p", "BayerRG8", "BayerGR12p", "BayerGB16", "BayerBG10"})
    {
        EXPECT_THAT(known + ",", HasSubstr(std::string(name) + ","));
        CameraShape shape{name, 6, 4, 48, false};
        ImageReading reading;
        TakeShape(shape, "aravis:one", reading);
        EXPECT_EQ(reading.rawWidth, 6);
        EXPECT_EQ(reading.rawHeight, 4);
    }
    ImageReading reading;
    TakeShape({"BayerGB12p", 6, 4, 36, false}, "aravis:one", reading);
    EXPECT_EQ(reading.rawFormat, RawFormat_Mono12p);
    EXPECT_EQ(reading.bayer, Bayer_Gbrg);
    for (const char* const name : {"RGB8", "Mono12Packed", "Mono1p", "BayerRG", "Bayer8", "", "mono8", "Mono8Signed"})
        EXPECT_THAT(ProblemsOf(
                        [&] {
                            TakeShape({name, 6, 4, 48, false}, "aravis:one", reading);
                        }),
                    ElementsAre(IsProblem("aravis:one, PixelFormat", name,
                                          "one of " + known + "; camera.features of the recipe sets it")));
}

TEST(CameraShape, RefusesSizesThatDoNotFit)
{
    const auto problems = [](const CameraShape& shape, ImageReading reading = {})
    { return ProblemsOf([&] { TakeShape(shape, "aravis:one", reading); }); };
    EXPECT_THAT(problems({"Mono8", 0, 4, 24, false}), ElementsAre(IsAbout("aravis:one")));
    EXPECT_THAT(problems({"Mono8", 6, 1048577, 24, false}), ElementsAre(IsAbout("aravis:one")));
    EXPECT_THAT(problems({"Mono8", 1048576, 1048576, std::int64_t{1} << 40, false}),
                ElementsAre(IsAbout("aravis:one")));
    EXPECT_THAT(problems({"Mono8", 6, 4, 23, false}), ElementsAre(IsAbout("aravis:one, PayloadSize")));
    EXPECT_THAT(problems({"Mono8", 6, 4, std::int64_t{1} << 40, false}),
                ElementsAre(IsAbout("aravis:one, PayloadSize")));
    ImageReading reading;
    reading.rawFormat = RawFormat_Mono8;
    reading.rawWidth = 6;
    reading.rawHeight = 4;
    EXPECT_THAT(problems({"Mono8", 6, 4, 24, false}, reading), IsEmpty());
    EXPECT_THAT(
        problems({"Mono8", 6, 5, 30, false}, reading),
        ElementsAre(IsProblem("image.raw", "Mono8, 6 by 4 pixels, 0 bytes before them",
                              "Mono8, 6 by 5 pixels, 0 bytes before them, as aravis:one sends them, or nothing: "
                              "the camera says it")));
    reading = {};
    reading.bayer = Bayer_Rggb;
    EXPECT_THAT(problems({"BayerBG8", 6, 4, 24, false}, reading), ElementsAre(IsAbout("image.bayer")));
    EXPECT_THAT(problems({"BayerRG8", 6, 4, 24, false}, reading), IsEmpty());
    EXPECT_THAT(problems({"Mono8", 6, 4, 24, false}, reading), IsEmpty());
}

TEST(CameraModule, SaysWhatIsMissing)
{
    const TestFolder folder;
    const auto problems = [&](const std::string& name)
    { return ProblemsOf([&] { LoadCameraModule(folder / name, "aravis:one"); }); };
    const auto missing = problems("narvo_camera.so");
    ASSERT_THAT(missing, ElementsAre(IsAbout("aravis:one")));
    EXPECT_THAT(missing[0].value, HasSubstr("no module "));
    EXPECT_THAT(missing[0].allowed, HasSubstr("narvo-camera"));
    std::ofstream(folder / "text.so") << "no library";
    EXPECT_THAT(problems("text.so"), ElementsAre(IsAbout("aravis:one")));
    // A library that is no module: the C library of this process, wherever this processor's is.
    Dl_info loaded;
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&std::abort), &loaded), 0);
    std::filesystem::create_symlink(loaded.dli_fname, folder / "libc.so");
    const auto other = problems("libc.so");
    ASSERT_THAT(other, ElementsAre(IsAbout("aravis:one")));
    EXPECT_THAT(other[0].value, HasSubstr("is another library"));
}

} // namespace

} // namespace narvo::test
