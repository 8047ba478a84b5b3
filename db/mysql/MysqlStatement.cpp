// A prepared statement of the server.
#include "db/mysql/MysqlStatement.h"

#include <algorithm>

namespace tarn::db
{
namespace
{

MYSQL_STMT* makeStatement(MYSQL* connection)
{
  MYSQL_STMT* statement = mysql_stmt_init(connection);
  checkMysql(!statement, "cannot make a statement", connection);
  return statement;
}

/// The library takes its parameters as pointers to what may change; it only reads them.
MYSQL_BIND paramBind(const SqlValue& value)
{
  MYSQL_BIND bind{};
  bind.buffer_type = MYSQL_TYPE_NULL;
  if (const auto* number = std::get_if<long long>(&value))
  {
    bind.buffer_type = MYSQL_TYPE_LONGLONG;
    bind.buffer = const_cast<long long*>(number);
  }
  else if (const auto* bytes = std::get_if<std::string_view>(&value))
  {
    bind.buffer_type = MYSQL_TYPE_STRING;
    bind.buffer = const_cast<char*>(bytes->data());
    bind.buffer_length = bytes->size();
  }
  return bind;
}

} // namespace

MysqlStatement::MysqlStatement(MYSQL* connection, const std::string& sql) : handle(makeStatement(connection))
{
  checkMysql(mysql_stmt_prepare(handle.get(), sql.data(), sql.size()), "cannot prepare a statement", handle.get());
  columns.resize(mysql_stmt_field_count(handle.get()));
  columnBinds.resize(columns.size());
}

void MysqlStatement::execute(const std::vector<SqlValue>& params)
{
  bindParams(params);
  checkMysql(mysql_stmt_execute(handle.get()), "cannot execute a statement", handle.get());
  if (columns.empty())
    return;
  bindResult();
  checkMysql(mysql_stmt_store_result(handle.get()), "cannot read a result", handle.get());
}

void MysqlStatement::bindParams(const std::vector<SqlValue>& params)
{
  paramBinds.clear();
  for (const SqlValue& value : params)
    paramBinds.push_back(paramBind(value));
  for (MYSQL_BIND& bind : paramBinds)
    bind.length = &bind.buffer_length;
  if (!paramBinds.empty())
    checkMysql(mysql_stmt_bind_param(handle.get(), paramBinds.data()), "cannot bind parameters", handle.get());
}

void MysqlStatement::bindResult()
{
  for (std::size_t i = 0; i < columns.size(); ++i)
  {
    columnBinds[i] = MYSQL_BIND{};
    columnBinds[i].buffer_type = MYSQL_TYPE_STRING;
    columnBinds[i].buffer = columns[i].buffer.data();
    columnBinds[i].buffer_length = columns[i].buffer.size();
    columnBinds[i].length = &columns[i].length;
    columnBinds[i].is_null = &columns[i].isNull;
  }
  checkMysql(mysql_stmt_bind_result(handle.get(), columnBinds.data()), "cannot bind a result", handle.get());
}

bool MysqlStatement::fetch(SqlRow& row)
{
  const int outcome = columns.empty() ? MYSQL_NO_DATA : mysql_stmt_fetch(handle.get());
  if (outcome == MYSQL_NO_DATA)
    return false;
  checkMysql(outcome != MYSQL_DATA_TRUNCATED && outcome != 0, "cannot fetch a row", handle.get());
  row.columns.resize(columns.size());
  for (unsigned i = 0; i < columns.size(); ++i)
    row.columns[i] = valueOf(i);
  return true;
}

std::optional<std::string> MysqlStatement::valueOf(unsigned index)
{
  Column& column = columns[index];
  if (column.isNull)
    return std::nullopt;
  std::string value(column.buffer.data(), std::min<std::size_t>(column.length, column.buffer.size()));
  if (column.length > column.buffer.size())
  {
    value.resize(column.length);
    MYSQL_BIND bind = columnBinds[index];
    bind.buffer = value.data();
    bind.buffer_length = value.size();
    checkMysql(mysql_stmt_fetch_column(handle.get(), &bind, index, 0), "cannot fetch a column", handle.get());
  }
  return value;
}

} // namespace tarn::db
