#pragma once

#include "archive/inputs/FolderWalk.h"

#include <functional>
#include <string>
#include <vector>

namespace tarn::archive
{

/// Walks the folders among `paths`, each file once however they overlap, but not `leaveOut` (empty for none). `named`
/// gets those that are no folders, whether they exist or not. Paths are absolute.
void walkPaths(const std::vector<std::string>& paths, const std::string& leaveOut, const WalkSink& found,
               const std::function<void(const std::string& path)>& named);

/// `path` from the root, without "." and doubled slashes; ".." is resolved as the system does. What the system does not
/// resolve stays as it is written.
std::string absolutePath(const std::string& path);

} // namespace tarn::archive
