// Reading and writing of text files.
#include "host/text_file.h"

#include <system_error>

#include "host/problem.h"

namespace narvo
{

void WriteTextFile(const std::filesystem::path& file, const std::string& text)
{
    std::ofstream stream(file, std::ios::binary);
    stream << text;
    if (!stream.flush())
        throw HostError({{"file " + file.string(), "cannot be written", "a writable place"}});
}

std::ifstream OpenTextFile(const std::filesystem::path& file, const std::string& name, const char* wanted)
{
    std::ifstream stream(file, std::ios::binary);
    std::error_code error;
    if (!stream || std::filesystem::is_directory(file, error))
        throw HostError({{name, std::filesystem::exists(file, error) ? "cannot be read" : "no such file", wanted}});
    return stream;
}

} // namespace narvo
