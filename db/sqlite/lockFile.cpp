// Locks between the processes of one host that use an embedded database.
#include "db/sqlite/lockFile.h"

#include "base/Fd.h"
#include "base/text.h"
#include "db/DBException.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

namespace tarn::db
{
namespace
{

[[noreturn]] void fail(const std::string& path, const std::string& reason)
{
  throw DBException("cannot lock " + base::printable(path) + ": " + reason);
}

void check(int error, const std::string& path)
{
  if (error != 0)
    fail(path, std::generic_category().message(error));
}

void ignoreFailure(int /*result*/) {}

/// Gives the lock file the rights of the database, as far as the system lets us.
void takeRights(const base::Fd& fd, const std::string& database)
{
  struct stat model = {};
  if (stat(database.c_str(), &model) != 0)
    return;
  ignoreFailure(fchown(fd.get(), static_cast<uid_t>(-1), model.st_gid));
  ignoreFailure(fchmod(fd.get(), model.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)));
  ignoreFailure(fchown(fd.get(), model.st_uid, static_cast<gid_t>(-1)));
}

/// Whatever else may stand under the name, whoever may write the folder can have put it there.
void requireLockFile(const base::Fd& fd, const std::string& path)
{
  struct stat status = {};
  check(fstat(fd.get(), &status) == 0 ? 0 : errno, path);
  if (!S_ISREG(status.st_mode) || status.st_size != 0 || status.st_nlink != 1)
    fail(path, "it is no empty file of one name");
}

/// Makes the lock file or opens the one that is there, which keeps its rights. None where it cannot be opened now:
/// whoever made it is about to give it its rights, or keeps it.
base::Fd openLockFile(const std::string& path, const std::string& database)
{
  base::Fd made(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (made)
    takeRights(made, database);
  if (made || errno != EEXIST)
  {
    check(made ? 0 : errno, path);
    return made;
  }
  base::Fd found(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
  if (!found && (errno == EACCES || errno == ENOENT))
    return {};
  check(found ? 0 : errno, path);
  requireLockFile(found, path);
  return found;
}

/// The byte that stands for `name`: its FNV-1a hash, which is the same in every program. With 62 bits no two studies
/// meet; if two did, one would wait for the other.
off_t byteOf(const std::string& name)
{
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const char c : name)
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  return static_cast<off_t>(hash >> 2U);
}

} // namespace

std::shared_ptr<void> tryLockBeside(const std::string& database, const std::string& name)
{
  const std::string path = database + "-lock";
  base::Fd fd = openLockFile(path, database);
  if (!fd)
    return nullptr;
  struct flock range = {};
  range.l_type = F_WRLCK;
  range.l_whence = SEEK_SET;
  range.l_start = byteOf(name);
  range.l_len = 1;
  const int lockError = fcntl(fd.get(), F_OFD_SETLK, &range) == 0 ? 0 : errno;
  if (lockError == EAGAIN || lockError == EACCES || lockError == EINTR)
    return nullptr;
  check(lockError, path);
  return std::make_shared<base::Fd>(std::move(fd));
}

} // namespace tarn::db
