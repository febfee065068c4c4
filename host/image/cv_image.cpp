// SPDX-License-Identifier: MIT
// Image files from OpenCV's images: encoded in memory, so that the file is written and checked as any other.
#include "host/image/cv_image.h"

#include <cstdint>

#include <opencv2/imgcodecs.hpp>

#include "host/file/output_file.h"

namespace narvo
{

void SaveImage(const std::filesystem::path& file, const cv::Mat& picture, const char* allowed,
               const std::vector<int>& parameters)
{
    std::vector<std::uint8_t> bytes;
    bool encoded = false;
    try
    {
        encoded = cv::imencode(file.extension().string(), picture, bytes, parameters);
    }
    catch (const cv::Exception&)
    {
        encoded = false;
    }
    if (!encoded)
        throw WriteError(file, "no image format that can hold it", allowed);
    WriteFile(file, bytes.data(), bytes.size());
}

} // namespace narvo
