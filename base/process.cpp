// What every program does around its work: standard streams, signals, and a line for what nobody caught.
#include "base/process.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

#include <fcntl.h>
#include <unistd.h>

#include "base/report.h"

namespace tarn::base
{
namespace
{

const char* programName = "";

/// Writes the program's last line; as it stands where there is no memory to make one.
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
  std::set_terminate(
      []
      {
        reportUncaught();
        std::_Exit(EXIT_FAILURE);
      });
}

} // namespace

/// Catching the exception, unlike leaving it to the terminate handler, destroys what is on the stack: no partial file
/// stays.
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
