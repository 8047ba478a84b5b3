// How a server is connected to, and what it may ask of the client.
#include "db/mysql/connectMysql.h"

#include "base/environmentValue.h"

#include <arpa/inet.h>
#include <sys/stat.h>

namespace tarn::db
{
namespace
{

constexpr unsigned kConnectSeconds = 10;
constexpr unsigned kAnswerSeconds = 120; // above the time that the server itself waits for a locked row (50 s)

void setOption(MYSQL* connection, mysql_option option, const void* value)
{
  checkMysql(mysql_options(connection, option, value), "cannot set an option", connection);
}

const char* orNull(const std::string& text)
{
  return text.empty() ? nullptr : text.c_str();
}

/// Without a port the library takes `localhost` for the socket of the host.
bool usesSocket(const MysqlAddress& address)
{
  return !address.socket.empty() || (address.host == "localhost" && address.port == 0);
}

bool isLoopback(const std::string& host)
{
  in_addr number = {};
  return host == "::1" || (inet_pton(AF_INET, host.c_str(), &number) == 1 && base::startsWith(host, "127."));
}

bool isLocal(const MysqlAddress& address)
{
  return usesSocket(address) || address.host == "localhost" || isLoopback(address.host);
}

#ifdef LIBMARIADB
bool verifiesServer(MYSQL* connection)
{
  MysqlFlag isOn = 0;
  return mysql_get_option(connection, MYSQL_OPT_SSL_VERIFY_SERVER_CERT, &isOn) == 0 && isOn != 0;
}

void requireTls(MYSQL* connection, const std::string& ca)
{
  const MysqlFlag isOn = 1;
  setOption(connection, MYSQL_OPT_SSL_CA, ca.c_str());
  setOption(connection, MYSQL_OPT_SSL_ENFORCE, &isOn);
  setOption(connection, MYSQL_OPT_SSL_VERIFY_SERVER_CERT, &isOn);
}

/// Methods that prove that the client knows the password without telling it, whoever asks. Those of a second list send
/// it to whoever asks, encrypted for a key that he names himself; on the host itself that is the server, which the
/// rights on its socket vouch for.
constexpr char kProving[] = "mysql_native_password,client_ed25519,parsec,auth_gssapi_client";
constexpr char kLocal[] = "mysql_native_password,client_ed25519,parsec,auth_gssapi_client,caching_sha2_password,"
                          "sha256_password";

/// A server asks for the method that it likes, also for one that sends the password as it is.
void restrictMethods(MYSQL* connection, const MysqlAddress& address)
{
  if (address.sslCa.empty() || usesSocket(address))
    setOption(connection, MARIADB_OPT_RESTRICTED_AUTH, usesSocket(address) ? kLocal : kProving);
}
#else
bool verifiesServer(MYSQL* connection)
{
  unsigned mode = SSL_MODE_DISABLED;
  return mysql_get_option(connection, MYSQL_OPT_SSL_MODE, &mode) == 0 && mode == SSL_MODE_VERIFY_IDENTITY;
}

void requireTls(MYSQL* connection, const std::string& ca)
{
  const unsigned mode = SSL_MODE_VERIFY_IDENTITY;
  setOption(connection, MYSQL_OPT_SSL_CA, ca.c_str());
  setOption(connection, MYSQL_OPT_SSL_MODE, &mode);
}

/// This library sends no password as it is unless an option file lets it.
void restrictMethods(MYSQL* /*connection*/, const MysqlAddress& /*address*/) {}
#endif

/// The library waits for a FIFO that stands where it expects a file.
void requireFile(const std::string& path)
{
  struct stat status = {};
  if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
    throw DBException("cannot connect: " + base::printable(path) + " is no regular file");
}

/// Has the library read the account's option files, which it does when it connects, so that what is set afterwards
/// holds: their settings take the place of those that were there before. Nothing can listen below a device.
void readOptionFiles(MYSQL* connection, const MysqlAddress& address)
{
  requireFile(base::environmentValue("HOME") + "/.my.cnf");
  setOption(connection, MYSQL_READ_DEFAULT_GROUP, address.defaultsGroup.c_str());
  constexpr unsigned kUnused = 1; // a port on which nothing answers, where an option file prefers ports to sockets
  mysql_real_connect(connection, "localhost", "", "", nullptr, kUnused, "/dev/null/none", CLIENT_REMEMBER_OPTIONS);
}

/// The URL asks for a checked certificate: an option file that does without is a contradiction for somebody to solve.
void protect(MYSQL* connection, const MysqlAddress& address)
{
  if (address.sslCa.empty())
    return;
  if (!verifiesServer(connection))
    throw DBException("cannot connect: an option file turns the check of the server's certificate off");
  requireFile(address.sslCa);
  requireTls(connection, address.sslCa);
}

void setOptions(MYSQL* connection, const MysqlAddress& address)
{
  setOption(connection, MYSQL_OPT_CONNECT_TIMEOUT, &kConnectSeconds);
  setOption(connection, MYSQL_OPT_READ_TIMEOUT, &kAnswerSeconds);
  setOption(connection, MYSQL_OPT_WRITE_TIMEOUT, &kAnswerSeconds);
  if (!address.sslCa.empty())
    requireTls(connection, address.sslCa);
  readOptionFiles(connection, address);
  protect(connection, address);
  restrictMethods(connection, address);
  if (address.port != 0 && address.socket.empty())
  {
    const unsigned protocol = MYSQL_PROTOCOL_TCP;
    setOption(connection, MYSQL_OPT_PROTOCOL, &protocol);
  }
}

void connect(MYSQL* connection, const MysqlAddress& address)
{
  const char* host = address.socket.empty() ? address.host.c_str() : "localhost";
  const char* password = address.password ? address.password->c_str() : nullptr;
  const bool connected = mysql_real_connect(connection, host, address.user.c_str(), password, address.database.c_str(),
                                            address.port, orNull(address.socket), 0) != nullptr;
  checkMysql(!connected, "cannot connect", connection);
  if (!address.sslCa.empty() && !(mysql_get_ssl_cipher(connection) && verifiesServer(connection)))
    throw DBException("cannot connect: the connection is not encrypted");
}

/// An option file may have asked for a silent reconnect, which would lose locks.
void forbidReconnect([[maybe_unused]] MYSQL* connection)
{
#ifdef LIBMARIADB
  const MysqlFlag off = 0;
  setOption(connection, MYSQL_OPT_RECONNECT, &off);
#endif
}

} // namespace

MysqlConnection connectMysql(const MysqlAddress& address)
{
  MysqlConnection connection(mysql_init(nullptr), base::Closer<mysql_close>());
  if (!connection)
    throw DBException("cannot connect: out of memory");
  setOptions(connection.get(), address);
  connect(connection.get(), address);
  forbidReconnect(connection.get());
  return connection;
}

std::string exposureOf(MYSQL& connection, const MysqlAddress& address)
{
  if (isLocal(address))
    return {};
  if (!mysql_get_ssl_cipher(&connection))
    return "the connection to " + base::printable(address.host) + " is not encrypted";
  return verifiesServer(&connection) ? "" : "the certificate of " + base::printable(address.host) + " is not checked";
}

} // namespace tarn::db
