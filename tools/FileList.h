#pragma once

#include <string>
#include <vector>

namespace tarn::tools
{

/// The files that are to be read, and what is left out.
struct FileList
{
  std::vector<std::string> files;    ///< regular files, links to such included; sorted by path
  std::vector<std::string> problems; ///< why something cannot be looked at, one line each
  std::vector<std::string> others;   ///< what is neither file nor folder, and links to folders

  /// Adds `path` or, when it is a folder, everything below it. A link to a folder is followed for `path` only.
  void add(const std::string& path);
  /// Sorts, and drops repeated paths. REQUIRES: everything is added.
  void sort();
};

} // namespace tarn::tools
