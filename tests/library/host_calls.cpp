// SPDX-License-Identifier: MIT
#include "library/host_calls.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "library/random_draft.h"
#include "library/random_input.h"
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

class HostPlay
{
public:
    explicit HostPlay(CCaseSource& source) : m_input(source), m_inspector(m_input.random.Int(1, 3)) {}

    void Run(int most)
    {
        for (int step = 0; step < most; ++step)
            switch (m_input.random.Int(0, 29))
            {
            case 0:
                m_input.random.OneIn(3) ? Learn() : Golden();
                break;
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
            case 10:
            case 11:
            case 12:
                Stream();
                break;
            case 13:
                Images();
                break;
            case 14:
                Shapes();
                break;
            case 15:
                m_input.random.OneIn(4) ? Measure() : Search();
                break;
            default:
                Inspect();
            }
    }

    HostAnswers answers;

private:
    template <typename Call>
    static bool Count(CallAnswers& answers, Call call)
    {
        ++answers.asked;
        const bool answered = Ask(call);
        answers.answered += answered ? 1 : 0;
        return answered;
    }

    void Draft()
    {
        m_draft = RandomDraft(m_input);
        if (!Count(answers.drafts, [&] { m_recipe = m_draft.Check(); }))
            return;
        Require(RecipeDraft::Of(*m_recipe).Check() == *m_recipe, "a draft of a recipe gives the recipe");
        for (const char* field : {"pitch.x", "mode", "zones.list", "region"})
            Ask([&] { Require(!m_recipe->Value(field).empty(), "a field has a value"); });
        Require(!m_recipe->Summary().empty(), "a recipe has a summary");
        Require(m_recipe->Region(0) == *m_recipe, "a recipe's only region is the recipe");
        for (const PaintedImage painted : {PaintedImage::Zones, PaintedImage::Classes, PaintedImage::Dead})
            if (const auto image = ImageOf(*m_recipe, painted))
                Require(image->Width() > 0, "a painted image has a size");
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
        if (!Count(answers.inspections, [&] { reports = m_inspector.Inspect(image.pixels, *m_recipe); }))
            return;
        Require(reports.size() == m_recipe->Regions(), "each region has a report");
        for (const Report& report : reports)
        {
            Require(report.code == 1 || (report.code == 16 && !report.warnings.empty()), "a code of 16 is warned of");
            for (std::size_t i = 0; i < report.defects.size(); ++i)
            {
                const Box& box = report.defects[i].box;
                Require(report.defects[i].number == static_cast<int>(i) + 1, "defects are numbered");
                Require(box.left >= 0 && box.top >= 0 && box.left < box.right && box.top < box.bottom &&
                            box.right <= image.pixels.width && box.bottom <= image.pixels.height,
                        "a defect lies in the image");
            }
        }
        // The same again gives the same, whatever the lane did before.
        std::vector<Report> again;
        Require(Ask([&] { again = m_inspector.Inspect(image.pixels, *m_recipe); }) && again.size() == reports.size(),
                "what was inspected can be inspected again");
        for (std::size_t i = 0; i < reports.size(); ++i)
            Require(again[i].defects.size() == reports[i].defects.size(), "the same again gives the same");
        RequireFull(image.pixels, reports);
    }

