// Which backend a URL asks for, and what the environment adds to it.
#include "db/openSession.h"

#include "base/environmentValue.h"
#include "base/files.h"
#include "base/text.h"
#include "db/DBException.h"
#include "db/SqlSession.h"
#include "db/databaseUrl.h"
#include "db/sqlite/SqliteSession.h"

#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace tarn::db
{
namespace
{

namespace fs = std::filesystem;

using Open = decltype(&annomend_open_mysql);

/// The module lies in a folder beside the library, or beside the libraries that belong to the program. The loader knows
/// where this code is ($ORIGIN); a run path would make it look there for every library at every start.
constexpr const char* kPlaces[] = {"$ORIGIN/" ANNOMEND_MYSQL_MODULE, ANNOMEND_MODULE_FOLDER "/" ANNOMEND_MYSQL_MODULE};

/// Loads the backend for a server, which stays loaded.
Open loadMysql()
{
  void* module = nullptr;
  for (const char* place : kPlaces)
    if (!module)
      module = dlopen(place, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  void* entry = module ? dlsym(module, "annomend_open_mysql") : nullptr;
  if (!entry)
    throw DBException("the MySQL backend cannot be loaded: " + base::printable(dlerror()));
  return reinterpret_cast<Open>(entry);
}

std::unique_ptr<SqlSession> openServer(const std::string& url)
{
  const MysqlAddress address = withPasswordFile(parseMysqlUrl(url));
  static const Open openMysql = loadMysql();
  return std::unique_ptr<SqlSession>(openMysql(address));
}

std::unique_ptr<SqlSession> openEmbedded(const std::string& url, Missing missing)
{
  const std::string path = percentDecoded(url.substr(sizeof kSqliteScheme - 1));
  if (path.empty())
    throw DBException("it names no file");
  return openSqlite(path, missing == Missing::create);
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

} // namespace

std::unique_ptr<SqlSession> openSession(const std::string& url, Missing missing)
{
  if (base::startsWith(url, kMysqlScheme))
    return openServer(url);
  if (base::startsWith(url, kSqliteScheme))
    return openEmbedded(url, missing);
  throw DBException("it starts with neither mysql:// nor sqlite:");
}

std::string defaultDatabaseFile()
{
  const fs::path folder = stateFolder();
  return folder.empty() ? kSqliteInMemory : (folder / "archive.db").string();
}

} // namespace tarn::db
