// The two URL decodings of the archive, which differ in what they make of an odd '%'.
#include "base/urlDecode.h"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "base/text.h"

namespace im
{
namespace
{

/// Returns the byte of two hexadecimal digits, given by their values; a '%' without both stays.
std::optional<char> strictByte(int high, int low)
{
  if (high < 0 || low < 0)
    return std::nullopt;
  return static_cast<char>(high * 16 + low);
}

/// Returns the byte of two characters, read only as far as they are digits.
std::optional<char> lenientByte(int high, int low)
{
  if (high < 0)
    return '\0';
  return static_cast<char>(low < 0 ? high : high * 16 + low);
}

template <class Escape>
std::string decoded(const std::string& text, Escape escapedByte)
{
  using tarn::base::hexValue;
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i)
  {
    char byte = text[i] == '+' ? ' ' : text[i];
    if (text[i] == '%')
    {
      if (text.size() - i < 3)
        break;
      if (const std::optional<char> escaped = escapedByte(hexValue(text[i + 1]), hexValue(text[i + 2])))
      {
        byte = *escaped;
        i += 2;
      }
    }
    result += byte;
  }
  return result;
}

} // namespace

std::string urlDecode(const std::string& text)
{
  return decoded(text, lenientByte);
}

void URLDecode(std::string& text)
{
  text = decoded(text, strictByte);
  text.resize(std::min(text.size(), text.find('\0')));
}

} // namespace im
