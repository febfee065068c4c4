// SPDX-License-Identifier: MIT
// The tables of a store, and the steps from each version of them to the next.
#pragma once

#include <string>

#include "host/store/sql_database.h"

namespace narvo
{

/// Version that this program reads and writes.
constexpr int nStoreVersion = 3;

/// The statements that lead from version - 1 to `version`, for a database.
std::string SchemaStep(int version, const SqlDialect& dialect);

/// Brings an empty or older database to `version` in one transaction; one of this version stays as it is.
/// @throws HostError for one of a newer version
void BringUpToDate(SqlDatabase& database, int version = nStoreVersion);

/// @throws HostError unless a database that is only read has this version
void RequireVersion(SqlDatabase& database);

} // namespace narvo
