// Where the repository handler library lies, and how it is loaded.
#include "repository/client/HandlerLibrary.h"

#include "base/environmentValue.h"

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
