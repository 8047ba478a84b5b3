#pragma once

#include <optional>
#include <string>

#include <sys/types.h>
#include <utime.h>

namespace tarn::repository
{

/// A mount and the resource that is in it, or is to be. Operations throw Refusal.
struct Location
{
  std::string mount;
  std::string resource;

  std::string path() const { return mount + "/" + resource; }
  /// The library's own file or directory beside it.
  std::string beside(const char* suffix) const { return mount + "/." + resource + suffix; }
  /// Returns whether the resource's directory is there. Anything else under its name is refused.
  bool exists() const;
  bool isDirty() const;
  /// Makes or removes the flag.
  void setDirty(bool dirty) const;
  /// The times of last access and change of the directory, in seconds.
  utimbuf times() const;
  void setTimes(const utimbuf& times) const;
};

// File operations as the library does them everywhere: they throw a Refusal when they fail.

/// Refuses with kFailed when `result`, that of a system call, is not 0.
void requireDone(int result);

/// Refuses with kMountUnreachable unless `mount` is a directory.
void requireMount(const std::string& mount);

/// Returns the mode, as of stat(2), of what stands under `path`; nothing where nothing does. Links are not followed:
/// one under a resource's name would lead out of the repository.
std::optional<mode_t> modeOf(const std::string& path);

/// Makes an empty file unless something has its name.
void touchFile(const std::string& path);

} // namespace tarn::repository
