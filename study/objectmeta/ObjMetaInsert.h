#pragma once

#include "study/objectmeta/ImportCode.h"
#include "study/objectmeta/ObjMeta.h"

#include <cstddef>
#include <string>

namespace tarn::db
{

class DBConnectorSql;

/// Writes the rows of an object meta file into a table, up to 300 in one statement (fewer where that many values are
/// more than a statement can have: 65,535). Each statement is a transaction of its own; a row whose key is there
/// already changes nothing. No power cut keeps a later change, such as the study's entry, and takes rows back: an entry
/// that says valid never stands without its rows.
class ObjMetaInsert
{
public:
  /// Throws DBException when the table's or a column's name may not stand in SQL.
  ObjMetaInsert(DBConnectorSql& db, const std::string& table, ObjMeta& meta);

  /// Decodes the rows where they are and writes them. kRowsRanOut, with a line on standard error, when there are fewer
  /// than `meta` counts. Throws DBException; the batches before stay.
  [[nodiscard]] ImportCode run();

private:
  using Position = std::map<std::string, ObjMeta::Row>::iterator;
  [[nodiscard]] bool insert(std::size_t batch, Position& next);
  std::string statement(std::size_t batch) const;

  DBConnectorSql& db;
  ObjMeta& meta;
  std::string head;         ///< of the statement, up to its first row
  std::string placeholders; ///< of a row
};

} // namespace tarn::db
