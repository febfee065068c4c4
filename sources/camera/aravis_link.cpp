// SPDX-License-Identifier: MIT
// Cameras by Aravis: GigE Vision and USB3 Vision. All of the module's contents; the program finds its functions by
// name.
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

#include <arv.h>

#include "sources/camera/aravis_features.h"
#include "sources/camera/camera_link.h"

namespace narvo::sources
{

namespace
{

/// An object of GLib that is let go with this.
template <typename Object>
class Held
{
public:
    explicit Held(Object* object = nullptr) : m_object(object) {}
    ~Held() { Reset(); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

    Object* Get() const { return m_object; }
    void Reset(Object* object = nullptr)
    {
        if (m_object != nullptr)
            g_object_unref(m_object);
        m_object = object;
    }

private:
    Object* m_object;
};

std::string StatusText(ArvBufferStatus status)
{
    switch (status)
    {
    case ARV_BUFFER_STATUS_TIMEOUT:
        return "not all of its packets came in time";
    case ARV_BUFFER_STATUS_MISSING_PACKETS:
    case ARV_BUFFER_STATUS_WRONG_PACKET_ID:
        return "packets are missing";
    case ARV_BUFFER_STATUS_SIZE_MISMATCH:
        return "it has another size than the camera said";
    case ARV_BUFFER_STATUS_FILLING:
    case ARV_BUFFER_STATUS_ABORTED:
        return "the connection ended within it";
    default:
        return "its state is unknown";
    }
}

class AravisLink : public CameraLink
{
public:
    AravisLink(ArvCamera* camera, std::string name, const CameraSettings& settings)
        : m_camera(camera), m_name(std::move(name)), m_settings(settings)
    {
        g_signal_connect(Device(), "control-lost", G_CALLBACK(&AravisLink::OnLost), this);
    }

    ~AravisLink() override
    {
        EndAcquisition();
        GiveBack();
        // The end of a stream stops its thread, and complains where there is none.
        if (m_stopped)
            arv_stream_start_thread(m_stream.Get());
        m_stream.Reset();
        g_signal_handlers_disconnect_by_data(Device(), this);
    }

    /// Whether another program controls the camera.
    bool IsHeld() { return IsGigE() && !arv_gv_device_is_controller(ARV_GV_DEVICE(Device())); }

    /// Sets the features and reads what the camera sends then.
    std::vector<Problem> Prepare()
    {
        if (IsHeld())
            return {{m_name, "in the hands of another program", "a camera that no other one controls"}};
        std::vector<Problem> found;
        for (std::size_t i = 0; i < m_settings.features.size(); ++i)
            for (Problem& problem :
                 SetFeature(Device(), m_settings.features[i], "camera.features[" + std::to_string(i) + "]"))
                found.push_back(std::move(problem));
        if (!found.empty())
            return found;
        GError* error = nullptr;
        const char* const format = arv_camera_get_pixel_format_as_string(m_camera.Get(), &error);
        if (error != nullptr || format == nullptr)
            return {{m_name, TakeErrorText(error), "a camera that names its PixelFormat"}};
        m_shape.pixelFormat = format;
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
        arv_camera_get_region(m_camera.Get(), &x, &y, &width, &height, &error);
        if (error == nullptr)
            m_shape.payload = arv_camera_get_payload(m_camera.Get(), &error);
        if (error != nullptr)
            return {{m_name, TakeErrorText(error), "a camera that tells the size of its frames"}};
        m_shape.width = width;
        m_shape.height = height;
        m_shape.hasShortIds = IsGigE() && !HasLongIds();
        return {};
    }

    const CameraShape& Shape() const override { return m_shape; }

