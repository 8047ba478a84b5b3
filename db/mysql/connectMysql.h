#pragma once

#include "db/mysql/mysqlHandles.h"
#include "db/mysql/mysqlModule.h"

#include <string>

namespace tarn::db
{

/// Connects to a server, with what the account's option files add to the address. The password leaves the host as it is
/// through a connection alone that is encrypted, to a server whose certificate was checked. Throws DBException.
MysqlConnection connectMysql(const MysqlAddress& address);

/// Returns what others of the network could do with the connection, as a line; empty where they can do nothing.
std::string exposureOf(MYSQL& connection, const MysqlAddress& address);

} // namespace tarn::db
