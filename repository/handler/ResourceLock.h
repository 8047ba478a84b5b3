#pragma once

#include <string>

#include "base/Fd.h"
#include "base/IMSemaphore.h"

namespace tarn::repository
{

/// Excludes all other holders for the same mount, in whichever process. Held for short, bounded work only.
class MountLock : private imutils::IMSemaphore
{
public:
  /// Waits for the lock, for 30 seconds at most: whoever may read the mount can hold it for as long as he likes. Throws
  /// Refusal, kLocked after that time, kMountUnreachable when the mount cannot be opened.
  explicit MountLock(const std::string& mount);

private:
  bool tryLock() override;

  base::Fd fd; ///< of the mount's directory; closing it ends the lock
};

/// The lock of a resource: a file beside it that names the host and the process that hold the lock, so that it outlives
/// the call that took it. Requires that the caller holds the MountLock of `mount`.
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
  /// Returns who holds the lock. A process of this host that has ended holds nothing. Throws base::FileError when
  /// the file cannot be read: it may be another's.
  Owner owner() const;
  /// Takes a free lock. Returns whether it was free and is this process's now.
  bool take() const;
  /// Gives this process's lock back. Returns whether it was this process's and is free now.
  bool release() const;

private:
  std::string file;
};

} // namespace tarn::repository
