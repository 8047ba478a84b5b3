#pragma once

#include <cstdlib>
#include <string>

namespace tarn::base
{

/// Returns the value of the environment's `variable`; empty when it is unset, and in a program that has more rights
/// than who started it.
inline std::string environmentValue(const char* variable)
{
  const char* value = secure_getenv(variable);
  return value ? value : "";
}

} // namespace tarn::base
