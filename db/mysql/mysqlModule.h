#pragma once

namespace tarn::db
{

struct MysqlAddress;
class SqlSession;

/// The entry of the module that holds the MySQL backend; it is a module so that a run on another database does not load
/// the server's client library. Connects to a MySQL or MariaDB server. The connection is never renewed, its session
/// refuses what does not fit a column, and takes and gives times in UTC. The session is the caller's. Throws
/// DBException with the library's text.
extern "C" SqlSession* annomend_open_mysql(const MysqlAddress& address);

} // namespace tarn::db
