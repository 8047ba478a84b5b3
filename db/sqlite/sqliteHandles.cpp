// How a failure of the library becomes an exception.
#include "db/sqlite/sqliteHandles.h"

#include "base/text.h"
#include "db/DBException.h"

#include <string>
#include <system_error>

namespace tarn::db
{
namespace
{

/// The library's text, and the system's where one of its calls failed.
std::string textOf(int code, sqlite3* connection)
{
  if (!connection)
    return "out of memory";
  const std::string text = base::printable(sqlite3_errmsg(connection));
  const int primary = code & 0xFF;
  const int error = primary == SQLITE_CANTOPEN || primary == SQLITE_IOERR ? sqlite3_system_errno(connection) : 0;
  return error == 0 ? text : text + " (" + std::generic_category().message(error) + ")";
}

} // namespace

void checkSqlite(int code, const char* what, sqlite3* connection)
{
  if (code != SQLITE_OK)
    throw DBException(std::string(what) + ": " + textOf(code, connection));
}

} // namespace tarn::db
