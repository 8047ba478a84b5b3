// The backend for a server: one session.
#include "db/SqlSession.h"
#include "db/mysql/MysqlStatement.h"
#include "db/mysql/connectMysql.h"
#include "mysqlSchema.h"

#include <utility>

namespace tarn::db
{
namespace
{

// What the session stands on, whatever the server gives one by default. latin1 lets every byte through as it is, and
// takes blanks after a number as the embedded database does. A transaction that the server's init_connect began would
// take all statements back at the end, and its locks would keep other tables away; a completion type other than 0 would
// begin another or end the connection.
constexpr const char* kSessionSettings[] = {
    ("SET NAMES latin1, SESSION sql_mode='STRICT_ALL_TABLES,NO_ENGINE_SUBSTITUTION', SESSION time_zone='+00:00', "
     "SESSION completion_type=0, SESSION sql_select_limit=18446744073709551615, SESSION autocommit=1"),
    "ROLLBACK",
    "UNLOCK TABLES",
    "SET SESSION TRANSACTION ISOLATION LEVEL REPEATABLE READ, READ WRITE",
};

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
  MysqlSession(MysqlConnection connection, std::string exposure)
    : connection(std::move(connection)), exposed(std::move(exposure))
  {
  }

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
  std::string exposure() const override { return exposed; }

private:
  MysqlConnection connection;
  const std::string exposed;
};

} // namespace

SqlSession* annomend_open_mysql(const MysqlAddress& address)
{
  const MysqlConnection connection = connectMysql(address);
  // init_connect may have gone to another one.
  checkMysql(mysql_select_db(connection.get(), address.database.c_str()), "cannot connect", connection.get());
  auto session = std::make_unique<MysqlSession>(connection, exposureOf(*connection, address));
  for (const char* settings : kSessionSettings)
    session->execute(settings);
  return session.release();
}

} // namespace tarn::db
