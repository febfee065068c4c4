// SPDX-License-Identifier: MIT
// Result stores in the public form.
#include "narvo/host_store.h"

#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/library/public_report.h"
#include "host/library/recipe_parts.h"
#include "host/library/store_parts.h"
#include "host/library/translate.h"
#include "host/result/digest.h"
#include "host/store/result_store.h"

namespace narvo::v1
{

namespace
{

StoredRun PublicRun(const narvo::StoredRun& run)
{
    const RunDescription& description = run.description;
    return {run.number,
            description.key,
            description.recipe.name,
            description.recipe.digest,
            description.program,
            description.started,
            run.images,
            run.refused,
            run.blobs};
}

StoredImage PublicImage(narvo::StoredImage image)
{
    StoredImage made;
    made.name = std::move(image.result.name);
    made.sequence = image.sequence;
    made.inspected = image.inspected;
    made.width = image.result.width;
    made.height = image.result.height;
    made.problems = library::PublicProblems(image.result.problems);
    for (InspectionResult& region : image.result.regions)
        made.reports.push_back(library::PublicFullReport(std::move(region), made.width, made.height));
    return made;
}

narvo::RunStart LayerStart(RunStart start)
{
    switch (start)
    {
    case RunStart::New:
        return RunStart_New;
    case RunStart::Afresh:
        return RunStart_Afresh;
    case RunStart::Continue:
        return RunStart_Continue;
    }
    throw HostError({{"start", std::to_string(static_cast<int>(start)), "one of RunStart"}});
}

} // namespace

bool IsServerPlace(const std::string& place)
{
    return narvo::IsServerPlace(place);
}

ResultStore::Content::Content(const std::string& place, StoreAccess access) : store(OpenResultStore(place, access))
{
}

void ResultStore::Content::RequireRun(std::int64_t run)
{
    if (runs.count(run) != 0)
        return;
    for (const narvo::StoredRun& one : store->Runs())
        runs.insert(one.number);
    if (runs.count(run) == 0)
        throw HostError({{"run", std::to_string(run), "the number of a run that the store has"}});
}

ResultStore::ResultStore(std::unique_ptr<Content> content) : m_content(std::move(content))
{
}
ResultStore::~ResultStore() = default;
ResultStore::ResultStore(ResultStore&& other) noexcept = default;
ResultStore& ResultStore::operator=(ResultStore&& other) noexcept = default;

ResultStore::Content& ResultStore::Own() const
{
    if (m_content == nullptr)
        throw Error({{"store", "none", "one that was not moved from"}});
    return *m_content;
}

ResultStore ResultStore::ForReading(const std::string& place)
{
    return library::InStore([&] { return ResultStore(std::make_unique<Content>(place, StoreAccess_Read)); });
}

ResultStore ResultStore::ForWriting(const std::string& place)
{
    return library::InStore([&] { return ResultStore(std::make_unique<Content>(place, StoreAccess_Write)); });
}

std::vector<StoredRun> ResultStore::Runs()
{
    Content& own = Own();
    return library::InStore(
        [&]
        {
            std::vector<StoredRun> runs;
            for (const narvo::StoredRun& run : own.store->Runs())
                runs.push_back(PublicRun(run));
            return runs;
        });
}

void ResultStore::Images(std::int64_t run, const std::function<void(StoredImage)>& visit)
{
    Content& own = Own();
    if (!visit)
        throw Error({{"visit", "no function", "what takes the images"}});
    library::InStore(
        [&] { own.store->Images(run, [&](narvo::StoredImage image) { visit(PublicImage(std::move(image))); }); });
}

std::int64_t ResultStore::BeginRun(const std::string& key, const Recipe& recipe, const std::string& recipeName,
                                   const std::string& program, RunStart start)
{
    Content& own = Own();
    return library::InStore(
        [&]
        {
            using std::chrono::system_clock;
            for (const auto& [field, text] :
                 {std::pair("key", &key), std::pair("recipeName", &recipeName), std::pair("program", &program)})
                if (text->find('\0') != std::string::npos)
                    throw HostError({{field, "a text with bytes 0", "a text without"}});
            if (key.empty())
                throw HostError({{"key", "empty", "a name for the run"}});
            RunDescription description;
            description.key = key;
            description.recipe = {DigestOfRecipes(recipe.GetParts().regions), recipeName, recipe.Text()};
            description.program = program;
            description.started =
                std::chrono::duration_cast<std::chrono::nanoseconds>(system_clock::now().time_since_epoch()).count();
            const std::int64_t run = own.store->BeginRun(description, LayerStart(start));
            own.runs.insert(run);
            return run;
        });
}

void ResultStore::Add(std::int64_t run, const std::vector<StoredImage>& images)
{
    Content& own = Own();
    library::InStore(
        [&]
        {
            std::vector<narvo::StoredImage> made;
            made.reserve(images.size());
            for (std::size_t i = 0; i < images.size(); ++i)
                made.push_back(library::LayerImage(images[i], "images[" + std::to_string(i) + "]"));
            own.RequireRun(run);
            own.store->Add(run, made);
        });
}

} // namespace narvo::v1

namespace narvo::library
{

narvo::StoredImage LayerImage(const v1::StoredImage& image, const std::string& name)
{
    if (image.name.empty() || image.name.find('\0') != std::string::npos)
        throw HostError({{name + ".name", image.name.empty() ? "empty" : "a text with bytes 0", "a text without"}});
    if (!image.problems.empty() && !image.reports.empty())
        throw HostError({{name + ".reports", std::to_string(image.reports.size()), "none where there are problems"}});
    narvo::StoredImage made;
    made.sequence = image.sequence;
    made.inspected = image.inspected;
    made.result.name = image.name;
    made.result.width = image.width;
    made.result.height = image.height;
    for (const v1::Problem& problem : image.problems)
        made.result.problems.push_back({problem.field, problem.value, problem.allowed});
    for (const v1::FullReport& report : image.reports)
    {
        made.result.regions.push_back(LayerResult(report));
        if (image.width == 0 && image.height == 0) // reports know it as well
        {
            made.result.width = report.width;
            made.result.height = report.height;
        }
    }
    return made;
}

} // namespace narvo::library
