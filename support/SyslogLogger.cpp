// Messages to the platform's log.
#include "support/SyslogLogger.h"

#include <cstdarg>

namespace tarn::utils
{

SyslogLogger::SyslogLogger(imutils::LOG_MODE mode) : logger("MetaMgr"), mode(mode) {}

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
