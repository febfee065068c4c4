// SPDX-License-Identifier: MIT
// Name, start and writer of the run.
#include "tools/inspect/store_run.h"

#include <array>
#include <chrono>
#include <filesystem>
#include <utility>

#include <unistd.h>

#include <CLI/CLI.hpp>

#include "host/problem.h"
#include "tools/command.h"

namespace narvo::tools
{

namespace
{

std::int64_t NowNanoseconds()
{
    using std::chrono::system_clock;
    return std::chrono::duration_cast<std::chrono::nanoseconds>(system_clock::now().time_since_epoch()).count();
}

/// Of this machine and file: a run that is resumed finds itself, and two machines stay apart in one store.
std::string DefaultRunName(const std::string& file)
{
    std::array<char, 256> host{};
    if (gethostname(host.data(), host.size() - 1) != 0)
        host[0] = '\0';
    return std::string(host.data()) + ":" + std::filesystem::absolute(file).lexically_normal().string();
}

} // namespace

void AddStoreOptions(CLI::App& app, StoreOptions& options)
{
    CLI::Option* store = app.add_option("--store", options.place,
                                        "database that gets the results too: a file of SQLite, or "
                                        "postgresql://USER@HOST/DATABASE");
    app.add_option("--run", options.run, "name of the run in the store (default: machine and result file)")
        ->needs(store);
}

StoreRun::StoreRun(const StoreOptions& options, const std::string& file, StoredRecipe recipe, RunStart start)
    : m_run{options.run.empty() ? DefaultRunName(file) : options.run, std::move(recipe), "narvo " + VersionText(),
            NowNanoseconds()},
      m_start(start), m_place(ShownPlace(options.place)), m_store(OpenResultStore(options.place, StoreAccess_Write))
{
    m_store->CheckRun(m_run, m_start);
}

StoreRun::~StoreRun() = default;

void StoreRun::Begin(std::function<void(const std::string&)> tell, StorePolicy policy)
{
    const std::int64_t run = m_store->BeginRun(m_run, m_start);
    if (m_start == RunStart_Continue)
        m_before = m_store->Keys(run);
    StoreWriterOptions options;
    options.policy = policy;
    options.tell = std::move(tell);
    m_writer = std::make_unique<StoreWriter>(std::move(m_store), run, std::move(options));
}

bool StoreRun::Has(const std::string& image, const FileIdentity& identity) const
{
    const auto before = m_before.find(image);
    return before != m_before.end() && before->second == identity.digest;
}

void StoreRun::Add(const ImageResult& result, const FileIdentity& identity, std::size_t sequence)
{
    StoredImage image;
    image.sequence = static_cast<std::int64_t>(sequence);
    image.inspected = NowNanoseconds();
    image.result = result;
    image.identity = identity;
    Add(std::move(image));
}

bool StoreRun::Add(StoredImage image)
{
    return m_writer->Add(std::move(image));
}

std::size_t StoreRun::Written() const
{
    return m_writer->Written();
}

void StoreRun::Finish()
{
    m_writer->Flush();
}

} // namespace narvo::tools
