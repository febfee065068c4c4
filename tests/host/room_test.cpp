// SPDX-License-Identifier: MIT
// Room for blobs and lanes that are taken when they are needed: results are those of stores that were as large from the
// beginning.
#include <random>

#include "host/inspect/batch.h"
#include "host/inspect/inspection_plan.h"
#include "host/inspect/inspector.h"
#include "host/pattern_help.h"
#include "narvoassem/narvoassem.h"

namespace narvo::test
{

namespace
{

using testing::SizeIs;

constexpr int nRoom = 60000;

/// Single bright pixels on an even ground, at random.
GreyImage Specks(int width, int height, int share)
{
    GreyImage image(width, height, 90);
    std::mt19937 random(7);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            if (static_cast<int>(random() % 1000) < share)
                image.Row(y)[x] = 200;
    return image;
}

Recipe SpeckRecipe(const char* direction)
{
    nlohmann::json document = SmallestRecipe("pixel");
    document["pitch"] = {{"x", 20}, {"y", 24}};
    document["direction"] = direction;
    document["filters"]["enabled"] = false;
    document["merge_distance"] = 0;
    document["max_blobs"] = nRoom;
    return ParseRecipe(document, {});
}

/// What an engine finds that has had all the room from the beginning.
struct Direct
{
    int code;
    int pairs;
    int blobs = 0;
    long place = 0; ///< over all blobs
};

Direct RunDirect(const GreyImage& image, const Recipe& recipe)
{
    CAssemControl pool;
    EXPECT_EQ(pool.InitAssemControl(1, recipe.maxBlobs), 1);
    const InspectionPlan plan(CheckedRecipe(recipe), image.Width(), image.Height());
    CConvParam block = plan.BlockFor(image);
    Direct direct{};
    direct.code = pool.Inspect_Rect(0, &block, 0);
    CNarvoAssem& engine = *pool.GetNarvoAssem(0);
    direct.pairs = engine.GetPairCount();
    for (int i = 0; i < engine.GetBlobCount(); ++i)
        if (const CDefectBlob& blob = *engine.GetBlobDefect(i); blob.bRemoved == 0)
        {
            ++direct.blobs;
            direct.place = direct.place * 31 % 1000003 + blob.ptCenter.x * 1000L + blob.ptCenter.y;
        }
    return direct;
}

void ExpectDirect(const InspectionResult& result, const Direct& direct)
{
    EXPECT_EQ(result.code, direct.code);
    EXPECT_EQ(result.pairs, direct.pairs);
    EXPECT_THAT(result.blobs, SizeIs(direct.blobs));
    long place = 0;
    for (const Blob& blob : result.blobs)
        place = place * 31 % 1000003 + blob.center.x * 1000L + blob.center.y;
    EXPECT_EQ(place, direct.place);
}

TEST(Room, FewDefectsTakeLittle)
{
    Inspector inspector(1, 1000000);
    Recipe recipe = PatternRecipe();
    recipe.maxBlobs = 1000000;
    ExpectTheSquare(inspector.Inspect(0, MakePattern(nWidth, nHeight, 203, 151, 70), CheckedRecipe(recipe)), 203, 151,
                    true);
    EXPECT_EQ(inspector.Room(0), Inspector::nFirstRoom);
    recipe.maxBlobs = 77;
    inspector.Inspect(0, MakePattern(nWidth, nHeight, 203, 151, 70), CheckedRecipe(recipe));
    EXPECT_EQ(inspector.Room(0), 77);
}

TEST(Room, ManyDefectsGetTheRoomThatTheyAreAllowed)
{
    for (const char* direction : {"horizontal", "vertical"})
        for (const int share : {10, 25, 60, 120})
        {
            SCOPED_TRACE(std::string(direction) + " " + std::to_string(share));
            const GreyImage image = Specks(1100, 900, share);
            const Recipe recipe = SpeckRecipe(direction);
            Inspector inspector(1, 1000000);
            const InspectionResult result = inspector.Inspect(0, image, CheckedRecipe(recipe));
            ExpectDirect(result, RunDirect(image, recipe));
            EXPECT_LE(inspector.Room(0), nRoom);
            // The same on a lane whose stores have grown, and with little room on it.
            ExpectDirect(inspector.Inspect(0, image, CheckedRecipe(recipe)), RunDirect(image, recipe));
            Recipe small = recipe;
            small.maxBlobs = 50;
            ExpectDirect(inspector.Inspect(0, image, CheckedRecipe(small)), RunDirect(image, small));
            EXPECT_EQ(inspector.Room(0), 50);
        }
    // The scene is one in which room matters.
    EXPECT_GT(RunDirect(Specks(1100, 900, 60), SpeckRecipe("horizontal")).blobs, Inspector::nFirstRoom);
}

TEST(Room, LanesWithoutWorkAreNotMade)
{
    Batch batch({CheckedRecipe(PatternRecipe())}, 256);
    std::vector<BatchImage> images;
    for (int i = 0; i < 3; ++i)
        images.push_back(
            {"image", [] { return std::make_shared<const GreyImage>(MakePattern(nWidth, nHeight, 203, 151, 70)); }});
    const BatchSummary summary =
        batch.Run(images, [](const ImageResult& result) { EXPECT_TRUE(result.IsInspected()); });
    EXPECT_EQ(summary.images, 3U);
    EXPECT_EQ(summary.lanes, 3);
    EXPECT_EQ(batch.Run({}, [](const ImageResult&) {}).images, 0U);
}

} // namespace

} // namespace narvo::test
