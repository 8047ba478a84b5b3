#pragma once

#include "study/objectmeta/ObjMeta.h"
#include "study/objectmeta/StudyObject.h"

#include <array>
#include <cstddef>
#include <string>

namespace tarn::study
{

/// A study's object meta file that objects are put into. A new file has the columns of the object table; one that was
/// read keeps its columns and rows.
class ObjMetaUpdate
{
public:
  ObjMetaUpdate();

  /// Takes what the file at `path` holds, nothing where there is none. Throws IMException when the file cannot be read
  /// or lacks a column of the object table. REQUIRES: nothing was put yet.
  void read(const std::string& path);

  /// Adds the object, over one of its name. A column that the object has no value for keeps its value, which is NULL in
  /// a new row.
  void put(const StudyObject& object);

  const ObjMeta& content() const { return meta; }
  std::size_t size() const { return meta.rows.size(); }
  std::size_t added() const { return addedCount; }     ///< by put()
  std::size_t changed() const { return changedCount; } ///< by put()

private:
  static constexpr std::size_t kValues = 8; ///< of a StudyObject
  void locateColumns(const std::string& path);

  ObjMeta meta;
  std::array<std::size_t, kValues> places{}; ///< of an object's values in a row
  std::size_t addedCount = 0;
  std::size_t changedCount = 0;
};

} // namespace tarn::study
