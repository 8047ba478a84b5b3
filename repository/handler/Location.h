#pragma once

#include <string>

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

} // namespace tarn::repository
