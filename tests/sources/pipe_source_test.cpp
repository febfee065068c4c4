// SPDX-License-Identifier: MIT
// Frames through a real pipe, however their bytes are cut.
#include "sources/pipe_source.h"

#include <algorithm>
#include <random>
#include <thread>

#include <unistd.h>

#include "host/file/descriptor.h"
#include "host/file/output_file.h"
#include "host/host_test_help.h"
#include "support/seeds.h"

namespace narvo::test
{

namespace
{

using namespace narvo::sources;

struct Pipe
{
    Pipe()
    {
        int ends[2];
        if (pipe(ends) != 0)
            throw std::bad_alloc();
        reader = Descriptor(ends[0]);
        writer = Descriptor(ends[1]);
    }
    Descriptor reader;
    Descriptor writer;
};

FrameReading Shape(int format, int width, int height, int offset = 0)
{
    FrameReading reading;
    reading.reading.rawFormat = format;
    reading.reading.rawWidth = width;
    reading.reading.rawHeight = height;
    reading.reading.rawOffset = offset;
    return reading;
}

TEST(PipeSource, RandomCutsGiveTheSameFrames)
{
    for (const std::uint64_t seed : CaseSeeds("pipe", 60))
    {
        std::mt19937_64 random(seed);
        const int format = 1 + static_cast<int>(random() % 6);
        const FrameReading reading = Shape(format, 1 + static_cast<int>(random() % 70),
                                           1 + static_cast<int>(random() % 50), static_cast<int>(random() % 9));
        const auto frameBytes = static_cast<std::size_t>(FrameBytes(reading.reading) + reading.reading.rawOffset);
        const std::size_t frames = random() % 6;
        const std::size_t cut = random() % frameBytes;
        std::vector<std::uint8_t> bytes(frames * frameBytes + cut);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random());

        Pipe pipe;
        std::jthread writer(
            [&]
            {
                for (std::size_t place = 0; place < bytes.size();)
                {
                    const std::size_t count = std::min<std::size_t>(1 + random() % 3000, bytes.size() - place);
                    if (WriteWhole(pipe.writer.Number(), bytes.data() + place, count) != 0)
                        break;
                    place += count;
                }
                pipe.writer.Close();
            });
        PipeSource source(pipe.reader.Number(), reading);
        for (std::size_t i = 0; i < frames; ++i)
        {
            const std::optional<Frame> frame = source.Next({});
            ASSERT_TRUE(frame) << ReplayHint(seed);
            EXPECT_EQ(frame->number, i);
            FileIdentity identity;
            const std::shared_ptr<const GreyImage> image = frame->load(identity);
            EXPECT_EQ(identity.bytes, frameBytes);
            const GreyImage wanted =
                ConvertRawFrame({bytes.data() + i * frameBytes, frameBytes}, reading.reading, "wanted");
            ASSERT_EQ(image->Height(), wanted.Height());
            for (int y = 0; y < wanted.Height(); ++y)
                ASSERT_TRUE(std::equal(wanted.Row(y), wanted.Row(y) + wanted.Width(), image->Row(y)))
                    << ReplayHint(seed);
        }
        EXPECT_FALSE(source.Next({})) << ReplayHint(seed);
        EXPECT_EQ(source.Losses().incomplete, cut > 0 ? 1U : 0U) << ReplayHint(seed);
        EXPECT_EQ(source.TakeNotes().size(), cut > 0 ? 1U : 0U);
    }
}

TEST(PipeSource, StopsWhileItWaitsForBytes)
{
    Pipe pipe;
    ASSERT_EQ(WriteWhole(pipe.writer.Number(), "abc", 3), 0);
    PipeSource source(pipe.reader.Number(), Shape(RawFormat_Mono8, 10, 10));
    std::stop_source stop;
    std::jthread stopper(
        [&]
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            stop.request_stop();
        });
    EXPECT_FALSE(source.Next(stop.get_token()));
}

TEST(PipeSource, RefusesFramesWithoutAShapeOrTooLarge)
{
    EXPECT_THROW(PipeSource(0, FrameReading()), HostError);
    EXPECT_THROW(PipeSource(0, Shape(RawFormat_Mono8, 1 << 20, 1 << 20)), HostError);
    EXPECT_THROW(PipeSource(0, Shape(RawFormat_Mono8, 0, 5)), HostError);
}

} // namespace

} // namespace narvo::test
