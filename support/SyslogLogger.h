#pragma once

#include "support/Logger.h"

#include "base/IMLogger.h"

namespace tarn::utils
{

/// Writes to the platform's log under the name "MetaMgr".
class SyslogLogger : public Logger
{
public:
  /// `mode`: the level of what logV writes.
  explicit SyslogLogger(imutils::LOG_MODE mode);

  void logV(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  /// Writes at debug level, whatever the mode.
  void log0(const char* message) override __attribute__((format(printf, 2, 0)));

private:
  imutils::IMLogger logger;
  imutils::LOG_MODE mode;
};

} // namespace tarn::utils
