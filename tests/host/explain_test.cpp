// SPDX-License-Identifier: MIT
// Explanations against the inspection that they explain: at random pixels and at every record of it, over the modes,
// kernels and filters that a recipe can select.
#include "host/explain/explain.h"

#include <map>
#include <random>
#include <set>

#include <nlohmann/json.hpp>

#include "host/inspect/inspection_plan.h"
#include "host/pattern_help.h"
#include "narvoassem/narvoassem.h"
#include "support/seeds.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;

constexpr int nSceneWidth = 240;
constexpr int nSceneHeight = 200;

/// A noisy pattern with random squares, so that every band has hits of all fates.
GreyImage MakeScene(std::uint64_t seed, int width, int height)
{
    std::mt19937 random(static_cast<std::mt19937::result_type>(seed));
    const auto upTo = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    GreyImage image = MakePattern(width, height, -100, -100, 0);
    const auto add = [&](int x, int y, int step)
    {
        if (x >= 0 && x < image.Stride() && y >= 0 && y < height)
            image.Row(y)[x] = static_cast<std::uint8_t>(std::clamp(image.Row(y)[x] + step, 0, 255));
    };
    for (int i = 0; i < width * height / 900; ++i)
    {
        const int x = upTo(width);
        const int y = upTo(height);
        const int side = 1 + upTo(6);
        const int step = 10 + upTo(90);
        const int sign = upTo(2) == 0 ? -1 : 1;
        // Every third one stands at the next period too, so that comparisons cancel out there.
        for (int copy = 0; copy < (i % 3 == 0 ? 2 : 1); ++copy)
            for (int dy = 0; dy < side; ++dy)
                for (int dx = 0; dx < side; ++dx)
                    add(x + dx, y + dy + copy * 24, sign * step);
    }
    for (int i = 0; i < width * height / 40; ++i)
        add(upTo(width), upTo(height), upTo(2) == 0 ? -25 : 25);
    return image;
}

struct Variant
{
    const char* name;
    void (*set)(Recipe&);
};

void PrintTo(const Variant& variant, std::ostream* out)
{
    *out << variant.name;
}

void SetMode(Recipe& recipe, Mode mode, int base)
{
    recipe.mode = mode;
    recipe.thresholdBase = base;
}

