#pragma once

#include "base/IMLogger.h"
#include "study/cache/ObjCacheException.h"

#include <list>
#include <set>
#include <string>
#include <vector>

namespace tarn::db
{

class DBConnector;
class StudyLock;
struct ObjCacheEntry;

/// Makes sure that the object table holds a study's rows: reads the study's entry in the object-cache table and, where
/// that says so, fills the object table from the study's object meta file ("objectdb.meta" in its meta directory),
/// under a lock that every process on this database honours. Each batch of rows is its own transaction and the entry
/// is marked valid only after the last one, so a run that dies anywhere leaves an entry from which the next one starts
/// again; rows that are there already are left alone.
///
/// Environment, read by the constructor (unset is empty): OBJECTTBL, QXOBJCACHETBL (both have to name their tables
/// when something is imported), REPOSITORY_DICOM_DATA.
class ObjCacheMgr
{
public:
  /// `db`, not null, is borrowed.
  explicit ObjCacheMgr(DBConnector* db);

  /// True when the entry is valid or has been made valid; never false. Throws ObjCacheException when it is not, after
  /// "ocerror" references were attached to the study and its objects where that is called for.
  /// `metaRequiredCheck`: a missing object meta file makes the entry valid, unless the study requires it; false: it
  /// leaves the entry as it is.
  bool touchObjCache(const std::string& studyInstanceUID, bool metaRequiredCheck);

  /// The locked check and import, without the error references. Throws ObjCacheException, or IMTimeoutException when
  /// the lock is not obtained within 30 seconds.
  void doTouch(const std::string& studyInstanceUID, bool metaRequiredCheck);

  /// Finds the study's object meta file and imports it. Returns 0 or one of ImportCode; 0 with `metaMissing` set where
  /// there is no such file. Throws what the database throws.
  [[nodiscard]] int importFromMeta(const std::string& studyInstanceUID, bool& metaMissing);
  /// The same for the file `path`.
  [[nodiscard]] int importFromMetaFile(const std::string& studyInstanceUID, const std::string& path, bool& metaMissing);

  /// Attaches "ocerror" to the study and to all its objects that the database, the object meta file or the study's
  /// directories know of. Never throws; each failure is logged and the next thing is tried.
  void addErrorRefs(const std::string& studyInstanceUID);
  /// Adds the name of every object of the study's object meta file, up to the first bad row. Returns 0, also where
  /// there is no such file, or one of ImportCode.
  [[nodiscard]] int getFilesFromMeta(const std::string& studyInstanceUID, std::set<std::string>& files);
  /// Adds the name of everything in the directories called `studyOrDirName` of the DICOM data repository, whose paths
  /// replace what `locations` holds.
  void getRepoObjects(const std::string& studyOrDirName, std::list<std::string>& locations,
                      std::set<std::string>& files);

private:
  enum class Outcome
  {
    kSuccess,
    kFailed,
    kLeftAlone ///< nothing was imported and the entry stays as it is
  };

  void checkAndImport(const std::string& study, bool metaRequiredCheck, StudyLock& lock, bool& newEntry);
  bool needsImport(const std::string& study, const ObjCacheEntry& entry) const;
  Outcome import(const std::string& study, bool metaRequiredCheck);
  ObjCacheException errorStatus(const std::string& study, bool forceErrorRefs) const;
  int locateMetaFile(const std::string& study, std::string& path, bool& metaMissing);
  bool hasErrorRef(const std::string& study);
  void addObjectRefs(std::vector<std::string>& keys);
  void addErrorRef(const std::string& key, const char* kind);
  std::set<std::string> collectFiles(const std::string& study);
  void collectFromDirectories(const std::string& study, std::set<std::string>& files);

  DBConnector* db;
  std::string objectTable;
  std::string objCacheTable;
  std::string dicomDataRepository;
  imutils::IMLogger logger;
};

} // namespace tarn::db