    /// The whole results behind the reports, their text and their picture.
    void RequireFull(const ImagePixels& image, const std::vector<Report>& reports)
    {
        std::vector<FullReport> full;
        Require(Ask([&] { full = m_inspector.InspectFully(image, *m_recipe); }) && full.size() == reports.size(),
                "what was inspected can be inspected fully");
        for (std::size_t i = 0; i < full.size(); ++i)
        {
            const std::size_t defects = reports[i].defects.size();
            Require(full[i].report.defects.size() == defects && full[i].colours.size() == defects,
                    "a whole result has the defects of the report");
            Require(full[i].report.warnings.size() + (full[i].unseen.empty() ? 0 : 1) == reports[i].warnings.size(),
                    "a whole result has the warnings of the report");
            for (const Answer& answer : full[i].answers)
                Require(answer.x >= 0 && answer.y >= 0 && answer.x < image.width && answer.y < image.height,
                        "an answer lies in the image");
            const std::string text = ReportText(full[i]);
            Require(ReportText(ReportFromText(text)) == text, "a result's text reads back alike");
        }
        std::vector<std::uint8_t> drawn;
        Require(Ask([&] { drawn = DrawOverlay(image, full.front()); }), "a result can be drawn");
        Require(drawn.size() ==
                    std::size_t{3} * static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height),
                "a picture has the image's size");
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
            settings.push_back({names[m_input.random.Below(std::size(names))],
                                m_input.random.OneIn(4) ? m_input.WildNumber() : m_input.random.Int(0, 16)});
        std::optional<GoldenModel> model;
        if (!Count(answers.models,
                   [&] { model.emplace(references, settings, m_input.random.OneIn(9) ? m_input.Wild() : 1); }))
            return;
        const RandomImage other = m_input.Image(160, m_input.random.OneIn(4) ? 1 : 64);
        Ask([&] { model->SetMask(m_input.random.OneIn(2) ? references.front() : other.pixels); });
        GoldenReport report;
        const ImagePixels inspected = m_input.random.OneIn(2) ? other.pixels : references.front();
        if (Ask([&] { report = model->Inspect(inspected); }))
        {
            Require(report.places.size() == report.report.defects.size(), "each defect has its place");
            std::optional<GoldenFindings> found;
            Require(Ask([&] { found = model->Share().InspectFully(inspected); }), "a shared model inspects the same");
            Require(found->Summary().places.size() == report.places.size() &&
                        found->Reference().Width() == inspected.width && found->Text().front() == '{',
                    "findings are those of the report");
        }
        if (m_input.random.OneIn(2))
        {
            GoldenModel taken = std::move(*model);
            RequireRefused([&] { model->Inspect(other.pixels); }, "a model that was moved from inspects nothing");
            RequireRefused([&] { model->SetMask({}); }, "a model that was moved from takes no mask");
            RequireRefused([&] { model->Tolerance(); }, "a model that was moved from has no tolerance");
            *model = std::move(taken);
        }
        const GreyPicture mean = model->Mean();
        Require(mean.pixels.size() == static_cast<std::size_t>(mean.width) * static_cast<std::size_t>(mean.height),
                "a picture has its pixels");
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
        int left = m_input.random.Pick({-1, 0, 5, 40});
        if (Ask(
                [&] {
                    report = LearnRecipe(good, mode, settings, defective, [&](const Progress&) { return left-- != 0; });
                }))
        {
            Require(report.recipe.has_value(), "what was learnt has a recipe");
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
            if (Ask([&] { told = explainer->ExplainFully(x, y).explanation; }))
                Require(!told.why.empty() && !told.outcome.empty() && !told.text.empty(), "an explanation has words");
        }
        const Explainer taken = std::move(*explainer);
        RequireRefused([&] { explainer->Explain(0, 0); }, "an explainer that was moved from explains nothing");
        RequireRefused([&] { explainer->Result(); }, "an explainer that was moved from has no result");
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
            const auto place = static_cast<std::size_t>(m_input.random.Below(text.size()));
            switch (m_input.random.Int(0, 2))
            {
            case 0:
                text[place] = static_cast<char>(m_input.random.Below(256));
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
        Ask([&] { ReportFromText(text); });
        std::optional<Recipe> drafted;
        const bool isDraft = Ask([&] { drafted = RecipeDraft::FromText(text, "no such folder").Check(); });
        const bool isRecipe = Ask([&] { m_recipe = Recipe::FromText(text, "no such folder"); });
        if (isDraft && isRecipe && m_recipe->Regions() == 1)
            Require(*drafted == *m_recipe, "a text gives one recipe, whichever way it is read");
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
            const char* const claim = "a recipe that was moved from is refused";
            RequireRefused([&] { m_inspector.Inspect(image.pixels, *m_recipe); }, claim);
            RequireRefused([&] { m_recipe->Text(); }, claim);
            RequireRefused([&] { m_recipe->CheckSize(99, 99); }, claim);
            RequireRefused([&] { m_recipe->Save("moved.json"); }, claim);
            RequireRefused([&] { Explainer(image.pixels, *m_recipe); }, claim);
            RequireRefused([&] { StripStream(*m_recipe, 64, [](const StreamDefect&) {}); }, claim);
            m_recipe = std::move(moved);
        }
        const int lanes = m_input.Wild();
        if (lanes > 2 || lanes < 1)
            Ask([&] { const Inspector inspector(lanes == 255 || lanes == 256 ? 0 : lanes); });
    }

    /// Rows of one width, whatever the images hold that they come from.
    void Stream()
    {
        if (!m_recipe)
            return;
        RandomImage first = m_input.Image(200);
        std::int64_t reported = 0;
        std::int64_t pushed = 0;
        std::optional<StripStream> stream;
        Settings settings;
        if (m_input.random.OneIn(3))
            settings.push_back({m_input.random.Pick({"window_rows", "largest_blob", "max_open_pairs", "nothing"}),
                                m_input.random.OneIn(2) ? m_input.WildNumber() : m_input.random.Int(1, 400)});
        const int fails = m_input.random.OneIn(12) ? m_input.random.Int(1, 3) : 0;
        struct OwnFailure
        {
        };
        if (!Count(answers.streams,
                   [&]
                   {
                       stream.emplace(
                           *m_recipe, first.pixels.width,
                           [&](const StreamDefect& found)
                           {
                               Require(found.row >= 0 && found.defect.box.top == 0 && found.defect.box.bottom > 0,
                                       "a defect's rows count from its first");
                               RequireRefused([&] { stream->Push(first.pixels); }, "no rows from within a report");
                               if (++reported == fails)
                                   throw OwnFailure();
                           },
                           settings);
                   }))
            return;
        bool over = false;
        for (int piece = m_input.random.Int(1, 12); piece > 0 && !over; --piece)
        {
            ImagePixels rows = first.pixels;
            if (rows.height > 1)
                rows.height = m_input.random.Int(1, rows.height);
            try
            {
                if (Ask([&] { m_input.random.OneIn(20) ? stream->Finish() : stream->Push(rows); }))
                    pushed = stream->Counts().rows;
            }
            catch (const OwnFailure&)
            {
                over = true;
            }
            const StreamCounts counts = stream->Counts();
            Require(over || counts.rows == pushed, "refused rows are not taken");
            Require(counts.finalRows <= counts.rows && counts.defects >= reported - 1, "counts go together");
            for (const std::string& warning : stream->Warnings())
                Require(!warning.empty(), "a warning has words");
        }
        if (over)
            RequireRefused([&] { stream->Finish(); }, "a stream whose function threw is over");
    }

    void Images()
    {
        const std::string text = m_input.random.Pick(
            {R"({})", R"({"channel": "each"})", R"({"channel": "luma", "levels": {"low": 10, "high": 900}})",
             R"({"raw": {"format": "Mono12p", "width": 16, "height": 12}})",
             R"({"raw": {"format": "Mono10", "width": 9, "height": 7, "offset": 3}})", R"({"bayer": "rggb"})", "{",
             ""});
        ImageRules rules;
        Ask([&] { rules = ImageRules::FromText(text, "no such folder"); });
        ImageNotes notes;
        std::optional<narvo::Image> image;
        if (m_input.random.OneIn(2))
        {
            std::vector<std::uint8_t> frame(static_cast<std::size_t>(m_input.random.Pick({288, 129, 0, 1, 300})), 40);
            Ask([&] { image = narvo::Image::FromFrame(frame.data(), frame.size(), rules, &notes); });
        }
        else
        {
            const int channels = m_input.random.Pick({3, 1, 4, 2, 0, -1, 5});
            const int bits = m_input.random.Pick({8, 16, 12, 0});
            const int width = m_input.Side(90);
            const int height = m_input.Side(90);
            const std::vector<std::uint16_t> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                                                        static_cast<std::size_t>(std::max(channels, 1)),
                                                    static_cast<std::uint16_t>(m_input.random.Int(0, 65535)));
            PixelArray array{pixels.data(), width, height, channels, bits};
            if (m_input.random.OneIn(15))
                array.width = m_input.random.Pick({0, -1, 1048577});
            if (m_input.random.OneIn(15))
                array.pixels = nullptr;
            Ask([&] { image = narvo::Image::FromPixels(array, rules, &notes); });
        }
        for (const std::string& note : notes.Take())
            Require(!note.empty(), "a note has words");
        if (!image)
            return;
        Require(image->Width() > 0 && image->Height() > 0 && (image->Channels() == 1 || image->Channels() == 3),
                "an image has a size");
        RequireRefused([&] { image->ChannelPixels(3); }, "there is no fourth channel");
        if (m_recipe)
            Ask([&] { m_inspector.Inspect(*image, *m_recipe); });
        const narvo::Image moved = std::move(*image);
        RequireRefused([&] { image->Pixels(); }, "an image that was moved from has no pixels");
    }

    void Shapes()
    {
        std::vector<Corner> points;
        for (int corners = m_input.random.Int(0, 9); corners > 0; --corners)
            points.push_back({m_input.random.OneIn(12) ? m_input.Wild() : m_input.random.Int(-10, 120),
                              m_input.random.OneIn(12) ? m_input.Wild() : m_input.random.Int(-10, 120)});
        Ask([&] { IsConvexPolygon(points); });
        Ask([&] { BoundsOfPolygon(points); });
        const int width = m_input.random.OneIn(12) ? m_input.Wild() : m_input.random.Int(1, 130);
        const int height = m_input.random.OneIn(12) ? m_input.Wild() : m_input.random.Int(1, 130);
        // More than that is answered as well, but takes memory that a run of many cases has not.
        if (std::int64_t{width} * height > 1000000)
            return;
        std::vector<std::uint8_t> mask;
        if (Ask([&] { mask = PolygonMask(points, width, height); }))
            Require(mask.size() == static_cast<std::size_t>(width) * static_cast<std::size_t>(height),
                    "a mask has the size that was asked for");
        Ask([&] { CutPolygon(points, m_input.random.OneIn(2)); });
    }

    void Measure()
    {
        if (!m_recipe)
            return;
        CapabilityPlan plan;
        plan.SetSizes({m_input.random.Pick({4, 0, 12, 600})}).SetContrasts({m_input.random.Pick({40, -300, 0})});
        plan.SetCount(m_input.random.Pick({2, 0, 5}));
        Ask([&] { plan.SetShapes({m_input.random.Pick({"spot", "stain", "star"})}); });
        const RandomImage picture = m_input.Image(160, 64);
        std::vector<NamedPicture> good;
        if (picture.pixels.bits == 8 && picture.pixels.stride == 0)
            Ask(
                [&]
                {
                    good.push_back({"good", narvo::Image::FromPixels(
                                                {picture.pixels.pixels, picture.pixels.width, picture.pixels.height})});
                });
        int left = m_input.random.Pick({-1, 0, 2});
        CapabilityReport report;
        if (Ask(
                [&] {
                    report = MeasureCapability(*m_recipe, good, plan, 1, [&](const Progress&) { return left-- != 0; });
                }))
            Require(!report.text.empty(), "capability has a text");
    }

    void Search()
    {
        const RandomImage image = m_input.Image(200, 64);
        const Box box = {0, 0, m_input.random.Int(1, 220), m_input.random.Int(1, 220)};
        std::optional<FoundPitch> pitch;
        if (Ask([&] { pitch = FoundPitch::Search(image.pixels, box); }))
            Ask([&] { m_recipe = pitch->MakeRecipe(image.pixels, box); });
        std::optional<FoundLattice> lattice;
        if (Ask([&] { lattice = FoundLattice::Search(image.pixels, box); }))
            Ask([&] { m_recipe = lattice->MakeRecipe(image.pixels, box); });
    }

    RandomInput m_input;
    Inspector m_inspector;
    RecipeDraft m_draft;
    std::optional<Recipe> m_recipe;
};

} // namespace

HostAnswers MakeHostCalls(CCaseSource& source, int most)
{
    HostPlay play(source);
    play.Run(most);
    return play.answers;
}

} // namespace narvo::test
