// SPDX-License-Identifier: MIT
// Where the live page is served, and to whom.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace narvo::tools
{

struct ListenAccess
{
    std::string address; ///< numeric, IPv4 or IPv6 without brackets
    int port = 0;        ///< 0: any that is free
    bool loopback = true;
    std::string token; ///< asked for where it is not empty
};

/// Reads "127.0.0.1:8080", "[::1]:8080" or "localhost:8080", and the token from the first line of a file (empty name:
/// none). @throws HostError for anything else, for an address beyond this machine without a token, and for a token
/// file that every user can read
ListenAccess ReadListenAccess(const std::string& listen, const std::filesystem::path& tokenFile);

/// Whether both are equal, in a time that depends on the length of `given` alone.
bool SameSecret(std::string_view given, std::string_view secret);

/// Whether the header Host of a request names this machine: pages of other names that resolve to it (DNS rebinding)
/// are refused.
bool NamesThisMachine(std::string_view host);

} // namespace narvo::tools
