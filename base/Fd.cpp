// The one owner of descriptors, and the loops around read(2) and write(2).
#include "base/Fd.h"

#include <cerrno>

#include <unistd.h>

namespace tarn::base
{

Fd& Fd::operator=(Fd&& other) noexcept
{
  Fd previous(std::exchange(descriptor, other.release()));
  return *this;
}

/// errno stays: it may hold the reason of the failure that the caller reports next.
Fd::~Fd()
{
  const int reason = errno;
  if (descriptor >= 0)
    ::close(descriptor);
  errno = reason;
}

bool Fd::close()
{
  return ::close(release()) == 0;
}

std::ptrdiff_t readUpTo(const Fd& fd, char* buffer, std::size_t length)
{
  std::size_t done = 0;
  while (done < length)
  {
    const ssize_t got = read(fd.get(), buffer + done, length - done);
    if (got == 0)
      break;
    if (got > 0)
      done += static_cast<std::size_t>(got);
    else if (errno != EINTR)
      return -1;
  }
  return static_cast<std::ptrdiff_t>(done);
}

bool writeAll(const Fd& fd, std::string_view bytes)
{
  while (!bytes.empty())
  {
    const ssize_t written = write(fd.get(), bytes.data(), bytes.size());
    if (written >= 0)
      bytes.remove_prefix(static_cast<std::size_t>(written));
    else if (errno != EINTR)
      return false;
  }
  return true;
}

} // namespace tarn::base
