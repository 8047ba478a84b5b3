#pragma once

#include <optional>
#include <stdexcept>
#include <string>

namespace tarn::tools
{

/// What the archive keeps of one DICOM object: a row of the object table. All texts are made of letters, digits and
/// points.
struct StudyObject
{
  std::string studyUid;
  std::string name; ///< prefix, a point, SOP Instance UID
  std::string sopClassUid;
  std::string sopInstanceUid;
  std::string seriesUid;
  // Of images, in pixels (PS3.3 C.7.6.3, C.7.6.6); nothing where the object does not say.
  std::optional<int> columns;
  std::optional<int> rows;
  std::optional<int> frames;
};

/// Why a file is no object: it is to be skipped.
class NoObject : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

/// Why an object cannot be used.
class UnusableObject : public std::runtime_error
{
public:
  using std::runtime_error::runtime_error;
};

/// Reads the DICOM object in the file `path`. Its name is the file's where that is a prefix of letters and digits, a
/// point and the SOP Instance UID; otherwise the prefix is PR for a presentation state, or else the object's modality.
/// Throws NoObject, also for a DICOMDIR, and UnusableObject.
StudyObject readStudyObject(const std::string& path);

/// Whether `text` can stand as a UID in a name: digits and points, a digit first, at most 64 (PS3.5 9.1).
bool isUid(const std::string& text);

} // namespace tarn::tools
