// The one way in which every prepared statement runs.
#include "db/runStatement.h"

#include "db/DBException.h"

#include <string>

namespace tarn::db
{
namespace
{

/// Drops what is left of an execution, also after a failure.
struct ResetAtEnd
{
  explicit ResetAtEnd(SqlStatement& statement) : statement(statement) {}
  ~ResetAtEnd() { statement.reset(); }
  ResetAtEnd(const ResetAtEnd&) = delete;
  ResetAtEnd& operator=(const ResetAtEnd&) = delete;

  SqlStatement& statement;
};

} // namespace

void checkCount(const char* what, std::size_t given, std::size_t needed)
{
  if (given != needed)
    throw DBException("a statement has " + std::to_string(needed) + " " + what + ", not " + std::to_string(given));
}

void runStatement(SqlStatement& statement, const std::vector<SqlValue>& values,
                  const std::function<void(SqlRow&)>& onRow)
{
  checkCount("parameters", values.size(), statement.paramCount());
  const ResetAtEnd reset(statement);
  statement.execute(values);
  for (SqlRow row; statement.fetch(row);)
    onRow(row);
}

} // namespace tarn::db
