// SPDX-License-Identifier: MIT
// Results in a database: a file of SQLite or a PostgreSQL server, as the program `narvo` writes and reads them.
// docs/store.md describes the tables.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "narvo/host_error.h"
#include "narvo/host_recipe.h"
#include "narvo/host_result.h"

namespace narvo::v1
{

/// Images that belong together, as those of one command or of one lot.
struct StoredRun
{
    std::int64_t number = 0;  ///< the store's own
    std::string key;          ///< unique in the store
    std::string recipe;       ///< name of the recipe's file, or what BeginRun was given
    std::string recipeDigest; ///< of all that the recipe holds: equal recipes have equal ones
    std::string program;      ///< what wrote the run
    std::int64_t started = 0; ///< nanoseconds since 1970
    std::size_t images = 0;   ///< in the run
    std::size_t refused = 0;  ///< of these, with problems
    std::size_t defects = 0;  ///< in all images
};

/// One image of a run. Answers, `unseen` and the times of reports are not kept.
struct StoredImage
{
    std::string name;                ///< unique in its run; any bytes but 0
    std::int64_t sequence = 0;       ///< images are read in this order, equal ones as they came
    std::int64_t inspected = 0;      ///< nanoseconds since 1970
    int width = 0;                   ///< pixels; 0 when it could not be read. Add takes 0 by 0 from the reports
    int height = 0;                  ///< the same
    std::vector<Problem> problems;   ///< why it was not inspected; empty: it was
    std::vector<FullReport> reports; ///< one for each region of the recipe; none where there are problems
};

/// What BeginRun does where there is a run of that key.
enum class RunStart : int
{
    New,     ///< refuses it
    Afresh,  ///< removes it first
    Continue ///< goes on behind it, if it was made by the same recipe
};

/// Whether a place is that of a database server; otherwise it is the name of a file.
NARVOHOST_API bool IsServerPlace(const std::string& place);

/// One connection, for one thread at a time. A call that writes is one transaction: all of it is there once the call
/// has returned, whatever happens to the program or the machine, or nothing. Every call throws Error when the database
/// cannot be reached, is locked by another for long, or fails; of these, WriteError where another time or a repair may
/// help. One that was moved from refuses every call.
class NARVOHOST_API ResultStore
{
public:
    /// `place` is a file of SQLite, or "postgresql://USER@HOST/DATABASE".
    /// @throws Error where there is no store, something else, a store of a newer version, or a kind of database that
    /// the library was built without
    static ResultStore ForReading(const std::string& place);
    /// The same; makes a store where there is none, and brings one of an older version up to date.
    static ResultStore ForWriting(const std::string& place);
    ~ResultStore();
    /// Leaves `other` without a store.
    ResultStore(ResultStore&& other) noexcept;
    /// The same.
    ResultStore& operator=(ResultStore&& other) noexcept;

    /// In the order in which they began.
    std::vector<StoredRun> Runs();
    /// Hands the images of a run to `visit`, one at a time and in their order, as they stood at the beginning of the
    /// call; none for a number that no run has. `visit` must not call the store; what it throws comes out of the call.
    void Images(std::int64_t run, const std::function<void(StoredImage)>& visit);

    /// Begins a run, or goes on with one. `key` is its name in the store, `recipeName` what people call the recipe,
    /// `program` what writes, with its version. @return the run's number
    /// @throws Error also for an empty key, or as `start` says
    std::int64_t BeginRun(const std::string& key, const Recipe& recipe, const std::string& recipeName,
                          const std::string& program, RunStart start = RunStart::New);
    /// Adds images to a run. One whose name is there already takes that one's place.
    /// @throws Error also for a run that the store does not have, and for an image without a name, or with reports
    /// beside problems, naming it
    void Add(std::int64_t run, const std::vector<StoredImage>& images);

private:
    friend class Lot; // which reads it
    struct Content;
    explicit ResultStore(std::unique_ptr<Content> content);
    Content& Own() const;
    std::unique_ptr<Content> m_content;
};

} // namespace narvo::v1
