#pragma once

#include <cstdarg>
#include <string>
#include <utility>

namespace tarn::imutils
{

/// Levels of the platform logger; the values are the severities of syslog(3).
enum LOG_MODE
{
  LOG_MODE_ERROR = 3,
  LOG_MODE_INFO = 6,
  LOG_MODE_DEBUG = 7
};

/// A named logger. All loggers of a process share one destination, chosen by the environment at the first line:
/// TARN_LOG = syslog (default) | stderr | file:PATH | none, TARN_LOG_LEVEL = error | info (default) | debug.
/// A line is a time, a level, the logger's name and, last, the message, in which control characters are shown as
/// `\xNN`. Formats are those of printf(3). Logging reports no failure to its caller and may be called from any thread.
class IMLogger
{
public:
  explicit IMLogger(std::string name) : name(std::move(name)) {}

  void errorLog(const char* format, ...) const __attribute__((format(printf, 2, 3)));
  void infoLog(const char* format, ...) const __attribute__((format(printf, 2, 3)));
  void debugLog(const char* format, ...) const __attribute__((format(printf, 2, 3)));
  void log(LOG_MODE mode, const char* format, std::va_list arguments) const __attribute__((format(printf, 3, 0)));

private:
  std::string name;
};

} // namespace tarn::imutils
