// SPDX-License-Identifier: MIT
// The lot of the latest images of a run that goes on.
#pragma once

#include <cstddef>
#include <string>

#include "host/lot/lot_builder.h"

namespace narvo
{

/// Holds so many images and defects at most; when there are more, the oldest eighth of the images gives way.
class LotWindow
{
public:
    LotWindow(LotSource source, std::size_t mostImages, std::size_t mostDefects);

    /// An image with more than an eighth of the defects is left out. @throws HostError for a region that no image has
    void Add(const std::string& name, const ImageResult& result);
    const LotBuilder& Latest() const { return m_builder; }
    /// Images that had too many defects, since the beginning.
    std::size_t LeftOut() const { return m_leftOut; }

private:
    LotBuilder m_builder;
    std::size_t m_mostImages;
    std::size_t m_mostDefects;
    std::size_t m_leftOut = 0;
};

} // namespace narvo
