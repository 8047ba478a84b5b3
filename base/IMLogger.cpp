// The one log of a process, which all named loggers write to.
#include "base/IMLogger.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/syslog_sink.h>

#include "base/Closer.h"
#include "base/Fd.h"
#include "base/environmentValue.h"
#include "base/text.h"

namespace tarn::imutils
{
namespace
{

constexpr char kFilePrefix[] = "file:";

/// Opens a log file at its end; none where opening it or writing to it may wait for somebody else. Made with its
/// folders where it is missing.
base::Fd openLog(const std::filesystem::path& path)
{
  std::error_code ignored;
  if (path.has_parent_path())
    std::filesystem::create_directories(path.parent_path(), ignored);
  base::Fd log(open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666));
  struct stat status = {};
  const bool isLog = log && fstat(log.get(), &status) == 0 && (S_ISREG(status.st_mode) || S_ISCHR(status.st_mode));
  return isLog && fcntl(log.get(), F_SETFL, O_APPEND) == 0 ? std::move(log) : base::Fd();
}

/// A log file that is open, so that it is the one that was looked at.
class FileSink : public spdlog::sinks::base_sink<std::mutex>
{
public:
  explicit FileSink(base::Fd file) : file(std::move(file)) {}

private:
  void sink_it_(const spdlog::details::log_msg& message) override
  {
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    static_cast<void>(base::writeAll(file, {line.data(), line.size()})); // what cannot be logged stops no work
  }
  void flush_() override {}

  base::Fd file;
};

/// Returns the sink of `destination`, or the system log where that cannot be opened: a log that cannot be written must
/// not stop the work.
std::shared_ptr<spdlog::sinks::sink> openSink(const std::string& destination)
{
  if (destination == "stderr")
    return std::make_shared<spdlog::sinks::stderr_sink_mt>();
  if (destination == "none")
    return std::make_shared<spdlog::sinks::null_sink_mt>();
  if (base::startsWith(destination, kFilePrefix))
    if (base::Fd log = openLog(destination.substr(sizeof kFilePrefix - 1)))
      return std::make_shared<FileSink>(std::move(log));
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
