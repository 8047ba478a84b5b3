#pragma once

#include "db/SqlStatement.h"

#include <functional>
#include <vector>

namespace tarn::db
{

/// Runs `statement` with `values` to its end and calls `onRow` for each row. Throws DBException, also when the
/// statement has another number of parameters. The statement can run again afterwards.
void runStatement(SqlStatement& statement, const std::vector<SqlValue>& values,
                  const std::function<void(SqlRow&)>& onRow);

/// Throws DBException when a statement was given another number of `what` than it needs.
void checkCount(const char* what, std::size_t given, std::size_t needed);

} // namespace tarn::db
