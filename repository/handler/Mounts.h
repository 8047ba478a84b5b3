#pragma once

#include <string>
#include <vector>

namespace tarn::repository
{

/// The mounts of one repository, as configured. Paths are absolute, normal, and end without a slash.
struct Mounts
{
  std::vector<std::string> online; ///< at least one, in order of look-up
  std::vector<std::string> aged;
  unsigned long reserve = 5; ///< the percentage of a mount that has to stay free

  /// Throws Refusal when the repository has no mounts, or one that is no absolute path.
  explicit Mounts(const std::string& repository);

  std::vector<std::string> all() const;
  /// Returns the mount in which `path` lies, taken as text; empty when there is none.
  std::string holding(const std::string& path) const;

  /// Returns the mount for a new resource: of the online ones that are not marked as overloaded (of all, where all are)
  /// the first, or with `balance` that with the most free space. Throws Refusal when that cannot be told.
  std::string forNew(bool balance) const;
  /// Removes the mark of each online mount that has its reserve, and with `mark` sets that of the others. The reserve
  /// of inodes counts with `countInodes`. Throws Refusal.
  void markOverloaded(bool mark, bool countInodes) const;
};

/// The free space of a mount as its file system counts it for unprivileged users.
struct Space
{
  /// Throws Refusal when the file system does not tell.
  explicit Space(const std::string& mount);

  unsigned long long freeBytes = 0;
  unsigned long bytePercent = 0;
  unsigned long inodePercent = 0; ///< 100 where the file system does not count them
};

} // namespace tarn::repository
