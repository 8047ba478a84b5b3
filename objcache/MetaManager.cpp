#include "MetaManager.h"

#include "DBConnector.h"
#include "DeviceAccessor.h"
#include "IMException.h"
#include "IMRepositoryHandlerIface.h"
#include "SelfRec.h"
#include "SyslogLogger.h"
#include "environmentValue.h"

#include <cstdlib>
#include <list>
#include <system_error>
#include <thread>
#include <utility>

#include <unistd.h>

namespace tarn::utils
{
namespace
{

namespace fs = std::filesystem;
using repository::kLocated;
using repository::kMissing;

constexpr char kStoreState[] = "storestate.rec";
constexpr char kObjectMeta[] = "objectdb.meta";
constexpr const char* kMovable[] = {"order",  "obsinfo.rec",   "derivationInfo", "multihub.info",
                                    "moveto", "movehere.uids", "movehere.mod",   "resend"};

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

/// Both throw where the system does not tell: what cannot be looked at is not taken for missing.
bool isThere(const fs::path& path)
{
  return fs::exists(fs::symlink_status(path));
}

/// Links are not followed: what they lead to is no part of the repository.
bool isRegularFile(const fs::path& path)
{
  return fs::is_regular_file(fs::symlink_status(path));
}

bool isLegacy(const fs::path& directory)
{
  return isRegularFile(directory / kStoreState) || isRegularFile(directory / kObjectMeta);
}

std::string processMode()
{
  return imutils::SelfRec::Instance()->getProperty("ProcessMode") == "Store" ? "Store" : "Process";
}

std::string forwardDeviceNames(const char* targetTable, const char* serviceTable, const MetaConn& conn)
{
  if (!conn.connector())
    throw imutils::IMException("no database connection");
  std::list<db::DeviceRecord> devices;
  conn.connector()->devices().listAutoForwardDevices(targetTable, serviceTable, devices);
  std::string names;
  for (const db::DeviceRecord& device : devices)
    if (device.type == 'P' || device.type == 'C')
      names += (names.empty() ? "" : " ") + device.name;
  return names;
}

/// A new directory that goes with its owner, unless it was renamed.
class Scratch
{
public:
  explicit Scratch(fs::path directory) : path(std::move(directory))
  {
    fs::remove_all(path); // of a process that had this number
    fs::create_directory(path);
  }
  ~Scratch()
  {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  const fs::path path;
};

/// Where the directory that is to become `metaDir` is filled: a name that the repository handler never gives out.
fs::path besideMeta(const fs::path& metaDir)
{
  return metaDir.parent_path() / ("." + metaDir.filename().string() + "." + std::to_string(getpid()) + ".part");
}

void moveUnlessThere(const fs::path& from, const fs::path& to)
{
  if (!isThere(to))
    fs::rename(from, to);
}

} // namespace

MetaManager::MetaManager()
  : metaRepository(environmentValue("REPOSITORY_META")), tempMetaRepository(environmentValue("REPOSITORY_TEMPMETA")),
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

Status MetaManager::findMeta(const std::string& study, bool create, bool useTemp, std::string& metaDir, MetaConn& conn,
                             bool checkStoreState) const
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

Status MetaManager::createMeta(const std::string& study, std::string& metaDir, MetaConn& conn) const
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

Status MetaManager::copyLegacy(const std::string& study, std::string& metaDir, MetaConn& conn) const
{
  const std::string dataRepository = environmentValue("REPOSITORY_DICOM_DATA");
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
  return legacy && isLegacy(*legacy) ? copyLegacy(fs::path(*legacy), study, metaDir, conn) : STATUS_MISSING;
}

Status MetaManager::copyLegacy(const fs::path& legacy, const std::string& study, std::string& metaDir,
                               MetaConn& conn) const
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
  try
  {
    const Scratch scratch(besideMeta(*target));
    fillFromLegacy(legacy, scratch.path, conn);
    const Status published = publish(scratch.path, study, *target);
    if (published)
      metaDir = *target;
    return published;
  }
  catch (const std::exception& failure)
  {
    logger->logV("MetaManager::copyLegacy() copying the legacy meta of %s failed: %s", study.c_str(), failure.what());
    return STATUS_ERROR;
  }
}

void MetaManager::fillFromLegacy(const fs::path& legacy, const fs::path& target, MetaConn& conn) const
{
  std::set<std::string> names(std::begin(kMovable), std::end(kMovable));
  names.insert({kStoreState, kObjectMeta});
  for (const std::string& name : names)
    if (isRegularFile(legacy / name))
      copyUnchanged(legacy / name, target / name);
  if (!isThere(target / kStoreState) && !createDefaultStorestate(target / kStoreState, conn))
    throw imutils::IMException("the default store state could not be written");
}

void MetaManager::copyUnchanged(const fs::path& from, const fs::path& to) const
{
  const auto version = [&] { return std::make_pair(fs::last_write_time(from), fs::file_size(from)); };
  for (int attempt = 0; attempt < copyAttempts; ++attempt)
  {
    const auto before = version();
    fs::copy_file(from, to, fs::copy_options::overwrite_existing);
    if (version() == before)
      return;
    std::this_thread::sleep_for(copyWait);
  }
  throw imutils::IMException(from.string() + " keeps changing");
}

Status MetaManager::publish(const fs::path& filled, const std::string& study, const std::string& metaDir) const
{
  std::error_code error;
  fs::rename(filled, metaDir, error);
  if (!error)
    return STATUS_OK_COPIED;
  if (error != std::errc::directory_not_empty && error != std::errc::file_exists)
  {
    logger->logV("meta directory could not be created for %s; temporary directory %s might have stuck", study.c_str(),
                 filled.c_str());
    return STATUS_REPOSITORY_ERROR;
  }
  for (const fs::directory_entry& entry : fs::directory_iterator(filled))
    if (entry.path().filename() != kStoreState)
      moveUnlessThere(entry.path(), metaDir / entry.path().filename());
  moveUnlessThere(filled / kStoreState, fs::path(metaDir) / kStoreState);
  return STATUS_OK_COPIED;
}

bool MetaManager::createDefaultStorestate(const fs::path& file, MetaConn& conn) const
{
  std::ofstream stream(file, std::ios::trunc);
  stream << "Version=\"1\"\n"
         << "ProcessMode=\"" << processMode() << "\"\n"
         << "StudyOwner=\"yes\"\n";
  addAutoFwdDevices(stream, conn);
  stream.close();
  return stream.good();
}

void MetaManager::addAutoFwdDevices(std::ofstream& stream, MetaConn& conn) const
{
  const char* targetTable = std::getenv("TARGETTBL");
  const char* serviceTable = std::getenv("DEVSERVTBL");
  if (!targetTable || !serviceTable)
    throw imutils::IMException("Missing environment variables:  TARGETTBL, DEVSERVTBL");
  std::string names;
  try
  {
    names = forwardDeviceNames(targetTable, serviceTable, conn);
  }
  catch (const std::exception& failure)
  {
    logger->logV("Error getting autoforward devices: %s", failure.what());
  }
  stream << "ForwardDevices=\"" << names << "\"\n";
}

bool MetaManager::moveFile(const fs::path& from, const fs::path& to) const
{
  const auto failed =
      [&](const char* format, const fs::path& source, const fs::path& target, const std::error_code& error)
  {
    logger->logV(format, source.c_str(), target.c_str(), error.message().c_str());
    return false;
  };
  std::error_code error;
  fs::rename(from, to, error);
  if (!error)
    return true;
  if (error != std::errc::cross_device_link)
    return failed("MetaManager::saveToTempMeta() moving %s to %s failed: %s", from, to, error);
  const fs::path copy = to.string() + ".temp";
  std::error_code ignored;
  if (!fs::copy_file(from, copy, fs::copy_options::overwrite_existing, error))
  {
    fs::remove(copy, ignored);
    return failed("MetaManager::saveToTempMeta() copying %s to temporary file %s failed: %s", from, copy, error);
  }
  fs::rename(copy, to, error);
  if (error)
  {
    fs::remove(copy, ignored);
    return failed("MetaManager::saveToTempMeta() renaming temporary file %s to %s failed: %s", copy, to, error);
  }
  fs::remove(from, ignored);
  return true;
}

void MetaManager::initTempMetaFiles()
{
  tempMetaFiles = {std::begin(kMovable), std::end(kMovable)};
}

Status MetaManager::saveToTempMeta(const std::string& study, MetaConn& conn)
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

Status MetaManager::restoreFromTempMeta(const std::string& study, const std::string& metaDir, MetaConn& conn) const
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
    return logger->log0("Missing environment variable: REPOSITORY_META"), false;
  MetaConn conn(db);
  if (saveToTempMeta(study, conn).value() != STATUS_OK)
    return logger->log0("Saving files to tempMeta failed"), false;
  return repository::removeResource(metaRepository.c_str(), study.c_str(), db) == 0;
}

bool MetaManager::deleteTemp(const std::string& study, db::DBConnector* db) const
{
  return !tempMetaRepository.empty() && repository::removeResource(tempMetaRepository.c_str(), study.c_str(), db) == 0;
}

} // namespace tarn::utils
