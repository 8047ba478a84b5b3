// The embedded database: how it is opened, and its locks.
#include "db/sqlite/SqliteSession.h"

#include "base/Fd.h"
#include "db/DBException.h"
#include "db/sqlite/lockFile.h"
#include "db/sqlite/SqliteStatement.h"
#include "db/sqlite/UnlockedFile.h"
#include "sqliteSchema.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <system_error>
#include <utility>

namespace tarn::db
{
namespace
{

// Writers hold the database for one statement or a short transaction: this is more than any queue of them needs.
// Whoever may read the file can hold it, too, for as long as he likes.
constexpr int kBusyMilliseconds = 30000;
constexpr int kBusyRetryMilliseconds = 20;
constexpr int kSwitchRetryMilliseconds = 5;

using SqliteConnection = std::unique_ptr<sqlite3, base::Closer<sqlite3_close_v2>>;

class SqliteSession : public SqlSession
{
public:
  /// `unlocked` is the file where it is read without locks.
  explicit SqliteSession(SqliteConnection connection, std::optional<UnlockedFile> unlocked = std::nullopt)
    : unlocked(std::move(unlocked)), connection(std::move(connection))
  {
  }

  std::unique_ptr<SqlStatement> prepare(const std::string& sql) override
  {
    return std::make_unique<SqliteStatement>(connection.get(), sql, unlocked ? &*unlocked : nullptr);
  }
  void execute(const std::string& sql) override
  {
    const int code = sqlite3_exec(connection.get(), sql.c_str(), nullptr, nullptr, nullptr);
    checkSqlite(code, "cannot execute a statement", connection.get());
  }
  /// Takes the right to write at once: a transaction that asks for it later fails where another writer came between.
  void begin() override { execute("BEGIN IMMEDIATE"); }
  /// A checkpoint of the whole log, which waits for other readers and writers. Without a log each commit is synced.
  void sync() override
  {
    const int code = sqlite3_wal_checkpoint_v2(connection.get(), nullptr, SQLITE_CHECKPOINT_FULL, nullptr, nullptr);
    checkSqlite(code, "cannot write the log to the file", connection.get());
  }
  /// Writes the number that is there already.
  void requireUsable(bool forWriting) override
  {
    std::string version;
    {
      SqliteStatement query(connection.get(), "PRAGMA user_version");
      query.execute({});
      for (SqlRow row; query.fetch(row);)
        version = row.columns.front().value_or("0");
    }
    if (forWriting)
      execute("PRAGMA user_version=" + version);
  }
  GlobalLock tryLock(const std::string& name) override
  {
    if (isInMemory())
      return std::make_shared<char>(); // nobody else sees this database
    if (sqlite3_db_readonly(connection.get(), "main") == 1)
      throw DBException("the database may only be read");
    return tryLockBeside(file(), name);
  }
  bool isInMemory() const override { return file().empty(); }
  std::string_view schema() const override { return kSqliteSchema; }

private:
  /// The library's own name of the file, so that every way to write its path gives one lock; empty in memory.
  std::string file() const
  {
    const char* name = sqlite3_db_filename(connection.get(), "main");
    return name ? name : "";
  }

  std::optional<UnlockedFile> unlocked;
  SqliteConnection connection;
};

/// Whether the library is to try again, after a wait. Its own waits grow to 100 ms; among many writers, whoever asks so
/// seldom finds the database free too seldom.
int waitForOthers(void* /*unused*/, int attempts)
{
  if (attempts >= kBusyMilliseconds / kBusyRetryMilliseconds)
    return 0;
  sqlite3_sleep(std::min(attempts + 1, kBusyRetryMilliseconds));
  return 1;
}

/// What keeps the file from being opened; the library may have tried others since. 0 when nothing does now.
int errorOfOpening(const std::string& path)
{
  const base::Fd fd(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK));
  return fd ? 0 : errno;
}

/// Where the account has no right to write the file, the library opens it for reading alone.
SqliteConnection openFile(const std::string& path, bool create)
{
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
  sqlite3* opened = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
  SqliteConnection connection(opened);
  if (const int error = code == SQLITE_CANTOPEN ? errorOfOpening(path) : 0; error != 0)
    throw DBException("cannot open the file: " + std::generic_category().message(error));
  checkSqlite(code, "cannot open the file", opened);
  checkSqlite(sqlite3_busy_handler(opened, waitForOthers, nullptr), "cannot set the time-out", opened);
  return connection;
}

SqliteConnection openUnlocked(const UnlockedFile& file)
{
  sqlite3* opened = nullptr;
  const int code = sqlite3_open_v2(file.uri().c_str(), &opened,
                                   SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI, nullptr);
  SqliteConnection connection(opened);
  checkSqlite(code, "cannot open the file", opened);
  return connection;
}

/// Whoever may only read takes part in the log of those who have the database open, if there are any, or in the locks
/// of one without a log. To read the file alone where it has a log mode, he would have to make the log.
std::unique_ptr<SqlSession> openForReading(const std::string& path, SqliteConnection connection)
{
  const int code = sqlite3_exec(connection.get(), "SELECT 1 FROM sqlite_master", nullptr, nullptr, nullptr);
  const int primary = code & 0xFF;
  if (primary != SQLITE_READONLY && primary != SQLITE_CANTOPEN)
  {
    checkSqlite(code, "cannot read the file", connection.get());
    return std::make_unique<SqliteSession>(std::move(connection));
  }
  UnlockedFile file(path);
  connection = openUnlocked(file);
  return std::make_unique<SqliteSession>(std::move(connection), std::move(file));
}

/// The callback of a pragma that gives one value, the journal mode.
int isWal(void* answer, int /*columns*/, char** values, char** /*names*/)
{
  *static_cast<bool*>(answer) = std::string_view(values[0]) == "wal";
  return 0;
}

/// Processes that switch a new database at once refuse each other without waiting, whatever the busy time-out. With a
/// log, commits need not be synced to keep their order; without one, they are, as the library does by itself.
void enterWalMode(sqlite3* connection)
{
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kBusyMilliseconds);
  int code = SQLITE_BUSY;
  bool entered = false;
  while (code == SQLITE_BUSY && std::chrono::steady_clock::now() < deadline)
  {
    code = sqlite3_exec(connection, "PRAGMA journal_mode=WAL", isWal, &entered, nullptr);
    if (code == SQLITE_BUSY)
      sqlite3_sleep(kSwitchRetryMilliseconds);
  }
  if (code == SQLITE_OK && entered)
    code = sqlite3_exec(connection, "PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
  checkSqlite(code, "cannot enter WAL mode", connection);
}

} // namespace

std::unique_ptr<SqlSession> openSqlite(const std::string& path, bool create)
{
  SqliteConnection connection = openFile(path, create || path == kSqliteInMemory);
  if (sqlite3_db_readonly(connection.get(), "main") == 1)
    return openForReading(path, std::move(connection));
  enterWalMode(connection.get());
  return std::make_unique<SqliteSession>(std::move(connection));
}

} // namespace tarn::db
