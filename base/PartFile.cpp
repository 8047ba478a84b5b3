// A file that is written beside its target and renamed when it is complete.
#include "base/PartFile.h"

#include "base/AccessList.h"
#include "base/permissions.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace tarn::base
{

std::string partPathFor(const std::string& target, bool isTaken)
{
  const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
  const std::string suffix = "." + std::to_string(getpid()) + (isTaken ? "-" + std::to_string(now) : "") + ".part";
  const std::size_t slash = target.rfind('/');
  const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
  const std::string name = target.substr(start).substr(0, NAME_MAX - suffix.size() - 1);
  return target.substr(0, start) + "." + name + suffix;
}

PartFile::PartFile(const std::string& target) : target(target)
{
  constexpr int kNamesTried = 16;
  for (int tried = 0; !fd && tried < kNamesTried && (tried == 0 || errno == EEXIST); ++tried)
  {
    partPath = partPathFor(target, tried > 0);
    fd = Fd(open(partPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  }
  mustGo = good();
}

PartFile::~PartFile()
{
  if (mustGo)
    unlink(partPath.c_str());
}

bool PartFile::write(const char* bytes, std::size_t length) const
{
  return writeAll(fd, {bytes, length});
}

bool PartFile::permit(const struct stat* before, const struct stat* source) const
{
  if (!before || !handsDown(*before))
    return permitAsNew(fd, target, source);
  const auto list = accessListAt(target);
  return list && permitLike(fd, *before, *list, source);
}

bool PartFile::permit() const
{
  struct stat before = {};
  return permit(lstat(target.c_str(), &before) == 0 ? &before : nullptr);
}

bool PartFile::sync() const
{
  return fsync(fd.get()) == 0;
}

bool PartFile::keep()
{
  const bool kept = fd.close() && std::rename(partPath.c_str(), target.c_str()) == 0;
  mustGo = mustGo && !kept;
  return kept;
}

} // namespace tarn::base
