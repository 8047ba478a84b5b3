#pragma once

#include <string>
#include <vector>

#include "repository/handler/Location.h"
#include "repository/handler/Mounts.h"
#include "repository/handler/ResourceLock.h"

namespace tarn::repository
{

/// The location of a resource that exists, or of one that is to be made or was made.
struct Place
{
  Location location;
  bool existed = false;
};

/// One repository during one call. Operations throw Refusal.
class Repository
{
public:
  explicit Repository(const std::string& name) : mounts(name) {}

  /// Returns every location of the resource, the ordinary mounts first. None only when all mounts were searched.
  std::vector<Location> find(const std::string& resource, bool includeAged = true) const;
  /// Returns the first of them. Refuses with kMissing when there is none.
  Location locate(const std::string& resource) const;
  /// Returns the locations that the flags include, at least one. Where they leave all out, throws the refusal of the
  /// last.
  std::vector<Location> included(const std::vector<Location>& found, bool includeLocked, bool includeDirty) const;

  /// Returns where the resource is or where a new one goes.
  Place place(const std::string& resource, bool exclusive, bool balance) const;
  Place create(const std::string& resource, bool exclusive, bool shouldLock, bool balance) const;
  void remove(const std::string& resource, bool allMounts, bool honourLock) const;
  Location unAge(const std::string& resource) const;

  bool lock(const std::string& resource) const;
  bool unlock(const std::string& resource) const;
  /// Refuses when one of the mounts, the aged ones too, cannot be searched.
  void requireReachable() const;

private:
  const std::string& firstMount() const { return mounts.online.front(); }
  bool isLockedByOther(const std::string& resource) const;
  /// Refuses a location whose resource is locked by another process, or dirty, where that is left out.
  void require(const Location& location, bool includeLocked, bool includeDirty) const;
  void removeAt(const Location& location, bool honourLock) const;
  void move(const Location& from, const Location& to) const;

  Mounts mounts;
};

} // namespace tarn::repository
