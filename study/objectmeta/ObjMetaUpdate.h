#pragma once

#include "study/objectmeta/ObjMeta.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace tarn::study
{

/// What the archive keeps of one DICOM object: a row of the object table and of the study's object meta file. All texts
/// consist of letters, digits and points.
struct StudyObject
{
  std::string studyUid;
  std::string name; ///< prefix, a point, SOP Instance UID
  std::string sopClassUid;
  std::string sopInstanceUid;
  std::string seriesUid;
  // The size of an image in pixels (PS3.3 C.7.6.3, C.7.6.6); nothing where the object does not give it.
  std::optional<int> columns;
  std::optional<int> rows;
  std::optional<int> frames;
};

/// A study's object meta file that objects are put into. A new file has the columns of the object table; one that was
/// read keeps its columns and rows.
struct ObjMetaUpdate
{
  ObjMetaUpdate();

  /// Takes what the file at `path` holds, nothing where there is none. Throws IMException when the file cannot be read
  /// or lacks a column of the object table. REQUIRES: nothing was put yet.
  void read(const std::string& path);

  /// Adds the object, over one of its name. A column that the object has no value for keeps its value, which is NULL in
  /// a new row.
  void put(const StudyObject& object);

  ObjMeta meta;
  std::size_t added = 0;   ///< by put()
  std::size_t changed = 0; ///< by put()

private:
  static constexpr std::size_t kValues = 8;  ///< of a StudyObject
  std::array<std::size_t, kValues> places{}; ///< of an object's values in a row
};

} // namespace tarn::study
