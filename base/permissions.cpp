// Modes and access control lists of files that are made.
#include "base/permissions.h"

#include "base/AccessList.h"
#include "base/files.h"

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string_view>

#include <fcntl.h>
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
/// `model` gives to all, its own group too.
mode_t narrowed(mode_t mode, mode_t model, bool sameGroup)
{
  const mode_t forAll = model & 0007U & (sameGroup ? 0007U : model >> 3U);
  return mode & (kOwnerBits | (sameGroup ? model & 0070U : forAll << 3U) | forAll);
}

/// Leaves nobody what the mode does not say. A list that the file may have from its folder names accounts that `mode`
/// knows nothing of.
bool setMode(const Fd& file, mode_t mode, const struct stat* source)
{
  struct stat own = {};
  if (source && fstat(file.get(), &own) != 0)
    return false;
  if (source)
    mode = narrowed(mode, source->st_mode, source->st_gid == own.st_gid);
  return dropAccessList(file) && fchmod(file.get(), mode) == 0;
}

} // namespace

bool handsDown(const struct stat& file)
{
  return S_ISREG(file.st_mode) && file.st_uid == geteuid() && file.st_nlink == 1;
}

bool permitAsNew(const Fd& file, const std::string& path, const struct stat* source)
{
  const std::optional<mode_t> mode = modeOfNewFile(folderOf(path));
  if (!mode)
    return false;
  if (!source)
    return fchmod(file.get(), *mode) == 0;
  const auto list = accessListOf(file);
  return list && setMode(file, withoutList(*mode, *list), source);
}

bool permitLike(const Fd& file, const struct stat& before, const std::string& list, const struct stat* source)
{
  struct stat own = {};
  if (fstat(file.get(), &own) != 0)
    return false;
  const bool sameGroup = before.st_gid == own.st_gid || fchown(file.get(), static_cast<uid_t>(-1), before.st_gid) == 0;
  const bool goesAlong = !list.empty() && !source && sameGroup && (before.st_mode & 0777U & ~kReplacedBits) == 0;
  if (goesAlong && setAccessList(file, list)) // the mode, too
    return true;
  if (goesAlong && errno != ENOTSUP) // another file system may have no lists
    return false;
  const mode_t mode = withoutList(before.st_mode, list);
  return setMode(file, narrowed(mode & kReplacedBits, mode, sameGroup), source);
}

} // namespace tarn::base
