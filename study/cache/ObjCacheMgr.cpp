// The check of a study's entry, the import of its object meta file, and the error references of a failed one.
#include "study/cache/ObjCacheMgr.h"

#include "base/IMException.h"
#include "base/environmentValue.h"
#include "db/DBConnectorSql.h"
#include "db/DBException.h"
#include "db/MetaAccessor.h"
#include "db/ObjCacheAccessor.h"
#include "repository/client/IMRepositoryHandlerIface.h"
#include "study/cache/ErrorReferences.h"
#include "study/cache/StudyLock.h"
#include "study/cache/guarded.h"
#include "study/meta/MetaManager.h"
#include "study/meta/metaFiles.h"
#include "study/objectmeta/ObjMeta.h"
#include "study/objectmeta/ObjMetaInsert.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace tarn::db
{
namespace
{

namespace fs = std::filesystem;
using study::guarded;
using study::ImportCode;
using study::StudyLock;

constexpr int kEntryMode = 5; // what the archive's other programs read an entry with

/// A message cut to what fits a buffer of `size` characters, its end included.
template <std::size_t size = 255, class... Arguments>
std::string message(const char* format, const Arguments&... arguments)
{
  std::array<char, size> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, arguments.c_str()...);
  return buffer.data();
}

DBConnectorSql& sqlConnector(DBConnector* db)
{
  auto* const connector = dynamic_cast<DBConnectorSql*>(db);
  if (!connector)
    throw DBException("the object table needs a connection to a database");
  return *connector;
}

/// What the contract says of a missing file: no failure, and `metaMissing` set.
int codeFor(ImportCode code, bool& metaMissing)
{
  metaMissing = code == ImportCode::missing;
  return metaMissing ? 0 : static_cast<int>(code);
}

} // namespace

ObjCacheMgr::ObjCacheMgr(DBConnector* db)
  : db(db), objectTable(base::environmentValue("OBJECTTBL")), objCacheTable(base::environmentValue("QXOBJCACHETBL")),
    dicomDataRepository(base::environmentValue("REPOSITORY_DICOM_DATA")), logger("ObjCacheMgr")
{
}

bool ObjCacheMgr::touchObjCache(const std::string& studyUid, bool metaRequiredCheck)
{
  try
  {
    doTouch(studyUid, metaRequiredCheck);
  }
  catch (const imutils::IMTimeoutException&)
  {
    throw ObjCacheException(message("Could not get lock to check/update Object Cache entry for %s", studyUid), nullptr,
                            false, false);
  }
  catch (const ObjCacheException& failure)
  {
    if (failure.forceErrorRefs || !study::ErrorReferences(*db, logger).isOn(studyUid))
      addErrorRefs(studyUid);
    throw;
  }
  return true;
}

void ObjCacheMgr::doTouch(const std::string& studyUid, bool metaRequiredCheck)
{
  StudyLock lock(studyUid, db);
  bool newEntry = false;
  const auto failed = [&](const std::string& text) { return ObjCacheException(text, nullptr, false, newEntry); };
  try
  {
    checkAndImport(studyUid, metaRequiredCheck, lock, newEntry);
  }
  catch (const ObjCacheException&)
  {
    throw;
  }
  catch (const imutils::IMTimeoutException&)
  {
    throw;
  }
  catch (const std::exception& failure)
  {
    throw failed(message<1023>("An exception caught while checking/updating Object Cache entry for %s: %s", studyUid,
                               std::string(failure.what())));
  }
  catch (...)
  {
    throw failed(
        message("An unrecognized exception caught while to checking/updating the Object Cache entry for %s", studyUid));
  }
}

void ObjCacheMgr::checkAndImport(const std::string& studyUid, bool metaRequiredCheck, StudyLock& lock, bool& newEntry)
{
  ObjCacheAccessor& entries = db->objCache();
  if (entries.isObjCacheValid(studyUid)) // the usual case: one query and no lock
    return;
  lock.lock();
  ObjCacheEntry entry;
  newEntry = !entries.getObjCacheEntry(studyUid, kEntryMode, entry);
  if (!newEntry && !needsImport(studyUid, entry))
    return;
  const auto status = statusOnceImported(studyUid, metaRequiredCheck);
  if (!status)
    return;
  entries.setObjCacheStatus(studyUid, *status);
  if (*status == kObjCacheError)
    throw errorStatus(studyUid, newEntry);
}

