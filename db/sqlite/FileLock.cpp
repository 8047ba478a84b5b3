#include "db/sqlite/FileLock.h"

#include "base/text.h"
#include "db/DBException.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

namespace tarn::db
{
namespace
{

void check(int error, const std::string& path)
{
  if (error != 0)
    throw DBException("cannot lock " + base::printable(path) + ": " + std::generic_category().message(error));
}

void mayFail(int /*result*/) {}

/// What the system refuses of it is refused to whoever did not make the file, and was done by whoever did.
void takeRights(int descriptor, const std::string& model)
{
  struct stat status = {};
  if (stat(model.c_str(), &status) != 0)
    return;
  mayFail(fchown(descriptor, static_cast<uid_t>(-1), status.st_gid));
  mayFail(fchmod(descriptor, status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)));
  mayFail(fchown(descriptor, status.st_uid, static_cast<gid_t>(-1)));
}

} // namespace

FileLock::FileLock(int opened, std::string lockedPath) : descriptor(opened), path(std::move(lockedPath)) {}

/// The file goes before the lock does, so that whoever opened it in between finds that it is no longer current.
FileLock::~FileLock()
{
  if (locked && isCurrent())
    unlink(path.c_str());
  close(descriptor);
}

bool FileLock::isCurrent() const
{
  struct stat opened = {};
  struct stat named = {};
  return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
         opened.st_ino == named.st_ino;
}

std::unique_ptr<FileLock> FileLock::tryLock(const std::string& path, const std::string& model)
{
  const int descriptor = open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
  const int openError = descriptor < 0 ? errno : 0;
  if (descriptor < 0 && openError == EACCES && access(path.c_str(), F_OK) == 0)
    return nullptr; // whoever made it is about to give it its rights, or keeps it
  check(openError, path);
  takeRights(descriptor, model);
  std::unique_ptr<FileLock> lock(new FileLock(descriptor, path));
  const int error = flock(descriptor, LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
  lock->locked = error == 0;
  if (error == EWOULDBLOCK || error == EINTR)
    return nullptr;
  check(error, path);
  return lock->isCurrent() ? std::move(lock) : nullptr;
}

std::string fileNamePart(const std::string& name)
{
  std::string part;
  for (const char c : name)
  {
    const auto byte = static_cast<unsigned char>(c);
    char escaped[4] = {c, '\0'};
    if (!std::isalnum(byte) && c != '.' && c != '-' && c != '_')
      std::snprintf(escaped, sizeof escaped, "%%%02X", byte);
    part += escaped;
  }
  return part;
}

} // namespace tarn::db
