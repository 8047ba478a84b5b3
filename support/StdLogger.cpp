// Messages to a stream of the standard library.
#include "support/StdLogger.h"

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

} // namespace tarn::utils
