// SPDX-License-Identifier: MIT
// The store over any of its databases: records to statements, and back.
#pragma once

#include <memory>

#include "host/store/result_store.h"
#include "host/store/sql_database.h"

namespace narvo
{

/// A store over a database that is up to date.
std::unique_ptr<ResultStore> MakeSqlStore(std::unique_ptr<SqlDatabase> database);

} // namespace narvo
