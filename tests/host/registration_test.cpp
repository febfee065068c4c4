// SPDX-License-Identifier: MIT
// Registration: made-up boards in known places, and what is refused.
#include "host/golden/registration.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "host/golden/golden_model.h"
#include "tools/synthetic/board.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;

tools::BoardPlan SmallPlan()
{
    tools::BoardPlan plan;
    plan.width = 420;
    plan.height = 388;
    plan.defects = 0;
    return plan;
}

RealPoint TruePlace(const tools::Board& board, double x, double y)
{
    const auto& a = board.affine;
    return {a[0] * x + a[1] * y + a[2], a[3] * x + a[4] * y + a[5] + board.swayDepth * std::sin(board.swayRate * y)};
}

/// Largest distance of where the registration sees the image's pixels from where they are, of what both show except
/// a margin.
double LargestError(const Registration& registration, const tools::Board& board, int margin)
{
    double largest = 0.0;
    for (int y = margin; y < board.image.Height() - margin; y += 7)
        for (int x = margin; x < board.image.Width() - margin; x += 7)
        {
            const RealPoint found = registration.Map(x, y);
            const RealPoint place = TruePlace(board, x, y);
            const GreyImage& reference = board.references[0];
            if (place.x < margin || place.y < margin || place.x > reference.Width() - 1 - margin ||
                place.y > reference.Height() - 1 - margin)
                continue;
            largest = std::max(largest, std::hypot(found.x - place.x, found.y - place.y));
        }
    return largest;
}

/// Root mean square of the same across the image's edges, which is what an inspection gets to see of it.
double ErrorAtEdges(const Registration& registration, const tools::Board& board, int margin)
{
    const GreyImage& image = board.image;
    double sum = 0.0;
    int count = 0;
    for (int y = margin; y < image.Height() - margin; ++y)
        for (int x = margin; x < image.Width() - margin; ++x)
        {
            const double gx = image.Row(y)[x + 1] - image.Row(y)[x - 1];
            const double gy = image.Row(y + 1)[x] - image.Row(y - 1)[x];
            if (std::hypot(gx, gy) < 60.0)
                continue;
            const RealPoint found = registration.Map(x, y);
            const RealPoint place = TruePlace(board, x, y);
            const double error = ((found.x - place.x) * gx + (found.y - place.y) * gy) / std::hypot(gx, gy);
            sum += error * error;
            ++count;
        }
    return std::sqrt(sum / count);
}

std::string RegistrationProblems(const GreyImage& reference, const GreyImage& image,
                                 const RegistrationSettings& settings)
{
    try
    {
        RegisterImage(reference, image, settings);
        return "";
    }
    catch (const HostError& error)
    {
        return error.what();
    }
}

TEST(Registration, FindsKnownPlacesToATenthOfAPixel)
{
    struct Place
    {
        double shiftX, shiftY, rotation, scaleX, scaleY;
    };
    RegistrationSettings settings;
    for (const Place& place :
         {Place{0.0, 0.0, 0.0, 1.0, 1.0}, Place{6.3, -4.7, 0.0, 1.0, 1.0}, Place{-29.6, 31.2, 0.0, 1.0, 1.0},
          Place{0.4, 0.1, 0.97, 1.0, 1.0}, Place{12.5, -8.25, -0.6, 1.018, 0.984}})
    {
        tools::BoardPlan plan = SmallPlan();
        plan.shiftX = place.shiftX;
        plan.shiftY = place.shiftY;
        plan.rotation = place.rotation;
        plan.scaleX = place.scaleX;
        plan.scaleY = place.scaleY;
        const tools::Board board = tools::MakeBoard(plan);
        const Registration registration = RegisterImage(board.references[0], board.image, settings);
        RegistrationSettings whole;
        whole.meshSpacing = 0;
        EXPECT_LT(LargestError(RegisterImage(board.references[0], board.image, whole), board, 0), 0.1);
        // Local offsets follow noise where there is hardly any structure, where nothing can be seen of them either.
        EXPECT_LT(LargestError(registration, board, 36), 0.15) << place.shiftX << ", " << place.rotation;
        const double x = 0.5 * (plan.width - 1);
        const double y = 0.5 * (plan.height - 1);
        EXPECT_NEAR(registration.shiftX, x - TruePlace(board, x, y).x, 0.05);
        EXPECT_NEAR(registration.shiftY, y - TruePlace(board, x, y).y, 0.05);
        EXPECT_LT(ErrorAtEdges(registration, board, 36), 0.05);
        EXPECT_NEAR(registration.rotation, place.rotation, 0.02);
        EXPECT_NEAR(registration.scaleX, place.scaleX, 0.0005);
        EXPECT_NEAR(registration.scaleY, place.scaleY, 0.0005);
        EXPECT_GT(registration.correlation, 0.97);
    }
}

