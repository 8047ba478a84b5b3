#pragma once

#include <sqlite3.h>

#include <memory>

namespace tarn::db
{

template <auto Close>
struct SqliteCloser
{
  template <class Handle>
  void operator()(Handle* handle) const noexcept
  {
    Close(handle);
  }
};

using SqliteConnection = std::unique_ptr<sqlite3, SqliteCloser<sqlite3_close_v2>>;
using SqliteStatementHandle = std::unique_ptr<sqlite3_stmt, SqliteCloser<sqlite3_finalize>>;

/// Throws DBException with the library's text unless `code` is good. `what` is what was tried.
void checkSqlite(int code, const char* what, sqlite3* connection);

} // namespace tarn::db
