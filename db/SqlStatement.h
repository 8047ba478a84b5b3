#pragma once

#include "db/SqlRow.h"
#include "db/SqlValue.h"

#include <cstddef>
#include <vector>

namespace tarn::db
{

/// A prepared statement of one session. Everything but reset() throws DBException.
class SqlStatement
{
public:
  virtual std::size_t paramCount() const = 0;
  virtual std::size_t resultCount() const = 0;

  /// Runs it with `params`, exactly paramCount() values, which stay valid until reset().
  virtual void execute(const std::vector<SqlValue>& params) = 0;
  /// Fetches the next row into `row` (with resultCount() columns); false when there is none. An execution is complete
  /// only when this returned false.
  [[nodiscard]] virtual bool fetch(SqlRow& row) = 0;
  /// Drops what is left of the execution; the statement can be executed again.
  virtual void reset() noexcept = 0;

  virtual ~SqlStatement() = default;
};

} // namespace tarn::db
