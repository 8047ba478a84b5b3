#include "study/meta/MetaManager.h"

#include "base/IMException.h"
#include "repository/client/IMRepositoryHandlerIface.h"
#include "support/SyslogLogger.h"
#include "base/environmentValue.h"
#include "study/meta/legacyMeta.h"
#include "study/meta/metaFiles.h"
#include "study/meta/storeState.h"

#include <cstdlib>

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

} // namespace

MetaManager::MetaManager()
  : metaRepository(base::environmentValue("REPOSITORY_META")),
    tempMetaRepository(base::environmentValue("REPOSITORY_TEMPMETA")),
    logger(std::make_shared<SyslogLogger>(imutils::LOG_MODE_ERROR))
{
}

std::optional<std::string> MetaManager::locate(const std::string& repository, const std::string& study, int& status,
                                               const MetaConn& conn) const
{
  status = 0;
  return taken(repository::getLocation(repository.c_str(), study.c_str(), &status, true, true, true, conn.connector()));
}

std::optional<std::string> MetaManager::createDirectory(const std::string& repository, const std::string& study,
                                                        int& status, bool& existed, const MetaConn& conn) const
{
  status = 0;
  int wasThere = 0;
  auto path = taken(repository::createDirectory(repository.c_str(), study.c_str(), &status, &wasThere, false, true,
                                                conn.connector()));
  existed = wasThere != 0;
  return path;
}

Status MetaManager::getMeta(const std::string& study, bool create, bool useTemp, std::string& metaDir,
                            db::DBConnector* db, bool checkStoreState) const
{
  metaDir.clear();
  if (metaRepository.empty())
    return logger->log0("Missing environment variable: REPOSITORY_META"), STATUS_ERROR;
  if (tempMetaRepository.empty())
    return logger->log0("Missing environment variable: REPOSITORY_TEMPMETA"), STATUS_ERROR;
  try
  {
    MetaConn conn(db);
    return findMeta(study, create, useTemp, metaDir, conn, checkStoreState);
  }
  catch (const fs::filesystem_error& failure)
  {
    logger->logV("MetaManager::getMeta() looking for the meta of %s failed: %s", study.c_str(), failure.what());
    return STATUS_ERROR;
  }
}

Status MetaManager::findMeta(const std::string& study, bool create, bool useTemp, std::string& metaDir,
                             const MetaConn& conn, bool checkStoreState) const
{
  int status = 0;
  const auto found = locate(metaRepository, study, status, conn);
  if (!found && !isMissing(status))
  {
    logger->logV("MetaManager::getMeta() repository error while locating meta for %s. Status code: %d", study.c_str(),
                 status);
    return STATUS_REPOSITORY_ERROR;
  }
  metaDir = found.value_or("");
  if (checkStoreState && !(found && isThere(fs::path(*found) / kStoreState)))
    if (const Status filled = copyLegacy(study, metaDir, conn); filled.value() != STATUS_MISSING)
      return filled ? STATUS_OK : filled;
  if (found)
    return STATUS_OK;
  if (create)
    return createMeta(study, metaDir, conn);
  return useTemp ? findTemp(study, metaDir, conn) : STATUS_MISSING;
}

Status MetaManager::createMeta(const std::string& study, std::string& metaDir, const MetaConn& conn) const
{
  int status = 0;
  bool existed = false;
  const auto created = createDirectory(metaRepository, study, status, existed, conn);
  if (!created)
  {
    logger->logV("MetaManager::getMeta() creating resource %s failed. Status code: %d", study.c_str(), status);
    return STATUS_REPOSITORY_ERROR;
  }
  metaDir = *created;
  if (existed)
    return STATUS_OK;
  restoreFromTempMeta(study, metaDir, conn);
  return STATUS_OK_NEW;
}

Status MetaManager::findTemp(const std::string& study, std::string& metaDir, const MetaConn& conn) const
{
  int status = 0;
  if (const auto found = locate(tempMetaRepository, study, status, conn))
    return metaDir = *found, STATUS_OK_TEMP;
  if (isMissing(status))
    return STATUS_MISSING;
  logger->logV("MetaManager::getMeta() repository error while locating tempmeta for %s. Status code: %d", study.c_str(),
               status);
  return STATUS_REPOSITORY_ERROR;
}

Status MetaManager::copyLegacy(const std::string& study, std::string& metaDir, const MetaConn& conn) const
{
  const std::string dataRepository = base::environmentValue("REPOSITORY_DICOM_DATA");
  if (dataRepository.empty())
    return logger->log0("Missing environment variable: REPOSITORY_DICOM_DATA"), STATUS_MISSING;
  int status = 0;
  const auto legacy = locate(dataRepository, study, status, conn);
  if ((status & (kMissing | kLocated)) == 0)
  {
    logger->logV("MetaManager::getMeta() repository error while locating data for %s. Status code: %d", study.c_str(),
                 status);
    return STATUS_REPOSITORY_ERROR;
  }
  return legacy && isLegacyMeta(*legacy) ? copyLegacy(fs::path(*legacy), study, metaDir, conn) : STATUS_MISSING;
}

