#pragma once

#include "study/objectmeta/ObjMetaUpdate.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace tarn::tools
{

/// The objects that were read, by study, and how many files were not.
struct Reading
{
  std::map<std::string, std::vector<study::StudyObject>> studies;
  std::size_t objects = 0;
  std::size_t skipped = 0;
  std::size_t failed = 0;
};

/// Reads the DICOM objects in the files among `paths` and in the folders among them, at any depth, in byte order and
/// each once. Links to files are read; a link to a folder is followed among `paths` only. Reports what is skipped or
/// failed, one line each, and shows a progress bar where consoleError() is a terminal.
Reading readFiles(const std::vector<std::string>& paths);

} // namespace tarn::tools
