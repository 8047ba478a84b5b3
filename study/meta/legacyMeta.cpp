// Takes the meta files over that stand beside a study's objects in the data repository.
#include "study/meta/legacyMeta.h"

#include "base/IMException.h"
#include "base/PartFile.h"
#include "base/files.h"
#include "study/meta/metaFiles.h"
#include "study/meta/storeState.h"

#include <iterator>
#include <set>
#include <system_error>

namespace tarn::study
{
namespace
{

namespace fs = std::filesystem;
using utils::Logger;
using utils::Status;

/// A directory beside a target under a name that the repository handler never gives out. The destructor removes it,
/// unless it was renamed.
struct Scratch
{
  Scratch() = default;
  ~Scratch()
  {
    std::error_code ignored;
    if (isMade)
      fs::remove_all(path, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  void makeFor(const fs::path& target)
  {
    path = base::partPathFor(target, false);
    while (!fs::create_directory(path))
      path = base::partPathFor(target, true);
    isMade = true;
  }

  fs::path path;
  bool isMade = false;
};

void reportNotCreated(const std::string& studyUid, const fs::path& scratch, Logger& logger)
{
  logger.logV("meta directory could not be created for %s; temporary directory %s might have stuck", studyUid.c_str(),
              scratch.c_str());
}

void moveUnlessThere(const fs::path& from, const fs::path& to)
{
  if (!entryExists(to))
    fs::rename(from, to);
}

void fillFromLegacy(const fs::path& legacy, const fs::path& target, db::DBConnector* db, Logger& logger)
{
  std::set<std::string> names(std::begin(kMovable), std::end(kMovable));
  names.insert({kStoreState, kObjectMeta});
  for (const std::string& name : names)
    if (isRegularFile(legacy / name))
      base::copyFile(legacy / name, target / name);
  if (!entryExists(target / kStoreState) && !writeStoreState(target / kStoreState, defaultStoreState(db, logger)))
    throw imutils::IMException("the default store state could not be written");
}

Status publish(const fs::path& filled, const std::string& studyUid, const fs::path& metaDir, Logger& logger)
{
  std::error_code error;
  fs::rename(filled, metaDir, error);
  if (!error)
    return utils::STATUS_OK_COPIED;
  if (error != std::errc::directory_not_empty && error != std::errc::file_exists)
  {
    reportNotCreated(studyUid, filled, logger);
    return utils::STATUS_REPOSITORY_ERROR;
  }
  for (const fs::directory_entry& entry : fs::directory_iterator(filled))
    if (entry.path().filename() != kStoreState)
      moveUnlessThere(entry.path(), metaDir / entry.path().filename());
  moveUnlessThere(filled / kStoreState, metaDir / kStoreState);
  return utils::STATUS_OK_COPIED;
}

} // namespace

bool isLegacyMeta(const fs::path& directory)
{
  return isRegularFile(directory / kStoreState) || isRegularFile(directory / kObjectMeta);
}

Status copyLegacyMeta(const fs::path& legacy, const std::string& studyUid, const fs::path& metaDir, db::DBConnector* db,
                      Logger& logger)
{
  Scratch scratch;
  try
  {
    scratch.makeFor(metaDir);
    fillFromLegacy(legacy, scratch.path, db, logger);
    return publish(scratch.path, studyUid, metaDir, logger);
  }
  catch (const std::exception& failure)
  {
    if (!scratch.isMade)
      reportNotCreated(studyUid, scratch.path, logger);
    logger.logV("MetaManager::copyLegacy() copying the legacy meta of %s failed: %s", studyUid.c_str(), failure.what());
    return utils::STATUS_ERROR;
  }
}

} // namespace tarn::study
