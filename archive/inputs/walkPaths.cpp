// The folders and files that a command names.
#include "archive/inputs/walkPaths.h"

#include "base/text.h"

#include <algorithm>
#include <filesystem>

#include <sys/stat.h>

namespace tarn::archive
{
namespace
{

/// The paths, absolute, without those that lie below another one that is a folder.
std::vector<std::string> separatePaths(const std::vector<std::string>& paths)
{
  std::vector<std::string> sorted;
  for (const std::string& path : paths)
    sorted.push_back(absolutePath(path));
  std::sort(sorted.begin(), sorted.end());
  std::vector<std::string> separate;
  for (const std::string& path : sorted)
  {
    const auto covers = [&](const std::string& other)
    { return path == other || base::startsWith(path, other == "/" ? other : other + "/"); };
    if (std::none_of(separate.begin(), separate.end(), covers))
      separate.push_back(path);
  }
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
