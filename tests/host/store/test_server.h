// SPDX-License-Identifier: MIT
// A PostgreSQL server of the test's own: in a folder that goes away, reached by a socket in it, ended at the latest
// after five minutes.
#pragma once

#include <string>

namespace narvo::test
{

class TestServer
{
public:
    /// @throws std::runtime_error where it cannot be started
    TestServer();
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    /// An address of an empty database, a new one each time.
    std::string NewPlace();
    void Start();
    /// At once, as a crash would: open transactions are lost.
    void Kill();

private:
    /// A command as a user who may run a server. @return exit code
    int Run(const std::string& command) const;

    std::string m_folder;
    std::string m_user;
    int m_count = 0;
};

} // namespace narvo::test
