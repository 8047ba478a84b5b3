#include "repository/handler/RepositoryHandler.h"

#include "repository/handler/listNames.h"
#include "repository/handler/Refusal.h"
#include "repository/handler/Repository.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

using namespace tarn::repository;
using tarn::db::DBConnector;

namespace
{

std::string text(const char* argument)
{
  return argument ? argument : "";
}

/// The only ways out of the library: `work`'s result, or what its exception stands for.
template <class Work>
int statusOf(Work work) noexcept
{
  try
  {
    return work();
  }
  catch (const Refusal& refusal)
  {
    return refusal.status;
  }
  catch (...)
  {
    return kFailed;
  }
}

/// Of work that says whether something holds: no failure does.
template <class Work>
bool holds(Work work) noexcept
{
  bool result = false;
  return statusOf([&] { return (result = work()), kDone; }) == kDone && result;
}

/// The path that `work` gives, for the caller to free().
template <class Work>
char* pathOf(int* status, Work work) noexcept
{
  std::string path;
  int answer = statusOf([&] { return (path = work()), kLocated; });
  char* const result = answer == kLocated ? strdup(path.c_str()) : nullptr;
  if (answer == kLocated && !result)
    answer = kFailed;
  if (status)
    *status = answer;
  return result;
}

char** list(const char* directory, Kind kind, bool fullPath, long* count) noexcept
{
  char** names = nullptr;
  long number = -1;
  const int status = statusOf([&] { return (names = listNames(text(directory), kind, fullPath, number)), kDone; });
  if (count)
    *count = status == kDone ? number : -1; // cppcheck-suppress duplicateValueTernary ; listNames has set it
  return names;
}

/// The locations that the flags include. Where they leave all out, the refusal says why.
std::vector<Location> included(const Repository& repository, const std::vector<Location>& found, bool includeLocked,
                               bool includeDirty)
{
  std::vector<Location> result;
  for (const Location& location : found)
    try
    {
      repository.require(location, includeLocked, includeDirty);
      result.push_back(location);
    }
    catch (const Refusal&)
    {
      if (result.empty() && &location == &found.back())
        throw;
    }
  return result;
}

} // namespace

char* createDirectory_(const char* repository, const char* subDir, int* status, int* existed, bool exclusive,
                       bool shouldLock, bool balance, DBConnector*)
{
  return pathOf(status,
                [&]
                {
                  bool wasThere = false;
                  const Location location =
                      Repository(text(repository)).create(text(subDir), exclusive, shouldLock, balance, wasThere);
                  if (existed)
                    *existed = wasThere ? 1 : 0;
                  return location.path();
                });
}

char* createLocation_(const char* repository, const char* name, int* status, int* existed, bool exclusive, DBConnector*)
{
  return pathOf(status,
                [&]
                {
                  bool isThere = false;
                  const Location location = Repository(text(repository)).place(text(name), exclusive, true, isThere);
                  if (existed)
                    *existed = isThere ? 1 : 0;
                  return location.path();
                });
}

int getLocations_(const char* repository, const char* name, std::list<std::string>& locations, bool skipLocked,
                  bool skipDirty, DBConnector*)
{
  return statusOf(
      [&]
      {
        const Repository there(text(repository));
        const std::vector<Location> found = included(there, there.find(text(name)), !skipLocked, !skipDirty);
        for (const Location& location : found)
          locations.push_back(location.path());
        return found.empty() ? kMissing : kLocated;
      });
}

char* getLocation_(const char* repository, const char* name, int* status, bool includeAged, bool includeLocked,
                   bool includeDirty, bool create, DBConnector*)
{
  return pathOf(status,
                [&]
                {
                  const Repository there(text(repository));
                  const std::vector<Location> found = there.find(text(name), includeAged);
                  if (!found.empty())
                    return included(there, found, includeLocked, includeDirty).front().path();
                  if (!create)
                    throw Refusal{kMissing};
                  bool existed = false;
                  return there.create(text(name), false, true, true, existed).path();
                });
}

