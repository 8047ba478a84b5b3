// The entry points of RepositoryHandler.so: each looks its repository up anew, does one operation and answers with
// statuses and blocks from malloc(). All 20 are part of the contract with the programs that load the library. This
// system calls six of them (createDirectory_, createLocation_, getLocations_, getLocation_, getRepositoryStatus_ and
// removeResource_); the other 14 stay because those programs look every one of them up by its name.
#include "repository/handler/RepositoryHandler.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "repository/handler/Refusal.h"
#include "repository/handler/Mounts.h"
#include "repository/handler/Repository.h"

using namespace tarn::repository;
using tarn::db::DBConnector;

namespace
{

namespace fs = std::filesystem;

std::string text(const char* argument)
{
  return argument ? argument : "";
}

/// Returns `done` when `work` returns, else the status of the exception that left it.
template <class Work>
int statusOf(HandlerStatus done, Work work) noexcept
{
  try
  {
    work();
    return done;
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

/// Returns what `work` returns, or `failure` when an exception leaves it.
template <class Result, class Work>
Result valueOr(Result failure, Work work) noexcept
{
  statusOf(kDone, [&] { failure = work(); });
  return failure;
}

/// Returns the path that `work` gives, for the caller to free(), or null.
template <class Work>
char* pathOf(int* status, Work work) noexcept
{
  char* path = nullptr;
  const auto copy = [&]
  {
    path = strdup(work().c_str());
    if (!path)
      throw std::bad_alloc();
  };
  const int answer = statusOf(kLocated, copy);
  if (status)
    *status = answer;
  return path;
}

/// Returns the path of the place that `work` gives, as pathOf() does.
template <class Work>
char* placeOf(int* status, int* existed, Work work) noexcept
{
  const auto path = [&]
  {
    const Place place = work();
    if (existed)
      *existed = place.existed ? 1 : 0;
    return place.location.path();
  };
  return pathOf(status, path);
}

/// Returns the names of all entries of `directory` that are of the kind (a link is of neither), in byte order.
std::set<std::string> namesIn(const std::string& directory, fs::file_type wanted, bool fullPath)
{
  std::set<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory))
    if (entry.symlink_status().type() == wanted)
      names.insert(fullPath ? entry.path().string() : entry.path().filename().string());
  return names;
}

/// Returns the names as one block from malloc(): an array that ends with a null pointer, then the texts.
char** blockOf(const std::set<std::string>& names)
{
  const std::size_t pointers = (names.size() + 1) * sizeof(char*);
  std::size_t size = pointers;
  for (const std::string& name : names)
    size += name.size() + 1;

  void* block = std::malloc(size); // NOLINT(cppcoreguidelines-no-malloc): the caller's to free()
  if (!block)
    throw std::bad_alloc();
  char** list = static_cast<char**>(block);
  char* text = static_cast<char*>(block) + pointers;
  char** next = list;
  for (const std::string& name : names)
  {
    *next++ = text;
    text = stpcpy(text, name.c_str()) + 1;
  }
  *next = nullptr;
  return list;
}

char** list(const char* directory, fs::file_type wanted, bool fullPath, long* count) noexcept
{
  long number = -1;
  const auto block = [&]
  {
    const std::set<std::string> names = namesIn(text(directory), wanted, fullPath);
    char** const made = blockOf(names);
    number = static_cast<long>(names.size());
    return made;
  };
  char** const result = valueOr<char**>(nullptr, block);
  if (count)
    *count = number;
  return result;
}

} // namespace

char* createDirectory_(const char* repository, const char* subDir, int* status, int* existed, bool exclusive,
                       bool shouldLock, bool balance, DBConnector*)
{
  const auto create = [&]
  {
    const Repository changed(text(repository));
    return changed.create(text(subDir), exclusive, shouldLock, balance);
  };
  return placeOf(status, existed, create);
}

char* createLocation_(const char* repository, const char* name, int* status, int* existed, bool exclusive, DBConnector*)
{
  const auto place = [&] { return Repository(text(repository)).place(text(name), exclusive, true); };
  return placeOf(status, existed, place);
}

