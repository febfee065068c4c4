// SPDX-License-Identifier: MIT
// Frames through shared memory: writers in time, too fast, gone, and headers that lie.
#include "sources/ring_source.h"

#include <algorithm>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/file/descriptor.h"
#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

using namespace narvo::sources;

constexpr int nWidth = 33;
constexpr int nHeight = 21;
constexpr std::uint64_t nBytes = std::uint64_t{nWidth} * nHeight;

FrameReading RingShape()
{
    FrameReading reading;
    reading.reading.rawFormat = RawFormat_Mono8;
    reading.reading.rawWidth = nWidth;
    reading.reading.rawHeight = nHeight;
    return reading;
}

/// A ring that a test writes.
class Ring
{
public:
    explicit Ring(std::uint32_t slots) : name("/narvo_ring_" + std::to_string(getpid()))
    {
        shm_unlink(name.c_str());
        m_memory = Descriptor(shm_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600));
        const std::uint64_t slotBytes = (sizeof(NarvoRingSlot) + nBytes + 63) / 64 * 64;
        m_size = NARVO_RING_HEADER_BYTES + slots * slotBytes;
        if (ftruncate(m_memory.Number(), static_cast<off_t>(m_size)) != 0)
            throw std::bad_alloc();
        m_place = static_cast<char*>(mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_SHARED, m_memory.Number(), 0));
        header = reinterpret_cast<NarvoRingHeader*>(m_place);
        *header = {NARVO_RING_MAGIC, NARVO_RING_VERSION, slots, nBytes, slotBytes, 0, 0, 0};
    }
    ~Ring()
    {
        munmap(m_place, m_size);
        shm_unlink(name.c_str());
    }
    Ring(const Ring&) = delete;
    Ring& operator=(const Ring&) = delete;

    /// A frame in which every pixel is its number.
    void Write(std::uint64_t number, std::uint64_t bytes = nBytes)
    {
        char* place = m_place + NARVO_RING_HEADER_BYTES + number % header->slots * header->slotBytes;
        auto* slot = reinterpret_cast<NarvoRingSlot*>(place);
        __atomic_store_n(&slot->state, 2 * number + 1, __ATOMIC_RELAXED);
        __atomic_thread_fence(__ATOMIC_RELEASE);
        std::memset(place + sizeof *slot, static_cast<int>(number % 251), nBytes);
        slot->bytes = bytes;
        slot->acquired = static_cast<std::int64_t>(number) + 1000;
        __atomic_store_n(&slot->state, 2 * number + 2, __ATOMIC_RELEASE);
        __atomic_store_n(&header->written, number + 1, __ATOMIC_RELEASE);
    }
    void End() { __atomic_store_n(&header->ended, 1U, __ATOMIC_RELEASE); }
    void Cut(off_t size) { ASSERT_EQ(ftruncate(m_memory.Number(), size), 0); }

    std::string name;
    NarvoRingHeader* header;

private:
    Descriptor m_memory;
    std::uint64_t m_size;
    char* m_place;
};

/// The numbers of all frames until the end; each has to show its number everywhere.
std::vector<std::uint64_t> ReadAll(RingSource& source)
{
    std::vector<std::uint64_t> numbers;
    while (const std::optional<Frame> frame = source.Next({}))
    {
        FileIdentity identity;
        const std::shared_ptr<const GreyImage> image = frame->load(identity);
        for (int y = 0; y < image->Height(); ++y)
            for (int x = 0; x < image->Width(); ++x)
                EXPECT_EQ(image->Row(y)[x], frame->number % 251);
        EXPECT_EQ(frame->acquired, static_cast<std::int64_t>(frame->number) + 1000);
        numbers.push_back(frame->number);
    }
    return numbers;
}

TEST(RingSource, ReadsWhatTheRingHoldsAndCountsWhatWasOverwritten)
{
    Ring ring(4);
    for (std::uint64_t i = 0; i < 3; ++i)
        ring.Write(i);
    RingSource source(ring.name, RingShape());
    for (std::uint64_t i = 3; i < 9; ++i)
        ring.Write(i);
    ring.End();
    EXPECT_THAT(ReadAll(source), testing::ElementsAre(5U, 6U, 7U, 8U));
    EXPECT_EQ(source.Losses().lost, 5U);
}

