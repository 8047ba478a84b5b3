// The fields of a plug-in state's lines, converted as the C library's scanf does (C17 7.21.6.2).
#include "annotations/Parameters.h"

#include "base/report.h"
#include "base/urlDecode.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <utility>

namespace impsconverter
{
namespace
{

bool isBlank(char c)
{
  return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Converts the real number at `cursor` and steps over it; false where scanf refuses what is there. It takes other
/// texts than strtod: "1e+" whole, neither "0x" nor "infin", and of "nan(1)" the first three letters.
template <class Real>
bool convertReal(const char*& cursor, Real& value, Real (*convert)(const char*, char**))
{
  long length = 0;
  static_cast<void>(std::sscanf(cursor, "%*g%ln", &length)); // nothing is stored, so no number is too large
  if (length == 0)
    return false;
  value = convert(std::string(cursor, static_cast<std::size_t>(length)).c_str(), nullptr);
  cursor += length;
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
  return add(hasField() && convertWord(value, mostBytes), name, value);
}

Parameters& Parameters::label(std::string& value, const char* name)
{
  const bool read = hasField() && convertWord(value, kLongestWord);
  if (read)
    im::URLDecode(value);
  return add(read, name, value);
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
    tarn::base::trace(
        std::accumulate(traced.begin(), traced.end(), tarn::base::joined(title, " arguments: ", converted)));
  return converted >= required;
}

} // namespace impsconverter
