#pragma once

#include "study/objectmeta/ObjMetaUpdate.h"

#include <stdexcept>
#include <string>

namespace tarn::tools
{

/// Why a file is skipped: it holds no object.
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

/// Reads the DICOM object in the file at `path`. The object is named as its file where that name is a prefix of letters
/// and digits, a point and the SOP Instance UID; otherwise the prefix is PR for a presentation state and the modality
/// for any other object. Throws NoObject, also for a DICOMDIR, and UnusableObject.
study::StudyObject readStudyObject(const std::string& path);

} // namespace tarn::tools
