// The check of a study's entry, the import of its object meta file, and the error references of a failed one.
#include "study/cache/ObjCacheMgr.h"

#include "base/IMException.h"
#include "base/environmentValue.h"
#include "db/DBTimeoutException.h"
#include "db/MetaAccessor.h"
#include "db/ObjCacheAccessor.h"
#include "db/ReferenceAccessor.h"
#include "db/Transaction.h"
#include "repository/client/IMRepositoryHandlerIface.h"
#include "study/meta/MetaManager.h"
#include "study/meta/metaFiles.h"
#include "study/objectmeta/ObjMeta.h"
#include "study/objectmeta/ObjMetaInsert.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace tarn::db
{
namespace
{

namespace fs = std::filesystem;
using study::ImportCode;

constexpr int kEntryMode = 5; // what the archive's other programs read an entry with
constexpr char kErrorReference[] = "ocerror";
constexpr char kStudyKind[] = "STUDYDIR";
constexpr char kCheckFailed[] = "An exception caught while checking/updating Object Cache entry for %s: %s";

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

/// Runs `work` and returns true. Where `work` throws an exception of the standard library, logs an error with `format`,
/// which takes the names and what the exception says, and returns false. Others pass, and so does DBTimeoutException:
/// whoever tried the next thing would wait again.
template <class Work, class... Names>
bool guarded(const Work& work, const imutils::IMLogger& logger, const char* format, const Names&... names)
{
  try
  {
    work();
    return true;
  }
  catch (const DBTimeoutException&)
  {
    throw;
  }
  catch (const std::exception& failure)
  {
    logger.errorLog(format, names.c_str()..., failure.what());
    return false;
  }
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
    if (failure.forceErrorRefs || !hasErrorReference(studyUid))
      addErrorRefs(studyUid);
    throw;
  }
  return true;
}

bool ObjCacheMgr::hasErrorReference(const std::string& studyUid) const
{
  try
  {
    return db->references().hasReference(studyUid, kStudyKind, kErrorReference);
  }
  catch (const std::exception& failure)
  {
    logger.errorLog("checking ocerror references on STUDYDIR/%s failed with exception: %s", studyUid.c_str(),
                    failure.what());
    return dynamic_cast<const DBTimeoutException*>(&failure) != nullptr; // whoever adds them would wait again
  }
}

void ObjCacheMgr::doTouch(const std::string& studyUid, bool metaRequiredCheck)
{
  study::StudyLock lock(studyUid, db);
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
  catch (const DBTimeoutException& failure)
  {
    logger.errorLog(kCheckFailed, studyUid.c_str(), failure.what());
    throw imutils::IMTimeoutException(failure.what());
  }
  catch (const std::exception& failure)
  {
    throw failed(message<1023>(kCheckFailed, studyUid, std::string(failure.what())));
  }
  catch (...)
  {
    throw failed(
        message("An unrecognized exception caught while to checking/updating the Object Cache entry for %s", studyUid));
  }
}

void ObjCacheMgr::checkAndImport(const std::string& studyUid, bool metaRequiredCheck, study::StudyLock& lock,
                                 bool& newEntry)
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
  int code = 0;
  bool metaMissing = false;
  const auto import = [&] { code = importFromMeta(studyUid, metaMissing); };
  if (!guarded(import, logger, "An exception caught while mapping Object table entries for %s: %s", studyUid))
    return kObjCacheError;
  if (metaMissing && !metaRequiredCheck)
  {
    logger.debugLog("ObjCacheMgr importing object table is skipped due to missing object meta for %s",
                    studyUid.c_str());
    return std::nullopt;
  }
  if (metaMissing)
    return db->meta().isMetaRequired(studyUid) ? kObjCacheError : kObjCacheValid;
  if (code == ImportCode::imported)
    return kObjCacheValid;
  logger.errorLog("ObjCacheMgr ERROR importing object table for %s: %d", studyUid.c_str(), code);
  return kObjCacheError;
}

utils::Status ObjCacheMgr::locateMetaFile(const std::string& studyUid, std::string& path)
{
  const utils::Status status = utils::MetaManager().getMeta(studyUid, false, false, path, db, true);
  logger.debugLog("The meta repository status is %d for %s ", static_cast<int>(status.value()), studyUid.c_str());
  if (status.value() == utils::STATUS_MISSING)
    logger.debugLog("The meta repository is missing for %s ", studyUid.c_str());
  path.append("/").append(study::kObjectMeta);
  return status;
}