TEST(Registration, FindsRotationsUpToItsLimit)
{
    RegistrationSettings settings;
    settings.maxRotation = 10.0;
    for (const double rotation : {-9.9, -4.0, 7.3})
    {
        tools::BoardPlan plan = SmallPlan();
        plan.rotation = rotation;
        plan.shiftX = -11.0;
        const tools::Board board = tools::MakeBoard(plan);
        EXPECT_LT(LargestError(RegisterImage(board.references[0], board.image, settings), board, 70), 0.1) << rotation;
    }
}

TEST(Registration, MeshFollowsUnevenFeed)
{
    tools::BoardPlan plan = SmallPlan();
    plan.sway = 1.5;
    plan.shiftX = 3.0;
    const tools::Board board = tools::MakeBoard(plan);
    RegistrationSettings settings;
    const double with = ErrorAtEdges(RegisterImage(board.references[0], board.image, settings), board, 10);
    settings.meshSpacing = 0;
    const double without = ErrorAtEdges(RegisterImage(board.references[0], board.image, settings), board, 10);
    EXPECT_LT(with, 0.1);
    EXPECT_GT(without, 4.0 * with);
}

TEST(Registration, DefectsDoNotPullIt)
{
    tools::BoardPlan plan = SmallPlan();
    plan.defects = 12;
    plan.shiftX = 5.5;
    const tools::Board board = tools::MakeBoard(plan);
    ASSERT_GE(board.truth.size(), 8U);
    EXPECT_LT(ErrorAtEdges(RegisterImage(board.references[0], board.image, {}), board, 10), 0.1);
}

TEST(Registration, TakesImagesOfAnotherSizeAndGivesTheirOverlap)
{
    const tools::Board board = tools::MakeBoard(SmallPlan());
    const GreyImage& whole = board.image;
    const GreyImage part(whole.Row(20) + 31, whole.Width() - 31, whole.Height() - 20, whole.Stride());
    const Registration inside = RegisterImage(board.references[0], part, {});
    EXPECT_NEAR(inside.Map(0.0, 0.0).x, 31.0, 0.1);
    EXPECT_NEAR(inside.Map(0.0, 0.0).y, 20.0, 0.1);
    EXPECT_DOUBLE_EQ(inside.overlap, 1.0);
    const Registration around = RegisterImage(part, board.references[0], {});
    EXPECT_NEAR(around.Map(31.0, 20.0).x, 0.0, 0.1);
    const double shared = static_cast<double>(part.Width()) * part.Height() / whole.Width() / whole.Height();
    EXPECT_NEAR(around.overlap, shared, 0.01);
}

TEST(Registration, FindsACropAnywhereInTheWhole)
{
    const tools::Board board = tools::MakeBoard(SmallPlan());
    const GreyImage& whole = board.image;
    for (const auto& [left, top] : {std::pair{0, 0}, {180, 30}, {220, 188}})
    {
        const GreyImage crop(whole.Row(top) + left, 200, 200, whole.Stride());
        const Registration inside = RegisterImage(board.references[0], crop, {});
        EXPECT_NEAR(inside.Map(100.0, 100.0).x, left + 100.0, 0.1) << left;
        EXPECT_NEAR(inside.Map(100.0, 100.0).y, top + 100.0, 0.1) << left;
        // And the whole against a reference that is a crop.
        const Registration around = RegisterImage(crop, whole, {});
        EXPECT_NEAR(around.Map(left + 100.0, top + 100.0).x, 100.0, 0.1) << left;
        EXPECT_NEAR(around.Map(left + 100.0, top + 100.0).y, 100.0, 0.1) << left;
    }
}

TEST(Registration, RefusesSmallImages)
{
    const GreyImage small(63, 400, 9);
    EXPECT_THAT(RegistrationProblems(small, small, {}),
                HasSubstr("63 by 400 pixels; allowed: sides of at least 64 pixels"));
}

TEST(Registration, SaysWhichPictureHasNoStructure)
{
    const tools::Board board = tools::MakeBoard(SmallPlan());
    const GreyImage flat(420, 388, 128);
    EXPECT_THAT(RegistrationProblems(flat, board.image, {}), HasSubstr("reference: no structure to register by"));
    EXPECT_THAT(RegistrationProblems(board.image, flat, {}), HasSubstr("image: no structure to register by"));
}

