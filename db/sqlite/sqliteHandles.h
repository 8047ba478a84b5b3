#pragma once

#include "base/Closer.h"

#include <sqlite3.h>

#include <memory>

namespace tarn::db
{

using SqliteConnection = std::unique_ptr<sqlite3, base::Closer<sqlite3_close_v2>>;
using SqliteStatementHandle = std::unique_ptr<sqlite3_stmt, base::Closer<sqlite3_finalize>>;

/// Throws DBException with what was tried and the library's text, unless `code` is good.
void checkSqlite(int code, const char* what, sqlite3* connection);

} // namespace tarn::db
