#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tarn::db
{

/// One fetched row. Columns count from 0; an index that is out of range is a DBException.
struct SqlRow
{
  /// The bytes of a column, empty for NULL.
  const std::string& text(std::size_t column) const;
  /// The number in a column, 0 for NULL. Throws DBException when it is no number of 32 bits.
  int number(std::size_t column) const;

  std::vector<std::optional<std::string>> columns; ///< bytes, numbers in decimal; nothing for NULL

private:
  const std::optional<std::string>& at(std::size_t column) const;
};

} // namespace tarn::db
