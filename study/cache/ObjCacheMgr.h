#pragma once

#include "base/IMLogger.h"
#include "study/cache/ObjCacheException.h"
#include "study/cache/StudyLock.h"
#include "support/Status.h"

#include <list>
#include <optional>
#include <set>
#include <string>

namespace tarn::db
{

class DBConnector;
struct ObjCacheEntry;

/// Makes sure that the object table holds a study's rows: reads the study's entry in the object-cache table and, where
/// that says so, fills the object table from the study's object meta file, under a lock that every process on this
/// database honours. Each batch of rows is its own transaction and the entry is marked valid only after the last one,
/// so the next run starts again from what a run that died has left. Rows that exist already are left alone.
///
/// The constructor reads the environment variables OBJECTTBL and QXOBJCACHETBL, both of which have to name their tables
/// when something is imported, and REPOSITORY_DICOM_DATA. An unset variable is empty.
class ObjCacheMgr
{
public:
  /// `db`, not null, is borrowed.
  explicit ObjCacheMgr(DBConnector* db);

  /// Returns true when the entry is valid or has been made valid, and never false. Throws ObjCacheException when it is
  /// not, after "ocerror" references were attached to the study and its objects where that is called for.
  /// `metaRequiredCheck`: a missing object meta file makes the entry valid, unless the study requires it; not set, it
  /// leaves the entry as it is.
  bool touchObjCache(const std::string& studyUid, bool metaRequiredCheck);

  /// The locked check and import, without the error references. Throws ObjCacheException, or IMTimeoutException when
  /// the lock is not obtained within 30 seconds, or others hold the embedded database so long.
  void doTouch(const std::string& studyUid, bool metaRequiredCheck);

  /// Finds the study's object meta file and imports it. Returns 0 or one of ImportCode below 0; 0 with `metaMissing`
  /// set where there is no such file. Throws what the database throws.
  [[nodiscard]] int importFromMeta(const std::string& studyUid, bool& metaMissing);
  /// The same for the file at `path`.
  [[nodiscard]] int importFromMetaFile(const std::string& studyUid, const std::string& path, bool& metaMissing);

  /// Attaches "ocerror" to the study and to all its objects that the database, the object meta file or the study's
  /// directories know of. Never throws: each failure is logged and the next thing is tried; where others hold the
  /// database for too long, nothing more is.
  void addErrorRefs(const std::string& studyUid);
  /// Adds the name of every object of the study's object meta file, up to the first bad row. Returns 0, also where
  /// there is no such file, or one of ImportCode below 0.
  [[nodiscard]] int getFilesFromMeta(const std::string& studyUid, std::set<std::string>& files);
  /// Adds the name of everything in the directories called `studyOrDirName` of the DICOM data repository. Their paths
  /// replace what `locations` holds.
  void getRepoObjects(const std::string& studyOrDirName, std::list<std::string>& locations,
                      std::set<std::string>& files);

private:
  void checkAndImport(const std::string& studyUid, bool metaRequiredCheck, study::StudyLock& lock, bool& newEntry);
  bool needsImport(const std::string& studyUid, const ObjCacheEntry& entry) const;
  ObjCacheException errorStatus(const std::string& studyUid, bool forceErrorRefs) const;

  /// The status that the entry gets, nothing when it stays as it is.
  std::optional<int> statusOnceImported(const std::string& studyUid, bool metaRequiredCheck);
  /// Sets `path` to that of the study's object meta file where it returns a success.
  utils::Status locateMetaFile(const std::string& studyUid, std::string& path);

  bool hasErrorReference(const std::string& studyUid) const;
  void addReferences(const std::string& studyUid, const std::set<std::string>& files);
  std::set<std::string> collectFiles(const std::string& studyUid);
  void collectFromDirectories(const std::string& studyUid, std::set<std::string>& files);

  DBConnector* db;
  std::string objectTable;
  std::string objCacheTable;
  std::string dicomDataRepository;
  imutils::IMLogger logger;
};

} // namespace tarn::db
