#pragma once

#include "repository/handler/Mounts.h"
#include "repository/handler/RepositoryHandler.h"
#include "repository/handler/ResourceLock.h"

#include <string>
#include <vector>

namespace tarn::repository
{

/// Where a resource is or is to be.
struct Location
{
  std::string mount;
  std::string resource;

  std::string path() const { return mount + "/" + resource; }
  /// The library's own file or directory beside it.
  std::string beside(const char* suffix) const { return mount + "/." + resource + suffix; }
  bool isDirty() const;
  /// Makes or removes the flag.
  void setDirty(bool dirty) const;
};

/// One repository during one call. Operations throw Refusal.
class Repository
{
public:
  explicit Repository(const std::string& name) : mounts(name) {}

  /// Every location of the resource, the ordinary mounts first. None only when all mounts were searched in vain.
  std::vector<Location> find(const std::string& resource, bool includeAged = true) const;
  /// The first of them; kMissing is refused.
  Location locate(const std::string& resource) const;
  /// Refuses a location whose resource is locked by another process, or dirty, where that is left out.
  void require(const Location& location, bool includeLocked, bool includeDirty) const;

  /// Where the resource is, with `existed`, or where a new one goes.
  Location place(const std::string& resource, bool exclusive, bool balance, bool& existed) const;
  Location create(const std::string& resource, bool exclusive, bool shouldLock, bool balance, bool& existed) const;
  void remove(const std::string& resource, bool allMounts, bool honourLock) const;
  Location unAge(const std::string& resource) const;

  bool lock(const std::string& resource) const;
  bool unlock(const std::string& resource) const;
  bool isLockedByOther(const std::string& resource) const;
  static void requireReachable(const std::string& mount);
  void markOverloaded(bool mark, bool countInodes) const;

  const Mounts mounts;

private:
  class LockDuring;
  const std::string& firstMount() const { return mounts.online.front(); }
  std::string mountForNew(bool balance) const;
  void removeAt(const Location& location, bool honourLock) const;
  void move(const Location& from, const Location& to) const;
};

} // namespace tarn::repository
