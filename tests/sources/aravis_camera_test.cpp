// SPDX-License-Identifier: MIT
// Cameras by their real protocol: the emulated GigE Vision camera of Aravis on the loopback, by the module and by the
// program.
#include <thread>

#include <arv.h>

#include "sources/camera/camera_module.h"
#include "sources/camera/camera_source.h"
#include "sources/emulated_camera.h"
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using namespace narvo::sources;
using nlohmann::ordered_json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string source = std::string("aravis:") + EmulatedCamera::szId;

std::unique_ptr<CameraSource> OpenCamera(std::vector<CameraFeature> features, int buffers = 8)
{
    CameraSettings settings;
    settings.buffers = buffers;
    settings.features = std::move(features);
    return std::make_unique<CameraSource>(source, EmulatedCamera::szId, std::move(settings), FrameReading(),
                                          LoadCameraModule(NARVO_CAMERA_MODULE, source));
}

/// Frames of the camera, at most until 20 s are over.
std::vector<Frame> TakeFrames(CameraSource& camera, std::size_t count)
{
    std::vector<Frame> frames;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    std::stop_source stop;
    std::jthread watch(
        [&](const std::stop_token& done)
        {
            while (!done.stop_requested() && std::chrono::steady_clock::now() < end)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            stop.request_stop();
        });
    while (frames.size() < count)
        if (std::optional<Frame> frame = camera.Next(stop.get_token()))
            frames.push_back(std::move(*frame));
        else
            break;
    return frames;
}

std::shared_ptr<const GreyImage> ImageOf(const Frame& frame)
{
    FileIdentity identity;
    return frame.load(identity);
}

/// Whole numbers that the camera holds, by a connection of the test's own.
std::vector<std::int64_t> ReadBack(std::initializer_list<const char*> names)
{
    std::vector<std::int64_t> values;
    if (ArvCamera* const camera = arv_camera_new(EmulatedCamera::szId, nullptr))
    {
        for (const char* const name : names)
            values.push_back(arv_device_get_integer_feature_value(arv_camera_get_device(camera), name, nullptr));
        g_object_unref(camera);
    }
    return values;
}

TEST(AravisCamera, FramesOfEveryFormatComeWhole)
{
    const EmulatedCamera camera;
    for (const char* const format : {"Mono8", "Mono16", "BayerRG8", "BayerGR8", "BayerGB8", "BayerBG8"})
    {
        const auto opened =
            OpenCamera({{"PixelFormat", format}, {"Width", std::int64_t{322}}, {"Height", std::int64_t{200}}});
        const std::vector<Frame> frames = TakeFrames(*opened, 3);
        ASSERT_EQ(frames.size(), 3U) << format;
        for (std::size_t i = 0; i < frames.size(); ++i)
        {
            const auto image = ImageOf(frames[i]);
            EXPECT_EQ(image->Width(), 322);
            EXPECT_EQ(image->Height(), 200);
            EXPECT_EQ(frames[i].number, i);
        }
        EXPECT_EQ(opened->Losses().lost + opened->Losses().incomplete, 0U);
        EXPECT_EQ(opened->Reading().bayer != Bayer_None, std::string(format).starts_with("Bayer"));
    }
}

TEST(AravisCamera, EveryPixelOfAGreyFrameIsTheCameras)
{
    const EmulatedCamera camera;
    const auto opened = OpenCamera({{"Width", std::int64_t{300}}, {"Height", std::int64_t{217}}});
    const std::vector<Frame> frames = TakeFrames(*opened, 2);
    ASSERT_EQ(frames.size(), 2U);
    // The camera sends a ramp along the diagonal, which moves by one from frame to frame.
    const auto first = ImageOf(frames[0]);
    const auto second = ImageOf(frames[1]);
    for (int y = 0; y < 217; ++y)
        for (int x = 0; x < 300; ++x)
        {
            ASSERT_EQ(first->Row(y)[x], (first->Row(0)[0] + x + y) % 255);
            ASSERT_EQ(second->Row(y)[x], (first->Row(y)[x] + 1) % 255);
        }
}

