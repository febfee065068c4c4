// SPDX-License-Identifier: MIT
// Gaps in the numbers of frames, and the way back to a camera that was lost.
#include "sources/camera/camera_source.h"

#include <algorithm>
#include <cstddef>
#include <thread>
#include <utility>

#include "host/counted.h"
#include "host/problem.h"
#include "sources/camera/camera_shape.h"

namespace narvo::sources
{

namespace
{

constexpr std::chrono::milliseconds nStep{50}; // how late a stop may be noticed

constexpr std::uint64_t nShortIds = 65535; ///< 0 is none

std::uint64_t IdAfter(std::uint64_t id, bool hasShortIds)
{
    return hasShortIds && id >= nShortIds ? 1 : id + 1;
}

/// Steps from one number of a frame to a later one.
std::uint64_t StepsBetween(std::uint64_t from, std::uint64_t to, bool hasShortIds)
{
    return hasShortIds ? (to % (nShortIds + 1) + nShortIds - from % (nShortIds + 1)) % nShortIds : to - from;
}

/// Beyond these, the later number is rather an earlier one.
std::uint64_t MostSteps(bool hasShortIds)
{
    return hasShortIds ? 32767 : std::uint64_t{1} << 62;
}

} // namespace

CameraSource::CameraSource(std::string name, std::string id, CameraSettings settings, const FrameReading& reading,
                           Opener opener, std::chrono::milliseconds pause)
    : m_name(std::move(name)), m_id(std::move(id)), m_settings(std::move(settings)), m_reading(reading),
      m_open(std::move(opener)), m_pause(pause)
{
    CameraOpening opening = OpenFirst();
    ThrowIfAny(std::move(opening.problems));
    TakeShape(opening.link->Shape(), m_name, m_reading.reading);
    m_shape = opening.link->Shape();
    ThrowIfAny(opening.link->Start());
    Begin(std::move(opening.link));
}

CameraOpening CameraSource::OpenFirst() const
{
    // A camera keeps to a program that was killed until its heartbeat is missing, 3 s where nothing else is set. An
    // opening may take longer than that by itself, so one is begun behind that time.
    constexpr std::chrono::milliseconds nMost{6000};
    const auto since = std::chrono::steady_clock::now();
    for (;;)
    {
        const bool last = std::chrono::steady_clock::now() - since >= nMost;
        CameraOpening opening;
        m_open(m_id, m_settings, opening);
        if (!opening.held || last)
            return opening;
        std::this_thread::sleep_for(m_pause);
    }
}

void CameraSource::Begin(std::unique_ptr<CameraLink> link)
{
    m_link = std::move(link);
    m_ending = false;
    m_lastId.reset();
    m_told.clear();
}

std::optional<Frame> CameraSource::Next(const std::stop_token& stop)
{
    while (!stop.stop_requested())
    {
        if (m_link == nullptr && !FindAgain(stop))
            return std::nullopt;
        // Asked before a frame is waited for, so that what came until then is taken.
        const bool lost = m_link->IsLost();
        CameraFrame taken;
        if (m_link->Take(m_ending ? std::chrono::milliseconds(1) : nStep, taken))
        {
            std::optional<Frame> frame = Accept(taken);
            m_link->GiveBack();
            if (frame)
                return frame;
        }
        else if (m_ending)
            m_link.reset();
        else if (lost)
        {
            m_lostSince = std::chrono::steady_clock::now();
            Note(m_name + " is lost; it is looked for until it is back");
            m_link->Stop();
            m_ending = true;
        }
    }
    return std::nullopt;
}

bool CameraSource::FindAgain(const std::stop_token& stop)
{
    constexpr std::chrono::milliseconds nMost{8000};
    for (std::chrono::milliseconds pause = m_pause;; pause = std::min(2 * pause, nMost))
    {
        for (std::chrono::milliseconds waited{0}; waited < pause; waited += nStep)
        {
            if (stop.stop_requested())
                return false;
            std::this_thread::sleep_for(std::min(nStep, pause - waited));
        }
        CameraOpening opening;
        m_open(m_id, m_settings, opening);
        if (opening.link != nullptr && opening.link->Shape() != m_shape)
            throw HostError({{m_name, "back with " + ShapeText(opening.link->Shape()),
                              ShapeText(m_shape) + ", as before; camera.features of the recipe sets it"}});
        if (opening.link != nullptr)
            opening.problems = opening.link->Start();
        if (opening.link != nullptr && opening.problems.empty())
        {
            const auto seconds =
                std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - m_lostSince);
            Begin(std::move(opening.link));
            Note(m_name + " is back after " + std::to_string(seconds.count()) + " s");
            return true;
        }
        if (!opening.absent && !opening.problems.empty())
            NoteOnce(opening.problems.front().Text());
    }
}

