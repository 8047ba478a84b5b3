#pragma once

#include <algorithm>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>

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

/// Returns the bytes of the UTF-8 sequence (RFC 3629) that begins at `at`; 0 where none does.
std::size_t utf8Length(std::string_view text, std::size_t at);

/// Whether a UTF-8 sequence is a control character (C0, DEL, C1) or a mark that changes the direction of text.
bool isControl(std::string_view sequence);

/// Returns `text` with every control character, also one that is no UTF-8, and every mark of direction as `\xNN` in
/// hexadecimal, but for the characters of `kept`: a value from a file never forges a second line, and never does
/// anything to a terminal.
std::string printable(const std::string& text, std::string_view kept = {});

constexpr bool startsWith(std::string_view text, std::string_view start)
{
  return text.substr(0, start.size()) == start;
}

/// Returns `text` without the characters of `blanks` at both ends.
std::string trimmed(std::string_view text, std::string_view blanks = " ");

/// Cuts `text` at each `separator` and appends the pieces to `fields`: two separators in a row give an empty field, one
/// at the end gives none, and an empty text gives no field at all.
template <class Vector, char separator>
void split3(std::string_view text, Vector& fields)
{
  while (!text.empty())
  {
    const std::string_view field = text.substr(0, text.find(separator));
    fields.emplace_back(field);
    text.remove_prefix(std::min(field.size() + 1, text.size()));
  }
}

/// Returns the value of a hexadecimal digit, -1 for any other character.
constexpr int hexValue(char c)
{
  const std::size_t place = std::string_view("0123456789abcdefABCDEF").find(c);
  if (place == std::string_view::npos)
    return -1;
  return static_cast<int>(place < 16 ? place : place - 6);
}

} // namespace tarn::base
