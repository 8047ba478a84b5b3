// A prepared statement of the embedded database, and how a failure of the library becomes an exception.
#include "db/sqlite/SqliteStatement.h"

#include "base/text.h"
#include "db/DBTimeoutException.h"
#include "db/sqlite/UnlockedFile.h"

#include <regex>
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

/// What MySQL's clause sets, as SQLite's clause. VALUES(COLUMN), the value that was to be inserted, is excluded.COLUMN.
std::string conflictClause(const std::string& assignments)
{
  const auto equals = assignments.find('=');
  if (equals != std::string::npos && assignments.substr(0, equals) == assignments.substr(equals + 1))
    return "ON CONFLICT DO NOTHING";
  static const std::regex kNewValue(R"(VALUES\(([^)]*)\))");
  return "ON CONFLICT DO UPDATE SET " + std::regex_replace(assignments, kNewValue, "excluded.$1");
}

/// `sql`, in the dialect of MySQL, as SQLite spells it, which differs in the duplicate-key clause of an INSERT.
std::string fromMysqlDialect(const std::string& sql)
{
  constexpr std::string_view kClause = "ON DUPLICATE KEY UPDATE ";
  const auto clause = sql.rfind(kClause);
  if (clause == std::string::npos)
    return sql;
  return sql.substr(0, clause) + conflictClause(sql.substr(clause + kClause.size()));
}

sqlite3_stmt* prepare(sqlite3* connection, const std::string& sql)
{
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(connection, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                                      &statement, nullptr);
  checkSqlite(code, "cannot prepare a statement", connection);
  return statement;
}

std::optional<std::string> columnOf(sqlite3_stmt* statement, int column)
{
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
  if (!bytes)
    return std::nullopt;
  return std::string(bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
}

} // namespace

void checkSqlite(int code, const char* what, sqlite3* connection)
{
  if (code == SQLITE_OK)
    return;
  const std::string text = std::string(what) + ": " + textOf(code, connection);
  const int primary = code & 0xFF;
  if (primary == SQLITE_BUSY || primary == SQLITE_PROTOCOL) // the second is what a lock on the log's index ends in
    throw DBTimeoutException(text);
  throw DBException(text);
}

SqliteStatement::SqliteStatement(sqlite3* connection, const std::string& sql, const UnlockedFile* unlocked)
  : connection(connection), unlocked(unlocked), handle(prepare(connection, fromMysqlDialect(sql)))
{
}

std::size_t SqliteStatement::paramCount() const
{
  return static_cast<std::size_t>(sqlite3_bind_parameter_count(handle.get()));
}

std::size_t SqliteStatement::resultCount() const
{
  return static_cast<std::size_t>(sqlite3_column_count(handle.get()));
}

void SqliteStatement::execute(const std::vector<SqlValue>& params)
{
  for (std::size_t i = 0; i < params.size(); ++i)
    bind(static_cast<int>(i) + 1, params[i]);
}

/// Bytes are bound as text, so that a number column turns them into a number. A text column stores them unchanged.
void SqliteStatement::bind(int index, const SqlValue& value)
{
  int code = SQLITE_OK;
  if (const auto* number = std::get_if<long long>(&value))
    code = sqlite3_bind_int64(handle.get(), index, *number);
  else if (const auto* bytes = std::get_if<std::string_view>(&value))
    code = sqlite3_bind_text64(handle.get(), index, bytes->data(), bytes->size(), SQLITE_STATIC, SQLITE_UTF8);
  else
    code = sqlite3_bind_null(handle.get(), index);
  checkSqlite(code, "cannot bind parameters", connection);
}

bool SqliteStatement::fetch(SqlRow& row)
{
  const int code = sqlite3_step(handle.get());
  if (unlocked)
    unlocked->requireUnchanged();
  if (code == SQLITE_DONE)
    return false;
  checkSqlite(code == SQLITE_ROW ? SQLITE_OK : code, "cannot execute a statement", connection);
  row.columns.resize(resultCount());
  for (std::size_t i = 0; i < row.columns.size(); ++i)
    row.columns[i] = columnOf(handle.get(), static_cast<int>(i));
  return true;
}

void SqliteStatement::reset() noexcept
{
  sqlite3_reset(handle.get());
  sqlite3_clear_bindings(handle.get());
}

} // namespace tarn::db
