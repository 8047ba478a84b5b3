#pragma once

#include "db/SqlSession.h"

namespace tarn::db
{

constexpr char kSqliteInMemory[] = ":memory:";

/// Opens the embedded database in the file `path`, or one in memory. Where the file does not exist it is made, empty,
/// if `create` says so, and is a failure otherwise. Throws DBException with the library's text.
std::unique_ptr<SqlSession> openSqlite(const std::string& path, bool create);

} // namespace tarn::db
