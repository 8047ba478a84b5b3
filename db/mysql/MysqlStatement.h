#pragma once

#include "db/mysql/mysqlHandles.h"
#include "db/SqlStatement.h"

#include <array>
#include <vector>

namespace tarn::db
{

class MysqlStatement : public SqlStatement
{
public:
  MysqlStatement(MYSQL* connection, const std::string& sql);

  std::size_t paramCount() const override { return mysql_stmt_param_count(handle.get()); }
  std::size_t resultCount() const override { return columns.size(); }
  /// Takes the whole result over from the server, so that other statements can run while it is fetched.
  void execute(const std::vector<SqlValue>& params) override;
  [[nodiscard]] bool fetch(SqlRow& row) override;
  void reset() noexcept override { mysql_stmt_free_result(handle.get()); }

private:
  /// Where the library puts one column of a row. A longer value is fetched a second time, into a buffer of its size.
  struct Column
  {
    std::array<char, 256> buffer;
    unsigned long length = 0;
    MysqlFlag isNull = 0;
  };
  void bindParams(const std::vector<SqlValue>& params);
  void bindResult();
  std::optional<std::string> valueOf(unsigned index);

  MysqlStatementHandle handle;
  std::vector<MYSQL_BIND> paramBinds;
  std::vector<Column> columns;
  std::vector<MYSQL_BIND> columnBinds;
};

} // namespace tarn::db
