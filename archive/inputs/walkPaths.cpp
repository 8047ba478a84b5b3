// The folders and files that a command names.
#include "archive/inputs/walkPaths.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <set>

#include <sys/stat.h>
#include <unistd.h>

namespace tarn::archive
{
namespace
{

bool isFolder(const std::string& path)
{
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isLink(const std::string& path)
{
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool exists(const std::string& path)
{
  struct stat status = {};
  return stat(path.c_str(), &status) == 0;
}

/// Whether the walk of one of `folders` meets what `path` names: it follows no link to a folder, and needs to read the
/// folders on its way.
bool isBelow(const std::string& path, const std::set<std::string>& folders)
{
  std::string part = exists(path) ? path : "/";
  while (part != "/" && !(isLink(part) && isFolder(part)))
  {
    part.erase(std::max<std::size_t>(part.rfind('/'), 1));
    if (access(part.c_str(), R_OK | X_OK) != 0)
      return false;
    if (folders.count(part) > 0)
      return true;
  }
  return false;
}

/// The paths, absolute, each once.
std::set<std::string> absolutePaths(const std::vector<std::string>& paths)
{
  std::set<std::string> absolute;
  for (const std::string& path : paths)
    absolute.insert(absolutePath(path));
  return absolute;
}

} // namespace

void walkPaths(const std::vector<std::string>& paths, const std::string& leaveOut, const WalkSink& found,
               const std::function<void(const std::string& path)>& named)
{
  FolderWalk walk(found);
  if (!leaveOut.empty())
    walk.leaveOut(leaveOut);
  const std::set<std::string> all = absolutePaths(paths);
  std::set<std::string> folders;
  std::copy_if(all.begin(), all.end(), std::inserter(folders, folders.end()), isFolder);
  for (const std::string& path : all)
    if (isBelow(path, folders))
      continue;
    else if (path == leaveOut)
      found.problem(path + " is the output folder, which is not walked");
    else if (folders.count(path) > 0)
      walk.walk(path);
    else
      named(path);
}

std::string absolutePath(const std::string& path)
{
  namespace fs = std::filesystem;
  const fs::path whole = fs::absolute(path);
  const bool climbs = std::find(whole.begin(), whole.end(), fs::path("..")) != whole.end();
  std::error_code failure;
  const fs::path resolved = climbs ? fs::weakly_canonical(whole, failure) : whole.lexically_normal();
  if (failure)
    return whole;
  std::string normal = resolved;
  while (normal.size() > 1 && normal.back() == '/')
    normal.pop_back();
  return normal;
}

} // namespace tarn::archive
