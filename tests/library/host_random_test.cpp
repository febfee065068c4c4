// SPDX-License-Identifier: MIT
// Random use of the whole host library, right and wrong: images of 1 by 1 pixels upwards, any strides and depths,
// recipes with random fields, own maps and tables, regions anywhere, null pointers, objects that were moved from. Each
// call answers, or says what is wrong in full; with sanitizers, nothing is read or written outside of what was given.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/random_draft.h"
#include "library/random_input.h"
#include "support/seeds.h"
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

/// How often each call was answered.
struct Answers
{
    int asked = 0;
    int answered = 0;
};

class HostPlay
{
public:
    explicit HostPlay(std::uint64_t seed) : m_input(seed), m_inspector(m_input.random.Int(1, 3)) {}

    void Run()
    {
        for (int step = 0; step < 8 && !testing::Test::HasFailure(); ++step)
            switch (m_input.random.Int(0, 23))
            {
            case 0:
                return m_input.random.OneIn(3) ? Learn() : Golden();
            case 1:
            case 2:
                Pitch();
                break;
            case 3:
                Explain();
                break;
            case 4:
                Texts();
                break;
            case 5:
            case 6:
                Move();
                break;
            case 7:
            case 8:
            case 9:
                Draft();
                break;
            default:
                Inspect();
            }
    }

    Answers inspections, drafts, models;

private:
    template <typename Call>
    bool Count(Answers& answers, Call call)
    {
        ++answers.asked;
        const bool answered = Ask(call);
        answers.answered += answered ? 1 : 0;
        return answered;
    }

    void Draft()
    {
        m_draft = RandomDraft(m_input);
        Count(drafts, [&] { m_recipe = m_draft.Check(); });
    }

    void Inspect()
    {
        if (!m_recipe)
            Draft();
        const RandomImage image = m_input.Image(300);
        if (!m_recipe)
            return;
        if (m_input.random.OneIn(8))
            Ask(
                [&] {
                    m_recipe->CheckSize(m_input.random.OneIn(2) ? m_input.Wild() : image.pixels.width,
                                        image.pixels.height);
                });
        std::vector<Report> reports;
        if (!Count(inspections, [&] { reports = m_inspector.Inspect(image.pixels, *m_recipe); }))
            return;
        EXPECT_EQ(reports.size(), m_recipe->Regions());
        for (const Report& report : reports)
        {
            EXPECT_TRUE(report.code == 1 || (report.code == 16 && !report.warnings.empty())) << report.code;
            for (std::size_t i = 0; i < report.defects.size(); ++i)
            {
                const Box& box = report.defects[i].box;
                EXPECT_EQ(report.defects[i].number, static_cast<int>(i) + 1);
                EXPECT_TRUE(box.left >= 0 && box.top >= 0 && box.left < box.right && box.top < box.bottom &&
                            box.right <= image.pixels.width && box.bottom <= image.pixels.height);
            }
        }
        // The same again gives the same, whatever the lane did before.
        std::vector<Report> again;
        ASSERT_TRUE(Ask([&] { again = m_inspector.Inspect(image.pixels, *m_recipe); }));
        ASSERT_EQ(again.size(), reports.size());
        for (std::size_t i = 0; i < reports.size(); ++i)
            EXPECT_EQ(again[i].defects.size(), reports[i].defects.size());
    }

    void Golden()
    {
        std::vector<RandomImage> images;
        std::vector<ImagePixels> references;
        for (int count = m_input.random.Int(0, 3); count > 0; --count)
        {
            images.push_back(m_input.Image(160, m_input.random.OneIn(4) ? 1 : 64));
            references.push_back(m_input.random.OneIn(3) || references.empty() ? images.back().pixels
                                                                               : references.front());
        }
        static const char* const names[] = {"max_shift",       "max_rotation",   "max_scale", "mesh_spacing",
                                            "min_correlation", "edge_tolerance", "threshold", "min_pixels"};
        Settings settings;
        for (int count = m_input.random.OneIn(2) ? 0 : m_input.random.Int(1, 2); count > 0; --count)
            settings.push_back({names[m_input.random.Next() % std::size(names)],
                                m_input.random.OneIn(4) ? m_input.WildNumber() : m_input.random.Int(0, 16)});
        std::optional<GoldenModel> model;
        if (!Count(models, [&] { model.emplace(references, settings, m_input.random.OneIn(9) ? m_input.Wild() : 1); }))
            return;
        const RandomImage other = m_input.Image(160, m_input.random.OneIn(4) ? 1 : 64);
        Ask([&] { model->SetMask(m_input.random.OneIn(2) ? references.front() : other.pixels); });
        GoldenReport report;
        if (Ask([&] { report = model->Inspect(m_input.random.OneIn(2) ? other.pixels : references.front()); }))
        {
            EXPECT_EQ(report.places.size(), report.report.defects.size());
        }
        if (m_input.random.OneIn(2))
        {
            GoldenModel taken = std::move(*model);
            EXPECT_THROW(model->Inspect(other.pixels), Error);
            EXPECT_THROW(model->SetMask({}), Error);
            EXPECT_THROW(model->Tolerance(), Error);
            *model = std::move(taken);
        }
        const GreyPicture mean = model->Mean();
        EXPECT_EQ(mean.pixels.size(), static_cast<std::size_t>(mean.width) * static_cast<std::size_t>(mean.height));
    }

