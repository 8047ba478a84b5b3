#pragma once

#include "support/Logger.h"

#include <cstdio>

namespace tarn::utils
{

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

} // namespace tarn::utils
