// Folders of files that programs with the library list or drop.
#include "base/fileTrees.h"

#include <unistd.h>

#include <filesystem>

namespace impsconverter
{

namespace fs = std::filesystem;

bool addObjects(const std::string& directory, std::list<std::string>& paths)
{
  std::error_code error;
  for (fs::directory_iterator entry(directory, error); !error && entry != fs::directory_iterator();
       entry.increment(error))
  {
    const bool isDirectory = fs::is_directory(entry->path(), error);
    if (error)
      return false;
    if (!isDirectory)
      paths.push_back(std::string(directory).append("/").append(entry->path().filename()));
  }
  return !error;
}

bool deleteDirectoryRecursively(const std::string& path)
{
  std::error_code error;
  for (fs::directory_iterator entry(path, error); !error && entry != fs::directory_iterator(); entry.increment(error))
  {
    std::error_code ignored; // what stays keeps the directory from being removed
    fs::remove_all(entry->path(), ignored);
  }
  return rmdir(path.c_str()) == 0;
}

} // namespace impsconverter
