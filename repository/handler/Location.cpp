// A resource in one mount, with what the library keeps beside it.
#include "repository/handler/Location.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Fd.h"
#include "repository/handler/Refusal.h"

namespace tarn::repository
{
namespace
{

constexpr char kDirtyFlag[] = ".dirty";

} // namespace

bool Location::exists() const
{
  const std::optional<mode_t> mode = modeOf(path());
  if (!mode)
    requireMount(mount);
  else if (!S_ISDIR(*mode))
    throw Refusal{kFailed};
  return mode.has_value();
}

bool Location::isDirty() const
{
  return modeOf(beside(kDirtyFlag)).has_value();
}

void Location::setDirty(bool dirty) const
{
  if (dirty)
    touchFile(beside(kDirtyFlag));
  else
    unlink(beside(kDirtyFlag).c_str());
}

utimbuf Location::times() const
{
  struct stat status = {};
  requireDone(stat(path().c_str(), &status));
  return {status.st_atime, status.st_mtime};
}

void Location::setTimes(const utimbuf& times) const
{
  const timespec both[] = {{times.actime, 0}, {times.modtime, 0}};
  requireDone(utimensat(AT_FDCWD, path().c_str(), both, 0));
}

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
  const base::Fd made(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (!made && errno != EEXIST)
    throw Refusal{kFailed};
}

} // namespace tarn::repository