    std::vector<Problem> Start() override
    {
        GError* error = nullptr;
        m_stream.Reset(arv_camera_create_stream(m_camera.Get(), nullptr, nullptr, &error));
        if (m_stream.Get() == nullptr)
            return {{m_name, TakeErrorText(error), "a camera that opens a stream"}};
        if (ARV_IS_GV_STREAM(m_stream.Get()))
            // A program without the right to packet sockets gets its packets from a socket, and the system counts the
            // memory of each against the socket's buffer, more than its bytes: room for several frames keeps a burst.
            // More than net.core.rmem_max is cut by the system.
            g_object_set(m_stream.Get(), "frame-retention", static_cast<unsigned>(m_settings.framePause) * 1000U,
                         "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size",
                         static_cast<int>(std::min<std::int64_t>(m_shape.payload * 4, 64 << 20)), nullptr);
        const auto bytes = static_cast<std::size_t>(m_shape.payload);
        for (int i = 0; i < m_settings.buffers; ++i)
        {
            m_memory.emplace_back(new (std::nothrow) std::uint8_t[bytes]);
            if (m_memory.back() == nullptr)
                return {{"camera.buffers",
                         std::to_string(m_settings.buffers) + " of " + std::to_string(bytes) + " bytes",
                         "as many as there is memory for"}};
            arv_stream_push_buffer(m_stream.Get(), arv_buffer_new(bytes, m_memory.back().get()));
        }
        arv_camera_start_acquisition(m_camera.Get(), &error);
        if (error != nullptr)
            return {{m_name, TakeErrorText(error), "a camera that starts to send"}};
        m_running = true;
        return {};
    }

    void Stop() override
    {
        EndAcquisition();
        if (m_stream.Get() != nullptr && !std::exchange(m_stopped, true))
            arv_stream_stop_thread(m_stream.Get(), FALSE);
    }

    bool Take(std::chrono::milliseconds limit, CameraFrame& frame) override
    {
        if (m_stream.Get() == nullptr)
            return false;
        m_taken = arv_stream_timeout_pop_buffer(m_stream.Get(), static_cast<std::uint64_t>(limit.count()) * 1000U);
        if (m_taken == nullptr)
            return false;
        frame = CameraFrame();
        const std::uint64_t id = arv_buffer_get_frame_id(m_taken);
        if (id != 0 || !IsGigE())
            frame.id = id;
        if (const ArvBufferStatus status = arv_buffer_get_status(m_taken); status != ARV_BUFFER_STATUS_SUCCESS)
        {
            frame.fault = StatusText(status);
            return true;
        }
        const ArvBufferPayloadType kind = arv_buffer_get_payload_type(m_taken);
        if (kind != ARV_BUFFER_PAYLOAD_TYPE_IMAGE && kind != ARV_BUFFER_PAYLOAD_TYPE_EXTENDED_CHUNK_DATA &&
            kind != ARV_BUFFER_PAYLOAD_TYPE_MULTIPART)
        {
            frame.fault = "it carries no image (payload type " + std::to_string(static_cast<int>(kind)) + ")";
            return true;
        }
        std::size_t bytes = 0;
        const void* const data = arv_buffer_get_image_data(m_taken, &bytes);
        frame.bytes = {static_cast<const std::uint8_t*>(data), data == nullptr ? 0 : bytes};
        frame.width = arv_buffer_get_image_width(m_taken);
        frame.height = arv_buffer_get_image_height(m_taken);
        int paddingX = 0;
        int paddingY = 0;
        arv_buffer_get_image_padding(m_taken, &paddingX, &paddingY);
        frame.rowPadding = paddingX;
        return true;
    }

    void GiveBack() override
    {
        if (m_taken == nullptr)
            return;
        // A frame whose first packet is missing would show the number that its buffer had before. No frame of GigE has
        // 0.
        arv_buffer_set_frame_id(m_taken, 0);
        arv_stream_push_buffer(m_stream.Get(), std::exchange(m_taken, nullptr));
    }

    bool IsLost() const override { return m_lost; }

    bool TakeOverrun() override
    {
        // Counted by packets for some cameras and by frames for others.
        std::uint64_t overruns = 0;
        if (m_stream.Get() != nullptr)
            arv_stream_get_statistics(m_stream.Get(), nullptr, nullptr, &overruns);
        return std::exchange(m_overruns, overruns) != overruns;
    }

private:
    static void OnLost(ArvDevice*, void* self) { static_cast<AravisLink*>(self)->m_lost = true; }

    /// A camera that is gone would be waited for.
    void EndAcquisition()
    {
        if (std::exchange(m_running, false) && !IsLost())
            arv_camera_stop_acquisition(m_camera.Get(), nullptr);
    }

    ArvDevice* Device() const { return arv_camera_get_device(m_camera.Get()); }

    bool IsGigE() const { return ARV_IS_GV_DEVICE(Device()); }

