// A prepared statement of the embedded database.
#include "db/sqlite/SqliteStatement.h"

#include "db/sqlite/sqliteDialect.h"

namespace tarn::db
{
namespace
{

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

SqliteStatement::SqliteStatement(sqlite3* connection, const std::string& sql)
  : connection(connection), handle(prepare(connection, fromMysqlDialect(sql)))
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
