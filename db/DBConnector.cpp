#include "db/DBConnector.h"

#include "db/createTables.h"
#include "db/DBConnectorSql.h"
#include "db/DBException.h"
#include "db/databaseUrl.h"
#include "db/openMysql.h"
#include "db/SqlSession.h"
#include "db/sqlite/SqliteSession.h"
#include "base/IMException.h"
#include "base/environmentValue.h"
#include "base/files.h"

#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

namespace tarn::db
{
namespace
{

namespace fs = std::filesystem;

constexpr char kMysqlScheme[] = "mysql://";
constexpr char kSqliteScheme[] = "sqlite:";

bool startsWith(const std::string& text, std::string_view start)
{
  return text.compare(0, start.size(), start) == 0;
}

/// The first line of the file that TARN_DB_PASSWORD_FILE names; nothing when it names none.
std::optional<std::string> passwordFromFile()
{
  const std::string path = base::environmentValue("TARN_DB_PASSWORD_FILE");
  if (path.empty())
    return std::nullopt;
  try
  {
    if (const std::string content = base::fileContent(path).value_or(""); !content.empty())
      return content.substr(0, content.find('\n'));
  }
  catch (const imutils::IMException&)
  {
    // Its reason is one of those that the message gives.
  }
  throw DBException("the file that TARN_DB_PASSWORD_FILE names cannot be read, or is empty");
}

std::unique_ptr<SqlSession> openServer(const std::string& url)
{
  MysqlAddress address = parseMysqlUrl(url);
  if (!address.password)
    address.password = passwordFromFile();
  return openMysql(address);
}

std::unique_ptr<SqlSession> openEmbedded(const std::string& url, Missing missing)
{
  const std::string path = percentDecoded(url.substr(sizeof kSqliteScheme - 1));
  if (path.empty())
    throw DBException("it names no file");
  return openSqlite(path, missing == Missing::create);
}

std::unique_ptr<SqlSession> openSession(const std::string& url, Missing missing)
{
  if (startsWith(url, kMysqlScheme))
    return openServer(url);
  if (startsWith(url, kSqliteScheme))
    return openEmbedded(url, missing);
  throw DBException("it starts with neither mysql:// nor sqlite:");
}

/// The folder of the default database, made where it is missing; empty when it cannot be written.
fs::path stateFolder()
{
  fs::path base = base::environmentValue("XDG_STATE_HOME");
  if (!base.is_absolute()) // relative ones are to be ignored
    base = fs::path(base::environmentValue("HOME")) / ".local" / "state";
  const fs::path folder = base / "annomend";
  std::error_code failure;
  if (!base.is_absolute())
    return {};
  if (fs::create_directories(folder, failure))
    fs::permissions(folder, fs::perms::owner_all, failure);
  return access(folder.c_str(), W_OK | X_OK) == 0 ? folder : fs::path();
}

std::string defaultFile()
{
  const fs::path folder = stateFolder();
  return folder.empty() ? kSqliteInMemory : (folder / "archive.db").string();
}

} // namespace

void DBConnectorSql::connect()
{
  if (backend)
    return;
  const std::string url = base::environmentValue("TARN_DB_URL");
  const std::string file = url.empty() ? defaultFile() : "";
  try
  {
    backend = url.empty() ? openSqlite(file, true) : openSession(url, ifMissing);
    if (url.empty() || url == std::string(kSqliteScheme) + kSqliteInMemory) // nobody else makes its tables
      createTables(*this, Tables::usable);
  }
  catch (const DBException& failure)
  {
    backend.reset();
    throw DBException("cannot open database " + (url.empty() ? kSqliteScheme + file : withoutPassword(url)) + ": " +
                      failure.what());
  }
}

std::unique_ptr<DBConnectorSql> DBConnectorSql::open(Missing missing)
{
  auto connector = std::make_unique<DBConnectorSql>(missing);
  connector->connect();
  return connector;
}

std::unique_ptr<DBConnector> DBConnector::createConnector(int connection)
{
  if (connection != 0)
    throw DBException("there is no connection " + std::to_string(connection));
  return DBConnectorSql::open(Missing::refuse);
}

} // namespace tarn::db
