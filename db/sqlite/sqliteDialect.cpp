// Turns MySQL's dialect into SQLite's.
#include "db/sqlite/sqliteDialect.h"

#include <string_view>

namespace tarn::db
{
namespace
{

/// `text` with every VALUES(COLUMN), the value that was to be inserted, as excluded.COLUMN.
std::string withExcluded(std::string text)
{
  constexpr std::string_view kNewValue = "VALUES(";
  for (auto start = text.find(kNewValue); start != std::string::npos; start = text.find(kNewValue, start))
  {
    const auto close = text.find(')', start);
    if (close == std::string::npos)
      break;
    text.erase(close, 1);
    text.replace(start, kNewValue.size(), "excluded.");
  }
  return text;
}

/// What MySQL's clause sets, as SQLite's clause.
std::string conflictClause(const std::string& assignments)
{
  const auto equals = assignments.find('=');
  if (equals != std::string::npos && assignments.substr(0, equals) == assignments.substr(equals + 1))
    return "ON CONFLICT DO NOTHING";
  return "ON CONFLICT DO UPDATE SET " + withExcluded(assignments);
}

} // namespace

std::string fromMysqlDialect(const std::string& sql)
{
  constexpr std::string_view kClause = "ON DUPLICATE KEY UPDATE ";
  const auto clause = sql.rfind(kClause);
  if (clause == std::string::npos)
    return sql;
  return sql.substr(0, clause) + conflictClause(sql.substr(clause + kClause.size()));
}

} // namespace tarn::db
