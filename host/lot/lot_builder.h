// SPDX-License-Identifier: MIT
// A lot from the results of images, as they come.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "host/lot/lot_records.h"
#include "host/store/store_records.h"

namespace narvo
{

/// Where the images of a lot come from.
struct LotSource
{
    std::string store;             ///< place, without its password; empty: none
    std::vector<std::string> runs; ///< names
    std::string recipe;            ///< name of its file
    std::string recipeText;        ///< as a store keeps it
};

/// Takes images one by one. Of an image it keeps some hundred bytes, and 16 for each defect.
class LotBuilder
{
public:
    explicit LotBuilder(LotSource source);

    /// @throws HostError where the lot would be larger than nLotImageLimit and nLotDefectLimit say, or a region is none
    /// that an image has; the lot is left as it was
    void Add(const std::string& name, const ImageResult& result);
    /// Forgets images from the first on, as if they had never been added.
    void DropFirst(std::size_t images);
    std::size_t Images() const { return m_lot.images.size(); }
    /// Of all images.
    std::size_t Defects() const { return m_lot.defects.size(); }
    /// The lot of all images so far; more may follow.
    Lot Made() const;
    /// The same without a copy; nothing may follow.
    Lot Finish();

private:
    /// Size and regions: images that agree in them can be compared place by place.
    using Layout = std::vector<int>;

    void AddRegion(LotImage& image, const InspectionResult& region, std::size_t place);

    Lot m_lot;
    std::string m_recipeText;
    std::map<Layout, int> m_layouts;
    std::vector<std::size_t> m_images; ///< of each layout
    std::vector<std::vector<LotRegion>> m_regions;
    std::vector<int> m_layoutOf; ///< of each image; -1: none
};

} // namespace narvo
