#pragma once

#include "base/IMException.h"
#include "study/objectmeta/ObjMetaUpdate.h"

#include <string>

namespace tarn::tools
{

/// Why a file is skipped: it holds no object.
class NoObject : public imutils::IMException
{
public:
  using IMException::IMException;
};

/// Reads the DICOM object in the file at `path`. The object is named as its file where that name is a prefix of letters
/// and digits, a point and the SOP Instance UID; otherwise the prefix is PR for a presentation state and the modality
/// for any other object. Throws NoObject, also for a DICOMDIR, and
/// IMException for an object that cannot be used.
study::StudyObject readStudyObject(const std::string& path);

} // namespace tarn::tools