const Variant variants[] = {
    {"Zone", [](Recipe&) {}},
    {"ZoneHorizontal", [](Recipe& r) { r.direction = Direction_Horizontal; }},
    {"ZoneHorizontalAllPairs",
     [](Recipe& r)
     {
         r.direction = Direction_Horizontal;
         r.filterPairs = true;
         r.filterTest = FilterTest_Jump;
     }},
    {"ZoneHorizontalTable",
     [](Recipe& r)
     {
         r.direction = Direction_Horizontal;
         r.convPitches.assign(25, dPitchX);
     }},
    {"ZoneRowTable", [](Recipe& r) { r.scanPitches.assign(19, dPitchY); }},
    {"ZoneShift", [](Recipe& r) { r.crossShift = 0.0625; }},
    {"ZoneShiftExtended",
     [](Recipe& r)
     {
         r.crossShift = 0.0625;
         r.extendedKernel = true;
     }},
    {"ZoneDirect", [](Recipe& r) { r.lineBuffer = false; }},
    {"ZoneKnee",
     [](Recipe& r)
     {
         r.twoSegment = true;
         r.zones[0].knee = 120;
         r.zones[0].upperOffset = 40;
     }},
    {"ZoneSkipping",
     [](Recipe& r)
     {
         r.skippedCells = {{2, 3}, {5, 6}, {6, 6}};
         r.maxReruns = 0;
         r.bandSplit = false;
     }},
    {"ZoneMean", [](Recipe& r) { r.average2by2 = true; }},
    {"ZoneTables",
     [](Recipe& r)
     {
         r.extendedKernel = true;
         r.zoneTables = true;
         r.deadZones = {CRect(50, 60, 120, 150)};
     }},
    {"ZoneDarkSet",
     [](Recipe& r)
     {
         r.extendedKernel = true;
         r.darkFilterBase = 45;
         r.darkFilterGain = 10;
     }},
    {"ZoneExtended", [](Recipe& r) { r.extendedKernel = true; }},
    {"ZoneExtra",
     [](Recipe& r)
     {
         r.thresholdExtra = 12;
         r.filters = false;
         r.minArea = 6;
     }},
    {"ZoneNoSingles", [](Recipe& r) { r.keepSingles = false; }},
    {"ZoneBlocks",
     [](Recipe& r)
     {
         r.filterSample = FilterSample_Block;
         r.filterPairs = true;
     }},
    {"ZoneMaps",
     [](Recipe& r)
     {
         r.zoneImage = GreyImage(33, 25, 2);
         for (int y = 0; y < 25; ++y)
             std::fill_n(r.zoneImage.Row(y), 16, std::uint8_t{1});
         r.zones = {{.index = 1, .offset = 35, .gain = 8, .darkGreyLimit = 50},
                    {.index = 2, .offset = 18, .gain = 20, .brightMinDifference = 70}};
         for (ZoneSettings& zone : r.zones)
             zone.upperOffset = zone.offset;
         r.mergeDistance = 9;
     }},
    {"ZoneVerified",
     [](Recipe& r)
     {
         r.multipleY = 2;
         r.zones[0].index = 1;
         r.zones[0].verifyMode = VerifyMode_Fixed;
         r.zones[0].verifyPitchY = dPitchY;
         r.zones[0].verifyChecks = {{VerifyAlong_Y, 1}};
     }},
    {"Pixel", [](Recipe& r) { SetMode(r, Mode_Pixel, 20); }},
    {"PixelHorizontal",
     [](Recipe& r)
     {
         SetMode(r, Mode_Pixel, 20);
         r.direction = Direction_Horizontal;
         r.filterPairs = true;
     }},
    {"PixelDirect",
     [](Recipe& r)
     {
         SetMode(r, Mode_Pixel, 22);
         r.lineBuffer = false;
     }},
    {"PixelDarkSet",
     [](Recipe& r)
     {
         SetMode(r, Mode_Pixel, 20);
         r.darkFilterBase = 40;
     }},
    {"PixelExtended",
     [](Recipe& r)
     {
         SetMode(r, Mode_Pixel, 20);
         r.extendedKernel = true;
         r.darkFilterBase = 30;
     }},
    {"PixelRowTable",
     [](Recipe& r)
     {
         SetMode(r, Mode_Pixel, 20);
         r.scanPitches.assign(19, dPitchY);
         r.filterTest = FilterTest_Jump;
         r.filterPairs = true;
     }},
    {"Float2by2", [](Recipe& r) { SetMode(r, Mode_Float, 60); }},
    {"Float2by2Extended",
     [](Recipe& r)
     {
         SetMode(r, Mode_Float, 60);
         r.extendedKernel = true;
         r.darkFilterBase = 20;
         r.deadZones = {CRect(150, 60, 220, 150)};
     }},
    {"Float2by2Shift",
     [](Recipe& r)
     {
         SetMode(r, Mode_Float, 60);
         r.crossShift = -0.125;
     }},
    {"Float2by3",
     [](Recipe& r)
     {
         SetMode(r, Mode_Float, 90);
         r.windowHeight = 3;
     }},
    {"Float3by3",
     [](Recipe& r)
     {
         SetMode(r, Mode_Float, 130);
         r.windowWidth = r.windowHeight = 3;
         r.greyLimit = 227;
     }},
    {"Float2by2Horizontal",
     [](Recipe& r)
     {
         SetMode(r, Mode_Float, 60);
         r.direction = Direction_Horizontal;
     }},
    {"Float3by3Horizontal",
     [](Recipe& r)
     {
         SetMode(r, Mode_Float, 130);
         r.windowWidth = r.windowHeight = 3;
         r.greyLimit = 227;
         r.direction = Direction_Horizontal;
     }},
    {"Asg", [](Recipe& r) { r.mode = Mode_Asg; }},
    {"AsgHorizontal",
     [](Recipe& r)
     {
         r.mode = Mode_Asg;
         r.direction = Direction_Horizontal;
     }},
    {"Binarise",
     [](Recipe& r)
     {
         r = Recipe();
         r.mode = Mode_Binarise;
         r.binariseLimit = 72;
     }},
    {"Average",
     [](Recipe& r)
     {
         r = Recipe();
         r.mode = Mode_Average;
         r.averageBright = r.averageDark = 25;
         r.averageWindow = 3;
     }},
};

