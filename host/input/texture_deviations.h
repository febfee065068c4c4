// SPDX-License-Identifier: MIT
// The measures of texture mode: an image with light and contrast taken out, reduced, and each measure as the deviation
// of every place from the image's own typical value.
#pragma once

#include <map>
#include <vector>

#include <opencv2/core.hpp>

#include "host/image/grey_image.h"
#include "host/recipe/texture_settings.h"

namespace narvo
{

/// Deviations of one measure on its reduced image (CV_32F, 0 and more), in robust standard deviations.
struct TextureDeviation
{
    cv::Mat bright; ///< above the typical value
    cv::Mat dark;   ///< below it
};

/// Where texture mode looks for defects in a grey image (CV_32F, 0 .. 255): 1, elsewhere 0 (CV_8U).
cv::Mat FindTextureArea(const cv::Mat& grey, const TextureSettings& settings);

/// One image in texture mode. The same image gives the same values whatever runs beside.
class TextureDeviations
{
public:
    /// The image's sides are at least nTextureSideLow. `features` are the measures that will be asked for.
    TextureDeviations(const GreyView& image, const TextureSettings& settings,
                      const std::vector<TextureFeature>& features);

    /// @param feature one of the measures; its limits are not looked at
    TextureDeviation Of(const TextureFeature& feature) const;

    /// Size of the image reduced `fold` times; partly covered pixels at the right and lower border included.
    cv::Size SizeAt(int fold) const { return m_folds.at(fold).area.size(); }
    /// Pixels of the reduced image that lie mostly in the zone beside a margin: 255, the others 0 (CV_8U).
    cv::Mat EdgeAt(int fold) const;
    /// Full size: 1 inside the pattern's area, its edge zone included; 0 elsewhere (CV_8U).
    const cv::Mat& Area() const { return m_area; }
    /// Full size: 1 in the zone beside a margin.
    const cv::Mat& Edge() const { return m_edge; }

private:
    /// The image at one scale.
    struct Fold
    {
        cv::Mat brightness;
        cv::Mat cutBrightness;           ///< of values cut at some deviations, so that specks do not count as lines
        std::map<int, cv::Mat> energies; ///< by source, those that measures are taken of
        cv::Mat area;                    ///< share of each pixel inside
        cv::Mat edge;                    ///< share in the zone beside a margin
    };

    cv::Mat m_area;
    cv::Mat m_edge;
    std::map<int, Fold> m_folds;
};

} // namespace narvo
