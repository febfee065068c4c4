// SPDX-License-Identifier: MIT
// The choice of the database by the place.
#include "host/store/result_store.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "host/problem.h"
#include "host/store/sql_store.h"
#include "host/store/store_schema.h"
#ifdef NARVO_WITH_SQLITE
#include "host/store/sqlite_database.h"
#endif
#ifdef NARVO_WITH_POSTGRES
#include "host/store/postgres_database.h"
#endif

namespace narvo
{

namespace
{

[[noreturn, maybe_unused]] void RefuseMissing(const std::string& place, const char* database, const char* library)
{
    throw HostError({{"--store " + ShownPlace(place), std::string("this narvo was built without ") + database,
                      std::string("a narvo that was built where ") + library + " was there"}});
}

std::unique_ptr<SqlDatabase> OpenDatabase(const std::string& place, [[maybe_unused]] StoreAccess access)
{
    if (place.empty())
        throw HostError({{"--store", "empty", "a file, or postgresql://USER@HOST/DATABASE"}});
    if (IsServerPlace(place))
    {
#ifdef NARVO_WITH_POSTGRES
        return OpenPostgres(place);
#else
        RefuseMissing(place, "PostgreSQL", "libpq-dev");
#endif
    }
    // A misspelt address would become a file of that name.
    if (place.find("://") != place.npos)
        throw HostError({{"--store " + ShownPlace(place), "another kind of address",
                          "a file, or postgresql://USER@HOST/DATABASE"}});
#ifdef NARVO_WITH_SQLITE
    return OpenSqlite(place, access);
#else
    RefuseMissing(place, "SQLite", "libsqlite3-dev");
#endif
}

} // namespace

std::unique_ptr<ResultStore> OpenResultStore(const std::string& place, StoreAccess access)
{
    std::unique_ptr<SqlDatabase> database = OpenDatabase(place, access);
    if (access == StoreAccess_Write)
        BringUpToDate(*database);
    else
        RequireVersion(*database);
    return MakeSqlStore(std::move(database));
}

bool IsServerPlace(const std::string& place)
{
    return place.starts_with("postgresql://") || place.starts_with("postgres://");
}

std::string ShownPlace(const std::string& place)
{
    if (place.find("://") == place.npos)
        return place;
    std::string shown = place;
    const std::size_t begin = shown.find("://") + 3;
    const std::size_t end = std::min(shown.find('/', begin), shown.size());
    const std::size_t at = shown.rfind('@', end);
    const std::size_t colon = shown.find(':', begin);
    if (at != shown.npos && at >= begin && colon < at)
        shown.replace(colon, at - colon, ":***");
    const std::string_view word = "password=";
    if (const std::size_t found = shown.find(word); found != shown.npos)
    {
        const std::size_t value = found + word.size();
        shown.replace(value, std::min(shown.find('&', value), shown.size()) - value, "***");
    }
    return shown;
}

} // namespace narvo
