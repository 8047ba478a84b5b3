#pragma once

#include "archive/journal/Record.h"
#include "archive/run/StoreError.h"
#include "base/Fd.h"

#include <string>
#include <unordered_map>

namespace tarn::archive
{

/// The output folder of a run: OUT/STUDYUID/PR.UID, and below OUT/journal a working folder for each worker, in which
/// outputs are written before they get their names. Folders that it makes have at most the mode 0750. A folder that
/// belongs to somebody else, and a symbolic link, is never written into.
class OutputStore
{
public:
  /// Makes `folder` and its folder of journals where they are missing. Throws StoreError.
  explicit OutputStore(std::string folder);

  const std::string& folder() const { return root; }
  std::string journalFolder() const { return root + "/journal"; }

  /// The working folder of one worker, empty. `name` is "I-of-N". Throws StoreError.
  std::string makeWorkFolder(const std::string& name, unsigned worker);
  void removeWorkFolders(const std::string& name);

  /// Gives the file `work` the name `file` (STUDYUID/PR.UID), over whatever has that name but `input` itself. Returns
  /// why the name cannot be had, empty on success. Throws StoreError.
  std::string place(const std::string& work, const std::string& file, const std::string& input);
  /// Whether a regular file of this account has the output's name and size; with `digest`, its bytes too.
  bool holds(const Output& output, bool digest);
  /// Removes an output; one that is not there is removed already.
  void remove(const std::string& file);

  /// Returns when all outputs that were placed are on the disk. Throws StoreError.
  void sync();

private:
  int studyFolder(const std::string& study, bool make, std::string& problem);

  std::string root;
  base::Fd rootFd;
  std::unordered_map<std::string, base::Fd> studies; ///< those used last
};

} // namespace tarn::archive
