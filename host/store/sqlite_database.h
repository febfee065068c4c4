// SPDX-License-Identifier: MIT
// A file of SQLite as a database.
#pragma once

#include <memory>
#include <string>

#include "host/store/result_store.h"
#include "host/store/sql_database.h"

namespace narvo
{

/// How long a statement waits for another program's transaction.
constexpr int nBusyMilliseconds = 10000;

/// @throws HostError where the file is no database, belongs to another program, or is not there and is only to be read;
/// WriteError where it cannot be opened; StoreAwayError where it is locked
std::unique_ptr<SqlDatabase> OpenSqlite(const std::string& file, StoreAccess access);

} // namespace narvo
