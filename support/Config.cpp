// A properties file that is read again when it changed.
#include "support/Config.h"

#include "base/IMException.h"
#include "base/files.h"

#include <cerrno>
#include <sstream>
#include <system_error>

#include <sys/stat.h>

namespace tarn::imutils
{

IMException Config::unreadable(const std::string& reason) const
{
  return IMException(file + " cannot be read: " + reason);
}

Config::Version Config::currentVersion() const
{
  struct stat status = {};
  if (file.front() != '/')
    throw unreadable("Not an absolute path");
  if (stat(file.c_str(), &status) != 0)
  {
    if (errno == ENOENT || errno == ENOTDIR)
      return {};
    throw unreadable(std::generic_category().message(errno));
  }
  return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

void Config::check()
{
  // The version is taken before the file is read: a change in between is loaded again at the next check.
  const Version current = currentVersion();
  if (loaded == current)
    return;
  if (current == Version())
    reset();
  else
    load();
  loaded = current;
}

void Config::load()
{
  try
  {
    std::istringstream text(base::fileContent(file).value_or(""));
    properties.read(text);
  }
  catch (const IMException& failure)
  {
    throw unreadable(failure.what());
  }
}

void Config::reset()
{
  properties = {};
}

} // namespace tarn::imutils
