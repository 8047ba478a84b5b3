// Lists of names as the callers of the library take them over: one block each.
#include "repository/handler/listNames.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <set>

namespace tarn::repository
{
namespace
{

namespace fs = std::filesystem;

std::set<std::string> namesIn(const std::string& directory, Kind kind, bool fullPath)
{
  const fs::file_type wanted = kind == Kind::files ? fs::file_type::regular : fs::file_type::directory;
  std::set<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory))
    if (entry.symlink_status().type() == wanted)
      names.insert(fullPath ? entry.path().string() : entry.path().filename().string());
  return names;
}

} // namespace

char** listNames(const std::string& directory, Kind kind, bool fullPath, long& count)
{
  const std::set<std::string> names = namesIn(directory, kind, fullPath);
  const std::size_t pointers = (names.size() + 1) * sizeof(char*);
  std::size_t size = pointers;
  for (const std::string& name : names)
    size += name.size() + 1;

  void* block = std::malloc(size); // NOLINT(cppcoreguidelines-no-malloc): the caller's to free()
  if (!block)
    throw std::bad_alloc();
  char** list = static_cast<char**>(block);
  char* text = static_cast<char*>(block) + pointers;
  char** next = list;
  for (const std::string& name : names)
  {
    *next++ = text;
    text = stpcpy(text, name.c_str()) + 1;
  }
  *next = nullptr;
  count = static_cast<long>(names.size());
  return list;
}

} // namespace tarn::repository
