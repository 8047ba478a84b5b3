#include "base/process.h"

#include "base/report.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

#include <fcntl.h>
#include <unistd.h>

namespace tarn::base
{
namespace
{

const char* programName = "";

/// Where there is no memory for the line, what is to be said is written as it stands.
void reportEnd(const char* text) noexcept
{
  try
  {
    report(programName, ": ", text);
  }
  catch (const std::exception&)
  {
    std::fprintf(stderr, "%s: %s\n", programName, text);
  }
}

void reportUncaught() noexcept
{
  try
  {
    if (const std::exception_ptr current = std::current_exception())
      std::rethrow_exception(current);
  }
  catch (const std::bad_alloc&)
  {
    reportEnd("out of memory");
  }
  catch (const std::exception& exception)
  {
    reportEnd(exception.what());
  }
  catch (...)
  {
    reportEnd("unknown exception");
  }
}

[[noreturn]] void end()
{
  reportUncaught();
  std::_Exit(EXIT_FAILURE);
}

void setUp()
{
  // What is opened next must not become standard error, or the messages would go into it.
  int fd = open("/dev/null", O_RDWR);
  while (fd >= 0 && fd <= STDERR_FILENO)
    fd = open("/dev/null", O_RDWR);
  if (fd >= 0)
    close(fd);
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  std::set_terminate(end);
}

} // namespace

/// Catching it, unlike leaving it to the terminate handler, destroys what is on the stack: no partial file stays.
int runProcess(const char* program, const std::function<int()>& run)
{
  programName = program;
  setUp();
  try
  {
    return run();
  }
  catch (...)
  {
    reportUncaught();
    return EXIT_FAILURE;
  }
}

} // namespace tarn::base
