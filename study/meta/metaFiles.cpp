// The files of a meta directory, as they are looked at and moved.
#include "study/meta/metaFiles.h"

#include <system_error>

namespace tarn::study
{

namespace fs = std::filesystem;

bool entryExists(const fs::path& path)
{
  return fs::exists(fs::symlink_status(path));
}

bool isRegularFile(const fs::path& path)
{
  return fs::is_regular_file(fs::symlink_status(path));
}

bool moveMetaFile(const fs::path& from, const fs::path& to, utils::Logger& logger)
{
  const auto failed =
      [&](const char* format, const fs::path& source, const fs::path& target, const std::error_code& error)
  {
    logger.logV(format, source.c_str(), target.c_str(), error.message().c_str());
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

} // namespace tarn::study
