// SPDX-License-Identifier: MIT
// Shifting a region changes positions only.
#include "properties/property_test.h"

namespace narvo::test
{
namespace
{

class ShiftProperties : public PropertyTest
{
};

INSTANTIATE_TEST_SUITE_P(Each, ShiftProperties, testing::ValuesIn(PropertyModes()), ModeOfTest);

// The margin frame moves along: without one, the filters along x use the image's sides. Shifts are whole strips,
// since pitch tables count blocks of 16 from the image's corner.
TEST_P(ShiftProperties, AShiftedImageShiftsPositionsOnly)
{
    ForEachCase(
        [&](const CPropertyPath& path, std::uint64_t nSeed)
        {
            CPropertyScene scene(path, nSeed);
            const CPropertyOutcome here = scene.Run(m_pool);
            Count(here);
            CRandom random(nSeed + 1);
            const int nX = 16 * random.Int(-6, 6);
            const int nY = 16 * random.Int(-6, 6);
            // The window moves against the picture, so that the picture moves with all its regions in the image; back
            // in the picture's coordinates both outcomes are the same.
            scene.rtImage = CRect(scene.rtImage.left - 96 - nX, scene.rtImage.top - 96 - nY,
                                  scene.rtImage.right + 96 - nX, scene.rtImage.bottom + 96 - nY);
            const CPropertyOutcome there = scene.Run(m_pool);
            EXPECT_EQ(here.nCode, 1);
            EXPECT_EQ(there.DifferenceFrom(here), "") << "moved by " << nX << ' ' << nY << ", " << scene.Describe();
        });
}

} // namespace
} // namespace narvo::test
