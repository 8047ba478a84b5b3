// The calls into the repository handler library that the templates of the header do not hold, and the log lines.
#include "repository/client/IMRepositoryHandlerIface.h"

#include <array>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

#include "base/Fd.h"
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

/// Leaves a list of the host's processes for whoever looks into a load that failed. Anybody may have put something
/// under its name: the file is made, or there is none.
void dumpPS()
{
  const std::string name = "/tmp/error_ps." + std::to_string(getpid()) + ".txt";
  unlink(name.c_str()); // of an earlier failure of this process
  const base::Fd file(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  std::FILE* const pipe = file ? popen("ps --forest eax", "re") : nullptr; // NOLINT(cert-env33-c): a fixed command
  if (!pipe)
    return;
  std::array<char, 4096> block{};
  std::size_t length = block.size();
  while (length == block.size())
  {
    length = std::fread(block.data(), 1, block.size(), pipe);
    length = base::writeAll(file, {block.data(), length}) ? length : 0;
  }
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
