#pragma once

#include "db/DBConnectorSql.h"

#include <memory>
#include <string>

namespace tarn::db
{

/// Connects to the database that `url` names, as DBConnector::createConnector describes. Throws DBException.
std::unique_ptr<SqlSession> openSession(const std::string& url, Missing missing);

/// Returns the file of the default database, and makes its folder where it is missing. Returns ":memory:" where no such
/// folder can be written.
std::string defaultDatabaseFile();

} // namespace tarn::db
