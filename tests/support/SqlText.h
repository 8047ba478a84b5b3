#pragma once

#include "PSCache.h"
#include "QueryBindings.h"

#include <string>
#include <utility>
#include <vector>

/// One statement made of a text that is known at run time only.
class SqlText : public tarn::db::PSCache
{
public:
  SqlText(tarn::db::DBConnectorSql& db, std::string statement, int params, int results)
    : PSCache(db), text(std::move(statement)), query([this] { return text; }, params, results)
  {
    registerQuery(query);
    init();
  }

  const std::string text;
  const tarn::db::PsQuery query;
};

/// The rows of a query, each its columns with commas between them.
inline std::vector<std::string> select(tarn::db::DBConnectorSql& db, const std::string& sql, int columns = 1)
{
  std::vector<std::string> rows;
  SqlText statement(db, sql, 0, columns);
  const auto bindings = statement.query.mkBindings();
  const auto add = [&]
  {
    std::string row;
    for (int column = 0; column < columns; ++column)
      row.append(column ? "," : "").append(bindings->isNull(column) ? "NULL" : bindings->text(column));
    rows.push_back(row);
  };
  statement.executeQuery(statement.query, *bindings, add);
  return rows;
}
