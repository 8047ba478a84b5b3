#include "MysqlBackend.h"

#include "Console.h"
#include "DBException.h"
#include "SqlSession.h"
#include "mysqlModule.h"

#include <dlfcn.h>

#include <string>

namespace tarn::db
{
namespace
{

using Open = decltype(&annomend_open_mysql);

/// The linker finds the module by where this program or library is installed (its run path).
Open load()
{
  void* module = dlopen(ANNOMEND_MYSQL_MODULE, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  void* entry = module ? dlsym(module, "annomend_open_mysql") : nullptr;
  if (!entry)
    throw DBException("the MySQL backend cannot be loaded: " + printable(dlerror()));
  return reinterpret_cast<Open>(entry);
}

} // namespace

std::unique_ptr<SqlSession> openMysql(const MysqlAddress& address)
{
  static const Open open = load();
  return std::unique_ptr<SqlSession>(open(address));
}

} // namespace tarn::db