TEST(Registration, RefusesAnotherBoard)
{
    tools::BoardPlan plan = SmallPlan();
    const tools::Board board = tools::MakeBoard(plan);
    plan.seed = 99;
    const tools::Board other = tools::MakeBoard(plan);
    const std::string text = RegistrationProblems(board.references[0], other.image, {});
    EXPECT_THAT(
        text, testing::AnyOf(HasSubstr("correlation with the registered reference"), HasSubstr("found no agreement")));
}

TEST(Registration, LimitsHoldTheMap)
{
    tools::BoardPlan plan = SmallPlan();
    plan.rotation = 0.8;
    plan.scaleX = 1.01;
    const tools::Board board = tools::MakeBoard(plan);
    RegistrationSettings settings;
    settings.meshSpacing = 0;
    settings.minCorrelation = 0.0;
    EXPECT_FALSE(RegisterImage(board.references[0], board.image, settings).atLimit);
    settings.maxRotation = 0.3;
    const Registration held = RegisterImage(board.references[0], board.image, settings);
    EXPECT_TRUE(held.atLimit);
    EXPECT_NEAR(held.rotation, 0.3, 0.001);
    // A limit of 0 leaves none of it, and refuses nothing.
    settings.maxRotation = 0.0;
    settings.maxScale = 0.0;
    const Registration plain = RegisterImage(board.references[0], board.image, settings);
    EXPECT_DOUBLE_EQ(plain.rotation, 0.0);
    EXPECT_DOUBLE_EQ(plain.scaleX, 1.0);
    EXPECT_EQ(plain.model, Registration::Model_Shift);
}

TEST(Registration, RefusesWhatIsNotAlikeWithinItsLimits)
{
    tools::BoardPlan plan = SmallPlan();
    plan.shiftX = 26.0;
    const tools::Board shifted = tools::MakeBoard(plan);
    RegistrationSettings settings;
    EXPECT_EQ(RegistrationProblems(shifted.references[0], shifted.image, settings), "");
    settings.maxShift = 12.0;
    EXPECT_THAT(RegistrationProblems(shifted.references[0], shifted.image, settings), HasSubstr("max_shift"));
}

TEST(Registration, TakesTheSimplestMapThatExplainsTheImage)
{
    const auto modelOf = [](double rotation, double scaleX, double scaleY, double sway)
    {
        tools::BoardPlan plan = SmallPlan();
        plan.shiftX = 4.3;
        plan.rotation = rotation;
        plan.scaleX = scaleX;
        plan.scaleY = scaleY;
        plan.sway = sway;
        const tools::Board board = tools::MakeBoard(plan);
        return RegisterImage(board.references[0], board.image, {});
    };
    const Registration shift = modelOf(0.0, 1.0, 1.0, 0.0);
    EXPECT_EQ(shift.model, Registration::Model_Shift);
    EXPECT_TRUE(shift.mesh.IsEmpty());
    EXPECT_EQ(modelOf(0.4, 1.0, 1.0, 0.0).model, Registration::Model_Rigid);
    EXPECT_EQ(modelOf(0.4, 1.01, 1.01, 0.0).model, Registration::Model_Similarity);
    const Registration affine = modelOf(0.4, 1.012, 0.995, 0.0);
    EXPECT_EQ(affine.model, Registration::Model_Affine);
    EXPECT_TRUE(affine.mesh.IsEmpty());
    EXPECT_FALSE(modelOf(0.0, 1.0, 1.0, 1.5).mesh.IsEmpty());
}

TEST(Registration, StraightConductorsStayWhereTheyAreAlongThemselves)
{
    // Vertical conductors; defects of the image alone must not pull it along them.
    GreyImage reference(400, 400, 30);
    for (int y = 0; y < 400; ++y)
        for (const int left : {60, 150, 170, 290})
            for (int x = left; x < left + 14; ++x)
                reference.Row(y)[x] = 220;
    GreyImage image(400, 400, 30);
    for (int y = 0; y < 400; ++y)
        for (int x = 3; x < 400; ++x)
            image.Row(y)[x] = reference.Row(y)[x - 3];
    for (const auto& [left, top] : {std::pair{62, 100}, {100, 180}, {156, 330}, {300, 60}})
        for (int y = top; y < top + 12; ++y)
            for (int x = left; x < left + 12; ++x)
                image.Row(y)[x] = static_cast<std::uint8_t>(250 - image.Row(y)[x]);
    const Registration found = RegisterImage(reference, image, {});
    EXPECT_NEAR(found.shiftX, 3.0, 0.05);
    EXPECT_NEAR(found.shiftY, 0.0, 0.05);
    EXPECT_NEAR(found.scaleY, 1.0, 1e-4);
    EXPECT_NEAR(found.rotation, 0.0, 0.02);
    EXPECT_LT(found.directions, 0.1);
}