Status MetaManager::copyLegacy(const fs::path& legacy, const std::string& study, std::string& metaDir,
                               const MetaConn& conn) const
{
  int status = 0;
  const auto target = metaDir.empty() ? taken(repository::createLocation(metaRepository.c_str(), study.c_str(), &status,
                                                                         nullptr, false, conn.connector()))
                                      : metaDir;
  if (!target)
  {
    logger->logV("MetaManager::getMeta() creating resource %s failed. Status code: %d", study.c_str(), status);
    return STATUS_REPOSITORY_ERROR;
  }
  const Status copied = copyLegacyMeta(legacy, study, *target, conn, *logger);
  if (copied)
    metaDir = *target;
  return copied;
}

bool MetaManager::createDefaultStorestate(const fs::path& file, const MetaConn& conn) const
{
  return writeDefaultStoreState(file, conn, *logger);
}

void MetaManager::addAutoFwdDevices(std::ofstream& stream, const MetaConn& conn) const
{
  writeForwardDevices(stream, conn, *logger);
}

bool MetaManager::moveFile(const fs::path& from, const fs::path& to) const
{
  return moveMetaFile(from, to, *logger);
}

void MetaManager::initTempMetaFiles()
{
  tempMetaFiles = {std::begin(kMovable), std::end(kMovable)};
}

Status MetaManager::saveToTempMeta(const std::string& study, const MetaConn& conn)
{
  int status = 0;
  const auto meta = locate(metaRepository, study, status, conn);
  if (!meta && isMissing(status))
    return STATUS_MISSING;
  if (!meta)
  {
    logger->logV("MetaManager::saveToTempMeta() repository error while locating meta for %s. Status code: %d",
                 study.c_str(), status);
    return STATUS_REPOSITORY_ERROR;
  }
  initTempMetaFiles();
  bool existed = false;
  const auto parked = createDirectory(tempMetaRepository, study, status, existed, conn);
  if (!parked)
  {
    logger->logV("MetaManager::saveToTempMeta() creating tempmeta directory for %s study failed", study.c_str());
    return STATUS_REPOSITORY_ERROR;
  }
  for (const std::string& name : tempMetaFiles)
    if (isThere(fs::path(*meta) / name) && !moveFile(fs::path(*meta) / name, fs::path(*parked) / name))
      return STATUS_ERROR;
  return STATUS_OK;
}

Status MetaManager::restoreFromTempMeta(const std::string& study, const std::string& metaDir,
                                        const MetaConn& conn) const
{
  int status = 0;
  const auto parked = locate(tempMetaRepository, study, status, conn);
  if (!parked && isMissing(status))
    return STATUS_MISSING;
  if (!parked)
  {
    logger->logV("MetaManager::restoreFromTempMeta() repository error while locating tempmeta for %s. Status code: %d",
                 study.c_str(), status);
    return STATUS_REPOSITORY_ERROR;
  }
  try
  {
    for (const fs::directory_entry& entry : fs::directory_iterator(*parked))
    {
      const fs::path name = entry.path().filename();
      if (isThere(metaDir / name))
        logger->logV("MetaManager::restoreFromTempMeta(): %s already exists in the meta repository for %s; skip "
                     "moving from tempmeta",
                     name.c_str(), study.c_str());
      else if (!moveFile(entry.path(), metaDir / name))
        throw imutils::IMException(name.string());
    }
  }
  catch (const std::exception& failure)
  {
    logger->logV("MetaManager::restoreFromTempMeta() Moving files to meta failed: %s", failure.what());
    return STATUS_ERROR;
  }
  const int removed = repository::removeResource(tempMetaRepository.c_str(), study.c_str(), conn.connector());
  return removed == 0 ? STATUS_OK : STATUS_REPOSITORY_ERROR;
}

bool MetaManager::deleteMeta(const std::string& study, db::DBConnector* db)
{
  if (metaRepository.empty())
  {
    logger->log0("Missing environment variable: REPOSITORY_META");
    return false;
  }
  const MetaConn conn(db);
  if (saveToTempMeta(study, conn).value() != STATUS_OK)
  {
    logger->log0("Saving files to tempMeta failed");
    return false;
  }
  return repository::removeResource(metaRepository.c_str(), study.c_str(), db) == 0;
}

bool MetaManager::deleteTemp(const std::string& study, db::DBConnector* db) const
{
  return !tempMetaRepository.empty() && repository::removeResource(tempMetaRepository.c_str(), study.c_str(), db) == 0;
}

} // namespace tarn::utils
