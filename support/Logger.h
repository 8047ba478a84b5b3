#pragma once

namespace tarn::utils
{

/// Where a part of the program writes its messages.
class Logger
{
public:
  virtual ~Logger() = default;

  /// One message in printf's format.
  virtual void logV(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  /// One fixed message. It is taken as a format without arguments, so a text with '%' belongs to logV.
  virtual void log0(const char* message) __attribute__((format(printf, 2, 0))) = 0;

protected:
  Logger() = default;
  Logger(const Logger&) = default;
  Logger& operator=(const Logger&) = default;
};

} // namespace tarn::utils
