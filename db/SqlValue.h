#pragma once

#include <string_view>
#include <variant>

namespace tarn::db
{

/// A value for a parameter of a statement: NULL, a whole number, or bytes that are borrowed until the statement has
/// run. The view's pointer is never null, not even when the view is empty.
using SqlValue = std::variant<std::monostate, long long, std::string_view>;

inline SqlValue toSqlValue(long long number)
{
  return number;
}

inline SqlValue toSqlValue(std::string_view bytes)
{
  return bytes;
}

} // namespace tarn::db
