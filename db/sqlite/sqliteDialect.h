#pragma once

#include <string>

namespace tarn::db
{

/// `sql`, in the dialect of MySQL, as SQLite spells it: the duplicate-key clause of an INSERT. A clause that sets
/// columns to themselves changes nothing, as `ON CONFLICT DO NOTHING` does.
std::string fromMysqlDialect(const std::string& sql);

} // namespace tarn::db
