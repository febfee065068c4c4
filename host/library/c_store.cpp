// SPDX-License-Identifier: MIT
// The C interface: results in a database.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/library/c_arrays.h"
#include "host/library/c_call.h"
#include "host/library/c_records.h"
#include "host/library/c_store_object.h"
#include "narvo/host_progress.h"
#include "narvo/host_store.h"
#include "narvo/narvo_c.h"

using namespace narvo::library; // NOLINT(google-build-using-namespace): the functions below are those of C
using narvo::v1::Error;
using narvo::v1::Problem;
using narvo::v1::ResultStore;
using narvo::v1::RunStart;
using narvo::v1::StoredImage;
using narvo::v1::StoredRun;

namespace
{

narvo_stored_run RecordOf(const StoredRun& run)
{
    narvo_stored_run record = {};
    record.number = run.number;
    record.started = run.started;
    record.images = static_cast<std::int64_t>(run.images);
    record.refused = static_cast<std::int64_t>(run.refused);
    record.defects = static_cast<std::int64_t>(run.defects);
    record.key = run.key.c_str();
    record.recipe = run.recipe.c_str();
    record.recipe_digest = run.recipeDigest.c_str();
    record.program = run.program.c_str();
    return record;
}

/// The image as a record, and what its pointers lead to.
class HeldImage
{
public:
    explicit HeldImage(StoredImage image) : m_name(std::move(image.name)), m_problems(std::move(image.problems))
    {
        for (const Problem& problem : m_problems)
            m_lines.push_back(
                {sizeof(narvo_problem), 0, problem.field.c_str(), problem.value.c_str(), problem.allowed.c_str()});
        m_record.size = sizeof(m_record);
        m_record.width = image.width;
        m_record.height = image.height;
        m_record.name = m_name.c_str();
        m_record.sequence = image.sequence;
        m_record.inspected = image.inspected;
        m_record.problems = m_lines.empty() ? nullptr : m_lines.data();
        m_record.problem_count = static_cast<std::int64_t>(m_lines.size());
        if (!image.reports.empty())
            m_record.reports = m_reports =
                ReportsHandles().Insert(std::make_shared<ReportsObject>(std::move(image.reports)));
    }
    ~HeldImage() { narvo_reports_free(m_reports); }
    HeldImage(const HeldImage&) = delete;
    HeldImage& operator=(const HeldImage&) = delete;

    const narvo_stored_image* Record() const { return &m_record; }

private:
    std::string m_name;
    std::vector<Problem> m_problems;
    std::vector<narvo_problem> m_lines;
    narvo_reports* m_reports = nullptr;
    narvo_stored_image m_record = {};
};

} // namespace

StoredImage narvo::library::StoredImageOf(const narvo_stored_image* place, const std::string& name)
{
    const narvo_stored_image record = ReadRecord(place, name);
    StoredImage image;
    image.name = Given(record.name, (name + ".name").c_str());
    image.sequence = record.sequence;
    image.inspected = record.inspected;
    image.width = record.width;
    image.height = record.height;
    CheckCount(record.problem_count, 0, nArrayLimit, name + ".problem_count");
    ReadArray(record.problems, record.problem_count, name + ".problems",
              [&](const narvo_problem* given, const std::string& own)
              {
                  const narvo_problem problem = ReadRecord(given, own);
                  image.problems.push_back({Given(problem.field, (own + ".field").c_str()),
                                            Given(problem.value, (own + ".value").c_str()),
                                            Given(problem.allowed, (own + ".allowed").c_str())});
              });
    if (record.reports == nullptr)
    {
        if (image.problems.empty())
            throw Error({{name + ".reports", "null", "reports where there are no problems"}});
        return image;
    }
    image.reports = ReportsHandles().Find(record.reports, (name + ".reports").c_str())->Reports();
    for (const narvo::v1::FullReport& report : image.reports)
    {
        image.width = report.width;
        image.height = report.height;
    }
    return image;
}

std::int32_t narvo_store_open(const char* place, std::int32_t writing, narvo_store** store)
{
    return HandOut(StoreHandles(), store, "store",
                   [&]
                   {
                       Given(place, "place");
                       CheckSwitch(writing, "writing");
                       return std::make_shared<StoreObject>(writing == 1 ? ResultStore::ForWriting(place)
                                                                         : ResultStore::ForReading(place));
                   });
}

std::int32_t narvo_store_begin(narvo_store* store, const char* key, const narvo_recipe* recipe, const char* recipe_name,
                               const char* program, std::int32_t start, std::int64_t* run)
{
    return OnStore(store,
                   [&](StoreObject& own)
                   {
                       Given(run, "run");
                       Given(key, "key");
                       Given(recipe_name, "recipe_name");
                       Given(program, "program");
                       if (start < 0 || start > 2)
                           throw Error({{"start", std::to_string(start), "0 to 2"}});
                       const auto rules = RecipeHandles().Find(recipe, "recipe");
                       *run = own.store.BeginRun(key, *rules, recipe_name, program, static_cast<RunStart>(start));
                   });
}

std::int32_t narvo_store_add(narvo_store* store, std::int64_t run, const narvo_stored_image* images, std::int64_t count)
{
    return OnStore(store,
                   [&](StoreObject& own)
                   {
                       CheckCount(count, 0, nArrayLimit, "count");
                       std::vector<StoredImage> made;
                       ReadArray(images, count, "images",
                                 [&](const narvo_stored_image* image, const std::string& name)
                                 { made.push_back(StoredImageOf(image, name)); });
                       own.store.Add(run, made);
                   });
}

std::int32_t narvo_store_runs(narvo_store* store, std::uint32_t record_size, narvo_stored_run* runs,
                              std::int64_t capacity, std::int64_t* count)
{
    return OnStore(store,
                   [&](StoreObject& own)
                   {
                       Given(count, "count");
                       CheckRecordSize<narvo_stored_run>(record_size, "record_size");
                       CheckRoom(runs, "runs", capacity);
                       own.runs = own.store.Runs();
                       FillArray(own.runs, runs, record_size, capacity, count,
                                 [](const StoredRun& each) { return RecordOf(each); });
                   });
}

std::int32_t narvo_store_images(narvo_store* store, std::int64_t run, narvo_on_image take, void* context)
{
    return OnStore(store,
                   [&](StoreObject& own)
                   {
                       Given(take, "take");
                       own.store.Images(run,
                                        [&](StoredImage image)
                                        {
                                            const HeldImage held(std::move(image));
                                            if (take(context, held.Record()) == 0)
                                                throw narvo::v1::Stopped();
                                        });
                   });
}

std::int32_t narvo_store_free(narvo_store* store)
{
    return GuardedQuietly([&] { StoreHandles().Remove(store, "store"); });
}
