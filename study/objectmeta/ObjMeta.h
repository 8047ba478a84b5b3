#pragma once

#include "study/objectmeta/ImportCode.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace tarn::db
{

/// An object meta file: lines of text. The first is a number that nothing uses, the second the number of columns, the
/// third their names, separated by tabs, each further one a row: as many values, URL-encoded or "<<NULL>>".
struct ObjMeta
{
  using Row = std::vector<std::string>;

  Row columns;
  std::map<std::string, Row> rows; ///< by the value of column FNAME as it stands in the file; the last one holds
  std::size_t rowCount = 0;        ///< of different FNAME

  /// Reads the file `path`, never waiting for what is no regular file. Where there is none, sets `missing`. After
  /// kBadRow the rows before the bad one are there.
  [[nodiscard]] ImportCode read(const std::string& path, bool& missing);

private:
  class Lines;
  [[nodiscard]] ImportCode readHeader(Lines& lines);
  [[nodiscard]] ImportCode readRows(Lines& lines);
  [[nodiscard]] bool addRow(std::string line);

  std::size_t key = 0; ///< index of the column FNAME
};

} // namespace tarn::db
