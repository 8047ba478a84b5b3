#pragma once

#include "base/Closer.h"
#include "db/SqlStatement.h"

#include <sqlite3.h>

#include <memory>

namespace tarn::db
{

class UnlockedFile;

/// Throws DBException with what was tried and the library's text, unless `code` is good: DBTimeoutException where
/// others have held a lock for too long.
void checkSqlite(int code, const char* what, sqlite3* connection);

class SqliteStatement : public SqlStatement
{
public:
  /// `unlocked`, the file where it is read without locks, else null, is borrowed.
  SqliteStatement(sqlite3* connection, const std::string& sql, const UnlockedFile* unlocked = nullptr);

  std::size_t paramCount() const override;
  std::size_t resultCount() const override;
  void execute(const std::vector<SqlValue>& params) override;
  [[nodiscard]] bool fetch(SqlRow& row) override;
  void reset() noexcept override;

private:
  void bind(int index, const SqlValue& value);

  sqlite3* connection;
  const UnlockedFile* unlocked;
  std::unique_ptr<sqlite3_stmt, base::Closer<sqlite3_finalize>> handle;
};

} // namespace tarn::db
