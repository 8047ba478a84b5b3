#pragma once

#include <cstdlib>
#include <string>

namespace tarn::base
{

/// Returns the value of the environment's `variable`; empty when it is unset.
inline std::string environmentValue(const char* variable)
{
  const char* value = std::getenv(variable);
  return value ? value : "";
}

} // namespace tarn::base
