// Who holds a mount during a call, and a resource across calls.
#include "repository/handler/ResourceLock.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "base/files.h"
#include "repository/handler/Refusal.h"

namespace tarn::repository
{
namespace
{

std::string hostName()
{
  std::array<char, 256> name{};
  gethostname(name.data(), name.size() - 1);
  return name.data();
}

bool hasEnded(pid_t process)
{
  return process <= 0 || (kill(process, 0) != 0 && errno == ESRCH);
}

} // namespace

MountLock::MountLock(const std::string& mount) : fd(open(mount.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
  if (!fd)
    throw Refusal{kMountUnreachable};
  while (flock(fd.get(), LOCK_EX) != 0)
    if (errno != EINTR)
      throw Refusal{kFailed};
}

ResourceLock::Owner ResourceLock::owner() const
{
  std::istringstream text(base::fileContent(file).value_or(""));
  std::string host;
  pid_t process = 0;
  if (!(text >> host >> process)) // no file, or its writer died before it was complete
    return Owner::none;
  if (host != hostName())
    return Owner::other;
  if (process == getpid())
    return Owner::thisProcess;
  return hasEnded(process) ? Owner::none : Owner::other;
}

bool ResourceLock::take() const
{
  if (owner() != Owner::none)
    return false;
  std::ofstream text(file, std::ios::trunc);
  text << hostName() << ' ' << getpid() << '\n' << std::flush;
  return text.good();
}

bool ResourceLock::release() const
{
  return owner() == Owner::thisProcess && unlink(file.c_str()) == 0;
}

} // namespace tarn::repository