int getLocations_(const char* repository, const char* name, std::list<std::string>& locations, bool skipLocked,
                  bool skipDirty, DBConnector*)
{
  const auto append = [&]
  {
    const Repository searched(text(repository));
    const std::vector<Location> found = searched.find(text(name));
    if (found.empty())
      throw Refusal{kMissing};
    for (const Location& location : searched.included(found, !skipLocked, !skipDirty))
      locations.push_back(location.path());
  };
  return statusOf(kLocated, append);
}

char* getLocation_(const char* repository, const char* name, int* status, bool includeAged, bool includeLocked,
                   bool includeDirty, bool create, DBConnector*)
{
  const auto first = [&]
  {
    const Repository searched(text(repository));
    const std::vector<Location> found = searched.find(text(name), includeAged);
    if (!found.empty())
      return searched.included(found, includeLocked, includeDirty).front().path();
    if (!create)
      throw Refusal{kMissing};
    return searched.create(text(name), false, true, true).location.path();
  };
  return pathOf(status, first);
}

int getRepositoryStatus_(const char* repository, DBConnector*)
{
  return statusOf(kLocated, [&] { Repository(text(repository)).requireReachable(); });
}

int checkResourceStatus_(const char* repository, const char* resource, DBConnector*)
{
  return statusOf(kLocated, [&] { Repository(text(repository)).locate(text(resource)); });
}

int removeResource_(const char* repository, const char* resource, bool allMounts, bool honourLock, DBConnector*)
{
  return statusOf(kDone, [&] { Repository(text(repository)).remove(text(resource), allMounts, honourLock); });
}

char** listFiles_(const char* directory, long* count, bool fullPath, DBConnector*)
{
  return list(directory, fs::file_type::regular, fullPath, count);
}

char** listDirs_(const char* directory, long* count, bool fullPath, DBConnector*)
{
  return list(directory, fs::file_type::directory, fullPath, count);
}

void checkOverload_(const char* repository, bool mark, bool countInodes, DBConnector*)
{
  statusOf(kDone, [&] { Mounts(text(repository)).markOverloaded(mark, countInodes); });
}

int freeMount_(const char* repository, const char* mount, bool percent, DBConnector*)
{
  const auto measure = [&]
  {
    const std::string holder = Mounts(text(repository)).holding(text(mount));
    if (holder != Mounts(text(mount)).online.front())
      return -1;
    const Space space(holder);
    const unsigned long long amount = percent ? space.bytePercent : space.freeBytes >> 20U;
    return static_cast<int>(std::min<unsigned long long>(amount, INT_MAX));
  };
  return valueOr(-1, measure);
}

char* getMountPathForDirectory_(const char* repository, const char* directory, DBConnector*)
{
  return pathOf(nullptr, [&] { return Repository(text(repository)).locate(text(directory)).mount; });
}

char* getMountFromPath_(const char* repository, const char* path, DBConnector*)
{
  const auto mountOf = [&]
  {
    std::string mount = Mounts(text(repository)).holding(text(path));
    if (mount.empty())
      throw Refusal{kMissing};
    return mount;
  };
  return pathOf(nullptr, mountOf);
}

char* unAge_(const char* repository, const char* resource, DBConnector*)
{
  return pathOf(nullptr, [&] { return Repository(text(repository)).unAge(text(resource)).path(); });
}

bool getTimeProperties_(const char* repository, const char* resource, struct utimbuf* times, DBConnector*)
{
  const auto read = [&] { *times = Repository(text(repository)).locate(text(resource)).times(); };
  return times && statusOf(kDone, read) == kDone;
}

bool setTimeProperties_(const char* repository, const char* resource, struct utimbuf* times, DBConnector*)
{
  const auto write = [&] { Repository(text(repository)).locate(text(resource)).setTimes(*times); };
  return times && statusOf(kDone, write) == kDone;
}

bool lockResource_(const char* repository, const char* resource, DBConnector*)
{
  return valueOr(false, [&] { return Repository(text(repository)).lock(text(resource)); });
}

bool unlockResource_(const char* repository, const char* resource, DBConnector*)
{
  return valueOr(false, [&] { return Repository(text(repository)).unlock(text(resource)); });
}

bool isDirty_(const char* repository, const char* resource, DBConnector*)
{
  return valueOr(false, [&] { return Repository(text(repository)).locate(text(resource)).isDirty(); });
}

void setDirty_(const char* repository, const char* resource, bool dirty, DBConnector*)
{
  statusOf(kDone, [&] { Repository(text(repository)).locate(text(resource)).setDirty(dirty); });
}
