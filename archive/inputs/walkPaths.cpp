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

/// The path of the folder that holds `path`; empty for the root.
std::string parentOf(const std::string& path)
{
  return path == "/" ? "" : path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
}

/// Whether a walk that gets to the parent of `path` reads it and goes on to `path`.
bool isWalked(const std::string& parent, const std::string& path)
{
  struct stat status = {};
  return access(parent.c_str(), R_OK | X_OK) == 0 && lstat(path.c_str(), &status) == 0 && !S_ISLNK(status.st_mode);
}

/// Whether the walk of another one of `paths` finds `path`.
bool isCovered(std::string path, const std::set<std::string>& paths)
{
  for (std::string parent = parentOf(path); !parent.empty() && isWalked(parent, path); parent = parentOf(path))
  {
    if (paths.count(parent) > 0)
      return true;
    path = parent;
  }
  return false;
}

/// The paths, absolute, each once, without those that the walk of another one finds.
std::vector<std::string> separatePaths(const std::vector<std::string>& paths)
{
  std::set<std::string> all;
  for (const std::string& path : paths)
    all.insert(absolutePath(path));
  std::vector<std::string> separate;
  std::copy_if(all.begin(), all.end(), std::back_inserter(separate),
               [&all](const std::string& path) { return !isCovered(path, all); });
  return separate;
}

} // namespace

void walkPaths(const std::vector<std::string>& paths, const std::string& leaveOut, const WalkSink& found,
               const std::function<void(const std::string& path)>& named)
{
  FolderWalk walk(found);
  if (!leaveOut.empty())
    walk.leaveOut(leaveOut);
  for (const std::string& path : separatePaths(paths))
  {
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
      walk.walk(path);
    else
      named(path);
  }
}

std::string absolutePath(const std::string& path)
{
  namespace fs = std::filesystem;
  const fs::path whole = fs::absolute(path);
  const bool climbs = std::find(whole.begin(), whole.end(), fs::path("..")) != whole.end();
  std::string normal = (climbs ? fs::weakly_canonical(whole) : whole.lexically_normal()).string();
  while (normal.size() > 1 && normal.back() == '/')
    normal.pop_back();
  return normal;
}

} // namespace tarn::archive
