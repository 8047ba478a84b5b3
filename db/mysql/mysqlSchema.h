#pragma once

#include <string_view>

namespace tarn::db
{

/// The text of schema/mysql.sql.
std::string_view mysqlSchema();

} // namespace tarn::db
