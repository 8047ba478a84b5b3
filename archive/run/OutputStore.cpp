// Where outputs go, so that nothing shows under its name before it is whole.
#include "archive/run/OutputStore.h"

#include "archive/journal/sha256.h"
#include "base/files.h"
#include "base/text.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarn::archive
{
namespace
{

constexpr mode_t kFolderMode = 0750;
constexpr std::size_t kMostOpenStudies = 64;

std::string systemReason()
{
  return base::FileError(errno).what();
}

StoreError storeError(const std::string& path, const char* what)
{
  const int error = errno;
  return {base::joined(path, " ", what, ": ", systemReason()), error};
}

void makeFolder(const std::string& path)
{
  if (mkdir(path.c_str(), kFolderMode) != 0 && errno != EEXIST)
    throw storeError(path, "cannot be made");
}

/// A folder of our own account that is open; of another account, or a link, none, with the reason in `problem`.
base::Fd ownFolder(int parent, const std::string& name, std::string& problem)
{
  base::Fd fd(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat status = {};
  if (!fd || fstat(fd.get(), &status) != 0)
    problem = systemReason();
  else if (status.st_uid != geteuid())
    problem = "the folder belongs to another account";
  return problem.empty() ? std::move(fd) : base::Fd();
}

/// Whether the name is that of the file `input`, or of the link that leads there.
bool isInput(int folder, const std::string& name, const std::string& input)
{
  struct stat present = {};
  if (fstatat(folder, name.c_str(), &present, AT_SYMLINK_NOFOLLOW) != 0)
    return false;
  struct stat file = {};
  for (const auto look : {stat, lstat})
    if (look(input.c_str(), &file) == 0 && file.st_dev == present.st_dev && file.st_ino == present.st_ino)
      return true;
  return false;
}

/// The SHA-256 of the file's first bytes; empty where it does not have so many.
std::string digestAt(int folder, const std::string& name, std::uint64_t length)
{
  const base::Fd fd(openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  std::string bytes(length, '\0');
  const bool isWhole = fd && base::readUpTo(fd, bytes.data(), length) == static_cast<std::ptrdiff_t>(length);
  return isWhole ? sha256Hex(bytes) : std::string();
}

std::string studyOf(const std::string& file)
{
  return file.substr(0, file.find('/'));
}

std::string nameOf(const std::string& file)
{
  return file.substr(file.find('/') + 1);
}

} // namespace

bool endsTheRun(int error)
{
  return error == ENOSPC || error == EDQUOT || error == EROFS || error == EIO || error == ESTALE || error == ENOTCONN ||
         error == EMFILE || error == ENFILE || error == EXDEV; // the journal's folder is a mount of its own
}

OutputStore::OutputStore(std::string folder) : root(std::move(folder))
{
  makeFolder(root);
  rootFd = base::Fd(open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!rootFd)
    throw storeError(root, "cannot be opened");
  makeFolder(journalFolder());
  std::string problem;
  if (!ownFolder(rootFd.get(), "journal", problem))
    throw StoreError(base::joined(journalFolder(), " cannot be used: ", problem), EACCES);
}

std::string OutputStore::makeWorkFolder(const std::string& name, unsigned worker)
{
  const std::string all = journalFolder() + "/" + name + ".work";
  std::string own = all + "/" + std::to_string(worker);
  makeFolder(all);
  std::string problem;
  if (!ownFolder(AT_FDCWD, all, problem))
    throw StoreError(base::joined(all, " cannot be used: ", problem), EACCES);
  std::error_code ignored; // what cannot be removed cannot be made either
  std::filesystem::remove_all(own, ignored);
  if (mkdir(own.c_str(), kFolderMode) != 0)
    throw storeError(own, "cannot be made");
  return own;
}

void OutputStore::removeWorkFolders(const std::string& name)
{
  std::error_code ignored;
  std::filesystem::remove_all(journalFolder() + "/" + name + ".work", ignored);
}

int OutputStore::studyFolder(const std::string& study, bool make, std::string& problem)
{
  if (const auto open = studies.find(study); open != studies.end())
    return open->second.get();
  if (make && mkdirat(rootFd.get(), study.c_str(), kFolderMode) != 0 && errno != EEXIST)
  {
    if (endsTheRun(errno))
      throw storeError(root + "/" + study, "cannot be made");
    problem = systemReason();
    return -1;
  }
  base::Fd fd = ownFolder(rootFd.get(), study, problem);
  if (!fd)
    return -1;
  if (studies.size() == kMostOpenStudies)
    studies.clear();
  return studies.emplace(study, std::move(fd)).first->second.get();
}

std::string OutputStore::place(const std::string& work, const std::string& file, const std::string& input)
{
  std::string problem;
  const int folder = studyFolder(studyOf(file), true, problem);
  if (folder < 0)
    return problem;
  const std::string name = nameOf(file);
  if (renameat2(AT_FDCWD, work.c_str(), folder, name.c_str(), RENAME_NOREPLACE) == 0)
    return {};
  // The name is taken, or the file system knows no such renaming.
  if (isInput(folder, name, input))
    return "it would replace the input file";
  if (renameat(AT_FDCWD, work.c_str(), folder, name.c_str()) == 0)
    return {};
  if (endsTheRun(errno))
    throw storeError(root + "/" + file, "cannot be written");
  return systemReason();
}

bool OutputStore::holds(const Output& output, bool digest)
{
  std::string problem;
  struct stat status = {};
  const int folder = studyFolder(studyOf(output.file), false, problem);
  const std::string name = nameOf(output.file);
  if (folder < 0 || fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(status.st_mode) ||
      status.st_uid != geteuid() || static_cast<std::uint64_t>(status.st_size) != output.bytes)
    return false;
  return !digest || digestAt(folder, name, output.bytes) == output.sha256;
}

void OutputStore::remove(const std::string& file)
{
  std::string problem;
  if (const int folder = studyFolder(studyOf(file), false, problem); folder >= 0)
    unlinkat(folder, nameOf(file).c_str(), 0);
}

void OutputStore::sync()
{
  if (syncfs(rootFd.get()) != 0)
    throw storeError(root, "cannot be synced");
}

} // namespace tarn::archive
