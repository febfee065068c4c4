// SPDX-License-Identifier: MIT
// Long calls tell how far they are, end when they are stopped, and give the same results either way.
#include <cstddef>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/host_pictures.h"
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

using testing::AllOf;
using testing::Ge;
using testing::IsEmpty;
using testing::SizeIs;

/// Keeps what it is told, and asks to stop at a call.
struct Listener
{
    std::vector<Progress> told;
    std::size_t stopAt = 0; ///< calls; 0: never

    OnProgress Function()
    {
        return [this](const Progress& progress)
        {
            told.push_back(progress);
            return told.size() != stopAt;
        };
    }
    std::set<std::string> Steps() const
    {
        std::set<std::string> steps;
        for (const Progress& progress : told)
            steps.insert(progress.step);
        return steps;
    }
};

struct GoodPictures
{
    std::vector<Picture8> pictures;
    std::vector<NamedImage> images;
    std::vector<NamedPicture> named;

    GoodPictures()
    {
        for (unsigned seed = 1; seed <= 4; ++seed)
            pictures.push_back(PeriodicPicture(384, 320, 24, 20, seed));
        for (const Picture8& picture : pictures)
        {
            const std::string name = "good " + std::to_string(images.size());
            images.push_back({name, picture.Pixels()});
            named.push_back({name, Image::FromPixels({picture.pixels.data(), picture.width, picture.height})});
        }
    }
};

} // namespace

TEST(HostProgress, LearningTellsOfEveryImageAndCanBeStopped)
{
    const GoodPictures good;
    const LearnReport silent = LearnRecipe(good.images, "auto", {{"threads", 2}});
    Listener listener;
    const LearnReport told = LearnRecipe(good.images, "auto", {{"threads", 2}}, {}, listener.Function());
    EXPECT_EQ(told.recipe->Text(), silent.recipe->Text());
    EXPECT_EQ(told.reasons, silent.reasons);
    ASSERT_THAT(listener.told, SizeIs(Ge(12U)));
    for (std::size_t i = 0; i < listener.told.size(); ++i)
    {
        EXPECT_EQ(listener.told[i].done, i);
        EXPECT_EQ(listener.told[i].total, 0U);
    }
    EXPECT_THAT(listener.Steps(), SizeIs(4));

    for (const std::size_t at : {std::size_t{1}, std::size_t{7}, listener.told.size()})
    {
        Listener stopping;
        stopping.stopAt = at;
        EXPECT_THROW(LearnRecipe(good.images, "auto", {{"threads", 2}}, {}, stopping.Function()), Stopped);
        EXPECT_THAT(stopping.told, SizeIs(AllOf(Ge(at), testing::Le(at + 1)))) << "what had begun is finished";
        stopping.told.clear();
        EXPECT_THROW(LearnFromImages(good.named, "auto", {}, "rows", stopping.Function()), Error);
    }
    EXPECT_THROW(LearnRecipe(good.images, "texture", {}, {},
                             [](const Progress&) -> bool { throw std::runtime_error("the program's own"); }),
                 std::runtime_error);
    const std::vector<Problem> problems =
        Attempt([&] { LearnRecipe(good.images, "auto", {}, {}, [](const Progress&) { return false; }); });
    ASSERT_THAT(problems, SizeIs(1));
    EXPECT_EQ(problems.front().field, "call");
}

TEST(HostProgress, CapabilityTellsOfPlantedDefectsAndCanBeStopped)
{
    const GoodPictures good;
    const Recipe recipe = *ProposeRecipe(good.pictures.front().Pixels()).recipe;
    CapabilityPlan plan;
    plan.SetSizes({4, 8}).SetContrasts({40}).SetShapes({"spot"}).SetPlaces({"inside"}).SetCount(10);
    Listener listener;
    const CapabilityReport told = MeasureCapability(recipe, good.named, plan, 2, listener.Function());
    EXPECT_EQ(told.text, MeasureCapability(recipe, good.named, plan, 2).text);
    ASSERT_FALSE(listener.told.empty());
    std::size_t last = 0;
    for (const Progress& progress : listener.told)
    {
        EXPECT_EQ(progress.total, 20U);
        EXPECT_GE(progress.done, last);
        last = progress.done;
    }
    EXPECT_EQ(last, 20U);
    Listener stopping;
    stopping.stopAt = 1;
    EXPECT_THROW(MeasureCapability(recipe, good.named, plan, 2, stopping.Function()), Stopped);
    EXPECT_THAT(stopping.told, SizeIs(1));
}

TEST(HostProgress, GoldenReferencesAreToldAndCanBeStopped)
{
    std::vector<Picture8> boards;
    for (const int shift : {0, 2, 3, 1})
        boards.push_back(BoardPicture(320, 256, shift, static_cast<unsigned>(shift) + 1));
    std::vector<ImagePixels> references;
    for (const Picture8& board : boards)
        references.push_back(board.Pixels());
    Listener listener;
    const GoldenModel told(references, {}, 1, listener.Function());
    const GoldenModel silent(references);
    EXPECT_EQ(told.Mean().pixels, silent.Mean().pixels);
    ASSERT_THAT(listener.told, SizeIs(3));
    for (std::size_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(listener.told[i].done, i);
        EXPECT_EQ(listener.told[i].total, 3U);
    }
    EXPECT_THROW(GoldenModel(references, {}, 1, [](const Progress& progress) { return progress.done < 1; }), Stopped);
    Listener alone;
    const GoldenModel one({references.front()}, {}, 1, alone.Function());
    EXPECT_THAT(alone.told, IsEmpty());
}

} // namespace narvo::test
