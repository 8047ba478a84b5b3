// Folders of files that a library caller lists or drops.
#include "converter/fileTrees.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

namespace impsconverter
{
namespace
{

struct DirectoryCloser
{
  void operator()(DIR* directory) const noexcept { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

/// Reads the next entry that is not "." or ".."; false at the end.
bool readName(DIR* directory, std::string& name)
{
  // cppcheck-suppress readdirCalled ; one thread reads a directory stream, and the C library advises against readdir_r
  while (const dirent* entry = readdir(directory))
  {
    name = entry->d_name;
    if (name != "." && name != "..")
      return true;
  }
  return false;
}

} // namespace

bool addObjects(const std::string& directory, std::list<std::string>& paths)
{
  const Directory opened(opendir(directory.c_str()));
  if (!opened)
    return false;
  for (std::string name; readName(opened.get(), name);)
  {
    const std::string path = std::string(directory).append("/").append(name);
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
      return false;
    if (!S_ISDIR(status.st_mode))
      paths.push_back(path);
  }
  return true;
}

bool deleteDirectoryRecursively(const std::string& path)
{
  if (const Directory opened{opendir(path.c_str())})
    for (std::string name; readName(opened.get(), name);)
    {
      const std::string entry = std::string(path).append("/").append(name);
      struct stat status = {};
      if (lstat(entry.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
        static_cast<void>(deleteDirectoryRecursively(entry));
      else
        unlink(entry.c_str());
    }
  return rmdir(path.c_str()) == 0;
}

} // namespace impsconverter
