// The backend for a server: how it is connected to.
#include "db/mysql/mysqlHandles.h"
#include "db/mysql/MysqlStatement.h"
#include "db/SqlSession.h"
#include "db/mysql/mysqlModule.h"
#include "mysqlSchema.h"

#include <utility>

namespace tarn::db
{
namespace
{

constexpr unsigned kConnectSeconds = 10;
constexpr unsigned kAnswerSeconds = 120; // above the time that the server itself waits for a locked row (50 s)

// latin1 lets every byte through as it is, and takes blanks after a number as the embedded database does.
constexpr char kSessionSettings[] = "SET NAMES latin1, SESSION sql_mode='STRICT_ALL_TABLES,NO_ENGINE_SUBSTITUTION', "
                                    "SESSION time_zone='+00:00', SESSION autocommit=1";

// The server takes names of up to 64 characters, and a SHA-256 in hexadecimal has just these.
constexpr char kTakeLock[] = "SELECT GET_LOCK(IF(LENGTH(?)<=64,?,SHA2(?,256)),0)";
constexpr char kGiveLockBack[] = "SELECT RELEASE_LOCK(IF(LENGTH(?)<=64,?,SHA2(?,256)))";

/// What a function on locks says: "1" for done; nothing when it failed.
std::optional<std::string> askOfLock(MYSQL* connection, const char* sql, const std::string& name)
{
  MysqlStatement statement(connection, sql);
  const std::string_view value = name;
  statement.execute({value, value, value});
  SqlRow row;
  return statement.fetch(row) ? row.columns.front() : std::nullopt;
}

/// A lock of the server that belongs to one connection.
struct MysqlLock
{
  MysqlLock(MysqlConnection connection, std::string name) : connection(std::move(connection)), name(std::move(name)) {}
  ~MysqlLock()
  {
    try
    {
      askOfLock(connection.get(), kGiveLockBack, name);
    }
    catch (const DBException&)
    {
      // The connection is lost, and the lock went with it.
    }
  }
  MysqlLock(const MysqlLock&) = delete;
  MysqlLock& operator=(const MysqlLock&) = delete;

  const MysqlConnection connection;
  const std::string name;
};

class MysqlSession : public SqlSession
{
public:
  explicit MysqlSession(MysqlConnection connection) : connection(std::move(connection)) {}

  std::unique_ptr<SqlStatement> prepare(const std::string& sql) override
  {
    return std::make_unique<MysqlStatement>(connection.get(), sql);
  }
  void execute(const std::string& sql) override
  {
    checkMysql(mysql_real_query(connection.get(), sql.data(), sql.size()), "cannot execute a statement",
               connection.get());
  }
  void begin() override { execute("START TRANSACTION"); }
  void sync() override {}
  void requireUsable(bool /*forWriting*/) override
  {
    checkMysql(mysql_ping(connection.get()), "the server does not answer", connection.get());
  }
  GlobalLock tryLock(const std::string& name) override
  {
    const auto answer = askOfLock(connection.get(), kTakeLock, name);
    if (!answer)
      throw DBException("the server could not give the lock " + base::printable(name));
    return *answer == "1" ? std::make_shared<MysqlLock>(connection, name) : nullptr;
  }
  bool isInMemory() const override { return false; }
  std::string_view schema() const override { return kMysqlSchema; }

private:
  MysqlConnection connection;
};

void setOption(MYSQL* connection, mysql_option option, const void* value)
{
  checkMysql(mysql_options(connection, option, value), "cannot set an option", connection);
}

void requireTls(MYSQL* connection, const std::string& ca)
{
  setOption(connection, MYSQL_OPT_SSL_CA, ca.c_str());
#ifdef LIBMARIADB
  const MysqlFlag on = 1;
  setOption(connection, MYSQL_OPT_SSL_ENFORCE, &on);
  setOption(connection, MYSQL_OPT_SSL_VERIFY_SERVER_CERT, &on);
#else
  const unsigned mode = SSL_MODE_VERIFY_IDENTITY;
  setOption(connection, MYSQL_OPT_SSL_MODE, &mode);
#endif
}

void setOptions(MYSQL* connection, const MysqlAddress& address)
{
  setOption(connection, MYSQL_READ_DEFAULT_GROUP, address.defaultsGroup.c_str());
  setOption(connection, MYSQL_OPT_CONNECT_TIMEOUT, &kConnectSeconds);
  setOption(connection, MYSQL_OPT_READ_TIMEOUT, &kAnswerSeconds);
  setOption(connection, MYSQL_OPT_WRITE_TIMEOUT, &kAnswerSeconds);
  if (address.port != 0 && address.socket.empty())
  {
    const unsigned protocol = MYSQL_PROTOCOL_TCP;
    setOption(connection, MYSQL_OPT_PROTOCOL, &protocol);
  }
  if (!address.sslCa.empty())
    requireTls(connection, address.sslCa);
}

const char* orNull(const std::string& text)
{
  return text.empty() ? nullptr : text.c_str();
}

void connect(MYSQL* connection, const MysqlAddress& address)
{
  const char* host = address.socket.empty() ? address.host.c_str() : "localhost";
  const char* password = address.password ? address.password->c_str() : nullptr;
  const bool connected = mysql_real_connect(connection, host, address.user.c_str(), password, address.database.c_str(),
                                            address.port, orNull(address.socket), 0) != nullptr;
  checkMysql(!connected, "cannot connect", connection);
  if (!address.sslCa.empty() && !mysql_get_ssl_cipher(connection))
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

SqlSession* annomend_open_mysql(const MysqlAddress& address)
{
  const MysqlConnection connection(mysql_init(nullptr), base::Closer<mysql_close>());
  if (!connection)
    throw DBException("cannot connect: out of memory");
  setOptions(connection.get(), address);
  connect(connection.get(), address);
  forbidReconnect(connection.get());
  auto session = std::make_unique<MysqlSession>(connection);
  session->execute(kSessionSettings);
  return session.release();
}

} // namespace tarn::db
