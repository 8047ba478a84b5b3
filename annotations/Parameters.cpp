// The fields of a plug-in state's lines, converted as the C library's scanf does (C17 7.21.6.2).
#include "annotations/Parameters.h"

#include "base/report.h"
#include "base/text.h"
#include "base/urlDecode.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace impsconverter
{
namespace
{

bool isBlank(char c)
{
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c)
{
  return c >= '0' && c <= '9';
}

bool isHexDigit(char c)
{
  return tarn::base::hexValue(c) >= 0;
}

char lower(char c)
{
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The end of `word` at `text`, in letters of either case; null where the text differs.
const char* endOfWord(const char* text, std::string_view word)
{
  for (const char letter : word)
    if (lower(*text++) != letter)
      return nullptr;
  return text;
}

/// The end of the digits at `text` with at most one point among them; `found` tells whether there is a digit.
const char* endOfMantissa(const char* text, bool (*isOneOf)(char), bool& found)
{
  const char* end = text;
  bool point = false;
  for (; isOneOf(*end) || (*end == '.' && !point); ++end)
    if (*end == '.')
      point = true;
    else
      found = true;
  return end;
}

/// The end of the real number at `text` as scanf delimits it; null where it refuses what is there. It looks one byte
/// ahead only: unlike strtod it takes "1e+" whole, refuses "0x" and "infin", and leaves what follows "nan".
const char* endOfReal(const char* text)
{
  if (*text == '+' || *text == '-')
    ++text;
  if (lower(*text) == 'n')
    return endOfWord(text, "nan");
  if (lower(*text) == 'i')
  {
    const char* const end = endOfWord(text, "inf");
    return end && lower(*end) == 'i' ? endOfWord(end, "inity") : end;
  }
  const bool isHex = text[0] == '0' && lower(text[1]) == 'x';
  const char* const digits = isHex ? text + 2 : text;
  bool found = false;
  const char* end = endOfMantissa(digits, isHex ? isHexDigit : isDigit, found);
  if (isHex ? end == digits : !found)
    return nullptr;
  if (!found || lower(*end) != (isHex ? 'p' : 'e'))
    return end;
  ++end;
  if (*end == '+' || *end == '-')
    ++end;
  while (isDigit(*end))
    ++end;
  return end;
}

/// Converts the real number at `cursor` and steps over it; false where scanf refuses what is there.
template <class Real>
bool convertReal(const char*& cursor, Real& value, Real (*convert)(const char*, char**))
{
  const char* const end = endOfReal(cursor);
  if (!end)
    return false;
  value = convert(std::string(cursor, end).c_str(), nullptr); // strtod alone would read on: "nan(1)"
  cursor = end;
  return true;
}

} // namespace

Parameters::Parameters(const char* group, std::string subject, const char* text, bool debug)
  : group(group), subject(std::move(subject)), cursor(text), debug(debug)
{
}

bool Parameters::hasField()
{
  while (!ended && isBlank(*cursor))
    ++cursor;
  if (*cursor == '\0' && converted == 0 && !ended)
    converted = -1;
  return !ended && *cursor != '\0';
}

Parameters& Parameters::add(bool read, const char* name, Traced value)
{
  converted += read ? 1 : 0;
  ended = !read;
  if (debug && name)
    traced.push_back({name, value});
  return *this;
}

bool Parameters::convert(int& value)
{
  char* end = nullptr;
  const long number = std::strtol(cursor, &end, 10);
  if (end == cursor)
    return false;
  cursor = end;
  value = static_cast<int>(number);
  return true;
}

bool Parameters::convert(bool& value)
{
  int number = 0;
  const bool read = convert(number);
  value = read ? number != 0 : value;
  return read;
}

bool Parameters::convert(float& value)
{
  return convertReal(cursor, value, std::strtof);
}

bool Parameters::convert(double& value)
{
  return convertReal(cursor, value, std::strtod);
}

bool Parameters::convertWord(std::string& value, std::size_t mostBytes)
{
  const char* end = cursor;
  while (*end != '\0' && !isBlank(*end) && static_cast<std::size_t>(end - cursor) < mostBytes)
    ++end;
  value.assign(cursor, end);
  cursor = end;
  return true;
}

Parameters& Parameters::word(std::string& value, const char* name, std::size_t mostBytes)
{
  return add(hasField() && convertWord(value, mostBytes), name, &value);
}

Parameters& Parameters::label(std::string& value, const char* name)
{
  const bool read = hasField() && convertWord(value, kLongestWord);
  if (read)
    im::URLDecode(value);
  return add(read, name, &value);
}

Parameters& Parameters::skipNumbers(int fields)
{
  for (int unused = 0; fields > 0; --fields)
    number(unused);
  return *this;
}

Parameters& Parameters::skipReals(int fields)
{
  for (double unused = 0.0; fields > 0; --fields)
    real(unused);
  return *this;
}

Parameters& Parameters::tracedAt(std::size_t place)
{
  if (debug)
    std::rotate(traced.begin() + static_cast<std::ptrdiff_t>(place), traced.end() - 1, traced.end());
  return *this;
}

bool Parameters::atLeast(int required, const char* title) const
{
  if (converted < required)
    tarn::base::report("Invalid number of ", group, " for ", subject, ": ", converted);
  else if (debug && title)
    trace(title);
  return converted >= required;
}

void Parameters::trace(const char* title) const
{
  std::string text = tarn::base::joined(title, " arguments: ", converted);
  for (const TracedField& field : traced)
  {
    const std::string start = *field.name ? "\n" + std::string(field.name) + ": " : " ";
    text += start + std::visit([](const auto* value) { return tarn::base::joined(*value); }, field.value);
  }
  tarn::base::trace(text);
}

} // namespace impsconverter
