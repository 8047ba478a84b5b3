#pragma once

#include <string>

#include "base/Fd.h"

namespace tarn::repository
{

/// No two of these exist at a time for one mount, on whichever processes; held for short, bounded work only.
class MountLock
{
public:
  /// Waits; throws Refusal when the mount cannot be opened.
  explicit MountLock(const std::string& mount);

private:
  base::Fd fd; ///< of the mount's directory; closing it ends the lock
};

/// The lock of a resource: a file beside it that names the host and the process that hold it, so that it outlives the
/// call that took it. Whoever looks at it or changes it holds the MountLock of `mount`.
class ResourceLock
{
public:
  /// `mount` is the repository's first one, wherever the resource is.
  ResourceLock(const std::string& mount, const std::string& resource) : file(mount + "/." + resource + ".lock") {}

  enum class Owner
  {
    none,
    thisProcess,
    other
  };
  /// A process of this host that has ended owns nothing. Throws Refusal when the file cannot be read.
  Owner owner() const;
  /// True when it was free and is this process's now.
  bool take() const;
  /// True when it was this process's and is free now.
  bool release() const;

private:
  std::string file;
};

} // namespace tarn::repository
