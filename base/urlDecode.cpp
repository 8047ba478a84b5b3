// The two URL decodings of the archive, which differ in what they make of an odd '%'.
#include "base/urlDecode.h"

#include <algorithm>
#include <cstddef>

#include "base/text.h"

namespace im
{
namespace
{

/// Returns the byte of two characters, given by their values and read only as far as they are digits.
char escapedByte(int high, int low)
{
  if (high < 0)
    return '\0';
  return static_cast<char>(low < 0 ? high : high * 16 + low);
}

/// Where `isStrict` is set, a '%' without two hexadecimal digits after it stays.
std::string decoded(const std::string& text, bool isStrict)
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
      const int high = hexValue(text[i + 1]);
      const int low = hexValue(text[i + 2]);
      if (!isStrict || (high >= 0 && low >= 0))
      {
        byte = escapedByte(high, low);
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
  return decoded(text, false);
}

void URLDecode(std::string& text)
{
  text = decoded(text, true);
  text.resize(std::min(text.size(), text.find('\0')));
}

} // namespace im
