// Loads the backend for a server when it is asked for.
#include "db/openMysql.h"

#include "base/text.h"
#include "db/DBException.h"
#include "db/SqlSession.h"
#include "db/mysql/mysqlModule.h"

#include <dlfcn.h>

#include <string>

namespace tarn::db
{
namespace
{

using Open = decltype(&annomend_open_mysql);

/// The module lies beside the library, or in the folder of libraries beside that of the program. The loader knows where
/// this code is ($ORIGIN); a run path would make it look there for every library at every start.
constexpr const char* kPlaces[] = {"$ORIGIN/" ANNOMEND_MYSQL_MODULE, ANNOMEND_MODULE_FOLDER "/" ANNOMEND_MYSQL_MODULE};

Open load()
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

} // namespace

std::unique_ptr<SqlSession> openMysql(const MysqlAddress& address)
{
  static const Open open = load();
  return std::unique_ptr<SqlSession>(open(address));
}

} // namespace tarn::db
