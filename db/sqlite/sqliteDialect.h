#pragma once

#include <string>

namespace tarn::db
{

/// Returns `sql`, in the dialect of MySQL, as SQLite spells it, which differs in the duplicate-key clause of an INSERT.
/// A clause that sets a column to itself becomes `ON CONFLICT DO NOTHING`.
std::string fromMysqlDialect(const std::string& sql);

} // namespace tarn::db
