// One repository during one call: its resources found, made, locked, moved between mounts and removed.
#include "repository/handler/Repository.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <memory>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Fd.h"
#include "base/files.h"
#include "repository/handler/Refusal.h"

namespace tarn::repository
{
namespace
{

namespace fs = std::filesystem;

constexpr std::size_t kLongestName = 200; // with the longest suffix it stays a file name
constexpr char kRemoved[] = ".removed";
constexpr char kMoving[] = ".moving";

void requireName(const std::string& resource)
{
  const bool sound = !resource.empty() && resource.size() <= kLongestName && resource.front() != '.' &&
                     resource.find('/') == std::string::npos;
  if (!sound)
    throw Refusal{kNameRefused};
}

void copyTimes(const std::string& from, const std::string& to)
{
  struct stat status = {};
  requireDone(stat(from.c_str(), &status));
  const struct timespec times[] = {status.st_atim, status.st_mtim};
  requireDone(utimensat(AT_FDCWD, to.c_str(), times, 0));
}

/// Its files have no more rights than base::copyFile() leaves: others may have put them there.
void copyFolder(const fs::path& from, const fs::path& to)
{
  fs::create_directory(to, from);
  for (const fs::directory_entry& entry : fs::directory_iterator(from))
    if (const fs::path copy = to / entry.path().filename(); entry.is_symlink())
      fs::copy_symlink(entry, copy);
    else if (entry.is_directory())
      copyFolder(entry, copy);
    else
      base::copyFile(entry.path(), copy, base::Durable::byCaller);
}

} // namespace

void Repository::requireReachable() const
{
  for (const std::string& mount : mounts.all())
    requireMount(mount);
}

std::vector<Location> Repository::find(const std::string& resource, bool includeAged) const
{
  requireName(resource);
  std::vector<Location> found;
  std::optional<Refusal> problem; // of one mount: matters when no other one has it
  for (const std::string& mount : includeAged ? mounts.all() : mounts.online)
    try
    {
      if (Location location{mount, resource}; location.exists())
        found.push_back(std::move(location));
    }
    catch (const Refusal& refusal)
    {
      problem = refusal;
    }
  if (found.empty() && problem)
    throw *problem; // NOLINT(misc-throw-by-value-catch-by-reference): a copy is what is wanted
  return found;
}

Location Repository::locate(const std::string& resource) const
{
  const std::vector<Location> found = find(resource);
  if (found.empty())
    throw Refusal{kMissing};
  return found.front();
}

void Repository::require(const Location& location, bool includeLocked, bool includeDirty) const
{
  if (!includeLocked && isLockedByOther(location.resource))
    throw Refusal{kLocked};
  if (!includeDirty && location.isDirty())
    throw Refusal{kDirty};
}

std::vector<Location> Repository::included(const std::vector<Location>& found, bool includeLocked,
                                           bool includeDirty) const
{
  std::vector<Location> result;
  for (const Location& location : found)
    try
    {
      require(location, includeLocked, includeDirty);
      result.push_back(location);
    }
    catch (const Refusal&)
    {
      if (result.empty() && &location == &found.back())
        throw;
    }
  return result;
}

Place Repository::place(const std::string& resource, bool exclusive, bool balance) const
{
  const std::vector<Location> found = find(resource);
  if (found.empty())
    return {{mounts.forNew(balance), resource}, false};
  if (exclusive)
    throw Refusal{kExisting};
  return {found.front(), true};
}

Place Repository::create(const std::string& resource, bool exclusive, bool shouldLock, bool balance) const
{
  requireName(resource);
  std::optional<MountLock> guard;
  if (shouldLock)
    guard.emplace(firstMount());
  if (shouldLock && ResourceLock(firstMount(), resource).owner() == ResourceLock::Owner::other)
    throw Refusal{kLocked};
  Place made = place(resource, exclusive, balance);
  if (!made.existed && mkdir(made.location.path().c_str(), 0777) != 0)
  {
    made.existed = errno == EEXIST && made.location.exists(); // another process was faster
    if (!made.existed || exclusive)
      throw Refusal{made.existed ? kExisting : kFailed};
  }
  return made;
}

void Repository::remove(const std::string& resource, bool allMounts, bool honourLock) const
{
  requireName(resource);
  for (const std::string& mount : mounts.all())
    fs::remove_all(Location{mount, resource}.beside(kRemoved));
  std::vector<Location> found = find(resource);
  if (found.empty())
    throw Refusal{kMissing};
  if (!allMounts)
    found.resize(1);
  for (const Location& location : found)
    removeAt(location, honourLock);
}

void Repository::removeAt(const Location& location, bool honourLock) const
{
  const std::string aside = location.beside(kRemoved);
  {
    const MountLock guard(firstMount());
    if (honourLock && ResourceLock(firstMount(), location.resource).owner() == ResourceLock::Owner::other)
      throw Refusal{kLocked};
    requireDone(std::rename(location.path().c_str(), aside.c_str()));
    location.setDirty(false);
  }
  fs::remove_all(aside);
}

Location Repository::unAge(const std::string& resource) const
{
  const std::vector<Location> online = find(resource, false);
  if (!online.empty())
    return online.front();
  const Location aged = locate(resource);
  Location target{mounts.forNew(true), resource};
  const bool taken = lock(resource);
  if (!taken && isLockedByOther(resource))
    throw Refusal{kLocked};
  const auto giveBack = [this](const std::string* locked)
  {
    try
    {
      unlock(*locked);
    }
    catch (...)
    {
      // The mount went away; the lock goes with this process.
    }
  };
  const std::unique_ptr<const std::string, decltype(giveBack)> held(taken ? &resource : nullptr, giveBack);
  move(aged, target);
  return target;
}

/// A complete copy appears at once, and is on the disk before the original goes.
void Repository::move(const Location& from, const Location& to) const
{
  const std::string moving = to.beside(kMoving);
  fs::remove_all(moving);
  copyFolder(from.path(), moving);
  copyTimes(from.path(), moving);
  to.setDirty(from.isDirty());
  requireDone(std::rename(moving.c_str(), to.path().c_str()));
  requireDone(syncfs(base::Fd(open(to.mount.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)).get()));
  removeAt(from, true);
}

bool Repository::lock(const std::string& resource) const
{
  locate(resource);
  const MountLock guard(firstMount());
  return ResourceLock(firstMount(), resource).take();
}

bool Repository::unlock(const std::string& resource) const
{
  requireName(resource);
  const MountLock guard(firstMount());
  return ResourceLock(firstMount(), resource).release();
}

bool Repository::isLockedByOther(const std::string& resource) const
{
  const MountLock guard(firstMount());
  return ResourceLock(firstMount(), resource).owner() == ResourceLock::Owner::other;
}

} // namespace tarn::repository
