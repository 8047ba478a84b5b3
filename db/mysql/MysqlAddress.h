#pragma once

#include <optional>
#include <string>

namespace tarn::db
{

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

} // namespace tarn::db