    void Learn()
    {
        std::vector<RandomImage> images;
        std::vector<NamedImage> good;
        for (int count = m_input.random.Int(0, 2); count > 0; --count)
        {
            images.push_back(m_input.Image(160));
            good.push_back({m_input.random.OneIn(5) ? std::string("\xff") : "image", images.back().pixels});
        }
        std::vector<DefectiveImage> defective;
        const RandomImage bad = m_input.Image(120);
        if (m_input.random.OneIn(3))
            defective.push_back(
                {{"bad", bad.pixels}, m_input.random.OneIn(2), {{1, 1, m_input.random.Int(0, 140), 9}}});
        Settings settings;
        if (m_input.random.OneIn(3))
            settings.push_back({m_input.random.Pick({"false_rate", "threads", "nothing"}), m_input.WildNumber()});
        const char* mode = m_input.random.Pick({"auto", "texture", "periodic", "lattice", "", "other"});
        LearnReport report;
        if (Ask([&] { report = LearnRecipe(good, mode, settings, defective); }))
        {
            ASSERT_TRUE(report.recipe.has_value());
            m_recipe = report.recipe;
            Inspect();
        }
    }

    void Pitch()
    {
        const RandomImage image = m_input.Image(300);
        PitchProposal proposal;
        const Box box = {m_input.random.Int(-1, 9), m_input.random.Int(-1, 9),
                         m_input.random.OneIn(9) ? m_input.Wild() : m_input.random.Int(1, 300),
                         m_input.random.OneIn(9) ? m_input.Wild() : m_input.random.Int(1, 300)};
        if (Ask(
                [&] {
                    proposal = m_input.random.OneIn(2) ? ProposeRecipe(image.pixels) : ProposeRecipe(image.pixels, box);
                }) &&
            proposal.recipe)
        {
            m_recipe = proposal.recipe;
            Inspect();
        }
    }

    void Explain()
    {
        if (!m_recipe)
            return;
        const RandomImage image = m_input.Image(200);
        std::optional<Explainer> explainer;
        if (!Ask([&] { explainer.emplace(image.pixels, *m_recipe, m_input.random.OneIn(9) ? 1U : 0U); }))
            return;
        for (int pixel = 0; pixel < 6; ++pixel)
        {
            Explanation told;
            const int x = m_input.random.OneIn(9) ? m_input.Wild() : m_input.random.Int(0, image.pixels.width - 1);
            const int y = m_input.random.OneIn(9) ? m_input.Wild() : m_input.random.Int(0, image.pixels.height - 1);
            if (Ask([&] { told = explainer->Explain(x, y); }))
            {
                EXPECT_FALSE(told.why.empty() || told.outcome.empty() || told.text.empty());
            }
        }
        const Explainer taken = std::move(*explainer);
        EXPECT_THROW(explainer->Explain(0, 0), Error);
        EXPECT_THROW(explainer->Result(), Error);
    }

    /// A recipe's text, whole or with bytes changed.
    void Texts()
    {
        if (!m_recipe)
            return;
        std::string text;
        if (!Ask([&] { text = m_recipe->Text(); }))
            return;
        for (int change = m_input.random.Int(0, 4); change > 0; --change)
        {
            const auto place = static_cast<std::size_t>(m_input.random.Next() % text.size());
            switch (m_input.random.Int(0, 2))
            {
            case 0:
                text[place] = static_cast<char>(m_input.random.Next() & 255U);
                break;
            case 1:
                text.erase(place, static_cast<std::size_t>(m_input.random.Int(1, 30)));
                break;
            default:
                text.insert(place, m_input.random.Pick({"9", "-", "\"", "{", "null", "1e999", ",", "\\u0000"}));
            }
            if (text.empty())
                break;
        }
        Ask([&] { m_recipe = Recipe::FromText(text, "no such folder"); });
    }

    void Move()
    {
        RecipeDraft taken = std::move(m_draft);
        if (m_input.random.OneIn(2))
            m_draft.Set("mode", "pixel");
        Ask([&] { m_draft.Check(); });
        if (m_input.random.OneIn(2))
            m_draft = std::move(taken);
        if (m_recipe)
        {
            Recipe moved = std::move(*m_recipe);
            const RandomImage image = m_input.Image(40);
            EXPECT_THROW(m_inspector.Inspect(image.pixels, *m_recipe), Error);
            EXPECT_THROW(m_recipe->Text(), Error);
            EXPECT_THROW(m_recipe->CheckSize(99, 99), Error);
            EXPECT_THROW(m_recipe->Save("moved.json"), Error);
            EXPECT_THROW(Explainer(image.pixels, *m_recipe), Error);
            m_recipe = std::move(moved);
        }
        const int lanes = m_input.Wild();
        if (lanes > 2 || lanes < 1)
            Ask([&] { const Inspector inspector(lanes == 255 || lanes == 256 ? 0 : lanes); });
    }

    RandomInput m_input;
    Inspector m_inspector;
    RecipeDraft m_draft;
    std::optional<Recipe> m_recipe;
};

} // namespace

TEST(HostRandom, EveryCallAnswersOrSaysWhatIsWrong)
{
    Answers inspections;
    Answers drafts;
    Answers models;
    const auto add = [](Answers& sum, const Answers& part)
    {
        sum.asked += part.asked;
        sum.answered += part.answered;
    };
    for (const std::uint64_t seed : CaseSeeds("HostRandom", 200))
    {
        SCOPED_TRACE(ReplayHint(seed));
        HostPlay play(seed);
        play.Run();
        ASSERT_FALSE(HasFailure());
        add(inspections, play.inspections);
        add(drafts, play.drafts);
        add(models, play.models);
    }
    RecordProperty("inspections", inspections.answered);
    // Not everything may be refused, nor everything taken.
    if (CaseShare() > 10)
        return;
    for (const Answers& one : {inspections, drafts, models})
    {
        EXPECT_GT(one.answered, one.asked / 20) << one.asked;
        EXPECT_LT(one.answered, one.asked * 95 / 100) << one.asked;
    }
}

} // namespace narvo::test
