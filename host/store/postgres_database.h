// SPDX-License-Identifier: MIT
// A PostgreSQL server as a database.
#pragma once

#include <memory>
#include <string>

#include "host/store/sql_database.h"

namespace narvo
{

/// @throws HostError for an address that cannot be read; StoreAwayError where the server does not answer; WriteError
/// where it refuses
std::unique_ptr<SqlDatabase> OpenPostgres(const std::string& address);

} // namespace narvo
