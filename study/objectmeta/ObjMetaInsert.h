#pragma once

#include "db/DBConnectorSql.h"
#include "study/objectmeta/ObjMeta.h"

#include <cstddef>
#include <string>

namespace tarn::study
{

/// Writes the rows of an object meta file into a table, up to 300 in one statement, or fewer where these have more
/// values than the 65,535 that a statement can have. Each statement is a transaction of its own; a row whose key exists
/// already changes nothing. No power cut keeps a later change, such as the study's entry, and takes rows back: an entry
/// that says valid never stands without its rows.
class ObjMetaInsert
{
public:
  /// Throws DBException when the table's or a column's name may not stand in SQL.
  ObjMetaInsert(db::DBConnectorSql& db, const std::string& table, ObjMeta& meta);

  /// Decodes the rows in place and writes them. Returns ImportCode::rowsRanOut, with a line on standard error, when
  /// there are fewer than `meta` counts. Throws DBException, after which the batches before it stay.
  [[nodiscard]] ImportCode run();

private:
  using Position = std::map<std::string, ObjMeta::Row>::iterator;
  [[nodiscard]] bool insert(std::size_t batch, Position& next);

  db::DBConnectorSql& db;
  ObjMeta& meta;
  std::string head;         ///< of the statement, up to its first row
  std::string placeholders; ///< of a row
};

} // namespace tarn::study
