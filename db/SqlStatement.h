#pragma once

#include "db/SqlRow.h"
#include "db/SqlValue.h"

#include <cstddef>
#include <vector>

namespace tarn::db
{

/// A prepared statement of one session. Operations other than reset() throw DBException.
class SqlStatement
{
public:
  /// Runs the statement to its end and returns its rows. REQUIRES: it has as many parameters, else a DBException.
  std::vector<SqlRow> run(const std::vector<SqlValue>& params);
  /// Throws DBException when a statement was given another number of `what` than it needs.
  static void requireCount(const char* what, std::size_t given, std::size_t needed);

  virtual std::size_t paramCount() const = 0;
  virtual std::size_t resultCount() const = 0;

  /// Runs the statement. REQUIRES: `params` has paramCount() values, which stay valid until reset().
  virtual void execute(const std::vector<SqlValue>& params) = 0;
  /// Fetches the next row, of resultCount() columns, into `row`. Returns false when there is none. A statement has done
  /// all its work only when this has returned false.
  [[nodiscard]] virtual bool fetch(SqlRow& row) = 0;
  /// Drops what is left of the execution. The statement can be executed again.
  virtual void reset() noexcept = 0;

  virtual ~SqlStatement() = default;
};

} // namespace tarn::db
