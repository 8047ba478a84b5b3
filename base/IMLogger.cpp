// The one log of a process, which all named loggers write to.
#include "base/IMLogger.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include <sys/stat.h>

#include <spdlog/logger.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/syslog_sink.h>

#include "base/Closer.h"
#include "base/environmentValue.h"
#include "base/text.h"

namespace tarn::imutils
{
namespace
{

constexpr char kFilePrefix[] = "file:";

/// Whether opening the file or writing to it may wait for somebody else.
bool isWaitedFor(const std::string& path)
{
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISCHR(status.st_mode);
}

/// Returns the sink of `destination`, or the system log where that cannot be opened: a log that cannot be written must
/// not stop the work.
std::shared_ptr<spdlog::sinks::sink> openSink(const std::string& destination)
{
  if (destination == "stderr")
    return std::make_shared<spdlog::sinks::stderr_sink_mt>();
  if (destination == "none")
    return std::make_shared<spdlog::sinks::null_sink_mt>();
  try
  {
    if (base::startsWith(destination, kFilePrefix) && !isWaitedFor(destination.substr(sizeof kFilePrefix - 1)))
      return std::make_shared<spdlog::sinks::basic_file_sink_mt>(destination.substr(sizeof kFilePrefix - 1));
  }
  catch (const std::exception&)
  {
    return openSink("syslog");
  }
  return std::make_shared<spdlog::sinks::syslog_sink_mt>("annomend", LOG_PID, LOG_USER, true);
}

spdlog::level::level_enum threshold(const std::string& level)
{
  if (level == "debug")
    return spdlog::level::debug;
  return level == "error" ? spdlog::level::err : spdlog::level::info;
}

spdlog::level::level_enum toLevel(LOG_MODE mode)
{
  if (mode <= LOG_MODE_ERROR)
    return spdlog::level::err;
  return mode <= LOG_MODE_INFO ? spdlog::level::info : spdlog::level::debug;
}

/// Returns the one destination of the process. It is never destroyed, so that destructors of other statics may log.
spdlog::logger& processLogger()
{
  static spdlog::logger& instance = []() -> spdlog::logger&
  {
    auto* logger = new spdlog::logger("annomend", openSink(base::environmentValue("TARN_LOG")));
    logger->set_level(threshold(base::environmentValue("TARN_LOG_LEVEL")));
    logger->set_pattern("%Y-%m-%d %H:%M:%S.%e %l %v");
    logger->flush_on(spdlog::level::trace);
    logger->set_error_handler([](const std::string&) {});
    return *logger;
  }();
  return instance;
}

std::string formatted(const char* format, std::va_list arguments)
{
  char* text = nullptr;
  const int length = vasprintf(&text, format, arguments);
  if (length < 0)
    return {};
  const std::unique_ptr<char, base::Closer<std::free>> owner(text);
  return {text, static_cast<std::size_t>(length)};
}

} // namespace

void IMLogger::log(LOG_MODE mode, const char* format, std::va_list arguments) const
{
  spdlog::logger& destination = processLogger();
  const spdlog::level::level_enum level = toLevel(mode);
  if (!destination.should_log(level))
    return;
  destination.log(level, spdlog::string_view_t(name + ": " + base::printable(formatted(format, arguments))));
}

void IMLogger::errorLog(const char* format, ...) const
{
  std::va_list arguments;
  va_start(arguments, format);
  log(LOG_MODE_ERROR, format, arguments);
  va_end(arguments);
}

void IMLogger::infoLog(const char* format, ...) const
{
  std::va_list arguments;
  va_start(arguments, format);
  log(LOG_MODE_INFO, format, arguments);
  va_end(arguments);
}

void IMLogger::debugLog(const char* format, ...) const
{
  std::va_list arguments;
  va_start(arguments, format);
  log(LOG_MODE_DEBUG, format, arguments);
  va_end(arguments);
}

} // namespace tarn::imutils
