#include "study/meta/legacyMeta.h"

#include "base/IMException.h"
#include "base/PartFile.h"
#include "study/meta/metaFiles.h"
#include "study/meta/storeState.h"

#include <chrono>
#include <memory>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

namespace tarn::utils
{
namespace
{

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds kCopyWait{100}; // before a file that changed while it was copied is copied again,
constexpr int kCopyAttempts = 10;                   // at most this often

/// A new directory beside `target` under a name that the repository handler never gives out; it goes with its owner,
/// unless it was renamed.
class Scratch
{
public:
  explicit Scratch(const fs::path& target) : path(base::partPathFor(target, false))
  {
    while (!fs::create_directory(path))
      path = base::partPathFor(target, true);
  }
  ~Scratch()
  {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  fs::path path;
};

void reportNotCreated(const std::string& study, const fs::path& scratch, Logger& logger)
{
  logger.logV("meta directory could not be created for %s; temporary directory %s might have stuck", study.c_str(),
              scratch.c_str());
}

std::unique_ptr<Scratch> makeScratch(const std::string& study, const fs::path& target, Logger& logger)
{
  try
  {
    return std::make_unique<Scratch>(target);
  }
  catch (const std::exception&)
  {
    reportNotCreated(study, base::partPathFor(target, false), logger);
    throw;
  }
}

void moveUnlessThere(const fs::path& from, const fs::path& to)
{
  if (!isThere(to))
    fs::rename(from, to);
}

void copyUnchanged(const fs::path& from, const fs::path& to)
{
  const auto version = [&] { return std::make_pair(fs::last_write_time(from), fs::file_size(from)); };
  for (int attempt = 0; attempt < kCopyAttempts; ++attempt)
  {
    const auto before = version();
    fs::copy_file(from, to, fs::copy_options::overwrite_existing);
    if (version() == before)
      return;
    std::this_thread::sleep_for(kCopyWait);
  }
  throw imutils::IMException(from.string() + " keeps changing");
}

void fillFromLegacy(const fs::path& legacy, const fs::path& target, const MetaConn& conn, Logger& logger)
{
  std::set<std::string> names(std::begin(kMovable), std::end(kMovable));
  names.insert({kStoreState, kObjectMeta});
  for (const std::string& name : names)
    if (isRegularFile(legacy / name))
      copyUnchanged(legacy / name, target / name);
  if (!isThere(target / kStoreState) && !writeDefaultStoreState(target / kStoreState, conn, logger))
    throw imutils::IMException("the default store state could not be written");
}

Status publish(const fs::path& filled, const std::string& study, const fs::path& metaDir, Logger& logger)
{
  std::error_code error;
  fs::rename(filled, metaDir, error);
  if (!error)
    return STATUS_OK_COPIED;
  if (error != std::errc::directory_not_empty && error != std::errc::file_exists)
  {
    reportNotCreated(study, filled, logger);
    return STATUS_REPOSITORY_ERROR;
  }
  for (const fs::directory_entry& entry : fs::directory_iterator(filled))
    if (entry.path().filename() != kStoreState)
      moveUnlessThere(entry.path(), metaDir / entry.path().filename());
  moveUnlessThere(filled / kStoreState, metaDir / kStoreState);
  return STATUS_OK_COPIED;
}

} // namespace

bool isLegacyMeta(const fs::path& directory)
{
  return isRegularFile(directory / kStoreState) || isRegularFile(directory / kObjectMeta);
}

Status copyLegacyMeta(const fs::path& legacy, const std::string& study, const fs::path& metaDir, const MetaConn& conn,
                      Logger& logger)
{
  try
  {
    const auto scratch = makeScratch(study, metaDir, logger);
    fillFromLegacy(legacy, scratch->path, conn, logger);
    return publish(scratch->path, study, metaDir, logger);
  }
  catch (const std::exception& failure)
  {
    logger.logV("MetaManager::copyLegacy() copying the legacy meta of %s failed: %s", study.c_str(), failure.what());
    return STATUS_ERROR;
  }
}

} // namespace tarn::utils
