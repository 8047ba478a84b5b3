#pragma once

#include "db/QueryBindings.h"
#include "db/TmpPSCache.h"

#include <string>
#include <vector>

/// Runs a statement; its rows, each its columns with commas between them.
inline std::vector<std::string> select(tarn::db::DBConnectorSql& db, const std::string& sql, int columns = 1)
{
  std::vector<std::string> rows;
  tarn::db::TmpPSCache statement(db, sql, 0, columns);
  const auto bindings = statement.query().mkBindings();
  const auto add = [&]
  {
    std::string row;
    for (std::size_t column = 0; column < bindings->row().columns.size(); ++column)
      row.append(column ? "," : "").append(bindings->row().isNull(column) ? "NULL" : bindings->row().text(column));
    rows.push_back(row);
  };
  statement.executeQuery(statement.query(), *bindings, add);
  return rows;
}
