#pragma once

#include "tools/StudyAdmin.h"

#include <string>
#include <vector>

namespace tarn::tools
{

// The commands of tarnctl, on the database and the repositories that the environment names. Each returns true when it
// did all that it was asked to, and false after a line for each thing that it could not do. They throw standard
// exceptions, whose texts are one line.

[[nodiscard]] bool initDatabase();
/// Registers the studies of the DICOM objects in the files among `paths` and in the folders among them, at any depth.
[[nodiscard]] bool addStudies(const std::vector<std::string>& paths, const AddOptions& options);
/// Shows a table of all studies, or of one when `studyUid` is not empty.
[[nodiscard]] bool showStatus(const std::string& studyUid);
[[nodiscard]] bool clearError(const std::string& studyUid);
[[nodiscard]] bool removeStudy(const std::string& studyUid);

} // namespace tarn::tools
