#pragma once

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

} // namespace tarn::study
