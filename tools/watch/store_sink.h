// SPDX-License-Identifier: MIT
// A watch's results on their way into a database, behind the result file, which acknowledges them.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "tools/inspect/store_run.h"
#include "tools/watch/result_sink.h"
#include "tools/watch/watch_log.h"

namespace narvo::tools
{

/// The inspection never waits for the database: what it does not take in time is left out, and added from the result
/// file at the end of the run, or by the next one that resumes. An image has the key "LINE NAME" by its line of that
/// file, so that nothing is there twice.
class StoreSink : public ResultSink
{
public:
    struct Settings
    {
        StoreOptions options;
        std::string output; ///< the result file's name
        StoredRecipe recipe;
        RunStart start = RunStart_New;
        std::function<void(const std::string& line)> tell; ///< lines for a person, on any thread
    };

    /// Opens the store, and checks the run before anything is written. @throws as StoreRun
    explicit StoreSink(Settings settings);
    /// Begins the run, and adds the lines that the result file has and the store lacks. The file outlives the sink.
    /// @throws as StoreRun
    void Begin(const WatchLog& log);

    void Add(const WatchedImage& image) override;
    /// Waits for the database for at most a minute. @throws WriteError when it lacks images then
    void Finish(const WatchSummary& summary) override;

    /// The store and the run for a person.
    std::string Description() const;

private:
    void AddMissing();

    Settings m_settings;
    const WatchLog* m_log = nullptr;
    std::unique_ptr<StoreRun> m_run;
    std::size_t m_handed = 0; ///< images that the writer has taken
    bool m_behind = false;    ///< some were left out
};

} // namespace narvo::tools
