#include "RepositoryHandler.h"

#include <cstdlib>
#include <cstring>
#include <fstream>

namespace
{

template <class... Arguments>
void record(const char* entryPoint, Arguments... arguments)
{
  std::ofstream file(std::getenv("RECORDED_CALLS"), std::ios::app);
  file << entryPoint;
  ((file << ' ' << arguments), ...) << '\n';
}

} // namespace

char* createDirectory_(const char* repository, const char* subDir, int*, int*, bool exclusive, bool shouldLock,
                       bool balance, tarn::db::DBConnector*)
{
  record("createDirectory_", repository, subDir, exclusive, shouldLock, balance);
  return strdup("made");
}

char* getLocation_(const char* repository, const char* name, int*, bool includeAged, bool includeLocked,
                   bool includeDirty, bool create, tarn::db::DBConnector*)
{
  record("getLocation_", repository, name, includeAged, includeLocked, includeDirty, create);
  return strdup("found");
}

int removeResource_(const char* repository, const char* resource, bool allMounts, bool honourLock,
                    tarn::db::DBConnector*)
{
  record("removeResource_", repository, resource, allMounts, honourLock);
  return 17;
}

void checkOverload_(const char* repository, bool mark, bool countInodes, tarn::db::DBConnector*)
{
  record("checkOverload_", repository, mark, countInodes);
}

int freeMount_(const char* repository, const char* mount, bool percent, tarn::db::DBConnector*)
{
  record("freeMount_", repository, mount, percent);
  return 18;
}
