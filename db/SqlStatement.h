#pragma once

#include "db/SqlValue.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tarn::db
{

/// The columns of one fetched row as the bytes that the database holds (numbers in decimal); nothing for NULL.
using SqlRow = std::vector<std::optional<std::string>>;

/// A prepared statement of one session. Everything but reset() throws DBException.
class SqlStatement
{
public:
  virtual std::size_t paramCount() const = 0;
  virtual std::size_t resultCount() const = 0;

  /// Runs it with `params`, exactly paramCount() values, which stay valid until reset().
  virtual void execute(const std::vector<SqlValue>& params) = 0;
  /// Fetches the next row into `row` (resized to resultCount()); false when there is none. An execution is complete
  /// only when this returned false.
  [[nodiscard]] virtual bool fetch(SqlRow& row) = 0;
  /// Drops what is left of the execution; the statement can be executed again.
  virtual void reset() noexcept = 0;

  virtual ~SqlStatement() = default;
};

} // namespace tarn::db
