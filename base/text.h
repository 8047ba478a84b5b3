#pragma once

#include <locale>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::base
{

/// Returns the parts as one text, flags as the words true and false, whatever the locale of the process and the format
/// flags of its streams.
template <class... Parts>
std::string joined(const Parts&... parts)
{
  std::ostringstream text;
  text.exceptions(std::ios::badbit); // out of memory: no part of a text is taken for the whole
  text.imbue(std::locale::classic());
  text << std::boolalpha;
  (text << ... << parts);
  return text.str();
}

/// Returns `text` with every control character as `\xNN` in hexadecimal: a value from a file never forges a second
/// line.
std::string printable(const std::string& text);

constexpr bool startsWith(std::string_view text, std::string_view start)
{
  return text.substr(0, start.size()) == start;
}

/// Returns `text` without the characters of `blanks` at both ends.
std::string trimmed(std::string_view text, std::string_view blanks = " ");

/// Returns the parts of `text` between the separators. A separator at the end adds no empty part; an empty text has no
/// part.
std::vector<std::string> split(const std::string& text, char separator);

/// Returns the value of a hexadecimal digit, -1 for any other character.
constexpr int hexValue(char c)
{
  const std::size_t place = std::string_view("0123456789abcdefABCDEF").find(c);
  if (place == std::string_view::npos)
    return -1;
  return static_cast<int>(place < 16 ? place : place - 6);
}

} // namespace tarn::base
