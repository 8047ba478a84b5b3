#pragma once

namespace tarn::db
{

struct MysqlAddress;
class SqlSession;

/// The entry point of the module that holds the MySQL backend. It is a module so that a run on another database does
/// not load the server's client library. Connects to a MySQL or MariaDB server and returns a session that the caller
/// owns. The connection is never renewed; its session refuses what does not fit a column, and takes and gives times in
/// UTC. Throws DBException with the library's text.
extern "C" SqlSession* annomend_open_mysql(const MysqlAddress& address);

} // namespace tarn::db