TEST(AravisCamera, LinesComeAsFramesOfTheirHeight)
{
    const EmulatedCamera camera;
    for (const std::int64_t height : {1, 7})
    {
        const auto opened = OpenCamera({{"Width", std::int64_t{2048}}, {"Height", height}});
        const std::vector<Frame> frames = TakeFrames(*opened, 5);
        ASSERT_EQ(frames.size(), 5U);
        EXPECT_EQ(ImageOf(frames[4])->Width(), 2048);
        EXPECT_EQ(ImageOf(frames[4])->Height(), height);
    }
}

TEST(AravisCamera, FeaturesAreSetInTheirOrder)
{
    const EmulatedCamera camera;
    OpenCamera({{"Width", std::int64_t{256}},
                {"GainRaw", std::int64_t{3}},
                {"Width", 128.0},
                {"TriggerMode", "On"},
                {"AcquisitionFrameRate", std::int64_t{50}}});
    EXPECT_THAT(ReadBack({"Width", "GainRaw", "TriggerMode"}), ElementsAre(128, 3, 1));
}

TEST(AravisCamera, ACameraInOtherHandsIsRefused)
{
    const EmulatedCamera camera;
    const auto opened = OpenCamera({});
    EXPECT_THAT(ProblemsOf([] { OpenCamera({}); }), ElementsAre(IsProblem(source, "in the hands of another program",
                                                                          "a camera that no other one controls")));
    EXPECT_EQ(TakeFrames(*opened, 3).size(), 3U);
}

TEST(AravisCamera, FeaturesThatTheCameraLacksOrRefusesAreNamedWithWhatItTakes)
{
    const EmulatedCamera camera;
    const auto found = ProblemsOf(
        []
        {
            OpenCamera({{"Width", std::int64_t{5000}},
                        {"Depth", true},
                        {"PixelFormat", "Mono9"},
                        {"TriggerMode", true},
                        {"SensorWidth", std::int64_t{7}},
                        {"GainRaw", 2.5},
                        {"ExposureTimeAbs", "long"},
                        {"AcquisitionStart", std::int64_t{1}}});
        });
    const char* const listed = "one of BayerBG8, BayerGB8, BayerGR8, BayerRG8, Mono8, RGB8, Mono16";
    EXPECT_THAT(found,
                ElementsAre(IsProblem("camera.features[0].Width", "5000", "whole number, 1 to 2048"),
                            IsProblem("camera.features[1].Depth", "true", "a feature that the camera has"),
                            IsProblem("camera.features[2].PixelFormat", "\"Mono9\"", listed),
                            IsProblem("camera.features[3].TriggerMode", "true", "one of Off, On"),
                            IsProblem("camera.features[4].SensorWidth", "7",
                                      "a feature that can be set; this one can only be read"),
                            IsProblem("camera.features[5].GainRaw", "2.5", "whole number, 0 to 10"),
                            IsProblem("camera.features[6].ExposureTimeAbs", "\"long\"", "10 to 10000000"),
                            IsProblem("camera.features[7].AcquisitionStart", "1", "true, which executes the command")));
    EXPECT_THAT(ProblemsOf(
                    [] {
                        OpenCamera({{"PixelFormat", "RGB8"}});
                    }),
                ElementsAre(IsAbout(source + ", PixelFormat")));
}

/// The ramp moves by one from frame to frame, so it tells how many the camera has sent between two that came.
void ExpectNumbersOfTheCamera(const std::vector<Frame>& frames)
{
    const int first = *ImageOf(frames.front())->Row(0);
    for (std::size_t i = 1; i < frames.size(); ++i)
        ASSERT_EQ((*ImageOf(frames[i])->Row(0) - first + 255) % 255,
                  static_cast<int>((frames[i].number - frames.front().number) % 255))
            << i;
}

TEST(AravisCamera, FramesThatLackPacketsAreCounted)
{
    // One packet of twenty is lost on the way; a frame has four or so.
    const EmulatedCamera camera({"-r", "50"});
    const auto opened = OpenCamera(
        {{"Width", std::int64_t{64}}, {"Height", std::int64_t{48}}, {"AcquisitionFrameRate", std::int64_t{100}}});
    const std::vector<Frame> frames = TakeFrames(*opened, 150);
    ASSERT_EQ(frames.size(), 150U);
    const FrameLosses losses = opened->Losses();
    EXPECT_GT(losses.incomplete, 0U);
    EXPECT_EQ(frames.back().number + 1, 150 + losses.incomplete + losses.lost);
    ExpectNumbersOfTheCamera(frames);
}

