#pragma once

#include <atomic>
#include <list>
#include <string>
#include <type_traits>

#include "repository/handler/RepositoryHandler.h"

namespace tarn::repository
{

/// One entry point of the repository handler library: its name and, once the class form has resolved it, its address.
template <class Function>
struct EntryPoint
{
  const char* symbol;
  std::atomic<Function*> resolved{nullptr};
};

/// All entry points, in the order in which they are resolved.
struct EntryPoints
{
  EntryPoint<decltype(createDirectory_)> createDirectory{"createDirectory_"};
  EntryPoint<decltype(createLocation_)> createLocation{"createLocation_"};
  EntryPoint<decltype(getLocations_)> getLocations{"getLocations_"};
  EntryPoint<decltype(getLocation_)> getLocation{"getLocation_"};
  EntryPoint<decltype(getRepositoryStatus_)> getRepositoryStatus{"getRepositoryStatus_"};
  EntryPoint<decltype(checkResourceStatus_)> checkResourceStatus{"checkResourceStatus_"};
  EntryPoint<decltype(removeResource_)> removeResource{"removeResource_"};
  EntryPoint<decltype(listFiles_)> listFiles{"listFiles_"};
  EntryPoint<decltype(listDirs_)> listDirs{"listDirs_"};
  EntryPoint<decltype(checkOverload_)> checkOverload{"checkOverload_"};
  EntryPoint<decltype(freeMount_)> freeMount{"freeMount_"};
  EntryPoint<decltype(getMountPathForDirectory_)> getMountPathForDirectory{"getMountPathForDirectory_"};
  EntryPoint<decltype(getMountFromPath_)> getMountFromPath{"getMountFromPath_"};
  EntryPoint<decltype(unAge_)> unAge{"unAge_"};
  EntryPoint<decltype(getTimeProperties_)> getTimeProperties{"getTimeProperties_"};
  EntryPoint<decltype(setTimeProperties_)> setTimeProperties{"setTimeProperties_"};
  EntryPoint<decltype(lockResource_)> lockResource{"lockResource_"};
  EntryPoint<decltype(unlockResource_)> unlockResource{"unlockResource_"};
  EntryPoint<decltype(isDirty_)> isDirty{"isDirty_"};
  EntryPoint<decltype(setDirty_)> setDirty{"setDirty_"};

  /// Calls `visit` with each, in order.
  template <class Visitor>
  void forEach(Visitor visit)
  {
    const auto visitAll = [&](auto&... entries) { (visit(entries), ...); };
    visitAll(createDirectory, createLocation, getLocations, getLocation, getRepositoryStatus, checkResourceStatus,
             removeResource, listFiles, listDirs, checkOverload, freeMount, getMountPathForDirectory, getMountFromPath,
             unAge, getTimeProperties, setTimeProperties, lockResource, unlockResource, isDirty, setDirty);
  }
};

extern EntryPoints entryPoints;

/// What an operation returns when its entry point could not be called: -1, null, false or nothing.
template <class Result>
Result failureValue()
{
  if constexpr (std::is_same_v<Result, int>)
    return -1;
  else
    return Result();
}

/// What is logged of a call, given whether the call is made: nothing.
struct Silent
{
  void operator()(bool) const {}
};

/// What is logged of a call of createDirectory: its arguments.
struct CreateDirectoryTrace
{
  const char* repository;
  const char* subDir;
  bool shouldLock;
  void operator()(bool called) const;
};

/// The operations of the repository handler, as the rest of the system calls them, over one way of reaching the
/// library. RepositoryHandler.h tells what they do. The constants that they pass belong to the contract: the variants
/// that the constants switch off are never asked for. Operations throw nothing; where the library cannot be loaded or
/// lacks the entry point, they log one error line and return the failure value. The caller frees the texts and lists
/// that they return.
template <class Way>
struct RepositoryOperations
{
  using DB = db::DBConnector;
  using Text = const char*;

