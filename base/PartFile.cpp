#include "base/PartFile.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarn
{
namespace
{

constexpr int kNamesTried = 16;

} // namespace

std::string partPathFor(const std::string& target, bool isTaken)
{
  const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
  const std::string suffix = "." + std::to_string(getpid()) + (isTaken ? "-" + std::to_string(now) : "") + ".part";
  const std::size_t slash = target.rfind('/');
  const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
  const std::string name = target.substr(start).substr(0, NAME_MAX - suffix.size() - 1);
  return target.substr(0, start) + "." + name + suffix;
}

PartFile::PartFile(const std::string& targetPath) : target(targetPath)
{
  for (int tried = 0; fd < 0 && tried < kNamesTried && (tried == 0 || errno == EEXIST); ++tried)
  {
    partPath = partPathFor(target, tried > 0);
    fd = open(partPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  }
  mustGo = fd >= 0;
}

PartFile::~PartFile()
{
  if (fd >= 0)
    close(fd);
  if (mustGo)
    unlink(partPath.c_str());
}

bool PartFile::write(const char* bytes, std::size_t length) const
{
  while (length > 0)
  {
    const ssize_t written = ::write(fd, bytes, length);
    if (written < 0 && errno == EINTR)
      continue;
    if (written < 0)
      return false;
    bytes += written;
    length -= static_cast<std::size_t>(written);
  }
  return true;
}

bool PartFile::setMode(mode_t mode) const
{
  return fchmod(fd, mode) == 0;
}

bool PartFile::sync() const
{
  return fsync(fd) == 0;
}

bool PartFile::keep()
{
  const bool closed = close(std::exchange(fd, -1)) == 0;
  const bool kept = closed && std::rename(partPath.c_str(), target.c_str()) == 0;
  mustGo = mustGo && !kept;
  return kept;
}

bool syncFolder(const std::string& folder)
{
  const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0)
    return false;
  const bool synced = fsync(fd) == 0;
  const int reason = errno;
  close(fd);
  errno = reason;
  return synced;
}

} // namespace tarn
