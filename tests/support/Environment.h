#pragma once

#include <cstdlib>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <utility>

/// Sets an environment variable, or unsets it, as long as it lives.
class ScopedEnvironment
{
public:
  using Value = std::optional<std::string>;

  ScopedEnvironment(std::string variable, const Value& value) : name(std::move(variable))
  {
    if (const char* current = std::getenv(name.c_str()))
      previous = current;
    assign(value);
  }
  ~ScopedEnvironment() { assign(previous); }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
  void assign(const Value& value) const { value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str()); }

  std::string name;
  Value previous;
};

/// Environment variables that hold (nothing: are unset) as long as it lives.
class Environment
{
public:
  using Variables = std::map<std::string, ScopedEnvironment::Value>;

  explicit Environment(const Variables& variables)
  {
    for (const auto& [name, value] : variables)
      held.emplace_back(name, value);
  }

private:
  std::list<ScopedEnvironment> held;
};