TEST(AravisCamera, FramesForWhichNoBufferIsFreeAreLost)
{
    const EmulatedCamera camera;
    const auto opened = OpenCamera(
        {{"Width", std::int64_t{64}}, {"Height", std::int64_t{64}}, {"AcquisitionFrameRate", std::int64_t{100}}}, 2);
    std::vector<Frame> frames;
    for (int tries = 0; tries < 20 && opened->Losses().lost == 0; ++tries)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        for (Frame& frame : TakeFrames(*opened, 4))
            frames.push_back(std::move(frame));
    }
    EXPECT_GT(opened->Losses().lost, 0U);
    EXPECT_EQ(frames.back().number + 1, frames.size() + opened->Losses().lost + opened->Losses().incomplete);
    EXPECT_THAT(opened->TakeNotes(), Contains(HasSubstr("since no buffer was free; camera.buffers")));
    ExpectNumbersOfTheCamera(frames);
}

TEST(AravisCamera, ANameThatIsNoneIsAnsweredWithTheCamerasSeen)
{
    const EmulatedCamera camera;
    const CameraOpener open = LoadCameraModule(NARVO_CAMERA_MODULE, source);
    for (const char* const id : {"Nobody-1", ""})
    {
        CameraOpening opening;
        open(id, {}, opening);
        EXPECT_TRUE(opening.absent);
        ASSERT_EQ(opening.problems.size(), 1U);
        EXPECT_EQ(opening.problems[0].field, "aravis:" + std::string(id));
        EXPECT_EQ(opening.problems[0].allowed, "a camera that is seen: Aravis-Fake-GV01 (GigEVision, 127.0.0.1)");
    }
}

