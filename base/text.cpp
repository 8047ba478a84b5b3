// The small operations on texts that several rooms need.
#include "base/text.h"

namespace tarn::base
{

std::string printable(const std::string& text)
{
  constexpr char kHex[] = "0123456789ABCDEF";
  std::string shown;
  shown.reserve(text.size());
  for (const char c : text)
    if (const auto byte = static_cast<unsigned char>(c); byte < 0x20 || byte == 0x7f)
      shown.append("\\x").append(1, kHex[byte >> 4U]).append(1, kHex[byte & 0xFU]);
    else
      shown += c;
  return shown;
}

std::string trimmed(std::string_view text, std::string_view blanks)
{
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos)
    return {};
  return std::string(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

} // namespace tarn::base
