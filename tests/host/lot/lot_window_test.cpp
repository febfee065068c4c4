// SPDX-License-Identifier: MIT
// A lot that forgets its first images is the lot of those that are left.
#include "host/lot/lot_window.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/host_test_help.h"
#include "host/lot/lot_statistics.h"

namespace narvo::test
{

namespace
{

struct NamedResult
{
    std::string name;
    ImageResult result;
};

/// Images of three sizes, some of them refused, with up to 40 defects.
std::vector<NamedResult> MixedImages(std::size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<NamedResult> images;
    for (std::size_t i = 0; i < count; ++i)
    {
        NamedResult& image = images.emplace_back();
        image.name = "i" + std::to_string(i);
        if (random() % 7 == 0)
        {
            image.result.problems = {{"image", "none", "one"}};
            continue;
        }
        image.result.width = 400 + 100 * static_cast<int>(random() % 3);
        image.result.height = 300;
        InspectionResult& region = image.result.regions.emplace_back();
        region.region = CRect(0, 0, image.result.width, 300);
        region.pairs = static_cast<int>(random() % 100);
        for (auto defects = random() % 41; defects > 0; --defects)
        {
            Blob blob{};
            blob.center = CPoint(static_cast<int>(random() % 400), static_cast<int>(random() % 300));
            blob.area = 1 + static_cast<int>(random() % 50);
            region.blobs.push_back(blob);
        }
    }
    return images;
}

std::string TextOf(const Lot& lot)
{
    return LotText(lot, MakeLotStatistics(lot, {}));
}

LotSource SourceOfTest()
{
    return {{}, {}, "r.json", SmallestRecipe().dump()};
}

} // namespace

TEST(LotWindow, IsTheLotOfItsLatestImages)
{
    for (unsigned seed = 1; seed <= 20; ++seed)
    {
        const std::vector<NamedResult> images = MixedImages(90, seed);
        LotWindow window(SourceOfTest(), 40, 400);
        for (std::size_t i = 0; i < images.size(); ++i)
        {
            window.Add(images[i].name, images[i].result);
            const std::size_t kept = window.Latest().Images();
            ASSERT_LE(kept, 40U);
            ASSERT_LE(window.Latest().Defects(), 400U);
            if (i % 9 != 8)
                continue;
            LotBuilder anew(SourceOfTest());
            for (std::size_t k = i + 1 - kept; k <= i; ++k)
                anew.Add(images[k].name, images[k].result);
            EXPECT_EQ(TextOf(window.Latest().Made()), TextOf(anew.Made())) << seed << ", " << i;
        }
        EXPECT_EQ(window.LeftOut(), 0U);
        EXPECT_GT(window.Latest().Images(), 10U);
    }
}

TEST(LotWindow, LeavesOutAnImageThatWouldFillIt)
{
    LotWindow window(SourceOfTest(), 40, 80);
    std::vector<NamedResult> images = MixedImages(2, 3);
    images[0].result = images[1].result = {};
    images[0].result.regions.emplace_back().blobs.resize(10);
    images[1].result.regions.emplace_back().blobs.resize(11);
    for (const NamedResult& image : images)
        window.Add(image.name, image.result);
    EXPECT_EQ(window.Latest().Images(), 1U);
    EXPECT_EQ(window.LeftOut(), 1U);
}

TEST(LotWindow, ForgetsEverythingWhenToldTo)
{
    LotBuilder builder(SourceOfTest());
    for (const NamedResult& image : MixedImages(20, 2))
        builder.Add(image.name, image.result);
    builder.DropFirst(1000);
    EXPECT_EQ(builder.Images(), 0U);
    EXPECT_EQ(builder.Defects(), 0U);
    EXPECT_TRUE(builder.Made().regions.empty());
}

} // namespace narvo::test
