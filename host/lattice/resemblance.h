// SPDX-License-Identifier: MIT
// Which of two places of an image is the odd one: what belongs to a pattern is seen elsewhere in the image too, if not
// at a displacement that repeats.
#pragma once

#include "host/image/grey_image.h"
#include "narvoassem/platform.h"

namespace narvo
{

/// The place that resembles other parts of the image clearly more.
enum class Resembling
{
    First,
    Second,
    Both ///< or neither
};

class Resemblance
{
public:
    /// Looks at the image as long as it lives.
    explicit Resemblance(const GreyImage& image) : m_image(image) {}
    /// Of two boxes, right and bottom exclusive. Both are widened to the same size.
    Resembling Compare(const CRect& first, const CRect& second) const;

private:
    const GreyImage& m_image;
};

} // namespace narvo
