// SPDX-License-Identifier: MIT
// Results in a database: runs, recipes, images, blobs, verdicts and crops. A file of SQLite or a PostgreSQL server,
// behind one interface that knows neither.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/file/output_file.h"
#include "host/store/store_records.h"

namespace narvo
{

/// The database cannot be reached or is locked by another; the same call may succeed later.
class StoreAwayError : public WriteError
{
public:
    using WriteError::WriteError;
};

/// The database is no longer where it was when it was opened; what is written to it is not there for others.
class StoreGoneError : public WriteError
{
public:
    using WriteError::WriteError;
};

enum RunStart : int
{
    RunStart_New,      ///< refuses a run that is there
    RunStart_Afresh,   ///< removes it first
    RunStart_Continue, ///< goes on behind it; a new one where there is none
};

/// One connection, for one thread at a time. Every call that writes is one transaction: it is there as a whole once the
/// call has returned, whatever happens to the program or the machine, or not at all.
class ResultStore
{
public:
    virtual ~ResultStore() = default;

    /// What BeginRun would refuse, before anything is written. @throws HostError as BeginRun; StoreAwayError,
    /// WriteError
    virtual void CheckRun(const RunDescription& run, RunStart start) = 0;
    /// @return the run's number. @throws HostError when the run is there and must not be, or was made by another
    /// recipe; StoreAwayError, WriteError
    virtual std::int64_t BeginRun(const RunDescription& run, RunStart start) = 0;
    /// Adds images to a run. One that has the key of an image that is there takes its place, so that what is added
    /// twice is there once. @throws HostError for a record that cannot be kept, StoreAwayError, WriteError
    virtual void Add(std::int64_t run, std::span<const StoredImage> images) = 0;
    /// Adds verdicts to an image that is there. @throws as Add
    virtual void AddVerdicts(std::int64_t run, const std::string& key, std::span<const Verdict> verdicts) = 0;

    /// In the order in which they began. @throws StoreAwayError, WriteError
    virtual std::vector<StoredRun> Runs() = 0;
    /// The images of a run in its order, one at a time. @throws as Runs
    virtual void Images(std::int64_t run, const std::function<void(StoredImage)>& visit) = 0;
    /// Keys of a run's images, with the digests of their files. @throws as Runs
    virtual std::map<std::string, std::string> Keys(std::int64_t run) = 0;
    /// Of a recipe's digest. @throws as Runs; HostError when there is none
    virtual StoredRecipe RecipeOf(const std::string& digest) = 0;

    /// The place without its password, for messages.
    virtual std::string Place() const = 0;
};

enum StoreAccess : int
{
    StoreAccess_Read, ///< refuses a place where there is no store
    StoreAccess_Write ///< makes a store where there is none, and brings one of an older version up to date
};

/// Opens "postgresql://USER@HOST/DATABASE" (or postgres://) or a file of SQLite.
/// @throws HostError where there is something else, a store of a newer version, or a part that this program was built
/// without; StoreAwayError, WriteError
std::unique_ptr<ResultStore> OpenResultStore(const std::string& place, StoreAccess access);

/// What Add asks of an image. @throws HostError for one without a key and a name, or with too large crops
void CheckStoredImage(const StoredImage& image);

/// Whether a place names a PostgreSQL server.
bool IsServerPlace(const std::string& place);

/// A place without the password that it may hold.
std::string ShownPlace(const std::string& place);

} // namespace narvo
