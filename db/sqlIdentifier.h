#pragma once

#include <string>
#include <string_view>

namespace tarn::db
{

/// Whether `name` may stand in SQL as the name of a table or column: [A-Za-z_][A-Za-z0-9_]*, at most 64 characters
/// (MySQL's limit).
bool isIdentifier(std::string_view name);

/// `name` when it is an identifier; else throws DBException with the name in its text.
const std::string& requireIdentifier(const std::string& name);

} // namespace tarn::db
