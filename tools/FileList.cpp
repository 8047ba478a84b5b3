// The files below folders, walked without recursion.
#include "tools/FileList.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace tarn::tools
{
namespace
{

namespace fs = std::filesystem;

void sortUnique(std::vector<std::string>& paths)
{
  std::sort(paths.begin(), paths.end());
  paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
}

} // namespace

void FileList::add(const std::string& path)
{
  std::vector<fs::path> folders;
  const auto sortIn = [&](const fs::path& found, bool isFolder)
  {
    std::error_code error;
    if (isFolder)
      folders.push_back(found);
    else if (fs::is_regular_file(found, error))
      files.push_back(found.string());
    else if (error)
      problems.push_back(found.string() + ": " + error.message());
    else
      others.push_back(found.string());
  };
  std::error_code ignored;
  sortIn(path, fs::is_directory(path, ignored));
  while (!folders.empty())
  {
    const fs::path folder = folders.back();
    folders.pop_back();
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
      sortIn(entry->path(), fs::is_directory(entry->symlink_status(ignored)));
    if (error)
      problems.push_back(folder.string() + ": " + error.message());
  }
}

void FileList::sort()
{
  sortUnique(files);
  sortUnique(problems);
  sortUnique(others);
}

} // namespace tarn::tools