TEST(RingSource, CountsNumbersLeftOutAndIncompleteFrames)
{
    Ring ring(8);
    ring.Write(0);
    RingSource source(ring.name, RingShape());
    ring.Write(1, nBytes - 1);
    ring.Write(4);
    ring.End();
    EXPECT_THAT(ReadAll(source), testing::ElementsAre(0U, 4U));
    EXPECT_EQ(source.Losses().lost, 2U);
    EXPECT_EQ(source.Losses().incomplete, 1U);
}

TEST(RingSource, FramesOfAFastWriterAreWholeOrLost)
{
    constexpr std::uint64_t nFrames = 20000;
    Ring ring(3);
    RingSource source(ring.name, RingShape());
    std::jthread writer(
        [&]
        {
            for (std::uint64_t i = 0; i < nFrames; ++i)
                ring.Write(i);
            ring.End();
        });
    const std::vector<std::uint64_t> numbers = ReadAll(source);
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    EXPECT_EQ(numbers.size() + source.Losses().lost, nFrames);
    EXPECT_FALSE(numbers.empty());
}

TEST(RingSource, SaysThatTheWriterIsGone)
{
    Ring ring(4);
    const pid_t child = fork();
    if (child == 0)
        _exit(0);
    ASSERT_GT(child, 0);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    ring.header->writer = static_cast<std::uint32_t>(child);
    ring.Write(0);
    RingSource source(ring.name, RingShape());
    EXPECT_THAT(ReadAll(source), testing::ElementsAre(0U));
    EXPECT_THAT(source.TakeNotes(), testing::ElementsAre(testing::HasSubstr("the writer is gone")));
}

TEST(RingSource, RefusesHeadersThatLie)
{
    EXPECT_THROW(RingSource("narvo_ring_none", RingShape()), HostError);
    const auto refusal = [](auto change)
    {
        Ring ring(4);
        change(*ring.header);
        try
        {
            RingSource source(ring.name, RingShape());
            return std::string("taken");
        }
        catch (const HostError& error)
        {
            return std::string(error.what());
        }
    };
    using testing::HasSubstr;
    EXPECT_THAT(refusal([](NarvoRingHeader& h) { h.magic = 1; }), HasSubstr(", magic: 1; allowed: "));
    EXPECT_THAT(refusal([](NarvoRingHeader& h) { h.version = 2; }), HasSubstr(", version: 2; allowed: 1"));
    EXPECT_THAT(refusal([](NarvoRingHeader& h) { h.slots = 1; }), HasSubstr(", slots: 1; allowed: 2 to 1024"));
    EXPECT_THAT(refusal([](NarvoRingHeader& h) { h.slots = 0xffffffff; }), HasSubstr(", slots: 4294967295"));
    EXPECT_THAT(refusal([](NarvoRingHeader& h) { h.slots = 5; }), HasSubstr("by slots and slotBytes"));
    EXPECT_THAT(refusal([](NarvoRingHeader& h) { h.frameBytes = 9; }), HasSubstr(", frameBytes: 9; allowed: 693"));
    EXPECT_THAT(refusal([](NarvoRingHeader& h) { h.slotBytes = 64; }), HasSubstr(", slotBytes: 64; allowed: "));
    EXPECT_THAT(refusal([](NarvoRingHeader& h) { h.slotBytes = ~std::uint64_t{0}; }), HasSubstr(", slotBytes: "));
    EXPECT_THAT(refusal([](NarvoRingHeader& h) { h.written = ~std::uint64_t{0}; }), HasSubstr("taken"));
}

TEST(RingSource, SaysThatTheMemoryWasCut)
{
    Ring ring(4);
    ring.Write(0);
    RingSource source(ring.name, RingShape());
    ring.Cut(NARVO_RING_HEADER_BYTES);
    EXPECT_THROW(source.Next({}), HostError);
    ring.Cut(8);
    EXPECT_THROW(source.Next({}), HostError);
}

} // namespace

} // namespace narvo::test
