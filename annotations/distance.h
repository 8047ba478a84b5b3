#pragma once

#include <cmath>
#include <cstdint>

namespace impsconverter
{

/// The length of a vector of image pixels. The sum of the squares is exact for all 32-bit values.
inline double vectorLength(int dx, int dy)
{
  const std::int64_t x = dx;
  const std::int64_t y = dy;
  return std::sqrt(static_cast<double>(static_cast<std::uint64_t>(x * x) + static_cast<std::uint64_t>(y * y)));
}

} // namespace impsconverter