int ObjCacheMgr::importFromMeta(const std::string& studyUid, bool& metaMissing)
{
  metaMissing = false;
  if (objectTable.empty())
    return ImportCode::noObjectTable;
  if (objCacheTable.empty())
    return ImportCode::noObjCacheTable;
  std::string path;
  const utils::Status status = locateMetaFile(studyUid, path);
  if (status)
    return importFromMetaFile(studyUid, path, metaMissing);
  metaMissing = status.value() == utils::STATUS_MISSING;
  return metaMissing ? 0 : ImportCode::metaDirectoryFailed;
}

int ObjCacheMgr::importFromMetaFile(const std::string& studyUid, const std::string& path, bool& metaMissing)
{
  study::ObjMeta meta;
  const ImportCode code = meta.read(path);
  metaMissing = code == ImportCode::missing;
  if (metaMissing)
    logger.debugLog("Objmeta file does not (yet) exist for %s", studyUid.c_str());
  if (code != ImportCode::imported)
    return metaMissing ? 0 : code;
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
  const utils::Status status = locateMetaFile(studyUid, path);
  if (!status)
    return status.value() == utils::STATUS_MISSING ? 0 : ImportCode::metaDirectoryFailed;
  study::ObjMeta meta;
  const ImportCode code = meta.read(path);
  for (const auto& [name, row] : meta.rows)
    files.insert(name);
  return code == ImportCode::missing ? 0 : code;
}

void ObjCacheMgr::addErrorRefs(const std::string& studyUid)
{
  try
  {
    logger.infoLog("Adding ocerror references to %s", studyUid.c_str());
    addReferences(studyUid, collectFiles(studyUid));
  }
  catch (const imutils::IMException& failure)
  {
    logger.errorLog("IM exception caught while adding error references to objects in %s: %s", studyUid.c_str(),
                    failure.what());
  }
  catch (const std::exception& failure)
  {
    logger.errorLog("STD exception caught while adding error references to objects in %s: %s", studyUid.c_str(),
                    failure.what());
  }
  catch (...)
  {
    logger.errorLog("Unrecognized exception caught while adding error references to objects in %s", studyUid.c_str());
  }
}

/// Adds those of the objects in one transaction, which is much faster than one for each. Where that fails, adds them
/// one by one, so that what is wrong with one does not keep the reference from the others.
void ObjCacheMgr::addReferences(const std::string& studyUid, const std::set<std::string>& files)
{
  const auto addTo = [&](const std::string& file)
  { db->references().addReference(studyUid + "/" + file, "OBJECTFILE", kErrorReference); };
  try
  {
    Transaction transaction(sqlConnector(db));
    std::for_each(files.begin(), files.end(), addTo);
    transaction.commit();
  }
  catch (const DBTimeoutException&)
  {
    throw;
  }
  catch (const std::exception&)
  {
    for (const std::string& file : files)
      guarded([&] { addTo(file); }, logger, "Adding error references to OBJECTFILE/%s/%s failed with exception: %s",
              studyUid, file);
  }
  guarded([&] { db->references().addReference(studyUid, kStudyKind, kErrorReference); }, logger,
          "Adding error references to STUDYDIR/%s failed with exception: %s", studyUid);
}

std::set<std::string> ObjCacheMgr::collectFiles(const std::string& studyUid)
{
  std::set<std::string> files;
  const auto collectFromDatabase = [&]
  {
    std::list<std::string> known;
    db->objCache().listObjCacheFiles(studyUid, known);
    files.insert(known.begin(), known.end());
  };
  const auto collectFromMeta = [&]
  {
    if (const int code = getFilesFromMeta(studyUid, files); code != 0)
      logger.errorLog("Collecting objects for %s from objmeta for adding error references failed: %d", studyUid.c_str(),
                      code);
  };
  guarded(collectFromDatabase, logger, "Collecting objects for %s from db for adding error references failed: %s",
          studyUid);
  guarded(collectFromMeta, logger,
          "Collecting objects for %s from objmeta for adding error references failed with exception: %s", studyUid);
  guarded([&] { collectFromDirectories(studyUid, files); }, logger,
          "Collecting objects for %s from study dir for adding error references failed with exception: %s", studyUid);
  return files;
}

void ObjCacheMgr::collectFromDirectories(const std::string& studyUid, std::set<std::string>& files)
{
  if (dicomDataRepository.empty())
    return;
  std::list<std::string> locations;
  getRepoObjects(studyUid, locations, files);
  for (int number = 1; number == 1 || !locations.empty(); ++number)
    getRepoObjects(studyUid + "_dead" + std::to_string(number), locations, files);
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
