// SPDX-License-Identifier: MIT
// What the program asks of the module that talks to cameras. The module is loaded when a camera is asked for, so that
// the program does not depend on the library behind it. Both are built together and hold each other to one version.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/problem.h"
#include "host/recipe/camera_settings.h"

namespace narvo::sources
{

/// What a camera that has been set sends.
struct CameraShape
{
    std::string pixelFormat; ///< by the pixel format naming convention, "Mono12p"
    std::int64_t width = 0;  ///< pixels
    std::int64_t height = 0;
    std::int64_t payload = 0; ///< bytes of a frame with all that comes with it
    bool hasShortIds = false; ///< frames are numbered 1 .. 65535 and from 1 on again; otherwise in 64 bits

    bool operator==(const CameraShape& other) const = default;
};

/// A frame, whole or not. Its bytes stay until it is given back.
struct CameraFrame
{
    std::optional<std::uint64_t> id; ///< the camera's number; unknown where the packet that tells it is missing
    std::string fault;               ///< why it is not whole; empty: it is
    std::span<const std::uint8_t> bytes;
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t rowPadding = 0; ///< bytes behind each row
};

/// An open camera. Calls come from one thread; none throws but for lack of memory.
class CameraLink
{
public:
    CameraLink() = default;
    virtual ~CameraLink() = default;
    CameraLink(const CameraLink&) = delete;
    CameraLink& operator=(const CameraLink&) = delete;

    virtual const CameraShape& Shape() const = 0;
    /// Takes memory for the frames and lets the camera send. @return what went wrong
    virtual std::vector<Problem> Start() = 0;
    /// No more frames are received. One that was on its way is not whole; it and those before it can still be taken.
    virtual void Stop() = 0;
    /// Waits for a frame, at most `limit`. @return false where none came
    virtual bool Take(std::chrono::milliseconds limit, CameraFrame& frame) = 0;
    /// The frame that was taken last; before the next one is.
    virtual void GiveBack() = 0;
    /// Whether the camera no longer answers. It never will: it has to be opened again.
    virtual bool IsLost() const = 0;
    /// Whether frames came for which no memory was free since the last call.
    virtual bool TakeOverrun() = 0;
};

struct CameraOpening
{
    std::unique_ptr<CameraLink> link;
    std::vector<Problem> problems; ///< why there is none
    bool absent = false;           ///< since no such camera is seen
    bool held = false;             ///< since another program controls it
};

/// Opens a camera by its name, serial number or address, sets its features in their order and reads what it sends.
using CameraOpener = void (*)(const std::string& id, const CameraSettings& settings, CameraOpening& opening);

/// Names in the module.
inline constexpr const char* szCameraOpener = "narvo_open_camera";
inline constexpr const char* szCameraVersion = "narvo_camera_version"; ///< function without arguments, returns a text

} // namespace narvo::sources
