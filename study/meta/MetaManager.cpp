// The meta directories of studies: found, made, filled from the legacy layout, parked and removed.
#include "study/meta/MetaManager.h"

#include "base/IMException.h"
#include "base/environmentValue.h"
#include "base/files.h"
#include "repository/client/IMRepositoryHandlerIface.h"
#include "study/meta/legacyMeta.h"
#include "study/meta/metaFiles.h"
#include "study/meta/storeState.h"
#include "support/Loggers.h"

#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <system_error>

namespace tarn::utils
{
namespace
{

namespace fs = std::filesystem;
using repository::kLocated;
using repository::kMissing;

/// The text of a result of the repository handler.
std::optional<std::string> taken(char* text)
{
  const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
  return text ? std::optional<std::string>(text) : std::nullopt;
}

bool isMissing(int status)
{
  return (status & kMissing) != 0;
}

/// What `look` returns. Where the system does not tell what a directory holds, logs one line and returns STATUS_ERROR.
template <class Look>
Status guarded(const char* operation, const std::string& studyUid, Logger& logger, const Look& look)
{
  try
  {
    return look();
  }
  catch (const std::exception& failure)
  {
    logger.logV("MetaManager::%s() looking for the meta of %s failed: %s", operation, studyUid.c_str(), failure.what());
    return STATUS_ERROR;
  }
}

} // namespace

MetaManager::MetaManager()
  : metaRepository(base::environmentValue("REPOSITORY_META")),
    tempMetaRepository(base::environmentValue("REPOSITORY_TEMPMETA")),
    logger(std::make_shared<SyslogLogger>(imutils::LOG_MODE_ERROR))
{
}

std::optional<std::string> MetaManager::locate(const std::string& repository, const std::string& studyUid, int& status,
                                               const MetaConn& conn) const
{
  status = 0;
  return taken(
      repository::getLocation(repository.c_str(), studyUid.c_str(), &status, true, true, true, conn.connector()));
}

std::optional<std::string> MetaManager::createDirectory(const std::string& repository, const std::string& studyUid,
                                                        int& status, int& existed, const MetaConn& conn) const
{
  status = 0;
  existed = 0;
  return taken(repository::createDirectory(repository.c_str(), studyUid.c_str(), &status, &existed, false, true,
                                           conn.connector()));
}

bool MetaManager::isSet(const std::string& repository, const char* message) const
{
  if (repository.empty())
    logger->log0(message);
  return !repository.empty();
}

Status MetaManager::unreachable(const char* operation, const char* what, const std::string& studyUid, int status) const
{
  logger->logV("MetaManager::%s() repository error while locating %s for %s. Status code: %d", operation, what,
               studyUid.c_str(), status);
  return STATUS_REPOSITORY_ERROR;
}

Status MetaManager::getMeta(const std::string& studyUid, bool create, bool useTemp, std::string& metaDir,
                            db::DBConnector* db, bool checkStoreState) const
{
  metaDir.clear();
  if (!isSet(metaRepository, "Missing environment variable: REPOSITORY_META") ||
      !isSet(tempMetaRepository, "Missing environment variable: REPOSITORY_TEMPMETA"))
    return STATUS_ERROR;
  const MetaConn conn(db);
  return guarded("getMeta", studyUid, *logger,
                 [&] { return findMeta(studyUid, create, useTemp, metaDir, conn, checkStoreState); });
}

Status MetaManager::findMeta(const std::string& studyUid, bool create, bool useTemp, std::string& metaDir,
                             const MetaConn& conn, bool checkStoreState) const
{
  int status = 0;
  const auto found = locate(metaRepository, studyUid, status, conn);
  if (!found && !isMissing(status))
    return unreachable("getMeta", "meta", studyUid, status);
  metaDir = found.value_or("");
  if (checkStoreState && !(found && study::entryExists(fs::path(*found) / study::kStoreState)))
    if (const Status filled = takeOver(studyUid, metaDir, conn); filled.value() != STATUS_MISSING)
      return filled ? STATUS_OK : filled;
  if (found)
    return STATUS_OK;
  if (create)
    return createMeta(studyUid, metaDir, conn);
  return useTemp ? findTemp(studyUid, metaDir, conn) : STATUS_MISSING;
}

Status MetaManager::createMeta(const std::string& studyUid, std::string& metaDir, const MetaConn& conn) const
{
  int status = 0;
  int existed = 0;
  const auto created = createDirectory(metaRepository, studyUid, status, existed, conn);
  if (!created)
  {
    logger->logV("MetaManager::getMeta() creating resource %s failed. Status code: %d", studyUid.c_str(), status);
    return STATUS_REPOSITORY_ERROR;
  }
  metaDir = *created;
  if (existed != 0)
    return STATUS_OK;
  restoreFromTempMeta(studyUid, metaDir, conn);
  return STATUS_OK_NEW;
}

Status MetaManager::findTemp(const std::string& studyUid, std::string& metaDir, const MetaConn& conn) const
{
  int status = 0;
  if (const auto found = locate(tempMetaRepository, studyUid, status, conn))
  {
    metaDir = *found;
    return STATUS_OK_TEMP;
  }
  return isMissing(status) ? STATUS_MISSING : unreachable("getMeta", "tempmeta", studyUid, status);
}

Status MetaManager::copyLegacy(const std::string& studyUid, std::string& metaDir, const MetaConn& conn) const
{
  return guarded("copyLegacy", studyUid, *logger, [&] { return takeOver(studyUid, metaDir, conn); });
}

/// A meta directory that is there is used as it is where the data repository is unreachable.
Status MetaManager::takeOver(const std::string& studyUid, std::string& metaDir, const MetaConn& conn) const
{
  const std::string dataRepository = base::environmentValue("REPOSITORY_DICOM_DATA");
  if (!isSet(dataRepository, "Missing environment variable: REPOSITORY_DICOM_DATA"))
    return STATUS_MISSING;
  int status = 0;
  const auto legacy = locate(dataRepository, studyUid, status, conn);
  if (metaDir.empty() && (status & (kMissing | kLocated)) == 0)
    return unreachable("getMeta", "data", studyUid, status);
  return legacy && study::isLegacyMeta(*legacy) ? copyLegacy(fs::path(*legacy), studyUid, metaDir, conn)
                                                : STATUS_MISSING;
}

Status MetaManager::copyLegacy(const fs::path& legacy, const std::string& studyUid, std::string& metaDir,
                               const MetaConn& conn) const
{
  int status = 0;
  std::optional<std::string> target = metaDir;
  if (metaDir.empty())
    target = taken(repository::createLocation(metaRepository.c_str(), studyUid.c_str(), &status, nullptr, false,
                                              conn.connector()));
  if (!target)
  {
    logger->logV("MetaManager::getMeta() creating resource %s failed. Status code: %d", studyUid.c_str(), status);
    return STATUS_REPOSITORY_ERROR;
  }
  const Status copied = study::copyLegacyMeta(legacy, studyUid, *target, conn.connector(), *logger);
  if (copied)
    metaDir = *target;
  return copied;
}

bool MetaManager::createDefaultStorestate(const fs::path& file, const MetaConn& conn) const
{
  try
  {
    (void)study::processMode(); // what it throws of the record, unlike what is thrown below, is only logged
  }
  catch (const imutils::IMException& failure)
  {
    logger->logV("MetaManager::createDefaultStorestate() writing %s failed: %s", file.c_str(), failure.what());
    return false;
  }
  return study::writeStoreState(file, study::defaultStoreState(conn.connector(), *logger));
}

void MetaManager::addAutoFwdDevices(std::ofstream& stream, const MetaConn& conn) const
{
  stream << study::forwardDevicesLine(conn.connector(), *logger);
}

bool MetaManager::moveFile(const fs::path& from, const fs::path& to) const
{
  std::error_code error;
  const auto failed = [&](const char* format, const fs::path& source, const fs::path& target)
  {
    logger->logV(format, source.c_str(), target.c_str(), error.message().c_str());
    return false;
  };
  fs::rename(from, to, error);
  if (!error)
    return true;
  if (error != std::errc::cross_device_link)
    return failed("MetaManager::saveToTempMeta() moving %s to %s failed: %s", from, to);
  const fs::path copy = to.string() + ".temp";
  std::error_code ignored;
  fs::remove(copy, ignored); // of a move that was interrupted
  try
  {
    base::copyFile(from, copy);
  }
  catch (const base::FileError& failure)
  {
    error = std::error_code(failure.code == 0 ? EINVAL : failure.code, std::generic_category());
    return failed("MetaManager::saveToTempMeta() copying %s to temporary file %s failed: %s", from, copy);
  }
  fs::rename(copy, to, error);
  if (!error && !base::syncFolder(to.parent_path())) // before the one that is on the disk goes
    error = std::error_code(errno, std::generic_category());
  fs::remove(error ? copy : from, ignored);
  return !error || failed("MetaManager::saveToTempMeta() renaming temporary file %s to %s failed: %s", copy, to);
}

void MetaManager::initTempMetaFiles()
{
  tempMetaFiles = {std::begin(study::kMovable), std::end(study::kMovable)};
}

Status MetaManager::saveToTempMeta(const std::string& studyUid, const MetaConn& conn)
{
  initTempMetaFiles();
  return guarded("saveToTempMeta", studyUid, *logger, [&] { return park(studyUid, conn); });
}

Status MetaManager::park(const std::string& studyUid, const MetaConn& conn) const
{
  int status = 0;
  const auto meta = locate(metaRepository, studyUid, status, conn);
  if (!meta)
    return isMissing(status) ? STATUS_MISSING : unreachable("saveToTempMeta", "meta", studyUid, status);
  int existed = 0;
  const auto parked = createDirectory(tempMetaRepository, studyUid, status, existed, conn);
  if (!parked)
  {
    logger->logV("MetaManager::saveToTempMeta() creating tempmeta directory for %s study failed", studyUid.c_str());
    return STATUS_REPOSITORY_ERROR;
  }
  for (const std::string& name : tempMetaFiles)
    if (study::entryExists(fs::path(*meta) / name) && !moveFile(fs::path(*meta) / name, fs::path(*parked) / name))
      return STATUS_ERROR;
  return STATUS_OK;
}

Status MetaManager::restoreFromTempMeta(const std::string& studyUid, const std::string& metaDir,
                                        const MetaConn& conn) const
{
  int status = 0;
  const auto parked = locate(tempMetaRepository, studyUid, status, conn);
  if (!parked)
    return isMissing(status) ? STATUS_MISSING : unreachable("restoreFromTempMeta", "tempmeta", studyUid, status);
  try
  {
    for (const fs::directory_entry& entry : fs::directory_iterator(*parked))
    {
      const fs::path name = entry.path().filename();
      if (study::entryExists(fs::path(metaDir) / name))
        logger->logV("MetaManager::restoreFromTempMeta(): %s already exists in the meta repository for %s; skip moving "
                     "from tempmeta",
                     name.c_str(), studyUid.c_str());
      else if (!moveFile(entry.path(), fs::path(metaDir) / name))
        throw imutils::IMException(name.string());
    }
  }
  catch (const std::exception& failure)
  {
    logger->logV("MetaManager::restoreFromTempMeta() Moving files to meta failed: %s", failure.what());
    return STATUS_ERROR;
  }
  return remove("restoreFromTempMeta", tempMetaRepository, studyUid, conn) ? STATUS_OK : STATUS_REPOSITORY_ERROR;
}

bool MetaManager::remove(const char* operation, const std::string& repository, const std::string& studyUid,
                         const MetaConn& conn) const
{
  const int status = repository::removeResource(repository.c_str(), studyUid.c_str(), conn.connector());
  if (status > 0 && !isMissing(status))
    logger->logV("MetaManager::%s() removing resource %s failed. Status code: %d", operation, studyUid.c_str(), status);
  return status == repository::kDone;
}

bool MetaManager::deleteMeta(const std::string& studyUid, db::DBConnector* db)
{
  if (!isSet(metaRepository, "Missing environment variable: REPOSITORY_META"))
    return false;
  const MetaConn conn(db);
  if (saveToTempMeta(studyUid, conn).value() != STATUS_OK)
  {
    logger->log0("Saving files to tempMeta failed");
    return false;
  }
  return remove("deleteMeta", metaRepository, studyUid, conn);
}

bool MetaManager::deleteTemp(const std::string& studyUid, db::DBConnector* db) const
{
  return !tempMetaRepository.empty() && remove("deleteTemp", tempMetaRepository, studyUid, MetaConn(db));
}

} // namespace tarn::utils
