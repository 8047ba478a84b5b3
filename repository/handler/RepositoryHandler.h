#pragma once

#include <list>
#include <string>

#include <utime.h>

namespace tarn::db
{
class DBConnector;
}

/// The entry points of RepositoryHandler.so. The library and its callers share this one declaration.
///
/// A repository is a named set of mounts: directories that hold resources. REPOSITORYHANDLER_HOME/etc/repositories.conf
/// names them, all of them absolute paths (the file's syntax is that of IMProperties):
///
///     meta = /archive/meta1:/archive/meta2     the mounts, in order of look-up
///     meta.aged = /slow/meta                   mounts that aged resources were moved to; nothing is created there
///     meta.reserve = 5                         the percentage of a mount that has to stay free (5 when not given)
///
/// A repository that is given as an absolute path is its own only mount. A resource is a directory directly in a mount.
/// Its name has 1 to 200 bytes and no slash. It does not start with a point: such names are the library's own. Anything
/// but a directory under a resource's name is an error, also a symbolic link, so that no name leads out of the
/// repository. Beside a resource NAME there may be `.NAME.lock`, `.NAME.dirty` and, while the resource is being removed
/// or moved, `.NAME.removed` and `.NAME.moving`.
///
/// The library keeps no state and throws nothing. Texts and lists that it returns are single blocks from malloc(); the
/// caller frees them. The database connection is not used.

namespace tarn::repository
{

/// The answers of the library: kLocated, kMissing, or one of the errors, which share no bit with these two. Callers
/// compare and mask them: the values stay.
enum HandlerStatus : int
{
  kDone = 0,              ///< of removeResource_: removed
  kFailed = 1,            ///< the system refused, or something that is no directory stands under the name
  kUnknownRepository = 2, ///< no mounts are known for the name
  kMissing = 4,           ///< all mounts were searched, and the resource is in none
  kNameRefused = 8,       ///< a resource cannot have this name
  kMountUnreachable = 16, ///< a mount that has to be searched, or the configuration, cannot be read
  kLocated = 32,
  kLocked = 64,    ///< another process holds the resource's lock
  kExisting = 128, ///< the resource exists, and the caller asked for a new one
  kDirty = 256     ///< the resource is dirty, and the caller left dirty ones out
};

} // namespace tarn::repository

#pragma GCC visibility push(default)
extern "C"
{
  /// Makes a directory for the resource unless there is one, and returns its path, null on failure. `status` gets a
  /// HandlerStatus and `existed` 0 or 1; both may be null, here and below. `exclusive`: an existing one is an error.
  /// `shouldLock`: no two such calls run at a time in the repository, and a resource that another process locked is an
  /// error. `balance`: among the mounts that are not overloaded, the one with most free space is taken, else the first.
  char* createDirectory_(const char* repository, const char* subDir, int* status, int* existed, bool exclusive,
                         bool shouldLock, bool balance, tarn::db::DBConnector* db);

  /// Returns the path at which the resource exists or at which createDirectory_ with `balance` would make it.
  char* createLocation_(const char* repository, const char* name, int* status, int* existed, bool exclusive,
                        tarn::db::DBConnector* db);

  /// Appends the path of the resource in each mount that holds it. Returns kLocated when there is one, kMissing when
  /// every mount was searched in vain. The flags leave out what another process locked and what is dirty.
  int getLocations_(const char* repository, const char* name, std::list<std::string>& locations, bool skipLocked,
                    bool skipDirty, tarn::db::DBConnector* db);

  /// Returns the first location of the resource; null, with `status` kMissing or an error, when there is none. Aged,
  /// locked and dirty ones count as far as the flags include them. `create`: makes a missing one as createDirectory_
  /// does.
  char* getLocation_(const char* repository, const char* name, int* status, bool includeAged, bool includeLocked,
                     bool includeDirty, bool create, tarn::db::DBConnector* db);

  /// Returns kLocated when every mount, the aged ones too, can be searched.
  int getRepositoryStatus_(const char* repository, tarn::db::DBConnector* db);
  int checkResourceStatus_(const char* repository, const char* resource, tarn::db::DBConnector* db);

  /// Removes the resource (from all mounts or from the first that holds it) with its dirty flag. Each directory is
  /// renamed aside before it is emptied, so that a part of a resource never shows. The next removal deletes what an
  /// interrupted one left aside. `honourLock`: a resource that another process locked stays, kLocked. Returns kDone or
  /// an error.
  int removeResource_(const char* repository, const char* resource, bool allMounts, bool honourLock,
                      tarn::db::DBConnector* db);

  /// Returns the names of the regular files (listDirs_: of the directories) in `directory`, without links, in byte
  /// order, as an array that ends with a null pointer. `count` gets their number. Returns null, with `count` -1, when
  /// the directory cannot be read.
  char** listFiles_(const char* directory, long* count, bool fullPath, tarn::db::DBConnector* db);
  char** listDirs_(const char* directory, long* count, bool fullPath, tarn::db::DBConnector* db);

  /// Looks whether the mounts have their reserve of free space (`countInodes`: of inodes too). `mark`: puts the file
  /// `.overloaded` into a mount that lacks its reserve; new resources go to mounts without that file as long as there
  /// is one. The file is always removed from mounts that have their reserve.
  void checkOverload_(const char* repository, bool mark, bool countInodes, tarn::db::DBConnector* db);

  /// Returns the free space of one of the repository's mounts, in MiB or (`percent`) in per cent; -1 for any other
  /// path.
  int freeMount_(const char* repository, const char* mount, bool percent, tarn::db::DBConnector* db);

  /// Return the mount that holds the resource `directory`, or in which `path` lies (as text: links are not followed);
  /// null when there is none.
  char* getMountPathForDirectory_(const char* repository, const char* directory, tarn::db::DBConnector* db);
  char* getMountFromPath_(const char* repository, const char* path, tarn::db::DBConnector* db);

  /// Moves the resource to an ordinary mount when it is only in an aged one, and returns its path.
  char* unAge_(const char* repository, const char* resource, tarn::db::DBConnector* db);

  /// Get and set the times of last access and change of the resource's directory, in seconds.
  bool getTimeProperties_(const char* repository, const char* resource, struct utimbuf* times,
                          tarn::db::DBConnector* db);
  bool setTimeProperties_(const char* repository, const char* resource, struct utimbuf* times,
                          tarn::db::DBConnector* db);

  /// Takes the lock of an existing resource for this process. Returns false when any process holds it. The lock of a
  /// process of this host that has ended is taken over; that of another host stays until it is unlocked there.
  bool lockResource_(const char* repository, const char* resource, tarn::db::DBConnector* db);
  /// Returns false when this process does not hold the lock.
  bool unlockResource_(const char* repository, const char* resource, tarn::db::DBConnector* db);

  bool isDirty_(const char* repository, const char* resource, tarn::db::DBConnector* db);
  void setDirty_(const char* repository, const char* resource, bool dirty, tarn::db::DBConnector* db);
}
#pragma GCC visibility pop
