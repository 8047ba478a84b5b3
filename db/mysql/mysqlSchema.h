#pragma once

#include <string_view>

namespace tarn::db
{

/// Returns the text of schema/mysql.sql.
std::string_view mysqlSchema();

} // namespace tarn::db
