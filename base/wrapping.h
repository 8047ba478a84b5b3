#pragma once

namespace tarn::base
{

/// 32-bit arithmetic that wraps as two's complement: coordinates come from untrusted text.
constexpr int wrapAdd(int a, int b)
{
  return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}
constexpr int wrapSub(int a, int b)
{
  return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}
constexpr int wrapMul(int a, int b)
{
  return static_cast<int>(static_cast<unsigned>(a) * static_cast<unsigned>(b));
}
constexpr int wrapAbs(int a)
{
  return a < 0 ? wrapSub(0, a) : a;
}

} // namespace tarn::base
