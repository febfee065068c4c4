// SPDX-License-Identifier: MIT
// The emulated camera of Aravis, as a process of its own on the loopback: one at a time on a machine, ended at the
// latest after three minutes.
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

#include "host/file/descriptor.h"

namespace narvo::test
{

class EmulatedCamera
{
public:
    static constexpr const char* szId = "Aravis-Fake-GV01";

    /// Waits for other tests' cameras. `arguments` are further ones of the tool.
    /// @throws std::runtime_error where it cannot be started
    explicit EmulatedCamera(std::vector<std::string> arguments = {});
    ~EmulatedCamera();
    EmulatedCamera(const EmulatedCamera&) = delete;
    EmulatedCamera& operator=(const EmulatedCamera&) = delete;

    /// It answers when this returns.
    void Start();
    /// At once, as a cable that is pulled.
    void Kill();

private:
    std::vector<std::string> m_arguments;
    Descriptor m_lock;
    pid_t m_process = 0;
};

} // namespace narvo::test