bool ObjCacheMgr::needsImport(const std::string& studyUid, const ObjCacheEntry& entry) const
{
  if (entry.status == kObjCacheValid)
    return false;
  if (entry.status == kObjCacheUnmap)
    throw ObjCacheException(message("The Object Cache entry is marked for unmap for %s", studyUid), &logger, false,
                            true);
  if (entry.error)
    throw errorStatus(studyUid, false);
  return true;
}

ObjCacheException ObjCacheMgr::errorStatus(const std::string& studyUid, bool forceErrorRefs) const
{
  return {message("The Object Cache entry is in error status for %s", studyUid), &logger, false, forceErrorRefs};
}

std::optional<int> ObjCacheMgr::statusOnceImported(const std::string& studyUid, bool metaRequiredCheck)
{
  auto code = ImportCode::imported;
  const auto import = [&] { code = importStudy(studyUid); };
  if (!guarded(import, logger, "An exception caught while mapping Object table entries for %s: %s", studyUid))
    return kObjCacheError;
  if (code == ImportCode::imported)
    return kObjCacheValid;
  if (code == ImportCode::missing)
    return statusWithoutMeta(studyUid, metaRequiredCheck);
  logger.errorLog("ObjCacheMgr ERROR importing object table for %s: %d", studyUid.c_str(), static_cast<int>(code));
  return kObjCacheError;
}

std::optional<int> ObjCacheMgr::statusWithoutMeta(const std::string& studyUid, bool metaRequiredCheck)
{
  if (metaRequiredCheck)
    return db->meta().isMetaRequired(studyUid) ? kObjCacheError : kObjCacheValid;
  logger.debugLog("ObjCacheMgr importing object table is skipped due to missing object meta for %s", studyUid.c_str());
  return std::nullopt;
}

/// Sets `path` to that of the study's object meta file where it returns ImportCode::imported.
ImportCode ObjCacheMgr::locateMetaFile(const std::string& studyUid, std::string& path)
{
  const utils::Status status = utils::MetaManager().getMeta(studyUid, false, false, path, db, true);
  logger.debugLog("The meta repository status is %d for %s ", static_cast<int>(status.value()), studyUid.c_str());
  if (status.value() == utils::STATUS_MISSING)
  {
    logger.debugLog("The meta repository is missing for %s ", studyUid.c_str());
    return ImportCode::missing;
  }
  path.append("/").append(study::kObjectMeta);
  return status ? ImportCode::imported : ImportCode::metaDirectoryFailed;
}

int ObjCacheMgr::importFromMeta(const std::string& studyUid, bool& metaMissing)
{
  return codeFor(importStudy(studyUid), metaMissing);
}

ImportCode ObjCacheMgr::importStudy(const std::string& studyUid)
{
  if (objectTable.empty())
    return ImportCode::noObjectTable;
  if (objCacheTable.empty())
    return ImportCode::noObjCacheTable;
  std::string path;
  const ImportCode code = locateMetaFile(studyUid, path);
  return code == ImportCode::imported ? importFile(studyUid, path) : code;
}

int ObjCacheMgr::importFromMetaFile(const std::string& studyUid, const std::string& path, bool& metaMissing)
{
  return codeFor(importFile(studyUid, path), metaMissing);
}

ImportCode ObjCacheMgr::importFile(const std::string& studyUid, const std::string& path)
{
  study::ObjMeta meta;
  const ImportCode code = meta.read(path);
  if (code == ImportCode::missing)
    logger.debugLog("Objmeta file does not (yet) exist for %s", studyUid.c_str());
  if (code != ImportCode::imported)
    return code;
  study::ObjMetaInsert insert(sqlConnector(db), objectTable, meta);
  int count = -1;
  if (!db->meta().getStudyObjectCount(studyUid, count))
    return ImportCode::objectCountUnknown;
  if (count < 0 || static_cast<std::size_t>(count) != meta.rowCount)
    return ImportCode::objectCountDiffers;
  return insert.run();
}

