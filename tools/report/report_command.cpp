// From results or images to the page: inspection, choice of what the page keeps, pictures.
#include "tools/command.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <set>
#include <thread>

#include <CLI/CLI.hpp>

#include "host/image/grey_image.h"
#include "host/inspect/batch.h"
#include "host/inspect/parameter_set.h"
#include "host/problem.h"
#include "host/recipe/recipe_check.h"
#include "host/result/result_file.h"
#include "host/result/result_reader.h"
#include "narvoassem/version.h"
#include "tools/exit_code.h"
#include "tools/quiet_codecs.h"
#include "tools/report/report_page.h"
#include "tools/report/report_pictures.h"

namespace narvo
{

namespace
{

namespace fs = std::filesystem;

struct ReportOptions
{
    std::vector<std::string> inputs; ///< result files (.json, .jsonl), or images to inspect
    std::string recipe;              ///< for images; for results, in place of the one that they name
    std::string output;              ///< empty: the first input's name with .report.html
    std::string title;               ///< empty: made from the inputs
    int thumbnails = 400;            ///< defects whose crops the page keeps
    int lanes = 0;                   ///< 0: one for each processor
    bool quiet = false;
};

// What a page holds at the most, so that a browser opens it at once: about 4 MB of overviews, and some MB of rows.
constexpr double dOverviewPixels = 4.0e6;
constexpr double dLargestOverview = 3.2e6;
constexpr double dSmallestOverview = 9.0e4;
constexpr std::size_t nOverviewMost = 44;
constexpr std::size_t nBlobMost = 50000;

/// One input: an image with its result, and the recipe it was inspected by.
struct Source
{
    std::string imageFile; ///< empty: not known
    int recipe = -1;       ///< index into the page's recipes; -1: not known
    std::string region{};  ///< its name, where the image has several
};

bool IsResultFile(const std::string& name)
{
    const fs::path extension = fs::path(name).extension();
    return extension == ".json" || extension == ".jsonl";
}

/// A file that a result names: as it stands, or else beside the result.
std::string FindBeside(const std::string& named, const std::string& result)
{
    std::error_code error;
    if (named.empty() || fs::exists(named, error))
        return named;
    const fs::path beside = fs::path(result).parent_path() / fs::path(named).filename();
    return fs::exists(beside, error) ? beside.string() : std::string();
}

std::string LocalTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts);
    return text;
}

