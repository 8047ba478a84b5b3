#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::study
{

/// What became of an object meta file. Negative values are the reasons that the log gives for a failed import.
enum ImportCode : int
{
  missing = 1, ///< there is no such file
  imported = 0,
  noObjectTable = -1,
  noObjCacheTable = -2,
  metaDirectoryFailed = -3,
  metaFileUnreadable = -4, ///< also when it is no regular file
  noObjectCountLine = -5,
  badObjectCountLine = -6,
  noColumnCountLine = -7,
  badColumnCountLine = -8,
  noColumnLine = -9,
  wrongColumnCount = -10,
  objectCountUnknown = -11, ///< the database has no row for the study
  noKeyColumn = -20,
  objectCountDiffers = -21,
  badRow = -23,
  rowsRanOut = -32
};

/// The content of a study's object meta file, a text file. Its first line is a number that no reader uses, the second
/// one the number of columns, the third one their names, separated by tabs; each further line is a row of as many
/// values, each of them URL-encoded or kNull.
struct ObjMeta
{
  using Row = std::vector<std::string>;

  static constexpr char kKeyColumn[] = "FNAME"; ///< the name of the object's file
  static constexpr char kNull[] = "<<NULL>>";

  Row columns;
  std::map<std::string, Row> rows; ///< by the value of kKeyColumn as it stands in the file; the last row of a name
  std::size_t rowCount = 0;        ///< of different names

  /// Reads the file at `path`, without waiting for what is no regular file. Returns why the content cannot be imported,
  /// or ImportCode::imported. After ImportCode::badRow, the rows before the bad one are there.
  [[nodiscard]] ImportCode read(const std::string& path);
  /// The file's bytes, with the number of rows in the first line.
  std::string text() const;

private:
  [[nodiscard]] ImportCode readHeader(std::string_view& rest);
  [[nodiscard]] ImportCode readRows(std::string_view rest);
  [[nodiscard]] bool addRow(std::string_view line);

  std::size_t key = 0; ///< index of kKeyColumn
};

} // namespace tarn::study
