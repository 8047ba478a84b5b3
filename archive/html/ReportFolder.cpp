// Where a report goes. All names are looked up from descriptors of folders, so that none can be exchanged for a link.
#include "archive/html/ReportFolder.h"

#include "base/Closer.h"
#include "base/files.h"
#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <optional>
#include <regex>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarn::archive
{
namespace
{

constexpr mode_t kFolderMode = 0700;
constexpr mode_t kFileMode = 0600;
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr std::size_t kMostPending = std::size_t{1} << 20U;

constexpr char kMark[] = ".annomend-report"; ///< in every folder that a report was written to
constexpr char kFresh[] = ".new";
constexpr char kPage[] = "index.html"; ///< goes first and comes last: half a report is none

using Folder = std::unique_ptr<DIR, base::Closer<closedir>>;

std::string systemReason()
{
  return base::FileError(errno).what();
}

/// Whether a report has a file or a folder of this name.
bool isOfReport(const std::string& name)
{
  static const std::regex names(
      R"(\.annomend-report|\.new|(\.new/)?)"
      R"((index\.html|report\.(css|js)|elements\.js|rows\.(csv|jsonl)|data(/(totals|rows-\d+)\.js)?|)"
      R"(p(/\d+(/\d+\.svg)?)?|d(/\d+(/\d+\.js)?)?))");
  return std::regex_match(name, names);
}

base::Fd openFolder(int parent, const std::string& name)
{
  return base::Fd(openat(parent, name.c_str(), kOpenFolder));
}

/// Nothing, with the reason in errno, where the folder cannot be read.
std::optional<std::vector<std::string>> namesIn(int folder)
{
  base::Fd fd = openFolder(folder, ".");
  const Folder opened(fd ? fdopendir(fd.get()) : nullptr);
  if (!opened)
    return std::nullopt;
  static_cast<void>(fd.release()); // the folder's
  std::vector<std::string> names;
  errno = 0;
  // cppcheck-suppress readdirCalled ; one thread reads a directory stream, and the C library advises against readdir_r
  while (const dirent* entry = readdir(opened.get()))
    if (const std::string name = entry->d_name; name != "." && name != "..")
      names.push_back(name);
  return errno == 0 ? std::make_optional(std::move(names)) : std::nullopt;
}

/// Removes a file, or a folder and all in it. Returns false, with the reason in errno, on a failure.
bool removeTree(int parent, const std::string& name)
{
  if (unlinkat(parent, name.c_str(), 0) == 0 || errno == ENOENT)
    return true;
  if (errno != EISDIR)
    return false;
  const base::Fd folder = openFolder(parent, name);
  const auto names = folder ? namesIn(folder.get()) : std::nullopt;
  if (!names)
    return false;
  for (const std::string& below : *names)
    if (!removeTree(folder.get(), below))
      return false;
  return unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0;
}

} // namespace

void ReportFile::add(std::string_view text)
{
  pending.append(text);
  if (pending.size() >= kMostPending)
    flush();
}

void ReportFile::flush()
{
  if (!base::writeAll(fd, pending))
    throw ReportError(base::joined(path, " cannot be written: ", systemReason()));
  pending.clear();
}

void ReportFile::finish()
{
  flush();
  if (!fd.close())
    throw ReportError(base::joined(path, " cannot be written: ", systemReason()));
}

ReportFolder::ReportFolder(const std::string& path) : path(path)
{
  isMade = mkdir(path.c_str(), kFolderMode) == 0;
  if (!isMade && errno != EEXIST)
    fail("", "cannot be made");
  root = openFolder(AT_FDCWD, path);
  if (!root)
    fail("", "cannot be opened");
  take();
  if (mkdirat(root.get(), kFresh, kFolderMode) != 0)
    fail(kFresh, "cannot be made");
  fresh = openFolder(root.get(), kFresh);
  if (!fresh)
    fail(kFresh, "cannot be opened");
}

/// Makes sure that the folder is the account's own and a report's. What stands in it is looked at again once nobody
/// else can add to it.
void ReportFolder::take()
{
  struct stat status = {};
  if (fstat(root.get(), &status) != 0)
    fail("", "cannot be looked at");
  if (status.st_uid != geteuid())
    throw ReportError(path + " belongs to another account");
  requireReport(root.get(), "");
  if (fchmod(root.get(), kFolderMode) != 0)
    fail("", "cannot be made private");
  requireReport(root.get(), "");
  if (flock(root.get(), LOCK_EX | LOCK_NB) != 0)
    throw ReportError(path + " is in use by another report");
  const base::Fd mark(openat(root.get(), kMark, O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, kFileMode));
  if (!mark)
    fail(kMark, "cannot be made");
  if (!removeTree(root.get(), kFresh)) // of a run that was killed
    fail(kFresh, "cannot be removed");
}

void ReportFolder::requireReport(int folder, const std::string& prefix) const
{
  const auto names = namesIn(folder);
  if (!names)
    fail(prefix, "cannot be read");
  const bool isMarked = std::find(names->begin(), names->end(), kMark) != names->end();
  if (prefix.empty() && !names->empty() && !isMarked)
    throw ReportError(path + " holds something that is no report");
  for (const std::string& name : *names)
  {
    struct stat status = {};
    if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
      fail(prefix + name, "cannot be looked at");
    const bool isOfKind = S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
    if (!isOfReport(prefix + name) || !isOfKind || status.st_uid != geteuid())
      throw ReportError(base::joined(path, " holds ", prefix, name, ", which is no part of a report of this account"));
    if (S_ISDIR(status.st_mode))
    {
      const base::Fd below = openFolder(folder, name);
      if (!below)
        fail(prefix + name, "cannot be opened");
      requireReport(below.get(), prefix + name + "/");
    }
  }
}

ReportFolder::~ReportFolder()
{
  if (fresh)
    static_cast<void>(removeTree(root.get(), kFresh));
  if (fresh && isMade)
  {
    unlinkat(root.get(), kMark, 0);
    rmdir(path.c_str());
  }
}

const base::Fd& ReportFolder::folderOf(const std::string& name)
{
  const std::size_t last = name.rfind('/');
  if (last == std::string::npos)
    return fresh;
  const std::string folder = name.substr(0, last);
  Opened& place = opened[folder.substr(0, folder.find('/'))];
  if (place.path == folder)
    return place.fd;
  place = Opened();
  std::vector<std::string> parts;
  base::split3<std::vector<std::string>, '/'>(folder, parts);
  int parent = fresh.get();
  for (const std::string& part : parts)
  {
    if (mkdirat(parent, part.c_str(), kFolderMode) != 0 && errno != EEXIST)
      fail(folder, "cannot be made");
    base::Fd next = openFolder(parent, part);
    if (!next)
      fail(folder, "cannot be opened");
    place.fd = std::move(next);
    parent = place.fd.get();
  }
  place.path = folder;
  return place.fd;
}

ReportFile ReportFolder::create(const std::string& name)
{
  const std::string last = name.substr(name.rfind('/') + 1); // npos + 1 is 0
  base::Fd fd(
      openat(folderOf(name).get(), last.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode));
  if (!fd)
    fail(name, "cannot be made");
  return {std::move(fd), path + "/" + name};
}

void ReportFolder::write(const std::string& name, std::string_view content)
{
  ReportFile file = create(name);
  file.add(content);
  file.finish();
}

void ReportFolder::finish()
{
  if (!removeTree(root.get(), kPage))
    fail(kPage, "cannot be removed");
  const auto earlier = namesIn(root.get());
  const auto made = namesIn(fresh.get());
  if (!earlier || !made)
    fail("", "cannot be read");
  for (const std::string& name : *earlier)
    if (name != kMark && name != kFresh && !removeTree(root.get(), name))
      fail(name, "cannot be removed");
  const auto move = [this](const std::string& name)
  {
    if (renameat(fresh.get(), name.c_str(), root.get(), name.c_str()) != 0)
      fail(name, "cannot be put in place");
  };
  for (const std::string& name : *made)
    if (name != kPage)
      move(name);
  move(kPage);
  if (unlinkat(root.get(), kFresh, AT_REMOVEDIR) != 0)
    fail(kFresh, "cannot be removed");
  fresh = base::Fd();
}

void ReportFolder::fail(const std::string& name, const char* what) const
{
  throw ReportError(base::joined(path, name.empty() ? "" : "/", name, " ", what, ": ", systemReason()));
}

} // namespace tarn::archive
