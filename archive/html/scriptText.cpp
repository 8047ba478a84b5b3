#include "archive/html/scriptText.h"

#include "base/text.h"

namespace tarn::archive
{
namespace
{

constexpr char kCut[] = " ...";

bool isInSequence(char c)
{
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

} // namespace

std::string scriptCall(std::string_view function, std::uint64_t number, std::string_view json)
{
  std::string text = base::joined("report.", function, "(", number, ",'");
  text.reserve(text.size() + json.size() + json.size() / 4);
  for (const char c : json)
    if (c == '\\' || c == '\'')
      text.append(1, '\\').append(1, c);
    else if (c == '<')
      text.append("\\u003c"); // no end of a script, whatever reads it
    else
      text.append(1, c);
  return text + "');\n";
}

std::string shortText(const std::string& bytes, std::size_t most)
{
  std::string text = readable(bytes);
  if (text.size() <= most)
    return text;
  while (isInSequence(text[most]))
    --most;
  return text.substr(0, most) + kCut;
}

} // namespace tarn::archive
