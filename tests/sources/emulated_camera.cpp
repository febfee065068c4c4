// SPDX-License-Identifier: MIT
// A process that ends with the one that started it.
#include "sources/emulated_camera.h"

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace narvo::test
{

namespace
{

/// Whether something listens at the control port of GigE Vision.
bool IsPortTaken()
{
    const Descriptor opened(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(3956);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return bind(opened.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0;
}

void WaitForPort(bool taken)
{
    for (int tries = 0; IsPortTaken() != taken; ++tries)
    {
        if (tries == 200)
            throw std::runtime_error(taken ? "the emulated camera does not listen"
                                           : "another camera listens on this machine");
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
    }
}

} // namespace

EmulatedCamera::EmulatedCamera(std::vector<std::string> arguments)
    : m_arguments(std::move(arguments)), m_lock(open("/tmp/narvo_emulated_camera", O_RDWR | O_CREAT | O_CLOEXEC, 0666))
{
    // The lock ends with the descriptor, also where this process is killed.
    if (!m_lock.IsOpen() || flock(m_lock.Number(), LOCK_EX) != 0)
        throw std::runtime_error("no lock");
    Start();
}

EmulatedCamera::~EmulatedCamera()
{
    Kill();
}

void EmulatedCamera::Start()
{
    WaitForPort(false);
    std::vector<std::string> line = {NARVO_EMULATED_CAMERA, "-i", "127.0.0.1"};
    line.insert(line.end(), m_arguments.begin(), m_arguments.end());
    std::vector<char*> words;
    for (std::string& word : line)
        words.push_back(word.data());
    words.push_back(nullptr);
    m_process = fork();
    if (m_process < 0)
        throw std::runtime_error("no process");
    if (m_process == 0)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        alarm(180);
        execv(words[0], words.data());
        _exit(127);
    }
    WaitForPort(true);
}

void EmulatedCamera::Kill()
{
    if (m_process <= 0)
        return;
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
    m_process = 0;
}

} // namespace narvo::test
