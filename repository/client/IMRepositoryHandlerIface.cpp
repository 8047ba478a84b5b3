// The calls into the repository handler library that the templates of the header do not hold, and the log lines.
#include "repository/client/IMRepositoryHandlerIface.h"

#include <cstdio>

#include <unistd.h>

#include "base/IMLogger.h"

namespace tarn::repository
{
namespace
{

const imutils::IMLogger& log()
{
  static const imutils::IMLogger logger("IMRepositoryHandlerIface");
  return logger;
}

const char* shown(const char* text)
{
  return text ? text : "(null)";
}

/// Leaves a list of the host's processes for whoever looks into a load that failed.
void dumpPS()
{
  const std::string command = "ps --forest eax > /tmp/error_ps." + std::to_string(getpid()) + ".txt";
  if (std::FILE* pipe = popen(command.c_str(), "r")) // NOLINT(cert-env33-c): a fixed command
    pclose(pipe);
}

void* loggedLookUp(const HandlerLibrary& library, const char* symbol)
{
  std::string error;
  void* const address = library.symbol(symbol, error);
  if (!error.empty())
  {
    dumpPS();
    log().errorLog("EXCEPTION: dlsym error %s: %s", symbol, error.c_str());
  }
  return address;
}

} // namespace

EntryPoints entryPoints;

bool IMRepositoryHandlerIface::bLoaded = false;
std::mutex CallResolved::mutex;

void CreateDirectoryTrace::operator()(bool called) const
{
  log().infoLog("%s createDirectory with repository=%s subDir=%s shouldLock=%s",
                called ? "called" : "error: not called", shown(repository), shown(subDir),
                shouldLock ? "true" : "false");
}

void* LoadEachTime::lookUp(const HandlerLibrary& library, const char* symbol)
{
  if (!library.error().empty())
    throw imutils::IMException("dlopen error: " + library.error());
  std::string error;
  void* const address = library.symbol(symbol, error);
  if (!error.empty())
    throw imutils::IMException("dlsym error initTask: " + error);
  return address;
}

void LoadEachTime::logFailure(const imutils::IMException& failure)
{
  log().errorLog("%s", failure.what());
}

void IMRepositoryHandlerIface::init()
{
  const std::lock_guard<std::mutex> guard(CallResolved::mutex);
  if (bLoaded)
    return;
  const HandlerLibrary library(HandlerLibrary::Mapping::permanent);
  if (!library.error().empty())
  {
    dumpPS();
    log().errorLog("EXCEPTION: dlopen error (%s): %s", library.path().c_str(), library.error().c_str());
    return;
  }
  const auto store = [&](auto& entry)
  {
    using Function = decltype(entry.resolved.load());
    entry.resolved = reinterpret_cast<Function>(loggedLookUp(library, entry.symbol)); // NOLINT: see getFunction
  };
  entryPoints.forEach(store);
  bLoaded = true;
}

void* CallResolved::resolve(const char* symbol)
{
  const HandlerLibrary library(HandlerLibrary::Mapping::permanent);
  if (library.error().empty())
    return loggedLookUp(library, symbol);
  dumpPS();
  log().errorLog("EXCEPTION: dlopen error: %s", library.error().c_str());
  return nullptr;
}

} // namespace tarn::repository
