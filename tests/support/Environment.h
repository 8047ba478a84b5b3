#pragma once

#include <map>
#include <optional>
#include <string>

#include <stdlib.h>

/// Environment variables that hold (nothing: are unset) as long as it lives.
class Environment
{
public:
  using Variables = std::map<std::string, std::optional<std::string>>;

  explicit Environment(const Variables& variables)
  {
    for (const auto& [name, value] : variables)
    {
      const char* before = getenv(name.c_str());
      saved[name] = before ? std::optional<std::string>(before) : std::nullopt;
      put(name, value);
    }
  }
  ~Environment()
  {
    for (const auto& [name, value] : saved)
      put(name, value);
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

private:
  static void put(const std::string& name, const std::optional<std::string>& value)
  {
    if (value)
      setenv(name.c_str(), value->c_str(), 1);
    else
      unsetenv(name.c_str());
  }

  Variables saved;
};
