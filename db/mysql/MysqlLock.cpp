// The server's own locks.
#include "db/mysql/MysqlLock.h"

#include "db/mysql/MysqlStatement.h"

#include <utility>

namespace tarn::db
{
namespace
{

// The server takes names of up to 64 characters, and a SHA-256 in hexadecimal has just these.
constexpr char kTake[] = "SELECT GET_LOCK(IF(LENGTH(?)<=64,?,SHA2(?,256)),0)";
constexpr char kGiveBack[] = "SELECT RELEASE_LOCK(IF(LENGTH(?)<=64,?,SHA2(?,256)))";

/// What a function on locks says: "1" for done; nothing when it failed.
std::optional<std::string> ask(MYSQL* connection, const char* sql, const std::string& name)
{
  MysqlStatement statement(connection, sql);
  const std::string_view value = name.empty() ? std::string_view("") : std::string_view(name);
  statement.execute({value, value, value});
  SqlRow row;
  if (!statement.fetch(row))
    return std::nullopt;
  return row.columns.front();
}

} // namespace

MysqlLock::MysqlLock(MysqlConnection connection, std::string name)
  : connection(std::move(connection)), name(std::move(name))
{
}

std::unique_ptr<MysqlLock> MysqlLock::tryLock(const MysqlConnection& connection, const std::string& name)
{
  const auto answer = ask(connection.get(), kTake, name);
  if (!answer)
    throw DBException("the server could not give the lock " + base::printable(name));
  return std::unique_ptr<MysqlLock>(*answer == "1" ? new MysqlLock(connection, name) : nullptr);
}

MysqlLock::~MysqlLock()
{
  try
  {
    ask(connection.get(), kGiveBack, name);
  }
  catch (const DBException&)
  {
    // The connection is lost, and the lock went with it.
  }
}

} // namespace tarn::db
