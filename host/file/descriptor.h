// SPDX-License-Identifier: MIT
// A file descriptor that is closed with its owner, and the words in which the system's errors reach problems.
#pragma once

#include <string>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace narvo
{

class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool IsOpen() const { return m_descriptor >= 0; }
    int Number() const { return m_descriptor; }
    /// @return what close() answers; 0 when it is closed already
    int Close() { return m_descriptor < 0 ? 0 : close(std::exchange(m_descriptor, -1)); }

private:
    int m_descriptor = -1;
};

/// "No space left on device".
inline std::string SystemError(int error)
{
    return std::generic_category().message(error);
}

} // namespace narvo
