// Properties text, as the configuration files hold it.
#include "base/IMProperties.h"

#include "base/text.h"

namespace tarn::imutils
{
namespace
{

constexpr char kBlanks[] = " \t\r";

std::string unquoted(const std::string& value)
{
  const bool quoted = value.size() >= 2 && value.front() == '"' && value.back() == '"';
  return quoted ? value.substr(1, value.size() - 2) : value;
}

} // namespace

void IMProperties::read(std::istream& text)
{
  values.clear();
  for (std::string line; std::getline(text, line);)
  {
    const std::string content = base::trimmed(line, kBlanks);
    const auto equals = content.find('=');
    if (equals == std::string::npos || content[0] == '#' || content[0] == '!')
      continue;
    values[base::trimmed(content.substr(0, equals), kBlanks)] =
        unquoted(base::trimmed(content.substr(equals + 1), kBlanks));
  }
}

std::optional<std::string> IMProperties::getProperty(const std::string& key) const
{
  const auto found = values.find(key);
  if (found == values.end())
    return std::nullopt;
  return found->second;
}

} // namespace tarn::imutils
