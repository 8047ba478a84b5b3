#pragma once

#include "support/Logger.h"

namespace tarn::utils
{

/// Drops every message.
class NullLogger : public Logger
{
public:
  void logV(const char*, ...) override __attribute__((format(printf, 2, 3))) {}
  void log0(const char*) override {}
};

} // namespace tarn::utils
