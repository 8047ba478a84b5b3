// The walk over an archive's folders.
#include "archive/inputs/FolderWalk.h"

#include "base/Closer.h"
#include "base/Fd.h"
#include "base/text.h"

#include <cerrno>
#include <memory>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace tarn::archive
{
namespace
{

/// Folders in each other that are held open at a time. Real archives nest a handful.
constexpr int kDeepest = 400;

using OpenFolder = std::unique_ptr<DIR, base::Closer<closedir>>;

std::string below(const std::string& folder, const char* name)
{
  return folder.back() == '/' ? folder + name : base::joined(folder, "/", name);
}

bool isSelfOrParent(const std::string& name)
{
  return name == "." || name == "..";
}

/// What readdir() did not say.
unsigned char typeOf(int folder, const char* name)
{
  struct stat status = {};
  return fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 ? static_cast<unsigned char>(IFTODT(status.st_mode))
                                                                  : static_cast<unsigned char>(DT_REG);
}

} // namespace

void FolderWalk::leaveOut(const std::string& folder)
{
  struct stat status = {};
  if (stat(folder.c_str(), &status) != 0)
    return;
  leftOutDevice = status.st_dev;
  leftOutInode = status.st_ino;
}

void FolderWalk::walk(const std::string& path)
{
  struct stat status = {};
  const bool exists = stat(path.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode))
    walkFolder(AT_FDCWD, path.c_str(), path, true);
  else if (exists && !S_ISREG(status.st_mode))
    sink.other();
  else
    sink.file(path);
}

void FolderWalk::walkFolder(int parent, const char* name, const std::string& path, bool follow)
{
  const int flags = O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC | (follow ? 0 : O_NOFOLLOW);
  base::Fd fd(openat(parent, name, flags));
  struct stat status = {};
  if (!fd || fstat(fd.get(), &status) != 0)
    return sink.problem(path + " cannot be read: " + std::generic_category().message(errno));
  if (status.st_dev == leftOutDevice && status.st_ino == leftOutInode)
    return;
  if (depth == kDeepest)
    return sink.problem(path + " cannot be read: folders are nested too deeply");
  const OpenFolder folder(fdopendir(fd.get()));
  if (!folder)
    return sink.problem(path + " cannot be read: " + std::generic_category().message(errno));
  static_cast<void>(fd.release()); // the stream's
  ++depth;
  for (;;)
  {
    errno = 0;
    // cppcheck-suppress readdirCalled ; one thread reads a directory stream, and the C library advises against
    // readdir_r
    const dirent* const entry = readdir(folder.get());
    if (!entry)
      break;
    if (!isSelfOrParent(entry->d_name))
      visit(dirfd(folder.get()), path, entry->d_name, entry->d_type);
  }
  if (errno != 0)
    sink.problem(path + " cannot be read to its end: " + std::generic_category().message(errno));
  --depth;
}

void FolderWalk::visit(int folder, const std::string& path, const char* name, unsigned char type)
{
  if (type == DT_UNKNOWN)
    type = typeOf(folder, name);
  if (type == DT_DIR)
    return walkFolder(folder, name, below(path, name), false);
  struct stat target = {};
  const bool leadsToFolder = type == DT_LNK && fstatat(folder, name, &target, 0) == 0 && S_ISDIR(target.st_mode);
  if (type == DT_REG || (type == DT_LNK && !leadsToFolder))
    sink.file(below(path, name));
  else if (!leadsToFolder)
    sink.other();
}

} // namespace tarn::archive
