#pragma once

#include "base/IMLogger.h"
#include "support/Logger.h"

#include <cstdio>

namespace tarn::utils
{

/// Drops every message.
class NullLogger : public Logger
{
public:
  void logV(const char*, ...) override __attribute__((format(printf, 2, 3))) {}
  void log0(const char*) override {}
};

/// Writes each message and one newline to a stream that it borrows and never closes.
class StdLogger : public Logger
{
public:
  explicit StdLogger(std::FILE* stream) : stream(stream) {}

  void logV(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  void log0(const char* message) override __attribute__((format(printf, 2, 0)));

private:
  std::FILE* stream;
};

/// Writes to the platform's log under the name "MetaMgr".
class SyslogLogger : public Logger
{
public:
  /// `mode`: the level of what logV writes.
  explicit SyslogLogger(imutils::LOG_MODE mode) : mode(mode) {}

  void logV(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  /// Writes at debug level, whatever the mode.
  void log0(const char* message) override __attribute__((format(printf, 2, 0)));

private:
  imutils::IMLogger logger{"MetaMgr"};
  imutils::LOG_MODE mode;
};

} // namespace tarn::utils
