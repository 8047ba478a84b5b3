#include "repository/client/HandlerLibrary.h"

#include "base/environmentValue.h"

#include <cstdio>

#include <unistd.h>

namespace tarn::repository
{
namespace
{

constexpr std::size_t kLongestPath = 1023; // a buffer of 1024 bytes

/// Without a home the path is one that no file can have: neither a relative path nor the system's own library folder
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

HandlerLibrary::HandlerLibrary(bool keepMapped) : file(libraryPath())
{
  if (file.size() > kLongestPath)
    loadError = file + ": File name too long";
  else if (handle.reset(dlopen(file.c_str(), RTLD_LAZY | (keepMapped ? RTLD_NODELETE : 0))); !handle)
    loadError = lastError();
}

void* HandlerLibrary::symbol(const char* name, std::string& error) const
{
  dlerror();
  void* const address = dlsym(handle.get(), name);
  error = lastError();
  return address;
}

void dumpPS()
{
  const std::string command = "ps --forest eax > /tmp/error_ps." + std::to_string(getpid()) + ".txt";
  if (std::FILE* pipe = popen(command.c_str(), "r")) // NOLINT(cert-env33-c): a fixed command
    pclose(pipe);
}

} // namespace tarn::repository
