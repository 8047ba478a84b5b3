#pragma once

#include <list>
#include <string>

#include <utime.h>

namespace tarn::db
{
class DBConnector;
}

/// The entry points of RepositoryHandler.so, the one declaration that the library and its callers share.
///
/// A repository is a named set of mounts: directories that hold resources. REPOSITORYHANDLER_HOME/etc/repositories.conf
/// names them, all of them absolute paths (the file's syntax is that of IMProperties):
///
///     meta = /archive/meta1:/archive/meta2     the mounts, in order of look-up
///     meta.aged = /slow/meta                   mounts that aged resources were moved to; nothing is created there
///     meta.reserve = 5                         per cent of a mount that are to stay free (5 when not given)
///
/// A repository that is given as an absolute path is its own only mount. A resource is a directory directly in a mount.
/// Its name has 1 to 200 bytes, no slash, and does not start with a point: such names are the library's own. What
/// stands under a resource's name but is no directory (a symbolic link is none) is an error, so that no name leads out
/// of the repository. Beside a resource NAME there may be `.NAME.lock`, `.NAME.dirty` and, while it is being removed
/// or moved, `.NAME.removed` and `.NAME.moving`.
///
/// The library keeps no state and throws nothing. Texts and lists that it returns are single blocks from malloc(),
/// which the caller gives to free(). The database connection is not used.

namespace tarn::repository
{

/// What the library answers: exactly kLocated or kMissing, or else one of the errors, which share no bit with them.
enum HandlerStatus : int
{
  kDone = 0,              ///< of removeResource_: removed
  kFailed = 1,            ///< the system refused; something that is no directory stands under the name
  kUnknownRepository = 2, ///< no mounts are known for the name
  kMissing = 4,           ///< all mounts were searched, and it is in none
  kNameRefused = 8,       ///< no name for a resource
  kMountUnreachable = 16, ///< a mount that would have to be searched, or the configuration, cannot be read
  kLocated = 32,
  kLocked = 64,    ///< another process holds the resource's lock
  kExisting = 128, ///< it was to be new
  kDirty = 256     ///< it is dirty, and the caller left dirty ones out
};

} // namespace tarn::repository

#pragma GCC visibility push(default)
extern "C"
{
  /// The path of a new directory for the resource, or of the one that exists; null on failure. `status` (here and
  /// below: may be null) gets a HandlerStatus, `existed` 0 or 1. `exclusive`: an existing one is an error.
  /// `shouldLock`: no two such calls run at a time in the repository, and a resource that another process locked is an
  /// error. `balance`: in the mount with most free space among those that are not overloaded, else in the first of
  /// those.
  char* createDirectory_(const char* repository, const char* subDir, int* status, int* existed, bool exclusive,
                         bool shouldLock, bool balance, tarn::db::DBConnector* db);

  /// The path at which the resource exists or where createDirectory_ with `balance` would make it; makes nothing.
  char* createLocation_(const char* repository, const char* name, int* status, int* existed, bool exclusive,
                        tarn::db::DBConnector* db);

  /// Appends the path of the resource in each mount that holds it. Returns kLocated when there is one, kMissing when
  /// every mount was searched in vain. The flags leave out what another process locked and what is dirty.
  int getLocations_(const char* repository, const char* name, std::list<std::string>& locations, bool skipLocked,
                    bool skipDirty, tarn::db::DBConnector* db);

  /// The first location of the resource; null with `status` kMissing or an error. Aged, locked and dirty ones count as
  /// far as the flags include them. `create`: makes what is missing, as createDirectory_ does.
  char* getLocation_(const char* repository, const char* name, int* status, bool includeAged, bool includeLocked,
                     bool includeDirty, bool create, tarn::db::DBConnector* db);

  /// kLocated when every mount, the aged ones too, can be searched.
  int getRepositoryStatus_(const char* repository, tarn::db::DBConnector* db);
  int checkResourceStatus_(const char* repository, const char* resource, tarn::db::DBConnector* db);

  /// Removes the resource (from all mounts or from the first that holds it) with its dirty flag. Each directory is
  /// renamed aside before it is emptied, so that a part of a resource never shows; what an interrupted removal left
  /// aside goes with the next one. `honourLock`: a resource that another process locked stays, kLocked. Returns kDone,
  /// else why not.
  int removeResource_(const char* repository, const char* resource, bool allMounts, bool honourLock,
                      tarn::db::DBConnector* db);

  /// The names of the regular files (listDirs_: of the directories) in `directory`, in byte order, links left out, as
  /// an array that ends with a null pointer; `count` gets their number. Null, with `count` -1, when it cannot be read.
  char** listFiles_(const char* directory, long* count, bool fullPath, tarn::db::DBConnector* db);
  char** listDirs_(const char* directory, long* count, bool fullPath, tarn::db::DBConnector* db);

  /// Looks whether the mounts have their reserve of free space (`countInodes`: of inodes too). `mark`: the file
  /// `.overloaded` in a mount that lacks it turns new resources away as long as another mount has none; in any case the
  /// file goes from mounts that have their reserve.
  void checkOverload_(const char* repository, bool mark, bool countInodes, tarn::db::DBConnector* db);

  /// The free space of one of the repository's mounts, in MiB or (`percent`) in per cent; -1 for any other path.
  int freeMount_(const char* repository, const char* mount, bool percent, tarn::db::DBConnector* db);

  /// The mount that holds the resource `directory`, or that `path` lies in (as text: links are not followed); else
  /// null.
  char* getMountPathForDirectory_(const char* repository, const char* directory, tarn::db::DBConnector* db);
  char* getMountFromPath_(const char* repository, const char* path, tarn::db::DBConnector* db);

  /// The path of the resource, which is first moved to an ordinary mount when it is only in an aged one.
  char* unAge_(const char* repository, const char* resource, tarn::db::DBConnector* db);

  /// The times of last access and change of the resource's directory, in seconds.
  bool getTimeProperties_(const char* repository, const char* resource, struct utimbuf* times,
                          tarn::db::DBConnector* db);
  bool setTimeProperties_(const char* repository, const char* resource, struct utimbuf* times,
                          tarn::db::DBConnector* db);

  /// Takes the lock of an existing resource for this process; false when it is held, by whichever process. The lock of
  /// a process of this host that has ended is taken over; one of another host stays until it is unlocked there.
  bool lockResource_(const char* repository, const char* resource, tarn::db::DBConnector* db);
  /// False when this process does not hold it.
  bool unlockResource_(const char* repository, const char* resource, tarn::db::DBConnector* db);

  bool isDirty_(const char* repository, const char* resource, tarn::db::DBConnector* db);
  void setDirty_(const char* repository, const char* resource, bool dirty, tarn::db::DBConnector* db);
}
#pragma GCC visibility pop
