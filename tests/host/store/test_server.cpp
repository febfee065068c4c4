// SPDX-License-Identifier: MIT
// initdb, postgres and pg_ctl. They refuse to run as root, so they run as another user then.
#include "host/store/test_server.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace narvo::test
{

namespace
{

const std::string programs = NARVO_POSTGRES_PROGRAMS "/";

} // namespace

TestServer::TestServer()
{
    // Short: the name of a socket has at most 107 bytes.
    char name[] = "/tmp/narvo_server_XXXXXX";
    if (mkdtemp(name) == nullptr)
        throw std::runtime_error("no folder");
    m_folder = name;
    if (getuid() == 0)
    {
        const passwd* user = getpwnam("postgres");
        user = user == nullptr ? getpwnam("nobody") : user;
        if (user == nullptr || chown(name, user->pw_uid, user->pw_gid) != 0)
            throw std::runtime_error("no user to run a server as");
        m_user = user->pw_name;
    }
    if (Run(programs + "initdb -D " + m_folder + "/data -U aoi -A trust -E UTF8 --locale=C --no-sync") != 0)
        throw std::runtime_error("initdb failed, see its output");
    Start();
}

TestServer::~TestServer()
{
    Kill();
    std::error_code error;
    std::filesystem::remove_all(m_folder, error);
}

int TestServer::Run(const std::string& command) const
{
    const std::string as =
        m_user.empty() ? "" : "setpriv --reuid=" + m_user + " --regid=$(id -g " + m_user + ") --clear-groups ";
    const int status =
        std::system(("cd " + m_folder + " && " + as + command + " >> " + m_folder + "/log 2>&1").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void TestServer::Start()
{
    Run("timeout -s KILL 300 " + programs + "postgres -D " + m_folder + "/data -F -k " + m_folder +
        " -c listen_addresses= < /dev/null > /dev/null 2>&1 &");
    for (int tries = 0; Run(programs + "pg_isready -q -h " + m_folder) != 0; ++tries)
    {
        if (tries == 300)
            throw std::runtime_error("the server does not answer");
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

void TestServer::Kill()
{
    Run(programs + "pg_ctl stop -w -m immediate -D " + m_folder + "/data");
}

std::string TestServer::NewPlace()
{
    const std::string name = "t" + std::to_string(++m_count);
    if (Run(programs + "createdb -h " + m_folder + " -U aoi " + name) != 0)
        throw std::runtime_error("createdb failed");
    return "postgresql://aoi@/" + name + "?host=" + m_folder;
}

} // namespace narvo::test
