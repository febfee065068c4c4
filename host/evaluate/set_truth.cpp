// SPDX-License-Identifier: MIT
// Masks are read whole; of images with boxes, the size is enough.
#include "host/evaluate/set_truth.h"

#include <optional>
#include <string>

#include "host/image/cv_image.h"
#include "host/image/grey_image.h"
#include "host/image/image_header.h"
#include "host/problem.h"

namespace narvo
{

ImageTruth TruthOfSetImage(const SetImage& image, std::int64_t maxPixels)
{
    if (!image.mask.empty())
    {
        const GreyImage mask = LoadGreyImage(image.mask, {}, nullptr, maxPixels);
        return TruthOfMask(ViewOf(mask), image.kind);
    }
    ImageTruth truth;
    truth.defective = image.defective;
    if (image.defective && image.boxes.empty())
        return truth;
    const std::optional<ImageHeader> header = ReadImageHeader(image.file);
    if (!header || header->width < 1 || header->height < 1)
        throw HostError({{"image " + image.file.string(), "not an image, or damaged", "an image file"}});
    if (header->width * header->height > maxPixels)
        throw HostError({{"image " + image.file.string(),
                          std::to_string(header->width) + " by " + std::to_string(header->height) + " pixels",
                          "at most " + std::to_string(maxPixels) + " pixels, unless max-pixels allows more"}});
    return TruthOfBoxes(image.boxes, cv::Size(static_cast<int>(header->width), static_cast<int>(header->height)));
}

} // namespace narvo
