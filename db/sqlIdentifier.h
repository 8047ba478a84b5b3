#pragma once

#include <string>
#include <string_view>

namespace tarn::db
{

/// Returns whether `name` may stand in SQL as the name of a table or column: [A-Za-z_][A-Za-z0-9_]*, at most 64
/// characters (MySQL's limit).
bool isIdentifier(std::string_view name);

/// Returns `name`. Throws DBException, with the name in its text, when it is no identifier.
const std::string& requireIdentifier(const std::string& name);

} // namespace tarn::db
