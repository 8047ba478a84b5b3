// The lock that all users of a database share.
#include "db/IMSemaphoreGlobal.h"

#include "db/DBConnectorSql.h"
#include "db/DBException.h"

#include <utility>

namespace tarn::imutils
{

IMSemaphoreGlobal::IMSemaphoreGlobal(std::string name, tarn::db::DBConnector* db) : name(std::move(name)), db(db) {}

bool IMSemaphoreGlobal::tryLock()
{
  auto* connector = dynamic_cast<tarn::db::DBConnectorSql*>(db);
  if (!connector)
    throw tarn::db::DBException("the lock " + name + " needs a connection to a database");
  if (!held)
    held = connector->tryLock(name);
  return held != nullptr;
}

} // namespace tarn::imutils
