#include "study/cache/ObjCacheMgr.h"

#include "db/DBConnectorSql.h"
#include "db/DBException.h"
#include "base/IMException.h"
#include "repository/client/IMRepositoryHandlerIface.h"
#include "study/objectmeta/ImportCode.h"
#include "db/MetaAccessor.h"
#include "study/meta/MetaManager.h"
#include "db/ObjCacheAccessor.h"
#include "study/objectmeta/ObjMeta.h"
#include "study/objectmeta/ObjMetaInsert.h"
#include "db/ReferenceAccessor.h"
#include "study/cache/StudyLock.h"
#include "db/Transaction.h"
#include "base/environmentValue.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace tarn::db
{
namespace
{

namespace fs = std::filesystem;

constexpr char kErrorReference[] = "ocerror";
constexpr char kStudyKind[] = "STUDYDIR";
constexpr char kObjectKind[] = "OBJECTFILE";
constexpr std::size_t kReferencesTogether = 300;
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

} // namespace

ObjCacheMgr::ObjCacheMgr(DBConnector* connector)
  : db(connector), objectTable(base::environmentValue("OBJECTTBL")),
    objCacheTable(base::environmentValue("QXOBJCACHETBL")),
    dicomDataRepository(base::environmentValue("REPOSITORY_DICOM_DATA")), logger("ObjCacheMgr")
{
}

bool ObjCacheMgr::touchObjCache(const std::string& study, bool metaRequiredCheck)
{
  try
  {
    doTouch(study, metaRequiredCheck);
  }
  catch (const imutils::IMTimeoutException&)
  {
    throw ObjCacheException(message("Could not get lock to check/update Object Cache entry for %s", study), nullptr,
                            false, false);
  }
  catch (const ObjCacheException& failure)
  {
    if (failure.errorRefsForced() || !hasErrorRef(study))
      addErrorRefs(study);
    throw;
  }
  return true;
}

bool ObjCacheMgr::hasErrorRef(const std::string& study)
{
  try
  {
    return db->references().hasReference(study, kStudyKind, kErrorReference);
  }
  catch (const std::exception& failure)
  {
    logger.errorLog("checking ocerror references on STUDYDIR/%s failed with exception: %s", study.c_str(),
                    failure.what());
    return false;
  }
}

void ObjCacheMgr::doTouch(const std::string& study, bool metaRequiredCheck)
{
  StudyLock lock(study, db);
  bool newEntry = false;
  try
  {
    checkAndImport(study, metaRequiredCheck, lock, newEntry);
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
    throw ObjCacheException(message<1023>("An exception caught while checking/updating Object Cache entry for %s: %s",
                                          study, std::string(failure.what())),
                            nullptr, false, newEntry);
  }
  catch (...)
  {
    throw ObjCacheException(
        message("An unrecognized exception caught while to checking/updating the Object Cache entry for %s", study),
        nullptr, false, newEntry);
  }
}

void ObjCacheMgr::checkAndImport(const std::string& study, bool metaRequiredCheck, StudyLock& lock, bool& newEntry)
{
  ObjCacheAccessor& entries = db->objCache();
  if (entries.isObjCacheValid(study)) // the usual case: one query and no lock
    return;
  lock.lock();
  ObjCacheEntry entry;
  newEntry = !entries.getObjCacheEntry(study, kEntryMode, entry);
  if (!newEntry && !needsImport(study, entry))
    return;
  const Outcome outcome = import(study, metaRequiredCheck);
  if (outcome == Outcome::kLeftAlone)
    return;
  entries.setObjCacheStatus(study, outcome == Outcome::kSuccess ? kObjCacheValid : kObjCacheError);
  if (outcome == Outcome::kFailed)
    throw errorStatus(study, newEntry);
}

bool ObjCacheMgr::needsImport(const std::string& study, const ObjCacheEntry& entry) const
{
  if (entry.status == kObjCacheValid)
    return false;
  if (entry.status == kObjCacheUnmap)
    throw ObjCacheException(message("The Object Cache entry is marked for unmap for %s", study), &logger, false, true);
  if (entry.error)
    throw errorStatus(study, false);
  return true;
}

ObjCacheException ObjCacheMgr::errorStatus(const std::string& study, bool forceErrorRefs) const
{
  return {message("The Object Cache entry is in error status for %s", study), &logger, false, forceErrorRefs};
}

ObjCacheMgr::Outcome ObjCacheMgr::import(const std::string& study, bool metaRequiredCheck)
{
  bool metaMissing = false;
  try
  {
    if (const int code = importFromMeta(study, metaMissing); code < 0)
    {
      logger.errorLog("ObjCacheMgr ERROR importing object table for %s: %d", study.c_str(), code);
      return Outcome::kFailed;
    }
  }
  catch (const std::exception& failure)
  {
    logger.errorLog("An exception caught while mapping Object table entries for %s: %s", study.c_str(), failure.what());
    return Outcome::kFailed;
  }
  if (!metaMissing)
    return Outcome::kSuccess;
  if (metaRequiredCheck)
    return db->meta().isMetaRequired(study) ? Outcome::kFailed : Outcome::kSuccess;
  logger.debugLog("ObjCacheMgr importing object table is skipped due to missing object meta for %s", study.c_str());
  return Outcome::kLeftAlone;
}

/// The path of the study's object meta file; nothing more when `metaMissing` gets set, or for a code below 0.
int ObjCacheMgr::locateMetaFile(const std::string& study, std::string& path, bool& metaMissing)
{
  const utils::Status status = utils::MetaManager().getMeta(study, false, false, path, db, true);
  logger.debugLog("The meta repository status is %d for %s ", static_cast<int>(status.value()), study.c_str());
  metaMissing = status.value() == utils::STATUS_MISSING;
  if (metaMissing)
    logger.debugLog("The meta repository is missing for %s ", study.c_str());
  path += "/objectdb.meta";
  return status || metaMissing ? kImported : kMetaDirectoryFailed;
}

int ObjCacheMgr::importFromMeta(const std::string& study, bool& metaMissing)
{
  if (objectTable.empty())
    return kNoObjectTable;
  if (objCacheTable.empty())
    return kNoObjCacheTable;
  std::string path;
  const int code = locateMetaFile(study, path, metaMissing);
  return code != kImported || metaMissing ? code : importFromMetaFile(study, path, metaMissing);
}

int ObjCacheMgr::importFromMetaFile(const std::string& study, const std::string& path, bool& metaMissing)
{
  ObjMeta meta;
  if (const ImportCode code = meta.read(path, metaMissing); code != kImported)
    return code;
  if (metaMissing)
  {
    logger.debugLog("Objmeta file does not (yet) exist for %s", study.c_str());
    return kImported;
  }
  ObjMetaInsert insert(sqlConnector(db), objectTable, meta);
  int count = -1;
  if (!db->meta().getStudyObjectCount(study, count))
    return kObjectCountUnknown;
  if (count < 0 || static_cast<std::size_t>(count) != meta.rowCount)
    return kObjectCountDiffers;
  return insert.run();
}

int ObjCacheMgr::getFilesFromMeta(const std::string& study, std::set<std::string>& files)
{
  std::string path;
  bool metaMissing = false;
  if (const int code = locateMetaFile(study, path, metaMissing); code != kImported || metaMissing)
    return code;
  ObjMeta meta;
  const ImportCode code = meta.read(path, metaMissing);
  for (const auto& [name, row] : meta.rows)
    files.insert(name);
  return code;
}

void ObjCacheMgr::addErrorRefs(const std::string& study)
{
  try
  {
    logger.infoLog("Adding ocerror references to %s", study.c_str());
    std::vector<std::string> keys;
    for (const std::string& file : collectFiles(study))
    {
      keys.push_back(std::string(study).append("/").append(file));
      if (keys.size() == kReferencesTogether)
        addObjectRefs(keys);
    }
    addObjectRefs(keys);
    addErrorRef(study, kStudyKind);
  }
  catch (const imutils::IMException& failure)
  {
    logger.errorLog("IM exception caught while adding error references to objects in %s: %s", study.c_str(),
                    failure.what());
  }
  catch (const std::exception& failure)
  {
    logger.errorLog("STD exception caught while adding error references to objects in %s: %s", study.c_str(),
                    failure.what());
  }
  catch (...)
  {
    logger.errorLog("Unrecognized exception caught while adding error references to objects in %s", study.c_str());
  }
}

/// All of them in one transaction, which is much faster than one for each; where that fails, one by one, so that what
/// is wrong with one does not keep it from the others. Empties `keys`.
void ObjCacheMgr::addObjectRefs(std::vector<std::string>& keys)
{
  try
  {
    Transaction transaction(sqlConnector(db));
    for (const std::string& key : keys)
      db->references().addReference(key, kObjectKind, kErrorReference);
    transaction.commit();
  }
  catch (const std::exception&)
  {
    for (const std::string& key : keys)
      addErrorRef(key, kObjectKind);
  }
  keys.clear();
}

void ObjCacheMgr::addErrorRef(const std::string& key, const char* kind)
{
  try
  {
    db->references().addReference(key, kind, kErrorReference);
  }
  catch (const std::exception& failure)
  {
    logger.errorLog("Adding error references to %s/%s failed with exception: %s", kind, key.c_str(), failure.what());
  }
}

std::set<std::string> ObjCacheMgr::collectFiles(const std::string& study)
{
  std::set<std::string> files;
  try
  {
    std::list<std::string> known;
    db->objCache().listObjCacheFiles(study, known);
    files.insert(known.begin(), known.end());
  }
  catch (const std::exception& failure)
  {
    logger.errorLog("Collecting objects for %s from db for adding error references failed: %s", study.c_str(),
                    failure.what());
  }
  try
  {
    if (const int code = getFilesFromMeta(study, files); code != kImported)
      logger.errorLog("Collecting objects for %s from objmeta for adding error references failed: %d", study.c_str(),
                      code);
  }
  catch (const std::exception& failure)
  {
    logger.errorLog("Collecting objects for %s from objmeta for adding error references failed with exception: %s",
                    study.c_str(), failure.what());
  }
  try
  {
    if (!dicomDataRepository.empty())
      collectFromDirectories(study, files);
  }
  catch (const std::exception& failure)
  {
    logger.errorLog("Collecting objects for %s from study dir for adding error references failed with exception: %s",
                    study.c_str(), failure.what());
  }
  return files;
}

void ObjCacheMgr::collectFromDirectories(const std::string& study, std::set<std::string>& files)
{
  std::list<std::string> locations;
  getRepoObjects(study, locations, files);
  int number = 0;
  do
    getRepoObjects(study + "_dead" + std::to_string(++number), locations, files);
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
