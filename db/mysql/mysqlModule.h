#pragma once

#include <optional>
#include <string>

namespace tarn::db
{

class SqlSession;

/// Where a server is and who connects to it.
struct MysqlAddress
{
  std::string user;
  std::string host;
  unsigned port = 0; ///< 0: the library's, and a local host means its socket
  std::string database;
  std::string socket; ///< takes precedence over the host where it is not empty
  std::string sslCa;  ///< where it is not empty the connection is encrypted and the server's certificate is checked
  std::string defaultsGroup = "annomend"; ///< of the library's option files
  std::optional<std::string> password;    ///< without one, the option files' holds
};

/// The entry point of the module that holds the MySQL backend. It is a module so that a run on another database does
/// not load the server's client library. Connects to a MySQL or MariaDB server and returns a session that the caller
/// owns. The connection is never renewed; its session refuses what does not fit a column, and takes and gives times in
/// UTC. Throws DBException with the library's text.
extern "C" SqlSession* annomend_open_mysql(const MysqlAddress& address);

} // namespace tarn::db
