#pragma once

#include "db/SqlStatement.h"
#include "db/sqlite/sqliteHandles.h"

namespace tarn::db
{

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
  SqliteStatementHandle handle;
};

} // namespace tarn::db
