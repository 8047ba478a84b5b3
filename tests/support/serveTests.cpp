// Starts the MariaDB server that the tests of a ctest run share, and keeps it until ctest ends, however that ends.
#include <array>
#include <cstdio>
#include <exception>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/support/Files.h"
#include "tests/support/MariaDbServer.h"

namespace
{

/// Keeps a server while the process `ctest` lives. Writes its socket's path to `file` and closes `ready`, after the
/// reason where there is none.
int serve(const char* file, pollfd ctest, int ready)
{
  setsid();
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) // ctest waits until they are closed
    dup2(null, stream);
  try
  {
    const MariaDbServer server;
    put(file, server.socket());
    close(ready);
    return poll(&ctest, 1, -1) == 1 ? 0 : 1;
  }
  catch (const std::exception& failure)
  {
    const std::string reason = failure.what();
    return write(ready, reason.data(), reason.size()) < 0 ? 2 : 1;
  }
}

} // namespace

int main(int argc, char** argv)
{
  std::array<int, 2> ready{};
  const pollfd ctest{static_cast<int>(syscall(SYS_pidfd_open, getppid(), 0)), POLLIN, 0};
  if (argc != 2 || ctest.fd < 0 || pipe2(ready.data(), O_CLOEXEC) != 0)
    return 2;
  std::remove(argv[1]);
  if (fork() == 0)
    return serve(argv[1], ctest, ready[1]);
  close(ready[1]);
  std::array<char, 4096> reason{};
  const ssize_t length = read(ready[0], reason.data(), reason.size());
  if (length > 0)
    std::fwrite(reason.data(), 1, static_cast<std::size_t>(length), stderr);
  return access(argv[1], R_OK) == 0 ? 0 : 1;
}