  static char* createDirectory(Text repository, Text subDir, int* status, int* existed, bool exclusive, bool shouldLock,
                               DB* db)
  {
    const CreateDirectoryTrace trace{repository, subDir, shouldLock};
    return Way::call(entryPoints.createDirectory, trace, repository, subDir, status, existed, exclusive, shouldLock,
                     true, db);
  }
  static char* createLocation(Text repository, Text name, int* status, int* existed, bool exclusive, DB* db)
  {
    return Way::call(entryPoints.createLocation, Silent(), repository, name, status, existed, exclusive, db);
  }
  static int getLocations(Text repository, Text name, std::list<std::string>& locations, bool skipLocked,
                          bool skipDirty, DB* db)
  {
    return Way::call(entryPoints.getLocations, Silent(), repository, name, locations, skipLocked, skipDirty, db);
  }
  static char* getLocation(Text repository, Text name, int* status, bool includeAged, bool includeLocked,
                           bool includeDirty, DB* db)
  {
    return Way::call(entryPoints.getLocation, Silent(), repository, name, status, includeAged, includeLocked,
                     includeDirty, false, db);
  }
  static int getRepositoryStatus(Text repository, DB* db)
  {
    return Way::call(entryPoints.getRepositoryStatus, Silent(), repository, db);
  }
  static int checkResourceStatus(Text repository, Text resource, DB* db)
  {
    return Way::call(entryPoints.checkResourceStatus, Silent(), repository, resource, db);
  }
  static int removeResource(Text repository, Text resource, DB* db)
  {
    return Way::call(entryPoints.removeResource, Silent(), repository, resource, true, true, db);
  }
  static char** listFiles(Text directory, long* count, bool fullPath, DB* db)
  {
    return Way::call(entryPoints.listFiles, Silent(), directory, count, fullPath, db);
  }
  static char** listDirs(Text directory, long* count, bool fullPath, DB* db)
  {
    return Way::call(entryPoints.listDirs, Silent(), directory, count, fullPath, db);
  }
  static void checkOverload(Text repository, bool countInodes, DB* db)
  {
    Way::call(entryPoints.checkOverload, Silent(), repository, true, countInodes, db);
  }
  static int freeMount(Text repository, Text mount, DB* db)
  {
    return Way::call(entryPoints.freeMount, Silent(), repository, mount, false, db);
  }
  static char* getMountPathForDirectory(Text repository, Text directory, DB* db)
  {
    return Way::call(entryPoints.getMountPathForDirectory, Silent(), repository, directory, db);
  }
  static char* getMountFromPath(Text repository, Text path, DB* db)
  {
    return Way::call(entryPoints.getMountFromPath, Silent(), repository, path, db);
  }
  static char* unAge(Text repository, Text resource, DB* db)
  {
    return Way::call(entryPoints.unAge, Silent(), repository, resource, db);
  }
  static bool getTimeProperties(Text repository, Text resource, utimbuf* times, DB* db)
  {
    return Way::call(entryPoints.getTimeProperties, Silent(), repository, resource, times, db);
  }
  static bool setTimeProperties(Text repository, Text resource, utimbuf* times, DB* db)
  {
    return Way::call(entryPoints.setTimeProperties, Silent(), repository, resource, times, db);
  }
  static bool lockResource(Text repository, Text resource, DB* db)
  {
    return Way::call(entryPoints.lockResource, Silent(), repository, resource, db);
  }
  static bool unlockResource(Text repository, Text resource, DB* db)
  {
    return Way::call(entryPoints.unlockResource, Silent(), repository, resource, db);
  }
  static bool isDirty(Text repository, Text resource, DB* db)
  {
    return Way::call(entryPoints.isDirty, Silent(), repository, resource, db);
  }
  static void setDirty(Text repository, Text resource, bool dirty, DB* db)
  {
    Way::call(entryPoints.setDirty, Silent(), repository, resource, dirty, db);
  }
};

} // namespace tarn::repository
