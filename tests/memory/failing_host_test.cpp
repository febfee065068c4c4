// SPDX-License-Identifier: MIT
// The host layer with every allocation failing in turn, the engine's included: a failure is reported as an exception
// with a clear text or as a warning, nothing leaks, and the same objects work at the next call. The pitch
// search is not tested: OpenCV's own code leaks when its allocations fail.
#include <cstddef>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "host/pattern_help.h"
#include "host/result/result_file.h"
#include "memory/failing_heap.h"

namespace narvo::test
{

namespace
{

using test::CFailingHeap;
using test::FailEachInTurn;
using test::SFailures;

/// How a call under failures ended.
enum class Ending
{
    Returned,
    OutOfMemory,         ///< std::bad_alloc
    OutOfMemoryReported, ///< HostError on memory alone
    Otherwise
};

struct Attempt
{
    long asked = 0;
    Ending ending = Ending::Returned;
};

/// Runs a call under failures. Its exception is examined after the failures.
Attempt TryUnder(const SFailures& failures, const std::function<void()>& call)
{
    Attempt attempt;
    CFailingHeap heap(failures);
    try
    {
        call();
        attempt.asked = heap.Stop();
    }
    catch (const std::bad_alloc&)
    {
        attempt.asked = heap.Stop();
        attempt.ending = Ending::OutOfMemory;
    }
    catch (const HostError& error)
    {
        attempt.asked = heap.Stop();
        const bool reported = error.Problems().size() == 1 && error.Problems()[0].field == "memory";
        attempt.ending = reported ? Ending::OutOfMemoryReported : Ending::Otherwise;
    }
    catch (...)
    {
        attempt.asked = heap.Stop();
        attempt.ending = Ending::Otherwise;
    }
    EXPECT_NE(attempt.ending, Ending::Otherwise) << "failure " << failures.nFirst;
    if (failures.nEnd == 0)
    {
        EXPECT_EQ(attempt.ending, Ending::Returned);
    }
    return attempt;
}

/// Everything that does not depend on the clock.
std::string TextOf(const InspectionResult& result)
{
    return std::to_string(result.code) + " " + std::to_string(result.pairs) + "\n" + ResultToCsv(result);
}

Recipe RecipeOf(const std::string& mode)
{
    nlohmann::json document = SmallestRecipe(mode);
    if (document.contains("pitch"))
        document["pitch"] = {{"x", dPitchX}, {"y", dPitchY}};
    return ParseRecipe(document, {});
}

TEST(FailingHost, InspectorIsCompleteOrNotMade)
{
    const GreyImage image = MakePattern(nWidth, nHeight, 150, 130, 60);
    const Recipe recipe = RecipeOf("zone");
    const long allocations = FailEachInTurn(
        [&](const SFailures& failures)
        {
            std::unique_ptr<Inspector> inspector;
            const Attempt attempt = TryUnder(failures, [&] { inspector = std::make_unique<Inspector>(1, 500); });
            EXPECT_EQ(attempt.ending == Ending::Returned, inspector != nullptr);
            // Made at the end of its allocations, or not at all.
            if (failures.nEnd > 0 && inspector != nullptr)
            {
                EXPECT_GE(failures.nFirst, attempt.asked);
            }
            else if (inspector != nullptr)
            {
                EXPECT_EQ(inspector->Inspect(0, image, CheckedRecipe(recipe)).blobs.size(), 1U);
            }
            return attempt.asked;
        });
    EXPECT_GT(allocations, 33);
}

void TestInspection(Inspector& inspector, const GreyImage& image, const std::string& name, const Recipe& recipe)
{
    SCOPED_TRACE(name);
    const std::string expected = TextOf(inspector.Inspect(0, image, CheckedRecipe(recipe)));
    const long allocations = FailEachInTurn(
        [&](const SFailures& failures)
        {
            InspectionResult result;
            const Attempt attempt =
                TryUnder(failures, [&] { result = inspector.Inspect(0, image, CheckedRecipe(recipe)); });
            if (attempt.ending == Ending::Returned)
            {
                EXPECT_TRUE(TextOf(result) == expected || (result.code == 16 && !result.warnings.empty()))
                    << "failure " << failures.nFirst << ":\n"
                    << TextOf(result);
            }
            EXPECT_EQ(TextOf(inspector.Inspect(0, image, CheckedRecipe(recipe))), expected)
                << "the call after failure " << failures.nFirst;
            return attempt.asked;
        });
    EXPECT_GT(allocations, 3);
}

TEST(FailingHost, InspectionThrowsOrWarnsAndTheNextOneIsComplete)
{
    Inspector inspector(1, 500);
    const GreyImage image = MakePattern(nWidth, nHeight, 150, 130, 60);
    for (const char* mode : {"zone", "pixel", "float", "binarise", "average", "asg"})
        TestInspection(inspector, image, mode, RecipeOf(mode));
    for (const int shape : {RegionShape_Polygon, RegionShape_Trapezium})
    {
        Recipe recipe = RecipeOf("float");
        recipe.regionShape = shape;
        recipe.regionPoints = {{20, 20}, {380, 30}, {370, 280}, {10, 270}};
        TestInspection(inspector, image, shape == RegionShape_Polygon ? "polygon" : "trapezia", recipe);
    }
}

TEST(FailingHost, RecipeIsReadCompletelyOrThrows)
{
    nlohmann::json document = SmallestRecipe("zone");
    document["pitch"] = {{"x", dPitchX}, {"y", dPitchY}};
    const std::string expected = RecipeToJson(ParseRecipe(document, {})).dump();
    FailEachInTurn(
        [&](const SFailures& failures)
        {
            Recipe recipe;
            const Attempt attempt = TryUnder(failures, [&] { recipe = ParseRecipe(document, {}); });
            if (attempt.ending == Ending::Returned)
            {
                EXPECT_EQ(RecipeToJson(recipe).dump(), expected);
            }
            return attempt.asked;
        });
}

TEST(FailingHost, ImageAndItsCopiesAreCompleteOrEmpty)
{
    FailEachInTurn(
        [](const SFailures& failures)
        {
            GreyImage image(8, 4, 7);
            const Attempt attempt = TryUnder(failures,
                                             [&]
                                             {
                                                 GreyImage other(40, 30, 9);
                                                 image = other;
                                             });
            const bool changed = attempt.ending == Ending::Returned;
            EXPECT_EQ(image.Width(), changed ? 40 : 8);
            EXPECT_EQ(image.Row(image.Height() - 1)[image.Width() - 1], changed ? 9 : 7);
            return attempt.asked;
        });
}

} // namespace

} // namespace narvo::test
