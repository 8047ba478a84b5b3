// Which names may stand in SQL.
#include "db/sqlIdentifier.h"

#include "base/text.h"
#include "db/DBException.h"

namespace tarn::db
{

bool isIdentifier(std::string_view name)
{
  constexpr char kDigits[] = "0123456789";
  constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_0123456789";
  constexpr std::size_t kLongest = 64;
  return !name.empty() && name.size() <= kLongest && name.find_first_not_of(kLetters) == std::string_view::npos &&
         name.find_first_of(kDigits) != 0;
}

const std::string& requireIdentifier(const std::string& name)
{
  if (!isIdentifier(name))
    throw DBException("the name '" + base::printable(name) + "' is no identifier");
  return name;
}

} // namespace tarn::db
