// The way to a connection that the public header offers.
#include "db/DBConnector.h"

#include "db/DBConnectorSql.h"
#include "db/DBException.h"

#include <string>

namespace tarn::db
{

std::unique_ptr<DBConnector> DBConnector::createConnector(int connection)
{
  if (connection != 0)
    throw DBException("there is no connection " + std::to_string(connection));
  return DBConnectorSql::open(Missing::refuse);
}

} // namespace tarn::db
