#include "ScopedEnvironment.h"

#include <cstdlib>
#include <utility>

namespace
{

void assign(const std::string& name, const std::optional<std::string>& value)
{
  if (value)
    setenv(name.c_str(), value->c_str(), 1);
  else
    unsetenv(name.c_str());
}

} // namespace

ScopedEnvironment::ScopedEnvironment(std::string variable, const std::optional<std::string>& value)
  : name(std::move(variable))
{
  if (const char* current = std::getenv(name.c_str()))
    previous = current;
  assign(name, value);
}

ScopedEnvironment::~ScopedEnvironment()
{
  assign(name, previous);
}
