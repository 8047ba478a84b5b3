// The viewer's text of one or more figures, encoded as it stores it.
#include "samples/pluginState.h"

#include <cctype>
#include <cstring>

namespace samples
{
namespace
{

void appendEncoded(std::string& text, char byte)
{
  static const char kDigits[] = "0123456789ABCDEF";
  const auto value = static_cast<unsigned char>(byte);
  if (byte == ' ')
    text += '+';
  else if (value < 0x80 && (std::isalnum(value) != 0 || std::strchr("-._/", byte) != nullptr))
    text += byte;
  else
    text.append({'%', kDigits[value / 16], kDigits[value % 16]});
}

} // namespace

std::string pluginStateText(const std::string& label, const std::vector<Figure>& figures)
{
  std::string text = label;
  for (const Figure& figure : figures)
  {
    text += '\\';
    for (size_t i = 0; i < figure.size(); ++i)
    {
      if (i > 0)
        appendEncoded(text, '\n');
      for (const char byte : figure[i])
        appendEncoded(text, byte);
    }
  }
  return text;
}

} // namespace samples
