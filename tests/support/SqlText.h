#pragma once

#include "db/DBConnectorSql.h"

#include <string>
#include <vector>

/// Runs a statement; its rows, each its columns with commas between them.
inline std::vector<std::string> select(tarn::db::DBConnectorSql& db, const std::string& sql)
{
  std::vector<std::string> rows;
  for (const tarn::db::SqlRow& row : db.query(sql))
  {
    rows.emplace_back();
    for (const auto& column : row.columns)
      rows.back().append(&column == &row.columns.front() ? "" : ",").append(column.value_or("NULL"));
  }
  return rows;
}
