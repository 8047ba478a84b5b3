// System calls whose failures are refusals.
#include "repository/handler/checked.h"

#include <cerrno>
#include <fstream>

#include <sys/stat.h>

#include "repository/handler/Refusal.h"

namespace tarn::repository
{

void requireDone(int result)
{
  if (result != 0)
    throw Refusal{kFailed};
}

void requireMount(const std::string& mount)
{
  struct stat status = {};
  if (stat(mount.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
    throw Refusal{kMountUnreachable};
}

std::optional<mode_t> modeOf(const std::string& path)
{
  struct stat status = {};
  if (lstat(path.c_str(), &status) == 0)
    return status.st_mode;
  if (errno != ENOENT)
    throw Refusal{kMountUnreachable};
  return std::nullopt;
}

void touchFile(const std::string& path)
{
  if (!std::ofstream(path, std::ios::app))
    throw Refusal{kFailed};
}

} // namespace tarn::repository