int getRepositoryStatus_(const char* repository, DBConnector*)
{
  return statusOf(
      [&]
      {
        const Repository there(text(repository));
        for (const std::string& mount : there.mounts.all())
          there.requireReachable(mount);
        return kLocated;
      });
}

int checkResourceStatus_(const char* repository, const char* resource, DBConnector*)
{
  return statusOf([&] { return Repository(text(repository)).locate(text(resource)), kLocated; });
}

int removeResource_(const char* repository, const char* resource, bool allMounts, bool honourLock, DBConnector*)
{
  return statusOf([&] { return Repository(text(repository)).remove(text(resource), allMounts, honourLock), kDone; });
}

char** listFiles_(const char* directory, long* count, bool fullPath, DBConnector*)
{
  return list(directory, Kind::kFiles, fullPath, count);
}

char** listDirs_(const char* directory, long* count, bool fullPath, DBConnector*)
{
  return list(directory, Kind::kDirectories, fullPath, count);
}

void checkOverload_(const char* repository, bool mark, bool countInodes, DBConnector*)
{
  statusOf([&] { return Repository(text(repository)).markOverloaded(mark, countInodes), kDone; });
}

int freeMount_(const char* repository, const char* mount, bool percent, DBConnector*)
{
  int result = -1;
  statusOf(
      [&]
      {
        const std::string holder = Mounts(text(repository)).holding(text(mount));
        if (holder != Mounts(text(mount)).online.front())
          return kFailed;
        const Space space(holder);
        const unsigned long long amount = percent ? space.bytePercent : space.freeBytes >> 20U;
        result = static_cast<int>(std::min<unsigned long long>(amount, INT_MAX));
        return kDone;
      });
  return result;
}

char* getMountPathForDirectory_(const char* repository, const char* directory, DBConnector*)
{
  return pathOf(nullptr, [&] { return Repository(text(repository)).locate(text(directory)).mount; });
}

char* getMountFromPath_(const char* repository, const char* path, DBConnector*)
{
  return pathOf(nullptr,
                [&]
                {
                  std::string mount = Mounts(text(repository)).holding(text(path));
                  if (mount.empty())
                    throw Refusal{kMissing};
                  return mount;
                });
}

char* unAge_(const char* repository, const char* resource, DBConnector*)
{
  return pathOf(nullptr, [&] { return Repository(text(repository)).unAge(text(resource)).path(); });
}

bool getTimeProperties_(const char* repository, const char* resource, struct utimbuf* times, DBConnector*)
{
  return holds(
      [&]
      {
        struct stat status = {};
        if (!times || stat(Repository(text(repository)).locate(text(resource)).path().c_str(), &status) != 0)
          return false;
        *times = {status.st_atime, status.st_mtime};
        return true;
      });
}

bool setTimeProperties_(const char* repository, const char* resource, struct utimbuf* times, DBConnector*)
{
  return holds(
      [&]
      {
        if (!times)
          return false;
        const timespec both[] = {{times->actime, 0}, {times->modtime, 0}};
        const std::string path = Repository(text(repository)).locate(text(resource)).path();
        return utimensat(AT_FDCWD, path.c_str(), both, 0) == 0;
      });
}

bool lockResource_(const char* repository, const char* resource, DBConnector*)
{
  return holds([&] { return Repository(text(repository)).lock(text(resource)); });
}

bool unlockResource_(const char* repository, const char* resource, DBConnector*)
{
  return holds([&] { return Repository(text(repository)).unlock(text(resource)); });
}

bool isDirty_(const char* repository, const char* resource, DBConnector*)
{
  return holds([&] { return Repository(text(repository)).locate(text(resource)).isDirty(); });
}

void setDirty_(const char* repository, const char* resource, bool dirty, DBConnector*)
{
  statusOf([&] { return Repository(text(repository)).locate(text(resource)).setDirty(dirty), kDone; });
}
