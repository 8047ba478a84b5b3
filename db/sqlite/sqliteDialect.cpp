#include "db/sqlite/sqliteDialect.h"

#include "base/text.h"
#include "db/DBException.h"

#include <cctype>
#include <set>
#include <sstream>
#include <string_view>

namespace tarn::db
{
namespace
{

bool startsWith(const std::string& text, std::string_view start)
{
  return text.compare(0, start.size(), start) == 0;
}

std::string lowerCase(std::string text)
{
  for (char& c : text)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

/// Looks at `INSERT INTO table(columns) VALUES ...`; a statement without a column list names none twice.
void refuseDoubledColumns(const std::string& sql)
{
  const auto open = sql.find('(');
  const auto close = sql.find(") VALUES ");
  if (!startsWith(sql, "INSERT INTO ") || close == std::string::npos || open > close)
    return;
  std::istringstream columns(sql.substr(open + 1, close - open - 1));
  std::set<std::string> seen;
  for (std::string column; std::getline(columns, column, ',');)
    if (!seen.insert(lowerCase(column)).second)
      throw DBException("cannot prepare a statement: Column '" + base::printable(column) + "' specified twice");
}

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
  refuseDoubledColumns(sql);
  const auto clause = sql.rfind(kClause);
  if (clause == std::string::npos)
    return sql;
  return sql.substr(0, clause) + conflictClause(sql.substr(clause + kClause.size()));
}

} // namespace tarn::db
