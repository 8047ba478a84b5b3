// The one way in which every prepared statement runs.
#include "db/SqlStatement.h"

#include "db/DBException.h"

#include <memory>
#include <string>

namespace tarn::db
{
namespace
{

/// Drops what is left of an execution, also after a failure.
struct Reset
{
  void operator()(SqlStatement* statement) const noexcept { statement->reset(); }
};

} // namespace

std::vector<SqlRow> SqlStatement::run(const std::vector<SqlValue>& params)
{
  requireCount("parameters", params.size(), paramCount());
  const std::unique_ptr<SqlStatement, Reset> used(this);
  execute(params);
  std::vector<SqlRow> rows(1);
  while (fetch(rows.back()))
    rows.emplace_back();
  rows.pop_back();
  return rows;
}

void SqlStatement::requireCount(const char* what, std::size_t given, std::size_t needed)
{
  if (given != needed)
    throw DBException("a statement has " + std::to_string(needed) + " " + what + ", not " + std::to_string(given));
}

} // namespace tarn::db
