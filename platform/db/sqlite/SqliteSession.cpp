#include "SqliteSession.h"

#include "Console.h"
#include "DBException.h"
#include "FileLock.h"
#include "ProcessLock.h"
#include "SqliteHandles.h"
#include "SqliteStatement.h"
#include "sqliteSchema.h"

#include <system_error>
#include <utility>

namespace tarn::db
{
namespace
{

// Writers hold the database for one statement or a short transaction: a minute is more than any queue of them needs.
constexpr int kBusyMilliseconds = 60000;

class SqliteSession : public SqlSession
{
public:
  explicit SqliteSession(SqliteConnection opened) : connection(std::move(opened)) {}

  std::unique_ptr<SqlStatement> prepare(const std::string& sql) override
  {
    return std::make_unique<SqliteStatement>(connection.get(), sql);
  }
  void execute(const std::string& sql) override
  {
    const int code = sqlite3_exec(connection.get(), sql.c_str(), nullptr, nullptr, nullptr);
    checkSqlite(code, "cannot execute a statement", connection.get());
  }
  /// Takes the right to write at once: a transaction that asks for it later fails where another writer came between.
  void begin() override { execute("BEGIN IMMEDIATE"); }
  std::unique_ptr<GlobalLock> tryLock(const std::string& name) override
  {
    // The library's own name of the file, so that every way to write its path gives one lock.
    const char* file = sqlite3_db_filename(connection.get(), "main");
    if (!file || !*file)
      return ProcessLock::tryLock(name);
    return FileLock::tryLock(std::string(file) + "-" + fileNamePart(name) + ".lock");
  }
  std::string_view schema() const override { return sqliteSchema(); }

private:
  SqliteConnection connection;
};

SqliteConnection openFile(const std::string& path, bool create)
{
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
  sqlite3* opened = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
  SqliteConnection connection(opened);
  if (code == SQLITE_CANTOPEN && sqlite3_system_errno(opened) != 0)
    throw DBException("cannot open the file: " + std::generic_category().message(sqlite3_system_errno(opened)));
  checkSqlite(code, "cannot open the file", opened);
  return connection;
}

} // namespace

void checkSqlite(int code, const char* what, sqlite3* connection)
{
  if (code != SQLITE_OK)
    throw DBException(std::string(what) + ": " + printable(connection ? sqlite3_errmsg(connection) : "out of memory"));
}

std::unique_ptr<SqlSession> openSqlite(const std::string& path, bool create)
{
  SqliteConnection connection = openFile(path, create || path == kSqliteInMemory);
  checkSqlite(sqlite3_busy_timeout(connection.get(), kBusyMilliseconds), "cannot set the time-out", connection.get());
  auto session = std::make_unique<SqliteSession>(std::move(connection));
  session->execute("PRAGMA journal_mode=WAL");
  return session;
}

} // namespace tarn::db
