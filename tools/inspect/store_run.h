// SPDX-License-Identifier: MIT
// A run's results on their way into a store, beside the result files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "host/inspect/batch.h"
#include "host/result/image_line.h"
#include "host/store/store_writer.h"

namespace CLI
{
class App;
}

namespace narvo::tools
{

struct StoreOptions
{
    std::string place; ///< empty: no store
    std::string run;   ///< name of the run; empty: machine and result file
    bool IsWanted() const { return !place.empty(); }
};

/// Adds --store and --run.
void AddStoreOptions(CLI::App& app, StoreOptions& options);

/// The run of a store: opened before anything is written, begun when the result files are, and filled image by image.
class StoreRun
{
public:
    /// `file` is the run's result file, of which the name of a run without one is made. Opens the store.
    /// @throws HostError where a new run is there already, and as OpenResultStore
    StoreRun(const StoreOptions& options, const std::string& file, StoredRecipe recipe, RunStart start);
    ~StoreRun();
    StoreRun(const StoreRun&) = delete;
    StoreRun& operator=(const StoreRun&) = delete;

    /// `tell` is called with lines for a person, on another thread. @throws as ResultStore::BeginRun
    void Begin(std::function<void(const std::string&)> tell, StorePolicy policy = StorePolicy_Wait);
    /// Whether the store had the image's result of this file when the run began. `image` is the key.
    bool Has(const std::string& image, const FileIdentity& identity) const;
    /// Waits where the queue is full. @throws what ended the writing
    void Add(const ImageResult& result, const FileIdentity& identity, std::size_t sequence);
    /// @return false where it was left out by StorePolicy_Drop. @throws as StoreWriter::Add
    bool Add(StoredImage image);
    /// Waits until all is committed. @throws as Add
    void Finish();
    /// Images that were committed.
    std::size_t Written() const;

    const std::string& Key() const { return m_run.key; }
    /// The store for a person, without password.
    std::string Place() const { return m_place; }

private:
    RunDescription m_run;
    RunStart m_start;
    std::string m_place;
    std::unique_ptr<ResultStore> m_store; ///< until the run begins
    std::map<std::string, std::string> m_before;
    std::unique_ptr<StoreWriter> m_writer;
};

} // namespace narvo::tools
