// Studies in the database and in the meta repository, changed together.
#include "tools/StudyAdmin.h"

#include "base/IMException.h"
#include "base/PartFile.h"
#include "base/files.h"
#include "db/DBConnectorSql.h"
#include "db/SqlSession.h"
#include "study/cache/StudyLock.h"
#include "study/meta/metaFiles.h"
#include "study/meta/storeState.h"
#include "support/Loggers.h"

#include <cerrno>
#include <cstring>

namespace tarn::tools
{
namespace
{

using imutils::IMException;

void take(study::StudyLock& lock, const std::string& studyUid)
{
  try
  {
    lock.lock();
  }
  catch (const imutils::IMTimeoutException&)
  {
    throw IMException(studyUid + ": another process has held the study's lock for 30 seconds");
  }
}

void require(bool isDone, const base::PartFile& file)
{
  if (!isDone)
    throw IMException(file.path() + ": " + std::strerror(errno));
}

/// Fills a file that waits for its name, with the permissions of what it replaces; it is on the disk then.
bool fill(const base::PartFile& file, const std::string& text)
{
  return file.good() && file.write(text.data(), text.size()) && file.permit() && file.sync();
}

/// Gives a complete file its name, for good.
void publish(base::PartFile& file, const std::string& folder)
{
  require(file.keep() && base::syncFolder(folder), file);
}

void readExisting(const std::string& path, study::ObjMetaUpdate& update)
{
  try
  {
    update.read(path);
  }
  catch (const IMException& refusal)
  {
    throw IMException(refusal.what() + std::string(" (--replace writes it anew)"));
  }
}

[[noreturn]] void refuseMeta(const std::string& studyUid, const std::string& what)
{
  throw IMException(studyUid + ": its meta directory cannot be " + what + ", see the log");
}

} // namespace

StudyReport StudyAdmin::reportOn(const std::string& studyUid)
{
  StudyReport report;
  report.state = admin.studyState(studyUid);
  report.meta = metaManager.getMeta(studyUid, false, true, report.metaDir, &db, false);
  return report;
}

study::ObjMetaUpdate StudyAdmin::add(const std::string& studyUid, const std::vector<study::StudyObject>& objects,
                                     const AddOptions& options)
{
  study::StudyLock lock(studyUid, &db);
  take(lock, studyUid);
  const db::StudyState before = admin.studyState(studyUid);
  const std::string metaDir = makeMetaDir(studyUid);
  const std::string path = metaDir + "/" + study::kObjectMeta;
  study::ObjMetaUpdate update;
  if (!options.replace)
    readExisting(path, update);
  for (const study::StudyObject& object : objects)
    update.put(object);
  base::PartFile file(path);
  require(fill(file, update.meta.text()), file);

  resetEntry(studyUid, before);
  publish(file, metaDir);
  const bool wasRequired = before.row && before.row->metaRequired;
  admin.registerStudy(studyUid, static_cast<int>(update.meta.rows.size()), options.metaRequired.value_or(wasRequired));
  return update;
}

std::string StudyAdmin::makeMetaDir(const std::string& studyUid)
{
  std::string metaDir;
  if (!metaManager.getMeta(studyUid, true, false, metaDir, &db, true))
    refuseMeta(studyUid, "made");
  const std::string path = metaDir + "/" + study::kStoreState;
  if (study::entryExists(path))
    return metaDir;
  utils::SyslogLogger logger(imutils::LOG_MODE_ERROR);
  const std::string text = study::defaultStoreState(&db, logger);
  base::PartFile file(path);
  if (!fill(file, text))
    throw IMException(path + ": the store state cannot be written");
  publish(file, metaDir);
  return metaDir;
}

/// A valid entry must not outlive the object meta file that its rows come from: it is gone for good before the file
/// changes.
void StudyAdmin::resetEntry(const std::string& studyUid, const db::StudyState& state)
{
  if (state.row)
    admin.registerStudy(studyUid, state.row->objectCount, state.row->metaRequired);
  else
    admin.clearError(studyUid);
  db.session().sync();
}

void StudyAdmin::clearError(const std::string& studyUid)
{
  study::StudyLock lock(studyUid, &db);
  take(lock, studyUid);
  if (!reportOn(studyUid).isKnown())
    throw IMException(studyUid + ": no such study");
  admin.clearError(studyUid);
}

void StudyAdmin::remove(const std::string& studyUid)
{
  study::StudyLock lock(studyUid, &db);
  take(lock, studyUid);
  if (!reportOn(studyUid).isKnown())
    throw IMException(studyUid + ": no such study");
  removeMeta(studyUid);
  admin.removeStudy(studyUid);
}

void StudyAdmin::removeMeta(const std::string& studyUid)
{
  std::string metaDir;
  const utils::Status found = metaManager.getMeta(studyUid, false, true, metaDir, &db, false);
  if (found.value() == utils::STATUS_MISSING)
    return;
  const bool isParked = found.value() == utils::STATUS_OK_TEMP;
  if (!found || !(isParked || metaManager.deleteMeta(studyUid, &db)) || !metaManager.deleteTemp(studyUid, &db))
    refuseMeta(studyUid, "removed");
}

} // namespace tarn::tools
