#pragma once

#include <optional>
#include <string>

/// Sets an environment variable, or unsets it, as long as it lives.
class ScopedEnvironment
{
public:
  ScopedEnvironment(std::string name, const std::optional<std::string>& value);
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
  std::string name;
  std::optional<std::string> previous;
};