/// The records and blobs that the pool itself leaves behind.
struct RealRun
{
    std::map<std::pair<int, int>, CDefectPair> records; ///< as the filters left them
    int total = 0;

    RealRun(const GreyImage& image, const Recipe& recipe)
    {
        const InspectionPlan plan(CheckedRecipe(recipe), image.Width(), image.Height());
        CConvParam block = plan.BlockFor(image);
        CAssemControl pool;
        pool.InitAssemControl(1, recipe.maxBlobs);
        pool.Inspect_Rect(0, &block, recipe.GetKind() == Kind_Asg ? 1 : 0);
        CNarvoAssem& lane = *pool.GetNarvoAssem(0);
        Take(lane);
        for (int i = 0; i < lane.pThreadControl->GetCount(); ++i)
            Take(*lane.pThreadControl->GetAssem(i));
    }

    void Take(CNarvoAssem& engine)
    {
        // After a band split the lane's count is a sum without records of its own.
        if (engine.ConvParam.pImage == nullptr)
            return;
        for (int i = 0; i < engine.nPairCount; ++i)
            records[{engine.pPair[i].ptDefect.x, engine.pPair[i].ptDefect.y}] = engine.pPair[i];
        total += engine.nPairCount;
    }
};

class ExplainVariant : public testing::TestWithParam<Variant>
{
};

TEST_P(ExplainVariant, VerdictsAreThoseOfTheRealRun)
{
    for (const std::uint64_t seed : test::CaseSeeds(std::string("Explain") + GetParam().name, 2))
    {
        SCOPED_TRACE(test::ReplayHint(seed));
        const GreyImage image = MakeScene(seed, nSceneWidth, nSceneHeight);
        Recipe recipe = PatternRecipe();
        recipe.region = CRect(7, 5, nSceneWidth - 5, nSceneHeight - 8);
        GetParam().set(recipe);
        const RealRun real(image, recipe);
        Explainer explainer(image, CheckedRecipe(recipe));
        const std::vector<Blob>& blobs = explainer.Result().blobs;
        ASSERT_GT(real.records.size(), 50U);
        ASSERT_GT(blobs.size(), 3U);

        // All places with a record, and as many again anywhere.
        std::vector<CPoint> places;
        for (const auto& [place, record] : real.records)
            places.emplace_back(place.first, place.second);
        std::mt19937 random(static_cast<std::mt19937::result_type>(seed + 1));
        for (int i = 0; i < 800; ++i)
            places.emplace_back(static_cast<int>(random() % nSceneWidth), static_cast<int>(random() % nSceneHeight));

        std::map<int, int> areaOf;
        std::map<std::pair<int, int>, bool> seen;
        for (const CPoint& place : places)
        {
            SCOPED_TRACE(testing::Message() << place.x << ", " << place.y);
            const Explanation told = explainer.Explain(place);
            const auto record = real.records.find({place.x, place.y});
            ASSERT_EQ(told.record.has_value(), record != real.records.end()) << DescribeExplanation(told);
            if (!seen.emplace(std::pair(place.x, place.y), true).second)
                continue;
            ASSERT_EQ(told.blob > 0, told.outcome == Outcome::Reported);
            if (told.outcome == Outcome::Reported)
            {
                ASSERT_TRUE(blobs[static_cast<std::size_t>(told.blob) - 1].box.PtInRect(place));
                ++areaOf[told.blob];
            }
            // What the pairing of the pixel's own chain gives is what the kernel wrote.
            if (told.kernel.pWords != nullptr)
            {
                const auto inChain = std::find_if(told.chain.records.begin(), told.chain.records.end(),
                                                  [&](const CDefectPair& one) { return one.ptDefect == place; });
                ASSERT_EQ(inChain != told.chain.records.end(), told.record.has_value()) << DescribeExplanation(told);
                if (told.record)
                {
                    EXPECT_EQ(inChain->nSrcGray, told.record->nSrcGray);
                    EXPECT_EQ(inChain->nCmpGray, told.record->nCmpGray);
                    EXPECT_EQ(inChain->nThreshold, told.record->nThreshold);
                    EXPECT_EQ(inChain->nDefectType, told.record->nDefectType);
                    EXPECT_EQ(inChain->nDefectPair, told.record->nDefectPair);
                    EXPECT_EQ(inChain->nZoneIndex, told.record->nZoneIndex);
                }
            }
            if (record == real.records.end())
            {
                EXPECT_THAT(told.outcome, testing::AnyOf(Outcome::NoHit, Outcome::NoRecord, Outcome::OutsideScan,
                                                         Outcome::OutsideRegion, Outcome::Skipped));
                continue;
            }
            EXPECT_EQ(told.outcome == Outcome::Filtered || told.outcome == Outcome::ZoneLimit ||
                          told.outcome == Outcome::Verified,
                      record->second.nDefectType == DefectType_Removed)
                << DescribeExplanation(told);
        }
        // A blob's area is its records: every one of them, and no other pixel, says that it belongs there.
        for (const Blob& blob : blobs)
            EXPECT_EQ(areaOf[blob.number], blob.area) << "defect " << blob.number;
    }
}

