#include "Config.h"

#include <fstream>
#include <utility>

namespace tarn::imutils
{

Config::Config(std::string path) : file(std::move(path)) {}

bool Config::Version::operator==(const Version& other) const
{
  return device == other.device && inode == other.inode && size == other.size &&
         changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
}

Config::Version Config::currentVersion() const
{
  struct stat status
  {
  };
  if (stat(file.c_str(), &status) != 0)
    return {};
  return {status.st_dev, status.st_ino, status.st_size, status.st_mtim};
}

void Config::check()
{
  // The version is taken before the file is read: a change in between is loaded again at the next check.
  const Version current = currentVersion();
  if (loaded && *loaded == current)
    return;
  if (current == Version())
    reset();
  else
    load();
  loaded = current;
}

void Config::load()
{
  std::ifstream text(file);
  properties.read(text);
}

void Config::reset()
{
  properties.clear();
}

} // namespace tarn::imutils
