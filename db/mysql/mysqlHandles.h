#pragma once

#include "base/Closer.h"
#include "base/text.h"
#include "db/DBException.h"

#include <mysql.h>

#include <memory>
#include <string>
#include <type_traits>

namespace tarn::db
{

/// The client library's type of a flag: MariaDB's has its own, MySQL's uses bool.
using MysqlFlag = std::remove_pointer_t<decltype(MYSQL_BIND::is_null)>;

/// Shared by the session and the locks that it gave out, which need the connection to be given back.
using MysqlConnection = std::shared_ptr<MYSQL>;
using MysqlStatementHandle = std::unique_ptr<MYSQL_STMT, base::Closer<mysql_stmt_close>>;

/// Throws DBException with what was tried and the library's text, unless `failure` is 0.
template <class Failure>
void checkMysql(Failure failure, const char* what, MYSQL* connection)
{
  if (failure)
    throw DBException(std::string(what) + ": " + base::printable(mysql_error(connection)));
}

template <class Failure>
void checkMysql(Failure failure, const char* what, MYSQL_STMT* statement)
{
  if (failure)
    throw DBException(std::string(what) + ": " + base::printable(mysql_stmt_error(statement)));
}

} // namespace tarn::db
