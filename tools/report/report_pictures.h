// SPDX-License-Identifier: MIT
// Pictures of a report as data URIs: sheets of small crops of defects.
#pragma once

#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include "host/image/grey_image.h"
#include "host/inspect/inspector.h"
#include "host/probe/kernel_probe.h"

namespace narvo::tools
{

/// Crops of defects side by side: for each defect its place in the image, and where something is compared, what the
/// engine compared it with and the difference (orange brighter, blue darker).
class ThumbnailSheet
{
public:
    static constexpr int nCell = 48;        ///< side of a crop in the sheet, pixels
    static constexpr int nColumns = 24;     ///< cells side by side
    static constexpr int nDefectMost = 200; ///< defects on a sheet

    /// Cells of one defect: 3, or 1 without a comparison.
    explicit ThumbnailSheet(int parts) : m_parts(parts) {}

    bool IsFull() const { return m_count >= nDefectMost; }
    bool IsEmpty() const { return m_count == 0; }
    /// What a defect was compared with. Where nothing is known, the cells besides the first stay blank.
    struct Against
    {
        const CKernelTrace* probe = nullptr;  ///< at a pitch
        const GreyImage* reference = nullptr; ///< as large as the image
    };

    /// @return the defect's place on the sheet
    int Add(const GreyImage& image, const Against& against, const Blob& blob);
    std::string Encode() const;

private:
    int m_parts;
    int m_count = 0;
    std::vector<cv::Mat> m_cells;
};

} // namespace narvo::tools
