// How the columns of a fetched row are read.
#include "db/SqlRow.h"

#include "db/DBException.h"

#include <charconv>

namespace tarn::db
{

const std::optional<std::string>& SqlRow::at(std::size_t column) const
{
  if (column >= columns.size())
    throw DBException("there is no result column " + std::to_string(column));
  return columns[column];
}

const std::string& SqlRow::text(std::size_t column) const
{
  static const std::string empty;
  const std::optional<std::string>& value = at(column);
  return value ? *value : empty;
}

int SqlRow::number(std::size_t column) const
{
  const std::optional<std::string>& digits = at(column);
  if (!digits)
    return 0;
  const char* const end = digits->data() + digits->size();
  int number = 0;
  if (const auto [rest, error] = std::from_chars(digits->data(), end, number); error != std::errc() || rest != end)
    throw DBException("result column " + std::to_string(column) + " holds no 32-bit number");
  return number;
}

} // namespace tarn::db