TEST(Registration, ChangesOfLightDoNotMoveIt)
{
    tools::BoardPlan plan = SmallPlan();
    plan.shiftX = 5.4;
    plan.rotation = 0.5;
    tools::Board board = tools::MakeBoard(plan);
    for (int y = 0; y < board.image.Height(); ++y)
        for (int x = 0; x < board.image.Width(); ++x)
            board.image.Row(y)[x] =
                static_cast<std::uint8_t>((0.6 + 0.3 * x / board.image.Width()) * board.image.Row(y)[x] + 10.0);
    const Registration found = RegisterImage(board.references[0], board.image, {});
    EXPECT_LT(ErrorAtEdges(found, board, 10), 0.1);
}

TEST(Registration, FindsASeam)
{
    const tools::Board board = tools::MakeBoard(SmallPlan());
    const GreyImage& source = board.references[0];
    GreyImage image = source;
    for (int y = 0; y < image.Height() - 5; ++y)
        for (int x = 230; x < image.Width(); ++x)
            image.Row(y)[x] = source.Row(y + 5)[x];
    const Registration found = RegisterImage(source, image, {});
    ASSERT_TRUE(found.seam.has_value());
    EXPECT_TRUE(found.seam->vertical);
    EXPECT_NEAR(found.seam->place, 230, 8);
    EXPECT_NEAR(found.Map(100.0, 200.0).y, 200.0, 0.15);
    EXPECT_NEAR(found.Map(330.0, 200.0).y, 205.0, 0.15);
    EXPECT_FALSE(RegisterImage(source, board.image, {}).seam.has_value());
}

TEST(Registration, IsTheSameForAnyNumberOfThreads)
{
    tools::BoardPlan plan = SmallPlan();
    plan.rotation = 0.7;
    plan.sway = 1.0;
    const tools::Board board = tools::MakeBoard(plan);
    const int threads = cv::getNumThreads();
    cv::setNumThreads(1);
    const Registration one = RegisterImage(board.references[0], board.image, {});
    cv::setNumThreads(4);
    const Registration four = RegisterImage(board.references[0], board.image, {});
    cv::setNumThreads(threads);
    EXPECT_EQ(one.affine, four.affine);
    EXPECT_EQ(one.mesh.x, four.mesh.x);
    EXPECT_EQ(one.mesh.y, four.mesh.y);
}

TEST(Registration, SeesThatStripesLeaveOneDirectionOpen)
{
    GreyImage stripes(300, 300);
    for (int y = 0; y < 300; ++y)
        for (int x = 0; x < stripes.Stride(); ++x)
            stripes.Row(y)[x] = static_cast<std::uint8_t>(128.0 + 90.0 * std::sin(0.0007 * x * x));
    EXPECT_LT(RegisterImage(stripes, stripes, {}).directions, 0.1);
    const tools::Board board = tools::MakeBoard(SmallPlan());
    EXPECT_GT(RegisterImage(board.references[0], board.image, {}).directions, 0.3);
}

TEST(Registration, NamesEverySettingOutOfRange)
{
    RegistrationSettings settings;
    settings.maxShift = -1.0;
    settings.maxRotation = 10.5;
    settings.maxScale = std::nan("");
    settings.meshSpacing = 15;
    settings.minCorrelation = 1.5;
    std::vector<std::string> fields;
    for (const Problem& problem : CheckRegistrationSettings(settings))
        fields.push_back(problem.field);
    EXPECT_THAT(fields, ElementsAre("max_shift", "max_rotation", "max_scale", "min_correlation", "mesh_spacing"));
    EXPECT_TRUE(CheckRegistrationSettings({}).empty());
}

TEST(Registration, WarpsAPictureToTheImage)
{
    tools::BoardPlan plan = SmallPlan();
    plan.shiftX = 9.0;
    plan.noise = 0.0;
    const tools::Board board = tools::MakeBoard(plan);
    const Registration registration = RegisterImage(board.references[0], board.image, {});
    const GreyImage warped = WarpToImage(board.references[0], registration, 420, 388);
    const GreyImage inside = InsideReference(registration, 420, 388, {0, 0, 420, 388});
    double sum = 0.0;
    int count = 0;
    for (int y = 0; y < 388; ++y)
        for (int x = 0; x < 420; ++x)
        {
            ASSERT_EQ(inside.Row(y)[x], x >= 9 ? 255 : 0) << x << ", " << y;
            if (x < 9)
                continue;
            sum += std::abs(warped.Row(y)[x] - board.image.Row(y)[x]);
            ++count;
        }
    EXPECT_LT(sum / count, 0.5);
}

} // namespace

} // namespace narvo::test
