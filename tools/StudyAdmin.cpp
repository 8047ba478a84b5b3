#include "tools/StudyAdmin.h"

#include "db/DBConnectorSql.h"
#include "base/IMException.h"
#include "tools/ObjectMetaFile.h"
#include "base/PartFile.h"
#include "base/files.h"
#include "study/cache/StudyLock.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace tarn::tools
{
namespace
{

namespace fs = std::filesystem;
using imutils::IMException;

void take(db::StudyLock& lock, const std::string& study)
{
  try
  {
    lock.lock();
  }
  catch (const imutils::IMTimeoutException&)
  {
    throw IMException(study + ": another process has held the study's lock for 30 seconds");
  }
}

/// Gives a complete file its name, for good.
void publish(base::PartFile& file, const std::string& folder)
{
  if (!file.keep() || !base::syncFolder(folder))
    throw IMException(file.path() + ": " + std::strerror(errno));
}

[[noreturn]] void refuseMeta(const std::string& study, const std::string& what)
{
  throw IMException(study + ": its meta directory cannot be " + what + ", see the log");
}

} // namespace

bool StudyReport::isKnown() const
{
  return state.row || state.entry || state.objectRows > 0 || state.references > 0 || meta;
}

StudyAdmin::StudyAdmin(db::DBConnectorSql& connector) : db(connector), admin(connector) {}

StudyReport StudyAdmin::reportOn(const std::string& study)
{
  StudyReport report;
  report.state = admin.studyState(study);
  report.meta = metaManager.getMeta(study, false, true, report.metaDir, &db, false);
  return report;
}

AddedStudy StudyAdmin::add(const std::string& study, const std::vector<StudyObject>& objects, const AddOptions& options)
{
  db::StudyLock lock(study, &db);
  take(lock, study);
  const db::StudyState before = admin.studyState(study);
  const std::string metaDir = metaDirForWriting(study);
  writeStoreState(metaDir);

  const std::string path = metaDir + "/objectdb.meta";
  ObjectMetaFile meta;
  if (!options.replace)
    meta.read(path);
  for (const StudyObject& object : objects)
    meta.put(object);
  base::PartFile file(path);
  meta.write(file);

  resetEntry(study, before);
  publish(file, metaDir);
  const bool wasRequired = before.row && before.row->metaRequired;
  admin.registerStudy(study, static_cast<int>(meta.size()), options.metaRequired.value_or(wasRequired));
  return {meta.size(), meta.added(), meta.changed()};
}

std::string StudyAdmin::metaDirForWriting(const std::string& study)
{
  std::string metaDir;
  if (!metaManager.getMeta(study, true, false, metaDir, &db, true))
    refuseMeta(study, "made");
  return metaDir;
}

void StudyAdmin::writeStoreState(const std::string& metaDir)
{
  const std::string path = metaDir + "/storestate.rec";
  if (fs::exists(fs::symlink_status(path)))
    return;
  base::PartFile file(path);
  utils::MetaConn conn(&db);
  if (!file.good() || !metaManager.createDefaultStorestate(file.path(), conn) || !file.sync())
    throw IMException(path + ": the store state cannot be written");
  publish(file, metaDir);
}

/// The rows that a valid entry stands for are about to be no longer those of the object meta file: the entry is gone
/// for good before the file changes.
void StudyAdmin::resetEntry(const std::string& study, const db::StudyState& state)
{
  if (state.row)
    admin.registerStudy(study, state.row->objectCount, state.row->metaRequired);
  else
    admin.clearError(study);
  db.sync();
}

void StudyAdmin::clearError(const std::string& study)
{
  db::StudyLock lock(study, &db);
  take(lock, study);
  if (!reportOn(study).isKnown())
    throw IMException(study + ": no such study");
  admin.clearError(study);
}

void StudyAdmin::remove(const std::string& study)
{
  db::StudyLock lock(study, &db);
  take(lock, study);
  if (!reportOn(study).isKnown())
    throw IMException(study + ": no such study");
  removeMeta(study);
  admin.removeStudy(study);
}

void StudyAdmin::removeMeta(const std::string& study)
{
  std::string metaDir;
  const utils::Status found = metaManager.getMeta(study, false, true, metaDir, &db, false);
  if (found.value() == utils::STATUS_MISSING)
    return;
  const bool isParked = found.value() == utils::STATUS_OK_TEMP;
  if (!found || !(isParked || metaManager.deleteMeta(study, &db)) || !metaManager.deleteTemp(study, &db))
    refuseMeta(study, "removed");
}

} // namespace tarn::tools