void CameraSource::NoteOnce(const std::string& reason)
{
    if (std::exchange(m_told, reason) != reason)
        Note(m_name + " is seen, but cannot be opened: " + reason);
}

void CameraSource::CountMissing(std::optional<std::uint64_t> id)
{
    // A frame without a number is taken for the next one; the number after it shows what else is missing.
    if (!id && m_lastId)
        id = IdAfter(*m_lastId, m_shape.hasShortIds);
    const std::optional<std::uint64_t> last = std::exchange(m_lastId, id);
    if (!id || !last)
        return;
    const std::uint64_t steps = StepsBetween(*last, *id, m_shape.hasShortIds);
    if (steps == 0 || steps > MostSteps(m_shape.hasShortIds))
    {
        Note(m_name + " numbers its frames anew, from " + std::to_string(*id) + " after " + std::to_string(*last));
        return;
    }
    if (steps == 1)
        return;
    const std::uint64_t missing = steps - 1;
    Note(Counted(missing, "frame") + " from " + std::to_string(m_number) + " on " + (missing == 1 ? "is" : "are") +
         " lost" + (m_link->TakeOverrun() ? ", since no buffer was free; camera.buffers sets how many there are" : ""));
    m_losses.lost += missing;
    m_number += missing;
}

std::optional<Frame> CameraSource::Accept(const CameraFrame& taken)
{
    CountMissing(taken.id);
    const std::uint64_t number = m_number++;
    std::vector<std::uint8_t> bytes;
    if (const std::string fault = FaultOf(taken, bytes); !fault.empty())
    {
        ++m_losses.incomplete;
        Note("frame " + std::to_string(number) + " is incomplete: " + fault);
        AdviseOnMany();
        return std::nullopt;
    }
    return RawBytesFrame(std::move(bytes), number, m_reading);
}

/// Once, where most frames of a network camera are incomplete, though the network itself is sound.
void CameraSource::AdviseOnMany()
{
    constexpr std::uint64_t nMany = 10;
    if (m_advised || m_losses.incomplete < nMany || 2 * m_losses.incomplete < m_number)
        return;
    m_advised = true;
    Note(std::to_string(m_losses.incomplete) + " of " + std::to_string(m_number) +
         " frames are incomplete: the system may have too little room for their packets; allow " +
         std::to_string(4 * m_shape.payload) + " bytes (sysctl net.core.rmem_max), or the right cap_net_raw");
}

std::string CameraSource::FaultOf(const CameraFrame& taken, std::vector<std::uint8_t>& bytes) const
{
    if (!taken.fault.empty())
        return taken.fault;
    if (taken.width != m_shape.width || taken.height != m_shape.height)
        return std::to_string(taken.width) + " by " + std::to_string(taken.height) + " of " +
               std::to_string(m_shape.width) + " by " + std::to_string(m_shape.height) + " pixels came";
    const ImageReading& reading = m_reading.reading;
    const auto whole = static_cast<std::size_t>(FrameBytes(reading));
    const std::int64_t rowBits = std::int64_t{reading.rawWidth} * PackedBits(reading.rawFormat);
    const auto padding = static_cast<std::size_t>(std::max(taken.rowPadding, std::int64_t{0}));
    const std::size_t padded = whole + padding * static_cast<std::size_t>(reading.rawHeight);
    if (padding > 0 && rowBits % 8 != 0)
        return "bytes stand behind rows that end within a byte";
    if (taken.bytes.size() < padded)
        return std::to_string(taken.bytes.size()) + " of " + std::to_string(padded) + " bytes came";
    if (padding == 0)
    {
        bytes.assign(taken.bytes.begin(), taken.bytes.begin() + static_cast<std::ptrdiff_t>(whole));
        return {};
    }
    const auto row = static_cast<std::size_t>(rowBits / 8);
    bytes.reserve(whole);
    for (std::size_t y = 0; y < static_cast<std::size_t>(reading.rawHeight); ++y)
    {
        const auto begin = taken.bytes.begin() + static_cast<std::ptrdiff_t>(y * (row + padding));
        bytes.insert(bytes.end(), begin, begin + static_cast<std::ptrdiff_t>(row));
    }
    return {};
}

} // namespace narvo::sources
