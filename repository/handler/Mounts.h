#pragma once

#include <string>
#include <vector>

namespace tarn::repository
{

/// What the configuration says of one repository. Paths are absolute, normal, and end without a slash.
struct Mounts
{
  std::vector<std::string> online; ///< at least one, in order of look-up
  std::vector<std::string> aged;
  unsigned long reserve = 5; ///< per cent of a mount that are to stay free

  /// Throws Refusal for a repository that has no mounts, or one that is no absolute path.
  explicit Mounts(const std::string& repository);

  std::vector<std::string> all() const;
  /// The mount that `path` lies in, taken as text; empty when there is none.
  std::string holding(const std::string& path) const;
};

/// Free space of a mount as its file system counts it for unprivileged users; throws Refusal when it cannot tell.
struct Space
{
  explicit Space(const std::string& mount);

  unsigned long long freeBytes = 0;
  unsigned long bytePercent = 0;
  unsigned long inodePercent = 0; ///< 100 where the file system does not count them
};

} // namespace tarn::repository
