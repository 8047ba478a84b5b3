#pragma once

#include "base/Closer.h"
#include "db/SqlStatement.h"

#include <sqlite3.h>

#include <memory>

namespace tarn::db
{

/// Throws DBException with what was tried and the library's text, unless `code` is good.
void checkSqlite(int code, const char* what, sqlite3* connection);

class SqliteStatement : public SqlStatement
{
public:
  SqliteStatement(sqlite3* connection, const std::string& sql);

  std::size_t paramCount() const override;
  std::size_t resultCount() const override;
  void execute(const std::vector<SqlValue>& params) override;
  [[nodiscard]] bool fetch(SqlRow& row) override;
  void reset() noexcept override;

private:
  void bind(int index, const SqlValue& value);

  sqlite3* connection;
  std::unique_ptr<sqlite3_stmt, base::Closer<sqlite3_finalize>> handle;
};

} // namespace tarn::db
