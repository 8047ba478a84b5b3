#pragma once

#include "base/Console.h"

#include <sstream>

/// What this thread's conversions write to each stream as long as it lives.
struct Capture
{
  std::ostringstream out, error;
  tarn::ConsoleScope scope{out, error};
};
