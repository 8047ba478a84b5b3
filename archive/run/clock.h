#pragma once

#include <chrono>
#include <cstdint>

namespace tarn::archive
{

/// Nanoseconds of the steady clock.
inline std::int64_t steadyNow()
{
  return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace tarn::archive
