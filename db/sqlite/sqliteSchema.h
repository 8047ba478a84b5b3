#pragma once

#include <string_view>

namespace tarn::db
{

/// Returns the text of schema/sqlite.sql.
std::string_view sqliteSchema();

} // namespace tarn::db
