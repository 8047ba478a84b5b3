#include "SqliteDialect.h"

#include "Console.h"
#include "DBException.h"

#include <cctype>
#include <regex>
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

void refuseDoubledColumns(const std::string& sql)
{
  const auto open = sql.find('(');
  const auto close = sql.find(')');
  if (!startsWith(sql, "INSERT INTO ") || open > close || close == std::string::npos)
    return;
  std::istringstream columns(sql.substr(open + 1, close - open - 1));
  std::set<std::string> seen;
  for (std::string column; std::getline(columns, column, ',');)
    if (!seen.insert(lowerCase(column)).second)
      throw DBException("cannot prepare a statement: Column '" + printable(column) + "' specified twice");
}

/// What MySQL's clause sets, as SQLite's clause.
std::string conflictClause(const std::string& assignments)
{
  static const std::regex kUnchanged(R"((\w+)=\1)");
  static const std::regex kNewValue(R"(VALUES\((\w+)\))");
  if (std::regex_match(assignments, kUnchanged))
    return "ON CONFLICT DO NOTHING";
  return "ON CONFLICT DO UPDATE SET " + std::regex_replace(assignments, kNewValue, "excluded.$1");
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
