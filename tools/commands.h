#pragma once

#include "tools/StudyAdmin.h"

#include <string>
#include <vector>

namespace tarn::tools
{

// The commands of tarnctl, on the database and the repositories that the environment names. Each returns whether it
// did all that it was asked to, after a line for what it could not do, or throws a standard exception.

[[nodiscard]] bool initDatabase();
/// Registers the studies of the DICOM objects that are files below `paths`, or are among them.
[[nodiscard]] bool addStudies(const std::vector<std::string>& paths, const AddOptions& options);
/// Shows a table of all studies; of one when `study` is not empty.
[[nodiscard]] bool showStatus(const std::string& study);
[[nodiscard]] bool clearError(const std::string& study);
[[nodiscard]] bool removeStudy(const std::string& study);

} // namespace tarn::tools
