#pragma once

#include "ScopedEnvironment.h"

#include <list>
#include <map>
#include <optional>
#include <string>

/// Environment variables that hold (nothing: are unset) as long as it lives.
class Environment
{
public:
  using Variables = std::map<std::string, std::optional<std::string>>;

  explicit Environment(const Variables& variables)
  {
    for (const auto& [name, value] : variables)
      held.emplace_back(name, value);
  }

private:
  std::list<ScopedEnvironment> held;
};
