// Where the repository handler library lies, and how it is loaded.
#include "repository/client/HandlerLibrary.h"

#include "base/environmentValue.h"

#include <sys/stat.h>

namespace tarn::repository
{
namespace
{

constexpr std::size_t kLongestPath = 1023; // what callers know: a buffer of 1024 bytes

/// Without a home, returns a path that no file can have: neither a relative path nor the system's own library folder
/// is ever tried.
std::string libraryPath()
{
  const std::string home = base::environmentValue("REPOSITORYHANDLER_HOME");
  return (home.empty() ? "/dev/null" : home) + "/lib/RepositoryHandler.so";
}

/// Why the loader is not to be asked for the file: it would look for a relative path in the working directory, and wait
/// for a FIFO. Null when nothing is known against it.
const char* problemOf(const std::string& file)
{
  struct stat status = {};
  if (file.front() != '/')
    return "REPOSITORYHANDLER_HOME is no absolute path";
  return stat(file.c_str(), &status) == 0 && !S_ISREG(status.st_mode) ? "Not a regular file" : nullptr;
}

std::string lastError()
{
  const char* text = dlerror();
  return text ? text : "";
}

} // namespace

HandlerLibrary::HandlerLibrary(Mapping mapping) : file(libraryPath())
{
  if (file.size() > kLongestPath)
  {
    loadError = file + ": File name too long";
    return;
  }
  if (const char* problem = problemOf(file))
  {
    loadError = file + ": " + problem;
    return;
  }
  handle.reset(dlopen(file.c_str(), RTLD_LAZY | (mapping == Mapping::permanent ? RTLD_NODELETE : 0)));
  if (!handle)
    loadError = lastError();
}

void* HandlerLibrary::symbol(const char* name, std::string& error) const
{
  dlerror();
  void* const address = dlsym(handle.get(), name);
  error = lastError();
  return address;
}

} // namespace tarn::repository
