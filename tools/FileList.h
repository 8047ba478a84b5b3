#pragma once

#include <string>
#include <vector>

namespace tarn::tools
{

/// Files to be read, and why others cannot be.
struct FileList
{
  std::vector<std::string> files;    ///< regular files, links to such included; sorted by path
  std::vector<std::string> problems; ///< one line each
  std::vector<std::string> others;   ///< paths of what is neither file nor folder, and of links to folders

  /// Adds `path`, and when it is a folder all that is below it. Links to folders are followed for `path` only.
  void add(const std::string& path);
  /// Sorts, and drops paths that are there twice. To be called when all is added.
  void sort();
};

} // namespace tarn::tools
