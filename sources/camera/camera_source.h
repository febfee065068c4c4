// SPDX-License-Identifier: MIT
// Frames from an industrial camera.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "sources/camera/camera_link.h"
#include "sources/frame_source.h"

namespace narvo::sources
{

/// Takes frames of one shape, which the camera says, and finds the camera again when the connection is lost. Each frame
/// that the camera has sent over a connection is handed out, incomplete or lost; frames that it takes while nobody is
/// connected cannot be known of.
class CameraSource : public FrameSource
{
public:
    using Opener = std::function<void(const std::string&, const CameraSettings&, CameraOpening&)>;

    /// Opens the camera and lets it send. `name` is the source's for problems and notes.
    /// @throws HostError where there is no such camera, for features and pixels that are refused, and where `reading`
    /// has another shape than the camera sends; a shape that it leaves open is the camera's. A camera that another
    /// program controls is tried for 6 s, each `pause`. A lost camera is looked for after `pause`, then after twice
    /// that, up to 8 s.
    CameraSource(std::string name, std::string id, CameraSettings settings, const FrameReading& reading, Opener opener,
                 std::chrono::milliseconds pause = std::chrono::milliseconds(250));

    /// Goes on over lost connections until a stop. @throws HostError where the camera comes back with another shape
    std::optional<Frame> Next(const std::stop_token& stop) override;
    FrameLosses Losses() const override { return m_losses; }

    const ImageReading& Reading() const { return m_reading.reading; }

private:
    CameraOpening OpenFirst() const;
    void Begin(std::unique_ptr<CameraLink> link);
    bool FindAgain(const std::stop_token& stop);
    void NoteOnce(const std::string& reason);
    void CountMissing(std::optional<std::uint64_t> id);
    std::optional<Frame> Accept(const CameraFrame& taken);
    void AdviseOnMany();
    std::string FaultOf(const CameraFrame& taken, std::vector<std::uint8_t>& bytes) const;

    std::string m_name;
    std::string m_id;
    CameraSettings m_settings;
    FrameReading m_reading;
    Opener m_open;
    std::chrono::milliseconds m_pause;
    CameraShape m_shape;
    std::unique_ptr<CameraLink> m_link;    ///< null while the connection is lost
    bool m_ending = false;                 ///< the link is lost; what it had received is still taken
    std::optional<std::uint64_t> m_lastId; ///< of this connection
    std::uint64_t m_number = 0;
    FrameLosses m_losses;
    std::chrono::steady_clock::time_point m_lostSince;
    bool m_advised = false;
    std::string m_told; ///< the last reason why the camera cannot be opened again
};

} // namespace narvo::sources
