#pragma once

#include "study/objectmeta/ObjMeta.h"
#include "tools/StudyObject.h"

#include <array>
#include <cstddef>
#include <string>

namespace tarn::base
{
class PartFile;
}

namespace tarn::tools
{

/// A study's object meta file (see ObjMeta) that objects are put into. A new one has the columns of the object table;
/// one that was read keeps its columns and rows.
class ObjectMetaFile
{
public:
  ObjectMetaFile();

  /// Takes what the file `path` holds; nothing where there is none. Throws IMException when it cannot be read or lacks
  /// a column of the object table. To be called before put().
  void read(const std::string& path);

  /// Adds the object, over one of its name. Columns that it has no value for are as they were, NULL for a new one.
  void put(const StudyObject& object);

  std::size_t size() const { return meta.rows.size(); }
  std::size_t added() const { return addedCount; }     ///< by put()
  std::size_t changed() const { return changedCount; } ///< by put()

  /// Writes it; it is on the disk then. Throws IMException.
  void write(const base::PartFile& file) const;

private:
  static constexpr std::size_t kValues = 8; ///< of a StudyObject
  void locateColumns(const std::string& path);

  db::ObjMeta meta;
  std::array<std::size_t, kValues> places{}; ///< of an object's values in a row
  std::size_t addedCount = 0;
  std::size_t changedCount = 0;
};

} // namespace tarn::tools
