// A file that is written beside its target and renamed when it is complete.
#include "base/PartFile.h"

#include "base/files.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace tarn::base
{
namespace
{

constexpr mode_t kReplacedBits = 0664; ///< what a replaced file may hand down
constexpr mode_t kOwnerBits = 0600;    ///< what the owner always has

std::string folderOf(const std::string& path)
{
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

/// The umask of the process, which the system tells only there without changing it.
std::optional<mode_t> umaskOfProcess()
{
  constexpr std::string_view kLine = "\nUmask:\t";
  try
  {
    const std::string status = fileContent("/proc/self/status").value_or("");
    if (const std::size_t line = status.find(kLine); line != std::string::npos)
      return static_cast<mode_t>(std::strtoul(status.c_str() + line + kLine.size(), nullptr, 8));
  }
  catch (const FileError&)
  {
    // Without it the file cannot be made.
  }
  return std::nullopt;
}

/// The permissions of a file without a name that is made in `folder`, where the file system makes such; else those that
/// the umask says.
std::optional<mode_t> tryOut(const std::string& folder)
{
  struct stat made = {};
  const Fd fd(open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666));
  if (fd && fstat(fd.get(), &made) == 0)
    return made.st_mode & 0666U;
  const std::optional<mode_t> umask = umaskOfProcess();
  return umask ? std::optional<mode_t>(0666U & ~*umask) : std::nullopt;
}

/// The permissions that the system gives a new file in `folder`: what the folder's default access control list says,
/// else what the umask leaves. To ask for that costs as much as the file; the answer of the first time stands.
std::optional<mode_t> modeOfNewFile(const std::string& folder)
{
  if (getxattr(folder.c_str(), "system.posix_acl_default", nullptr, 0) >= 0 || (errno != ENODATA && errno != ENOTSUP))
    return tryOut(folder);
  static const std::optional<mode_t> usual = tryOut(folder);
  return usual;
}

/// `mode` without what `model` gives nobody but its owner. A file of another group than `model` gives its group what
/// `model` gives to all.
mode_t narrowed(mode_t mode, const struct stat& model, bool sameGroup)
{
  const mode_t forAll = model.st_mode & 0007U;
  return mode & (kOwnerBits | (sameGroup ? model.st_mode & 0070U : forAll << 3U) | forAll);
}

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

bool PartFile::permitAsNew(const struct stat* source) const
{
  const std::optional<mode_t> mode = modeOfNewFile(folderOf(target));
  return mode && setMode(*mode, source);
}

bool PartFile::permitLike(const struct stat& before, const struct stat* source) const
{
  struct stat own = {};
  if (fstat(fd.get(), &own) != 0)
    return false;
  const bool sameGroup = before.st_gid == own.st_gid || fchown(fd.get(), static_cast<uid_t>(-1), before.st_gid) == 0;
  return setMode(narrowed(before.st_mode & kReplacedBits, before, sameGroup), source);
}

bool PartFile::setMode(mode_t mode, const struct stat* source) const
{
  struct stat own = {};
  if (source && fstat(fd.get(), &own) != 0)
    return false;
  return fchmod(fd.get(), source ? narrowed(mode, *source, source->st_gid == own.st_gid) : mode) == 0;
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
