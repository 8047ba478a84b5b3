#include "base/urlDecode.h"

#include "base/text.h"

#include <cstddef>

namespace im
{
namespace
{

using tarn::base::hexValue;

/// The byte of two characters, reading only as far as they are digits.
char lenientByte(char high, char low)
{
  if (hexValue(high) < 0)
    return '\0';
  if (hexValue(low) < 0)
    return static_cast<char>(hexValue(high));
  return static_cast<char>(hexValue(high) * 16 + hexValue(low));
}

} // namespace

std::string urlDecode(const std::string& text)
{
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i)
  {
    if (text[i] != '%')
    {
      decoded += text[i] == '+' ? ' ' : text[i];
      continue;
    }
    if (text.size() - i < 3)
      break;
    decoded += lenientByte(text[i + 1], text[i + 2]);
    i += 2;
  }
  return decoded;
}

void URLDecode(std::string& text)
{
  std::size_t end = 0;
  for (std::size_t i = 0; i < text.size(); ++i)
  {
    char byte = text[i] == '+' ? ' ' : text[i];
    if (text[i] == '%')
    {
      if (text.size() - i < 3)
        break;
      const int high = hexValue(text[i + 1]);
      const int low = hexValue(text[i + 2]);
      if (high >= 0 && low >= 0)
      {
        byte = static_cast<char>(high * 16 + low);
        i += 2;
      }
    }
    if (byte == '\0')
      break;
    text[end++] = byte;
  }
  text.resize(end);
}

} // namespace im
