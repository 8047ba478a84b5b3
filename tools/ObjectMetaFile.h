#pragma once

#include "StudyObject.h"

#include <cstddef>
#include <map>
#include <string>

namespace tarn
{
class PartFile;
}

namespace tarn::tools
{

/// The content of a study's object meta file ("objectdb.meta"): three lines of heading, then one line an object, its
/// values separated by tabs and URL-encoded, "<<NULL>>" for what is absent.
class ObjectMetaFile
{
public:
  /// Adds the objects of the file `path`; nothing where there is none. Throws IMException when it cannot be read or is
  /// not laid out as write() does it.
  void read(const std::string& path);

  /// Adds the object, over one of its name.
  void put(const StudyObject& object);

  std::size_t size() const { return lines.size(); }
  std::size_t added() const { return addedCount; }     ///< by put()
  std::size_t changed() const { return changedCount; } ///< by put()

  /// Writes it; it is on the disk then. Throws IMException.
  void write(const PartFile& file) const;

private:
  std::map<std::string, std::string> lines; ///< by object name, as it stands in the file
  std::size_t addedCount = 0;
  std::size_t changedCount = 0;
};

} // namespace tarn::tools
