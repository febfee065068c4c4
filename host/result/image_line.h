// SPDX-License-Identifier: MIT
// The line of one image in the results of many: written, and read back only where it is whole and true to its form.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "host/inspect/batch.h"
#include "host/problem.h"

namespace narvo
{

/// Version of a line's JSON form.
constexpr int nImageLineVersion = 1;

/// What tells whether a file is still the one that was inspected.
struct FileIdentity
{
    std::uint64_t bytes = 0;   ///< 0 for a file that is not there
    std::int64_t modified = 0; ///< nanoseconds since 1970
    std::string digest;        ///< of its bytes; empty when they were not read

    /// Size and time of a file; the digest is left empty.
    static FileIdentity Of(const std::filesystem::path& file);
};

/// It holds no times, so that equal work gives equal lines.
struct ImageLine
{
    ImageResult result;
    FileIdentity identity;
    std::string recipe; ///< digest
};

nlohmann::ordered_json ImageLineToJson(const ImageLine& line);

/// The line as it stands in the file, without its end.
std::string ImageLineText(const nlohmann::ordered_json& document);

/// Whether the text may be a line that was cut while it was written.
bool MayBeCutImageLine(std::string_view text);

/// A line of a form that this program does not know.
class OtherVersionError : public HostError
{
public:
    using HostError::HostError;
};

/// Reads a line; `name` says in problems which one. What was read must give the same bytes when it is written, so that
/// no line stands that this program would not have written.
/// @throws OtherVersionError, or HostError when the line is damaged
ImageLine ReadImageLine(const std::string& text, const std::string& name);

} // namespace narvo
