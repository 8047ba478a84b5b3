// The loggers that write: to a stream of the standard library, and to the platform's log.
#include "support/Loggers.h"

#include <cstdarg>

namespace tarn::utils
{

void StdLogger::logV(const char* format, ...)
{
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stream, format, arguments);
  va_end(arguments);
  std::fputc('\n', stream);
}

void StdLogger::log0(const char* message)
{
  std::fprintf(stream, message);
  std::fputc('\n', stream);
}

void SyslogLogger::logV(const char* format, ...)
{
  std::va_list arguments;
  va_start(arguments, format);
  logger.log(mode, format, arguments);
  va_end(arguments);
}

void SyslogLogger::log0(const char* message)
{
  logger.debugLog(message);
}

} // namespace tarn::utils