    bool HasLongIds() const
    {
        static constexpr const char* szMode = "GevGVSPExtendedIDMode";
        if (arv_device_get_feature(Device(), szMode) == nullptr)
            return false;
        GError* error = nullptr;
        const char* const mode = arv_device_get_string_feature_value(Device(), szMode, &error);
        const bool isOn = error == nullptr && mode != nullptr && std::string(mode) == "On";
        g_clear_error(&error);
        return isOn;
    }

    // The stream is let go before the memory of its frames, and that before the camera.
    Held<ArvCamera> m_camera;
    std::vector<std::unique_ptr<std::uint8_t[]>> m_memory;
    Held<ArvStream> m_stream;
    std::string m_name;
    CameraSettings m_settings;
    CameraShape m_shape;
    ArvBuffer* m_taken = nullptr;
    std::uint64_t m_overruns = 0;
    bool m_running = false;           ///< the camera sends
    bool m_stopped = false;           ///< the stream has no thread
    std::atomic<bool> m_lost = false; ///< by a thread of the library
};

std::string CamerasSeen()
{
    arv_update_device_list();
    std::string list;
    for (unsigned i = 0; i < arv_get_n_devices(); ++i)
    {
        const auto text = [](const char* part) { return std::string(part == nullptr ? "?" : part); };
        list += (list.empty() ? "" : ", ") + text(arv_get_device_id(i)) + " (" + text(arv_get_device_protocol(i)) +
                ", " + text(arv_get_device_address(i)) + ")";
    }
    return list;
}

/// A camera on this machine, an emulated one, is found by way of every network interface, but its frames come by way of
/// the loopback alone.
ArvCamera* ByLoopback(ArvCamera* found, GError*& error)
{
    ArvDevice* const device = arv_camera_get_device(found);
    if (!ARV_IS_GV_DEVICE(device))
        return found;
    const auto hostOf = [](GSocketAddress* address)
    { return g_inet_socket_address_get_address(G_INET_SOCKET_ADDRESS(address)); };
    GInetAddress* camera = hostOf(arv_gv_device_get_device_address(ARV_GV_DEVICE(device)));
    if (!g_inet_address_get_is_loopback(camera) ||
        g_inet_address_equal(camera, hostOf(arv_gv_device_get_interface_address(ARV_GV_DEVICE(device)))))
        return found;
    g_object_ref(camera);
    const Held<GInetAddress> address(camera);
    g_object_unref(found);
    const Held<ArvDevice> again(arv_gv_device_new(camera, camera, &error));
    return again.Get() == nullptr ? nullptr : arv_camera_new_with_device(again.Get(), &error);
}

CameraOpening OpenAravis(const std::string& id, const CameraSettings& settings)
{
    const std::string name = "aravis:" + id;
    CameraOpening opening;
    GError* error = nullptr;
    // The library remembers cameras that it has seen, and would wait long for one that is gone.
    static std::atomic<bool> hasOpened = false;
    if (hasOpened.exchange(true))
        arv_update_device_list();
    ArvCamera* camera = id.empty() ? nullptr : arv_camera_new(id.c_str(), &error);
    if (camera != nullptr)
        camera = ByLoopback(camera, error);
    if (camera == nullptr)
    {
        opening.absent = error == nullptr || error->code == ARV_DEVICE_ERROR_NOT_FOUND;
        const std::string reason = id.empty() ? "no camera named" : TakeErrorText(error);
        const std::string seen = CamerasSeen();
        opening.problems = {
            {name, reason, seen.empty() ? "a camera that is seen; none is" : "a camera that is seen: " + seen}};
        return opening;
    }
    auto link = std::make_unique<AravisLink>(camera, name, settings);
    opening.held = link->IsHeld();
    opening.problems = link->Prepare();
    if (opening.problems.empty())
        opening.link = std::move(link);
    return opening;
}

} // namespace

} // namespace narvo::sources

extern "C"
{
    [[gnu::visibility("default")]] const char* narvo_camera_version()
    {
        return NARVO_CAMERA_VERSION;
    }
    [[gnu::visibility("default")]] void narvo_open_camera(const std::string& id, const narvo::CameraSettings& settings,
                                                          narvo::sources::CameraOpening& opening)
    {
        opening = narvo::sources::OpenAravis(id, settings);
    }
}