int ObjCacheMgr::getFilesFromMeta(const std::string& studyUid, std::set<std::string>& files)
{
  std::string path;
  study::ObjMeta meta;
  ImportCode code = locateMetaFile(studyUid, path);
  if (code == ImportCode::imported)
    code = meta.read(path);
  for (const auto& [name, row] : meta.rows)
    files.insert(name);
  bool isNoFailure = false;
  return codeFor(code, isNoFailure);
}

void ObjCacheMgr::addErrorRefs(const std::string& studyUid)
{
  const auto addAll = [&] { addAllErrorRefs(studyUid); };
  const auto addAllOrLog = [&]
  {
    guarded<imutils::IMException>(addAll, logger,
                                  "IM exception caught while adding error references to objects in %s: %s", studyUid);
  };
  try
  {
    guarded(addAllOrLog, logger, "STD exception caught while adding error references to objects in %s: %s", studyUid);
  }
  catch (...)
  {
    logger.errorLog("Unrecognized exception caught while adding error references to objects in %s", studyUid.c_str());
  }
}

void ObjCacheMgr::addAllErrorRefs(const std::string& studyUid)
{
  logger.infoLog("Adding ocerror references to %s", studyUid.c_str());
  study::ErrorReferences(*db, logger).add(studyUid, collectFiles(studyUid));
}

std::set<std::string> ObjCacheMgr::collectFiles(const std::string& studyUid)
{
  std::set<std::string> files;
  guarded([&] { collectFromDatabase(studyUid, files); }, logger,
          "Collecting objects for %s from db for adding error references failed: %s", studyUid);
  guarded([&] { collectFromMeta(studyUid, files); }, logger,
          "Collecting objects for %s from objmeta for adding error references failed with exception: %s", studyUid);
  guarded([&] { collectFromDirectories(studyUid, files); }, logger,
          "Collecting objects for %s from study dir for adding error references failed with exception: %s", studyUid);
  return files;
}

void ObjCacheMgr::collectFromDatabase(const std::string& studyUid, std::set<std::string>& files)
{
  std::list<std::string> known;
  db->objCache().listObjCacheFiles(studyUid, known);
  files.insert(known.begin(), known.end());
}

void ObjCacheMgr::collectFromMeta(const std::string& studyUid, std::set<std::string>& files)
{
  if (const int code = getFilesFromMeta(studyUid, files); code != 0)
    logger.errorLog("Collecting objects for %s from objmeta for adding error references failed: %d", studyUid.c_str(),
                    code);
}

void ObjCacheMgr::collectFromDirectories(const std::string& studyUid, std::set<std::string>& files)
{
  if (dicomDataRepository.empty())
    return;
  std::list<std::string> locations;
  getRepoObjects(studyUid, locations, files);
  int number = 0;
  do
    getRepoObjects(studyUid + "_dead" + std::to_string(++number), locations, files);
  while (!locations.empty());
}

void ObjCacheMgr::getRepoObjects(const std::string& studyOrDirName, std::list<std::string>& locations,
                                 std::set<std::string>& files)
{
  locations.clear();
  const int status =
      repository::getLocations(dicomDataRepository.c_str(), studyOrDirName.c_str(), locations, false, false, db);
  logger.debugLog("Getting repository locations for %s returned %d locations (status: %d)", studyOrDirName.c_str(),
                  static_cast<int>(locations.size()), status);
  for (const std::string& location : locations)
  {
    logger.debugLog("Getting object files for %s from %s", studyOrDirName.c_str(), location.c_str());
    std::error_code error;
    for (fs::directory_iterator entry(location, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
      files.insert(entry->path().filename().string());
    if (error)
      logger.errorLog("Collecting objects for %s from %s for adding error references failed: %s",
                      studyOrDirName.c_str(), location.c_str(), error.message().c_str());
  }
}

} // namespace tarn::db
