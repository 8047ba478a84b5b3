#include "ProcessSetup.h"

#include "Console.h"

#include <csignal>
#include <cstdlib>
#include <exception>

#include <fcntl.h>
#include <unistd.h>

namespace tarn
{
namespace
{

const char* programName = "";

[[noreturn]] void reportUncaught()
{
  try
  {
    if (const std::exception_ptr current = std::current_exception())
      std::rethrow_exception(current);
  }
  catch (const std::exception& exception)
  {
    report(programName, ": ", exception.what());
  }
  catch (...)
  {
    report(programName, ": unknown exception");
  }
  std::_Exit(EXIT_FAILURE);
}

} // namespace

void setUpProcess(const char* program)
{
  programName = program;
  // What is opened next must not become standard error, or the messages would go into it.
  int fd = open("/dev/null", O_RDWR);
  while (fd >= 0 && fd <= STDERR_FILENO)
    fd = open("/dev/null", O_RDWR);
  close(fd);
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  std::set_terminate(reportUncaught);
}

} // namespace tarn