INSTANTIATE_TEST_SUITE_P(Explain, ExplainVariant, testing::ValuesIn(variants),
                         [](const testing::TestParamInfo<Variant>& tested) { return tested.param.name; });

TEST(Explain, ScenesOfTheTestsAboveReachEveryOrdinaryOutcome)
{
    std::set<Outcome> seen;
    for (const Variant& variant : variants)
        if (const std::string name = variant.name; name == "ZoneExtra" || name == "ZoneMaps" ||
                                                   name == "ZoneSkipping" || name == "ZoneNoSingles" ||
                                                   name == "ZoneHorizontalAllPairs")
        {
            const GreyImage image = MakeScene(3, nSceneWidth, nSceneHeight);
            Recipe recipe = PatternRecipe();
            recipe.region = CRect(7, 5, nSceneWidth - 5, nSceneHeight - 8);
            variant.set(recipe);
            Explainer explainer(image, CheckedRecipe(recipe));
            for (int y = 0; y < nSceneHeight; y += 2)
                for (int x = 0; x < nSceneWidth; x += 3)
                    seen.insert(explainer.Explain(CPoint(x, y)).outcome);
        }
    for (const Outcome outcome :
         {Outcome::Reported, Outcome::OutsideRegion, Outcome::OutsideScan, Outcome::Skipped, Outcome::NoHit,
          Outcome::NoRecord, Outcome::Filtered, Outcome::ZoneLimit, Outcome::Ghost, Outcome::TooSmall})
        EXPECT_TRUE(seen.contains(outcome)) << OutcomeName(outcome);
}

TEST(Explain, GivesTheStepsOfAPairedDefect)
{
    const GreyImage image = MakePattern(nWidth, nHeight, 203, 151, 70);
    Explainer explainer(image, CheckedRecipe(PatternRecipe()));
    const Explanation told = explainer.Explain(CPoint(203, 151));
    EXPECT_EQ(told.outcome, Outcome::Reported);
    EXPECT_EQ(told.blob, 1);
    ASSERT_NE(told.Own(), nullptr);
    ASSERT_NE(told.Before(), nullptr);
    EXPECT_EQ(told.Own()->eFate, HitFate::Consumed);
    EXPECT_EQ(told.Before()->eFate, HitFate::Paired);
    EXPECT_EQ(told.Before()->pixel.ptPlace, CPoint(203, 127));
    EXPECT_EQ(told.Own()->pixel.nSrc, told.value);
    EXPECT_EQ(told.Own()->pixel.nThresholdBase, 20);
    EXPECT_EQ(told.blobStep->builtArea, 25);
    EXPECT_THAT(DescribeExplanation(told), HasSubstr("reported, defect 1"));

    const Explanation ghost = explainer.Explain(CPoint(203, 127));
    EXPECT_EQ(ghost.outcome, Outcome::NoRecord);
    EXPECT_THAT(ghost.why.back(), HasSubstr("The defect lies one distance on"));
}