/// `narvo watch` beside a camera.
class NarvoCamera : public testing::Test
{
protected:
    void SetUp() override
    {
        std::ofstream(folder / "recipe.json")
            << R"({"version": 1, "mode": "pixel", "pitch": {"x": 64, "y": 64}, "threshold": {"base": 40},
                   "camera": {"buffers": 128,
                              "features": [{"Width": 320}, {"Height": 200}, {"AcquisitionFrameRate": 50}]}})";
        std::ofstream(folder / "silent.json")
            << R"({"version": 1, "mode": "pixel", "pitch": {"x": 64, "y": 64}, "threshold": {"base": 40},
                   "camera": {"features": [{"TriggerMode": "On"}, {"TriggerSource": "Software"}]}})";
    }

    Outcome Watch(const std::string& options) const
    {
        return RunLine(folder, "narvo watch " + source + " --json s.json " + options);
    }
    ordered_json Summary() const { return ordered_json::parse(ReadText(folder / "s.json")); }
    std::vector<ordered_json> Lines() const
    {
        std::vector<ordered_json> lines;
        std::istringstream text(ReadText(folder / "watch.jsonl"));
        for (std::string line; std::getline(text, line) && !text.eof();)
            lines.push_back(ordered_json::parse(line));
        return lines;
    }
    /// @return whether the text came into the file within 25 s
    bool WaitForText(const char* file, const std::string& text) const
    {
        for (int tries = 0; tries < 500; ++tries)
        {
            if (ReadText(folder / file).find(text) != std::string::npos)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }
    bool WaitForLines(std::size_t count) const
    {
        for (int tries = 0; tries < 500; ++tries)
        {
            if (Lines().size() >= count)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }
    /// @return whether the watch that was started last has ended within 25 s
    bool WaitForEnd() const
    {
        return RunLine(folder,
                       "for i in $(seq 500); do readlink /proc/$(cat pid)/exe || exit 0; sleep 0.05; done; exit 1")
                   .code == 0;
    }
    /// Starts a watch of at most 60 s, whose number is in the file pid. In the foreground, timeout hands a signal on
    /// once; a second one would end the watch at once.
    void Start(const std::string& options) const
    {
        RunLine(folder, "timeout --foreground -s KILL 60 '" NARVO_PROGRAM "' watch " + source + " --json s.json " +
                            options + " > watch.txt 2> told.txt & echo $! > pid");
    }
    /// Asks it to end and waits until it has. @return whether it wrote its summary within 25 s
    bool Terminate() const
    {
        RunLine(folder, "kill -TERM $(cat pid)");
        return WaitForText("watch.txt", "written: ") && WaitForEnd();
    }

    TestFolder folder;
};

TEST_F(NarvoCamera, InspectsFramesOfTheShapeThatTheRecipeSets)
{
    const EmulatedCamera camera;
    const Outcome outcome = Watch("-r recipe.json --images 12");
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_EQ(Summary()["frames"]["acquired"], 12);
    EXPECT_EQ(Summary()["frames"]["inspected"], 12);
    const std::vector<ordered_json> lines = Lines();
    ASSERT_EQ(lines.size(), 12U);
    EXPECT_EQ(lines[11]["width"], 320);
    EXPECT_EQ(lines[11]["height"], 200);
    EXPECT_EQ(lines[11]["frame"], 11);
    EXPECT_EQ(lines[11]["image"], "frame 11");
    const Outcome other = Watch("-r recipe.json --images 1 --overwrite --raw Mono8:640x480");
    EXPECT_EQ(other.code, 2);
    EXPECT_THAT(other.error, HasSubstr("image.raw: Mono8, 640 by 480 pixels"));
}

TEST_F(NarvoCamera, FindsACameraAgainThatWasGone)
{
    EmulatedCamera camera;
    Start("-r recipe.json");
    ASSERT_TRUE(WaitForLines(10)) << ReadText(folder / "told.txt");
    camera.Kill();
    ASSERT_TRUE(WaitForText("told.txt", "it is looked for until it is back")) << ReadText(folder / "told.txt");
    const std::size_t before = Lines().size();
    camera.Start();
    ASSERT_TRUE(WaitForText("told.txt", "is back after")) << ReadText(folder / "told.txt");
    ASSERT_TRUE(WaitForLines(before + 10));
    ASSERT_TRUE(Terminate());
    const ordered_json frames = Summary()["frames"];
    const std::vector<ordered_json> lines = Lines();
    ASSERT_EQ(frames["acquired"], lines.size());
    EXPECT_EQ(lines.back()["width"], 320);
    std::uint64_t next = 0;
    std::uint64_t leftOut = 0;
    for (const ordered_json& line : lines)
    {
        ASSERT_GE(line["frame"], next);
        leftOut += line["frame"].get<std::uint64_t>() - next;
        next = line["frame"].get<std::uint64_t>() + 1;
    }
    EXPECT_GE(frames["lost"].get<std::uint64_t>() + frames["incomplete"].get<std::uint64_t>(), leftOut);
    const std::string told = ReadText(folder / "told.txt");
    EXPECT_EQ(told.find("is lost;"), told.rfind("is lost;")) << told;
    EXPECT_EQ(told.find("is back after"), told.rfind("is back after")) << told;
}

TEST_F(NarvoCamera, EndsWhileTheCameraIsSilentOrGone)
{
    EmulatedCamera camera;
    EXPECT_EQ(Watch("-r silent.json --seconds 1").code, 0);
    EXPECT_EQ(Summary()["frames"]["acquired"], 0);
    Start("-r silent.json --overwrite");
    ASSERT_TRUE(WaitForText("watch.txt", "watching"));
    EXPECT_TRUE(Terminate());
    EXPECT_EQ(Summary()["interrupted"], true);
    std::filesystem::remove(folder / "watch.txt");
    Start("-r silent.json --overwrite");
    ASSERT_TRUE(WaitForText("watch.txt", "watching"));
    camera.Kill();
    ASSERT_TRUE(WaitForText("told.txt", "it is looked for until it is back")) << ReadText(folder / "told.txt");
    EXPECT_TRUE(Terminate());
}

} // namespace

} // namespace narvo::test
