#pragma once

#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <utility>

/// Environment variables that hold (nothing: are unset) as long as it lives.
class Environment
{
public:
  using Value = std::optional<std::string>;
  using Variables = std::map<std::string, Value>;

  explicit Environment(Variables variables) : others(std::move(variables)) { exchange(); }
  ~Environment() { exchange(); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

private:
  void exchange()
  {
    for (auto& [name, value] : others)
    {
      const char* const held = std::getenv(name.c_str());
      Value before = held ? Value(held) : std::nullopt;
      value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
      value.swap(before);
    }
  }

  Variables others; ///< those that do not hold now
};

/// One such variable.
struct ScopedEnvironment : Environment
{
  ScopedEnvironment(const std::string& name, const Value& value) : Environment(Variables{{name, value}}) {}
};
