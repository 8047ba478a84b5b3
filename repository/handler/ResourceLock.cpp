// Who holds a mount during a call, and a resource across calls.
#include "repository/handler/ResourceLock.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <sstream>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "base/IMException.h"
#include "base/files.h"
#include "base/text.h"
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
  try
  {
    lock_ms(30000, 1.0F, 1.5F, 250.0F, 0.4F);
  }
  catch (const imutils::IMTimeoutException&)
  {
    throw Refusal{kLocked};
  }
}

bool MountLock::tryLock()
{
  if (flock(fd.get(), LOCK_EX | LOCK_NB) == 0)
    return true;
  if (errno != EWOULDBLOCK && errno != EINTR)
    throw Refusal{kFailed};
  return false;
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
  base::Fd text = base::emptyFile(file);
  return text && base::writeAll(text, base::joined(hostName(), ' ', getpid(), '\n')) && text.close();
}

bool ResourceLock::release() const
{
  return owner() == Owner::thisProcess && unlink(file.c_str()) == 0;
}

} // namespace tarn::repository
