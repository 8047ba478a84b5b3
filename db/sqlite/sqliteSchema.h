#pragma once

#include <string_view>

namespace tarn::db
{

/// The text of schema/sqlite.sql.
std::string_view sqliteSchema();

} // namespace tarn::db
