// The tables of the schema under the names that the environment gives.
#include "db/createTables.h"

#include "db/DBConnectorSql.h"
#include "db/SqlSession.h"

#include <string>
#include <string_view>
#include <vector>

namespace tarn::db
{
namespace
{

/// One statement of the schema around its table's standard name.
struct TableStatement
{
  std::string_view before;
  std::string standardName;
  std::string_view after;
};

std::vector<TableStatement> tableStatements(std::string_view schema)
{
  constexpr std::string_view kStart = "CREATE TABLE IF NOT EXISTS ";
  std::vector<TableStatement> statements;
  for (auto start = schema.find(kStart); start != std::string_view::npos; start = schema.find(kStart, start))
  {
    const auto name = start + kStart.size();
    const auto nameEnd = schema.find_first_of(" \n(", name);
    const auto end = schema.find(';', nameEnd);
    statements.push_back(
        {kStart, std::string(schema.substr(name, nameEnd - name)), schema.substr(nameEnd, end - nameEnd)});
    start = end;
  }
  return statements;
}

} // namespace

void createTables(DBConnectorSql& db, Tables which)
{
  std::vector<std::string> texts;
  for (const TableStatement& table : tableStatements(db.session().schema()))
    if (which == Tables::all || db.tables().hasUsableName(table.standardName))
      texts.push_back(std::string(table.before).append(db.tables().name(table.standardName)).append(table.after));
  for (const std::string& text : texts)
    db.session().execute(text);
}

} // namespace tarn::db
