#pragma once

#include "db/SqlSession.h"

namespace tarn::db
{

constexpr char kSqliteInMemory[] = ":memory:";

/// Opens the embedded database in the file `path`, or one in memory. A file that does not exist is made, empty, if
/// `create` says so. One that the account may only read is opened for reading alone. Throws DBException with the
/// library's text, also for a missing file that is not to be made.
std::unique_ptr<SqlSession> openSqlite(const std::string& path, bool create);

} // namespace tarn::db
