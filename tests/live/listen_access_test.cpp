// SPDX-License-Identifier: MIT
// Addresses, tokens and hosts that are allowed, and what is said of others.
#include "tools/live/listen_access.h"

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include "host/host_test_help.h"
#include "host/problem.h"

namespace narvo::test
{

namespace
{

using namespace tools;
namespace fs = std::filesystem;

std::string RefusalOf(const std::string& listen, const fs::path& token = {})
{
    try
    {
        ReadListenAccess(listen, token);
    }
    catch (const HostError& error)
    {
        return error.what();
    }
    return {};
}

fs::path WriteToken(const TestFolder& folder, const std::string& text, fs::perms mode = fs::perms::owner_read)
{
    const fs::path file = folder / "token";
    fs::remove(file);
    std::ofstream(file) << text;
    fs::permissions(file, mode);
    return file;
}

TEST(ListenAccess, ReadsAddressesOfThisMachine)
{
    const ListenAccess four = ReadListenAccess("127.0.0.1:8080", {});
    EXPECT_EQ(four.address, "127.0.0.1");
    EXPECT_EQ(four.port, 8080);
    EXPECT_TRUE(four.loopback);
    EXPECT_EQ(ReadListenAccess("[::1]:0", {}).address, "::1");
    EXPECT_EQ(ReadListenAccess("localhost:65535", {}).address, "127.0.0.1");
    EXPECT_TRUE(ReadListenAccess("127.8.9.10:1", {}).loopback);
}

TEST(ListenAccess, RefusesWhatIsNoAddress)
{
    for (const char* const listen : {"", ":", "8080", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1",
                                     "127.0.0.1: 80", "127.0.0.1:80x", "::1:80", "[127.0.0.1]:80", "example.org:80",
                                     "127.0.0.256:80", "[::1:80", "[]:80", "127.1:80"})
        EXPECT_THAT(RefusalOf(listen), testing::HasSubstr("ADDRESS:PORT")) << listen;
}

TEST(ListenAccess, AnAddressThatOthersReachNeedsAToken)
{
    const TestFolder folder;
    for (const char* const listen : {"0.0.0.0:80", "[::]:80", "192.0.2.7:80", "[::ffff:127.0.0.1]:80"})
    {
        EXPECT_EQ(RefusalOf(listen), "--listen: " + std::string(listen) +
                                         " without --listen-token FILE; allowed: an address of this machine alone "
                                         "(127.0.0.1, [::1]), or a token");
        const ListenAccess access = ReadListenAccess(listen, WriteToken(folder, "0123456789abcdef\nmore"));
        EXPECT_EQ(access.token, "0123456789abcdef");
        EXPECT_FALSE(access.loopback);
    }
}

TEST(ListenAccess, RefusesTokensThatAreShortStrangeOrReadableByAllAndNeverTellsThem)
{
    const TestFolder folder;
    const std::string listen = "127.0.0.1:80";
    EXPECT_EQ(ReadListenAccess(listen, WriteToken(folder, "abcdefgh-._~1234\r\n")).token, "abcdefgh-._~1234");
    EXPECT_THAT(RefusalOf(listen, WriteToken(folder, "secret-of-15-by")),
                testing::HasSubstr("a first line of 15 bytes"));
    EXPECT_THAT(RefusalOf(listen, WriteToken(folder, "\n0123456789abcdef")), testing::HasSubstr("of 0 bytes"));
    EXPECT_THAT(RefusalOf(listen, WriteToken(folder, std::string(257, 'a'))), testing::HasSubstr("of 257 bytes"));
    const std::string strange = RefusalOf(listen, WriteToken(folder, "secret secret secret"));
    EXPECT_THAT(strange, testing::HasSubstr("other characters"));
    EXPECT_THAT(strange, testing::Not(testing::HasSubstr("secret secret")));
    EXPECT_THAT(
        RefusalOf(listen, WriteToken(folder, "0123456789abcdef", fs::perms::owner_read | fs::perms::others_read)),
        testing::HasSubstr("chmod 600"));
    EXPECT_THAT(RefusalOf(listen, folder / "none"), testing::HasSubstr("none"));
}

TEST(ListenAccess, ComparesSecretsAsWholes)
{
    const std::string secret = "0123456789abcdef";
    EXPECT_TRUE(SameSecret(secret, secret));
    for (const char* const given : {"", "0", "0123456789abcde", "0123456789abcdeF", "0123456789abcdef0",
                                    "0123456789abcdef0123456789abcdef", "x123456789abcdef"})
        EXPECT_FALSE(SameSecret(given, secret)) << given;
    EXPECT_FALSE(SameSecret(std::string(1000000, '0'), secret));
}

TEST(ListenAccess, TakesOnlyNamesOfThisMachine)
{
    for (const char* const host : {"127.0.0.1", "127.0.0.1:8080", "localhost", "LocalHost:1", "[::1]", "[::1]:80"})
        EXPECT_TRUE(NamesThisMachine(host)) << host;
    for (const char* const host :
         {"", "example.org", "localhost.example.org", "127.0.0.1.example.org:80", "192.0.2.1", "[::1", "[::2]:80",
          "localhost:80x", "localhost:80:80", "evil@localhost", "[::1]x", "0.0.0.0", " localhost", ":80"})
        EXPECT_FALSE(NamesThisMachine(host)) << host;
}

} // namespace

} // namespace narvo::test
