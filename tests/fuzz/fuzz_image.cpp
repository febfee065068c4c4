// SPDX-License-Identifier: MIT
// Bytes as an image file: read as 8-bit grey, or refused with a message. An image written and read again is the same.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include "fuzz/require.h"
#include "host/image/grey_image.h"
#include "host/problem.h"

namespace
{

using namespace narvo;
using narvo::test::Require;

/// A file of this process, removed with the object.
class CScratchFile
{
public:
    explicit CScratchFile(const std::string& strEnding)
        : m_path(std::filesystem::temp_directory_path() / ("narvo-fuzz-image-" + std::to_string(getpid()) + strEnding))
    {
    }
    ~CScratchFile()
    {
        std::error_code error;
        std::filesystem::remove(m_path, error);
    }
    CScratchFile(const CScratchFile&) = delete;
    CScratchFile& operator=(const CScratchFile&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pBytes, std::size_t nBytes)
{
    static const CScratchFile input(".img");
    static const CScratchFile output(".png");
    std::ofstream(input.Path(), std::ios::binary)
        .write(reinterpret_cast<const char*>(pBytes), static_cast<std::streamsize>(nBytes));
    GreyImage image;
    try
    {
        image = LoadGreyImage(input.Path());
    }
    catch (const HostError& error)
    {
        Require(error.Problems().size() == 1, "a refusal names one problem");
        const Problem& problem = error.Problems().front();
        Require(!problem.field.empty() && !problem.value.empty() && !problem.allowed.empty(),
                "it names file, finding and what is allowed");
        return 0;
    }
    Require(image.Width() >= 1 && image.Height() >= 1 && image.Stride() % 4 == 0, "an image has a size");
    for (int y = 0; y < image.Height(); ++y)
        for (int x = image.Width(); x < image.Stride(); ++x)
            Require(image.Row(y)[x] == image.Row(y)[image.Width() - 1], "rows are padded with their last pixel");
    if (image.Width() > 256 || image.Height() > 256)
        return 0; // writing does not depend on the content
    SaveGreyImage(output.Path(), image);
    const GreyImage again = LoadGreyImage(output.Path());
    Require(again.Width() == image.Width() && again.Height() == image.Height(), "a written image has its size");
    for (int y = 0; y < image.Height(); ++y)
        Require(std::memcmp(again.Row(y), image.Row(y), static_cast<std::size_t>(image.Stride())) == 0,
                "a written image has its pixels");
    return 0;
}