std::string Count(std::size_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

class ReportMaker
{
public:
    explicit ReportMaker(const ReportOptions& options) : m_options(options) {}

    int Run()
    {
        if (const int code = ReadInputs(); code != ExitCode_Done)
            return code;
        NameImages();
        ChooseBlobs();
        AddPictures();
        return Write();
    }

private:
    void Say(const std::string& text) const
    {
        if (!m_options.quiet)
            std::cout << text << std::endl;
    }

    /// Where the regions of a recipe file stand among the page's recipes.
    const std::vector<int>& RecipesOf(const std::string& file)
    {
        const auto known = m_recipesOf.find(file);
        if (known != m_recipesOf.end())
            return known->second;
        std::vector<Recipe> recipes;
        {
            const QuietCodecs quiet;
            recipes = LoadRecipes(file);
        }
        std::vector<int> places;
        for (Recipe& recipe : recipes)
        {
            const std::string name = fs::path(file).filename().string();
            m_page.recipes.push_back({recipes.size() == 1 ? name : name + ", " + recipe.name, std::move(recipe)});
            places.push_back(static_cast<int>(m_page.recipes.size()) - 1);
        }
        return m_recipesOf[file] = places;
    }

    static GreyImage LoadImage(const std::string& file)
    {
        const QuietCodecs quiet;
        return LoadGreyImage(file);
    }

    int ReadInputs()
    {
        std::vector<Problem> found;
        const bool images = std::any_of(m_options.inputs.begin(), m_options.inputs.end(),
                                        [](const auto& n) { return !IsResultFile(n); });
        if (images && m_options.recipe.empty())
            found.push_back({"--recipe", "missing", "a recipe file, since images are to be inspected"});
        const auto collect = [&](auto&& step)
        {
            try
            {
                step();
            }
            catch (const HostError& error)
            {
                found.insert(found.end(), error.Problems().begin(), error.Problems().end());
            }
        };
        std::vector<int> recipes;
        if (!m_options.recipe.empty())
            collect([&] { recipes = RecipesOf(m_options.recipe); });
        for (const std::string& input : m_options.inputs)
            if (IsResultFile(input))
                collect([&] { ReadResults(input, recipes); });
        if (images && !recipes.empty())
            collect([&] { InspectImages(recipes, found); });
        else // told along with the other problems
            for (const std::string& input : m_options.inputs)
                if (!IsResultFile(input))
                    collect([&] { LoadImage(input); });
        if (found.empty())
            return ExitCode_Done;
        PrintProblems(found);
        return ExitCode_BadInput;
    }

    void ReadResults(const std::string& input, const std::vector<int>& given)
    {
        bool imageMissing = false;
        bool recipeMissing = false;
        for (SavedResult& saved : LoadResults(input))
        {
            Source source;
            source.imageFile = FindBeside(saved.image, input);
            imageMissing = imageMissing || source.imageFile.empty();
            std::vector<int> recipes = given;
            if (const std::string file = FindBeside(saved.recipe, input); recipes.empty() && !file.empty())
                recipes = RecipesOf(file);
            if (static_cast<int>(recipes.size()) == saved.regions)
                source.recipe = recipes[static_cast<std::size_t>(saved.region)];
            recipeMissing = recipeMissing || source.recipe < 0;
            Add(saved.image.empty() ? input : saved.image, saved.regions, std::move(saved.result), source);
            ReportImage& image = m_page.images.back();
            image.width = std::max(saved.width, image.result.region.right);
            image.height = std::max(saved.height, image.result.region.bottom);
        }
        if (imageMissing)
            m_page.notes.push_back(input + ": images that it names are not there, so they come without pictures.");
        if (recipeMissing)
            m_page.notes.push_back(input + ": its recipe is not there, so no references are shown (--recipe).");
    }

    void InspectImages(const std::vector<int>& indices, std::vector<Problem>& found)
    {
        std::vector<Recipe> recipes;
        for (const int index : indices)
            recipes.push_back(m_page.recipes[static_cast<std::size_t>(index)].recipe);
        std::vector<BatchImage> images;
        for (const std::string& input : m_options.inputs)
            if (!IsResultFile(input))
                images.push_back(ImageFromFile(input));
        const int processors = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 256);
        Batch batch(std::move(recipes), m_options.lanes > 0 ? m_options.lanes : processors);
        const auto take = [&](const ImageResult& result)
        {
            found.insert(found.end(), result.problems.begin(), result.problems.end());
            for (std::size_t i = 0; i < result.regions.size(); ++i)
            {
                Add(result.name, static_cast<int>(result.regions.size()), result.regions[i], {result.name, indices[i]});
                m_page.images.back().width = result.width;
                m_page.images.back().height = result.height;
            }
            Say("inspected " + result.name + ": " + Count(result.BlobCount(), "defect", "defects"));
        };
        const QuietCodecs quiet;
        batch.Run(images, take);
    }

    void Add(const std::string& name, int regions, InspectionResult result, Source source)
    {
        ReportImage& image = m_page.images.emplace_back();
        image.name = name;
        source.region = regions > 1 ? (result.name.empty() ? "region" : result.name) : "";
        image.result = std::move(result);
        m_sources.push_back(std::move(source));
    }

    /// File names alone where they tell the images apart; and the region where there are several.
    void NameImages()
    {
        std::map<std::string, std::set<std::string>> places;
        for (const ReportImage& image : m_page.images)
            places[fs::path(image.name).filename().string()].insert(image.name);
        const bool clear =
            std::all_of(places.begin(), places.end(), [](const auto& one) { return one.second.size() == 1; });
        for (std::size_t i = 0; i < m_page.images.size(); ++i)
        {
            std::string& name = m_page.images[i].name;
            if (clear)
                name = fs::path(name).filename().string();
            if (!m_sources[i].region.empty())
                name += ", " + m_sources[i].region;
        }
        for (const ReportImage& image : m_page.images)
            for (const std::string& warning : image.result.warnings)
                m_page.notes.push_back(image.name + ": " + warning);
    }

    struct BlobPlace
    {
        std::size_t image;
        std::size_t blob;
    };

    const Blob& BlobAt(const BlobPlace& place) const { return m_page.images[place.image].result.blobs[place.blob]; }

    /// Which defects the page lists, and which come with crops: the largest ones where there are too many.
    void ChooseBlobs()
    {
        std::vector<BlobPlace> places;
        for (std::size_t i = 0; i < m_page.images.size(); ++i)
            for (std::size_t j = 0; j < m_page.images[i].result.blobs.size(); ++j)
                places.push_back({i, j});
        std::stable_sort(places.begin(), places.end(),
                         [&](const BlobPlace& a, const BlobPlace& b)
                         {
                             const Blob& first = BlobAt(a);
                             const Blob& second = BlobAt(b);
                             return first.area != second.area ? first.area > second.area : first.peak > second.peak;
                         });
        for (ReportImage& image : m_page.images)
        {
            image.thumbnails.resize(image.result.blobs.size());
            if (places.size() > nBlobMost)
                image.kept.assign(image.result.blobs.size(), false);
        }
        if (places.size() > nBlobMost)
        {
            for (std::size_t i = 0; i < nBlobMost; ++i)
                m_page.images[places[i].image].kept[places[i].blob] = true;
            m_page.notes.push_back("Of " + std::to_string(places.size()) + " defects the page lists the " +
                                   std::to_string(nBlobMost) + " largest.");
        }
        const std::size_t thumbnails = std::min(places.size(), static_cast<std::size_t>(m_options.thumbnails));
        // Half of the crops for either polarity, where it has so many: one kind of large defect must not take them all.
        if (thumbnails < places.size())
        {
            std::vector<std::size_t> rank(places.size());
            std::size_t counts[2] = {0, 0};
            for (std::size_t i = 0; i < places.size(); ++i)
                rank[i] = counts[BlobAt(places[i]).bright ? 1 : 0]++;
            std::vector<std::size_t> order(places.size());
            std::iota(order.begin(), order.end(), std::size_t{0});
            std::stable_sort(order.begin(), order.end(),
                             [&](std::size_t a, std::size_t b) { return rank[a] < rank[b]; });
            std::vector<BlobPlace> mixed;
            for (const std::size_t i : order)
                mixed.push_back(places[i]);
            places = std::move(mixed);
        }
        if (thumbnails < places.size())
            m_page.notes.push_back(thumbnails == 0 ? "No thumbnails are kept."
                                                   : "Of " + std::to_string(places.size()) + " defects the " +
                                                         std::to_string(thumbnails) +
                                                         " largest dark and bright ones come with thumbnails "
                                                         "(--thumbnails).");
        places.resize(thumbnails);
        m_thumbnails = std::move(places);
    }

    void AddPictures()
    {
        // Images with the most defects come first where not all get an overview.
        std::vector<std::size_t> order(m_page.images.size());
        for (std::size_t i = 0; i < order.size(); ++i)
            order[i] = i;
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b)
                         { return m_page.images[a].result.blobs.size() > m_page.images[b].result.blobs.size(); });
        const std::size_t overviews = std::min(order.size(), nOverviewMost);
        std::vector<bool> hasOverview(order.size(), false);
        for (std::size_t i = 0; i < overviews; ++i)
            hasOverview[order[i]] = true;
        if (overviews < order.size())
            m_page.notes.push_back("Of " + std::to_string(order.size()) + " images the " + std::to_string(overviews) +
                                   " with the most defects come with an overview.");
        const double pixels = std::clamp(dOverviewPixels / static_cast<double>(std::max<std::size_t>(overviews, 1)),
                                         dSmallestOverview, dLargestOverview);

        m_page.sheetCell = ThumbnailSheet::nCell;
        m_page.sheetColumns = ThumbnailSheet::nColumns;
        m_page.thumbnailParts = 1;
        for (const Source& source : m_sources)
            if (source.recipe >= 0 && ComparesAtAPitch(m_page.recipes[static_cast<std::size_t>(source.recipe)].recipe))
                m_page.thumbnailParts = 3;

        ThumbnailSheet sheet(m_page.thumbnailParts);
        const auto close = [&]
        {
            if (!sheet.IsEmpty())
                m_page.sheets.push_back(sheet.Encode());
            sheet = ThumbnailSheet(m_page.thumbnailParts);
        };
        for (std::size_t i = 0; i < m_page.images.size(); ++i)
        {
            const bool wanted = hasOverview[i] || std::any_of(m_thumbnails.begin(), m_thumbnails.end(),
                                                              [&](const BlobPlace& place) { return place.image == i; });
            GreyImage image;
            if (!wanted || !Reload(i, image))
                continue;
            if (hasOverview[i])
                m_page.images[i].overview = MakeOverview(image, pixels);
            const Comparison compared(image, RecipeOf(i), m_page.images[i].result.direction);
            for (const BlobPlace& place : m_thumbnails)
                if (place.image == i)
                {
                    if (sheet.IsFull())
                        close();
                    const int at = sheet.Add(image, compared.Probe(), BlobAt(place));
                    m_page.images[i].thumbnails[place.blob] = {static_cast<int>(m_page.sheets.size()), at};
                }
        }
        close();
    }

    const Recipe* RecipeOf(std::size_t image) const
    {
        const int index = m_sources[image].recipe;
        return index >= 0 ? &m_page.recipes[static_cast<std::size_t>(index)].recipe : nullptr;
    }

    static bool ComparesAtAPitch(const Recipe& recipe)
    {
        return recipe.GetKind() != Kind_Binarise && recipe.GetKind() != Kind_Average;
    }

    /// What the engine compared an image with. Regions that are no rectangles are shown by the comparison of a
    /// rectangle round them, at the same pitch.
    class Comparison
    {
    public:
        Comparison(const GreyImage& image, const Recipe* recipe, Direction direction)
        {
            if (recipe == nullptr || !ComparesAtAPitch(*recipe))
                return;
            Recipe shown = *recipe;
            shown.direction = direction;
            shown.autoDirection = false;
            if (shown.regionShape != RegionShape_Rectangle)
            {
                shown.regionShape = RegionShape_Rectangle;
                shown.regionPoints.clear();
                shown.regionColumns.reset();
            }
            try
            {
                m_set = std::make_unique<ParameterSet>(image, shown);
                m_probe = std::make_unique<KernelProbe>(m_set->Block(), shown.GetKind() == Kind_Asg);
            }
            catch (const HostError&)
            {
                m_probe.reset(); // another image or recipe than at the inspection: shown without a reference
            }
        }

        const KernelProbe* Probe() const { return m_probe.get(); }

    private:
        std::unique_ptr<ParameterSet> m_set;
        std::unique_ptr<KernelProbe> m_probe;
    };

    bool Reload(std::size_t index, GreyImage& image)
    {
        ReportImage& entry = m_page.images[index];
        const std::string& file = m_sources[index].imageFile;
        if (file.empty())
            return false;
        try
        {
            image = LoadImage(file);
        }
        catch (const HostError& error)
        {
            m_page.notes.push_back(error.Problems().front().Text());
            return false;
        }
        if (image.Width() < entry.result.region.right || image.Height() < entry.result.region.bottom)
        {
            m_page.notes.push_back(file + " is smaller than the region that was inspected: not shown.");
            return false;
        }
        entry.width = image.Width();
        entry.height = image.Height();
        return true;
    }

    int Write()
    {
        const fs::path first(m_options.inputs.front());
        std::string stem = (first.parent_path() / first.stem()).string();
        if (IsResultFile(first.string()) && stem.ends_with(".blobs"))
            stem.resize(stem.size() - 6);
        const std::string output = m_options.output.empty() ? stem + ".report.html" : m_options.output;
        m_page.title = !m_options.title.empty() ? m_options.title
                       : m_page.images.size() == 1
                           ? "Inspection of " + m_page.images.front().name
                           : "Inspection of " + std::to_string(m_page.images.size()) + " images";
        m_page.made = "narvo " + std::to_string(NARVOASSEM_VERSION_MAJOR) + "." +
                      std::to_string(NARVOASSEM_VERSION_MINOR) + "." + std::to_string(NARVOASSEM_VERSION_PATCH) + ", " +
                      LocalTime();
        const std::string text = BuildReportPage(m_page);
        try
        {
            WriteTextFile(output, text);
        }
        catch (const HostError& error)
        {
            PrintProblems(error.Problems());
            return ExitCode_NotWritten;
        }
        std::size_t defects = 0;
        bool complete = true;
        for (const ReportImage& image : m_page.images)
        {
            defects += image.result.blobs.size();
            complete = complete && image.result.warnings.empty();
        }
        for (const std::string& note : m_page.notes)
            std::cerr << "narvo: note: " << note << '\n';
        Say("report: " + output + ", " + Count(m_page.images.size(), "image", "images") + ", " +
            Count(defects, "defect", "defects") + ", " + std::to_string((text.size() + 1023) / 1024) + " kB");
        return complete ? ExitCode_Done : ExitCode_Incomplete;
    }

    const ReportOptions& m_options;
    ReportPage m_page;
    std::vector<Source> m_sources; ///< for each image of the page
    std::vector<BlobPlace> m_thumbnails;
    std::map<std::string, std::vector<int>> m_recipesOf;
};

} // namespace

void AddReportCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<ReportOptions>();
    CLI::App* command = app.add_subcommand("report", "Write results as one HTML page that needs nothing else");
    command
        ->add_option("inputs", options->inputs,
                     "result files of narvo inspect (.json, .jsonl), or image files to inspect by --recipe")
        ->required();
    command->add_option("-r,--recipe", options->recipe,
                        "recipe file for images; for result files, in place of the one that they name");
    command->add_option("-o,--output", options->output,
                        "HTML file (default: the first input's name with .report.html)");
    command->add_option("--title", options->title, "title of the page (default: from the inputs)");
    command
        ->add_option("--thumbnails", options->thumbnails,
                     "defects that come with crops of image, reference and difference, the largest dark and bright "
                     "ones; 0 to 5000")
        ->check(CLI::Range(0, 5000))
        ->capture_default_str();
    command->add_option("-j,--lanes", options->lanes, "inspections at once, 1 to 256 (default: one for each processor)")
        ->check(CLI::Range(1, 256));
    command->add_flag("-q,--quiet", options->quiet, "print notes and problems only");
    command->callback([options, &action] { action = [options] { return ReportMaker(*options).Run(); }; });
}

} // namespace narvo
