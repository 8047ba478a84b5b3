#include "base/IMProperties.h"

namespace tarn::imutils
{
namespace
{

std::string trimmed(const std::string& text)
{
  constexpr char kBlanks[] = " \t\r";
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos)
    return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

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
    const std::string content = trimmed(line);
    const auto equals = content.find('=');
    if (equals == std::string::npos || content[0] == '#' || content[0] == '!')
      continue;
    values[trimmed(content.substr(0, equals))] = unquoted(trimmed(content.substr(equals + 1)));
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
