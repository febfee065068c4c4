// SPDX-License-Identifier: MIT
// Checks of address, token and Host.
#include "tools/live/listen_access.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>

#include <arpa/inet.h>
#include <netinet/in.h>

#include "host/file/input_file.h"
#include "host/limits.h"
#include "host/problem.h"

namespace narvo::tools
{

namespace
{

constexpr const char* szAddresses = "ADDRESS:PORT, as 127.0.0.1:8080, [::1]:8080 or 0.0.0.0:8080; port 0 to 65535";
constexpr std::size_t nLeastToken = 16;
constexpr std::size_t nMostToken = 256;

bool IsTokenLetter(char letter)
{
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9') ||
           std::string_view("-._~").find(letter) != std::string_view::npos;
}

std::string ReadToken(const std::filesystem::path& file)
{
    const std::string name = "--listen-token " + file.string();
    const std::string allowed = std::to_string(nLeastToken) + " to " + std::to_string(nMostToken) +
                                " letters, digits and - . _ ~ in the file's first line";
    std::string token = ReadShortFile(file, name, nRecipeByteLimit, "a readable file with a token in its first line");
    token.resize(std::min(token.find('\n'), token.size()));
    if (!token.empty() && token.back() == '\r')
        token.pop_back();
    // The value stays out of the message.
    if (token.size() < nLeastToken || token.size() > nMostToken)
        throw HostError({{name, "a first line of " + std::to_string(token.size()) + " bytes", allowed}});
    if (!std::all_of(token.begin(), token.end(), IsTokenLetter))
        throw HostError({{name, "a first line with other characters", allowed}});
    std::error_code problem;
    const auto mode = std::filesystem::status(file, problem).permissions();
    if (!problem && (mode & std::filesystem::perms::others_read) != std::filesystem::perms::none)
        throw HostError({{name, "readable by every user", "a file that only its owner can read: chmod 600"}});
    return token;
}

bool IsLoopback(const std::string& address, bool& numeric)
{
    in_addr four{};
    in6_addr six{};
    numeric = true;
    if (inet_pton(AF_INET, address.c_str(), &four) == 1)
        return (ntohl(four.s_addr) >> 24) == 127;
    if (inet_pton(AF_INET6, address.c_str(), &six) == 1)
        return IN6_IS_ADDR_LOOPBACK(&six);
    numeric = false;
    return false;
}

} // namespace

ListenAccess ReadListenAccess(const std::string& listen, const std::filesystem::path& tokenFile)
{
    const auto refuse = [&]() { throw HostError({{"--listen", listen, szAddresses}}); };
    ListenAccess access;
    const std::size_t colon = listen.rfind(':');
    if (colon == std::string::npos)
        refuse();
    access.address = listen.substr(0, colon);
    const char* const end = listen.data() + listen.size();
    const auto [read, fault] = std::from_chars(listen.data() + colon + 1, end, access.port);
    if (fault != std::errc() || read != end || access.port < 0 || access.port > 65535)
        refuse();
    const bool brackets = access.address.size() > 2 && access.address.front() == '[' && access.address.back() == ']';
    if (brackets)
        access.address = access.address.substr(1, access.address.size() - 2);
    else if (access.address.find(':') != std::string::npos)
        refuse();
    if (access.address == "localhost")
        access.address = "127.0.0.1";
    bool numeric = false;
    access.loopback = IsLoopback(access.address, numeric);
    if (!numeric || brackets != (access.address.find(':') != std::string::npos))
        refuse();
    if (!tokenFile.empty())
        access.token = ReadToken(tokenFile);
    if (!access.loopback && access.token.empty())
        throw HostError({{"--listen", listen + " without --listen-token FILE",
                          "an address of this machine alone (127.0.0.1, [::1]), or a token"}});
    return access;
}

bool SameSecret(std::string_view given, std::string_view secret)
{
    if (secret.empty())
        return given.empty();
    unsigned different = given.size() == secret.size() ? 0 : 1;
    for (std::size_t i = 0; i < given.size(); ++i)
        different |= static_cast<unsigned>(static_cast<unsigned char>(given[i]) ^
                                           static_cast<unsigned char>(secret[i % secret.size()]));
    return different == 0;
}

bool NamesThisMachine(std::string_view host)
{
    const std::size_t end = host.starts_with('[') ? host.find(']') : host.rfind(':');
    std::string name(host);
    std::string_view port;
    if (host.starts_with('['))
    {
        if (end == std::string_view::npos)
            return false;
        name = host.substr(1, end - 1);
        port = host.substr(end + 1);
    }
    else if (end != std::string_view::npos)
    {
        name = host.substr(0, end);
        port = host.substr(end);
    }
    const auto isDigit = [](char letter) { return letter >= '0' && letter <= '9'; };
    if (!port.empty() && (port[0] != ':' || !std::all_of(port.begin() + 1, port.end(), isDigit)))
        return false;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char letter)
                   { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter; });
    bool numeric = false;
    return name == "localhost" || IsLoopback(name, numeric);
}

} // namespace narvo::tools
