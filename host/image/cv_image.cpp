// Image files from OpenCV's images.
#include "host/image/cv_image.h"

#include <opencv2/imgcodecs.hpp>

#include "host/problem.h"

namespace narvo
{

void SaveImage(const std::filesystem::path& file, const cv::Mat& picture, const char* allowed,
               const std::vector<int>& parameters)
{
    bool written = false;
    try
    {
        written = cv::imwrite(file.string(), picture, parameters);
    }
    catch (const cv::Exception&)
    {
        written = false;
    }
    if (!written)
        throw HostError({{"file " + file.string(), "cannot be written", allowed}});
}

} // namespace narvo