TEST(Explain, MiddleHitWithoutPartnerGivesNothing)
{
    // A step of the pattern's brightness: each column differs from the next period once, and never back.
    GreyImage image = MakePattern(nWidth, nHeight, -100, -100, 0);
    for (int y = 150; y < nHeight; ++y)
        for (int x = 200; x < 206; ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(image.Row(y)[x] + 60);
    const Explanation told = Explainer(image, CheckedRecipe(PatternRecipe())).Explain(CPoint(203, 140));
    EXPECT_EQ(told.outcome, Outcome::NoRecord);
    EXPECT_EQ(told.Own()->eFate, HitFate::NoPartner);
    EXPECT_THAT(told.why.back(), HasSubstr("has no partner"));
}

TEST(Explain, TheCentreOfAHollowDefectNamesIt)
{
    // A ring of 14 by 14 pixels, two wide.
    GreyImage image = MakePattern(nWidth, nHeight, -100, -100, 0);
    for (int y = 140; y < 154; ++y)
        for (int x = 190; x < 204; ++x)
            if (x < 192 || x >= 202 || y < 142 || y >= 152)
                image.Row(y)[x] = static_cast<std::uint8_t>(image.Row(y)[x] + 80);
    Explainer explainer(image, CheckedRecipe(PatternRecipe()));
    ASSERT_EQ(explainer.Result().blobs.size(), 1U);
    const Explanation told = explainer.Explain(CPoint(197, 147));
    EXPECT_EQ(told.blob, 0);
    EXPECT_THAT(told.why, testing::Contains(HasSubstr("It lies within the frame of defect 1, ")));
}

TEST(Explain, SmallBlobIsNamedAsSuch)
{
    Recipe recipe = PatternRecipe();
    recipe.minArea = 26;
    const GreyImage image = MakePattern(nWidth, nHeight, 203, 151, 70);
    EXPECT_EQ(Explainer(image, CheckedRecipe(recipe)).Explain(CPoint(203, 151)).outcome, Outcome::TooSmall);
}

TEST(Explain, RecordThatMatchesAtAShortPitchIsTakenForPattern)
{
    // Two squares one short period apart: the upper one finds the lower one there.
    GreyImage image(400, 400, 90);
    for (const int top : {150, 170})
        for (int y = top; y < top + 4; ++y)
            std::fill_n(image.Row(y) + 100, 4, std::uint8_t{160});
    Recipe recipe = SmallestParsed();
    recipe.pitchX = 16.0;
    recipe.pitchY = 20.0;
    recipe.multipleX = recipe.multipleY = 3;
    recipe.mergeDistance = 0;
    recipe.zones[0].index = 1;
    recipe.zones[0].verifyMode = VerifyMode_Fixed;
    recipe.zones[0].verifyPitchY = 20.0;
    recipe.zones[0].verifyChecks = {{VerifyAlong_Y, 1}};
    Explainer explainer(image, CheckedRecipe(recipe));
    EXPECT_EQ(explainer.Explain(CPoint(101, 151)).outcome, Outcome::Verified);
    EXPECT_EQ(explainer.Explain(CPoint(101, 171)).outcome, Outcome::Reported);
}

TEST(Explain, PaintedDeadPlaceIsNamedAsSuch)
{
    Recipe recipe = PatternRecipe();
    recipe.deadImage = GreyImage(nWidth, nHeight, 1);
    const GreyImage image = MakePattern(nWidth, nHeight, 203, 151, 70);
    EXPECT_EQ(Explainer(image, CheckedRecipe(recipe)).Explain(CPoint(203, 151)).outcome, Outcome::DeadPlace);
}

TEST(Explain, BandsAreKeptApart)
{
    const GreyImage image = MakePattern(4160, 200, 2500, 101, 70);
    Explainer explainer(image, CheckedRecipe(PatternRecipe()));
    const Explanation told = explainer.Explain(CPoint(2500, 101));
    EXPECT_EQ(told.outcome, Outcome::Reported);
    EXPECT_EQ(told.bands, 2);
    EXPECT_EQ(told.band, 1);
    EXPECT_TRUE(told.passRegion.PtInRect(CPoint(2500, 101)));
    EXPECT_EQ(explainer.Explain(CPoint(100, 101)).band, 0);
}

TEST(Explain, PolygonInBandsIsLookedUpInTheBandOfThePlace)
{
    const GreyImage image = MakePattern(4160, 200, 500, 101, 70);
    Recipe recipe = PatternRecipe();
    SetMode(recipe, Mode_Float, 20);
    recipe.regionShape = RegionShape_Polygon;
    recipe.regionPoints = {{40, 0}, {4100, 10}, {4150, 190}, {2000, 200}, {0, 180}};
    Explainer explainer(image, CheckedRecipe(recipe));
    const Explanation told = explainer.Explain(CPoint(500, 101));
    EXPECT_EQ(told.bands, 2);
    EXPECT_EQ(told.band, 0);
    EXPECT_EQ(told.outcome, Outcome::Reported) << DescribeExplanation(told);
}

TEST(Explain, PassWithTooManyRecordsIsReportedAndTheNextPassIsFound)
{
    GreyImage image = MakePattern(1200, 1200, -100, -100, 0);
    std::mt19937 random(1);
    for (int y = 0; y < 1200; ++y)
        std::generate_n(image.Row(y), 1000, [&] { return static_cast<std::uint8_t>(random() & 255U); });
    for (int y = 600; y < 605; ++y)
        std::fill_n(image.Row(y) + 1100, 5, std::uint8_t{250});
    Recipe recipe = PatternRecipe();
    recipe.maxReruns = 30;
    Explainer explainer(image, CheckedRecipe(recipe));
    const Explanation square = explainer.Explain(CPoint(1102, 602));
    EXPECT_EQ(square.outcome, Outcome::Reported) << DescribeExplanation(square);
    EXPECT_GT(square.pass, 0);
    bool dropped = false;
    for (int y = 500; y < 540 && !dropped; ++y)
        dropped = explainer.Explain(CPoint(20, y)).outcome == Outcome::PassDropped;
    EXPECT_TRUE(dropped);
}

TEST(Explain, TrapeziaAndSecondPassesAreExplainedByTheirResult)
{
    const GreyImage image = MakePattern(nWidth, nHeight, 203, 151, 70);
    Recipe recipe = PatternRecipe();
    SetMode(recipe, Mode_Pixel, 20);
    recipe.extendedKernel = true;
    recipe.twicePitch = 2 * dPitchY;
    Explainer explainer(image, CheckedRecipe(recipe));
    ASSERT_EQ(explainer.Result().blobs.size(), 1U);
    EXPECT_EQ(explainer.Explain(CPoint(203, 151)).outcome, Outcome::Reported);
    EXPECT_EQ(explainer.Explain(CPoint(20, 20)).outcome, Outcome::NoHit);
}

TEST(Explain, PlacesOutsideAreReported)
{
    Recipe recipe = PatternRecipe();
    recipe.region = CRect(16, 16, 300, 250);
    const GreyImage image = MakePattern(nWidth, nHeight, 203, 151, 70);
    Explainer explainer(image, CheckedRecipe(recipe));
    EXPECT_EQ(explainer.Explain(CPoint(5, 100)).outcome, Outcome::OutsideRegion);
    EXPECT_EQ(explainer.Explain(CPoint(299, 100)).outcome, Outcome::OutsideScan); // beyond the last whole strip
    EXPECT_THAT(ProblemsOf([&] { explainer.Explain(CPoint(400, 0)); }),
                testing::ElementsAre(IsProblem("place", "400, 0", "inside the image, 0, 0 to 399, 299")));
}

TEST(Explain, JsonHoldsWhatTheTextSays)
{
    const GreyImage image = MakePattern(nWidth, nHeight, 203, 151, 70);
    const Explanation told = Explainer(image, CheckedRecipe(PatternRecipe())).Explain(CPoint(203, 151));
    const nlohmann::ordered_json document = ExplanationToJson(told);
    EXPECT_EQ(document["outcome"], "reported");
    EXPECT_EQ(document["defect"], 1);
    EXPECT_EQ(document["comparison"]["value"], told.value);
    EXPECT_EQ(document["comparison"]["threshold_parts"]["base"], 20);
    EXPECT_EQ(document["comparison_before"]["pairing"], "first hit of a pair");
    EXPECT_EQ(document["record"]["polarity"], "bright");
    EXPECT_EQ(document["blob"]["built"]["area"], 25);
    EXPECT_EQ(document["why"].size(), told.why.size());
    EXPECT_TRUE(
        ExplanationToJson(Explainer(image, CheckedRecipe(PatternRecipe())).Explain(CPoint(0, 0)))["defect"].is_null());
}

} // namespace

} // namespace narvo::test
