// The small operations on texts that several rooms need.
#include "base/text.h"

#include <iterator>
#include <utility>

namespace tarn::base
{
namespace
{

/// C1 controls, line ends beyond ASCII, and the marks that change the direction of what follows them on a line: ranges
/// of UTF-8 sequences, whose order is that of the characters.
constexpr std::pair<std::string_view, std::string_view> kControls[] = {
    {"\xC2\x80", "\xC2\x9F"},         {"\xD8\x9C", "\xD8\x9C"},         {"\xE2\x80\x8E", "\xE2\x80\x8F"},
    {"\xE2\x80\xA8", "\xE2\x80\xAE"}, {"\xE2\x81\xA6", "\xE2\x81\xA9"},
};

} // namespace

std::size_t utf8Length(std::string_view text, std::size_t at)
{
  const auto byte = [&](std::size_t i) -> unsigned
  { return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0U; };
  const auto follows = [&](std::size_t i) { return (byte(i) & 0xC0U) == 0x80U; };
  const unsigned first = byte(0);
  if (first < 0x80)
    return 1;
  if (first >= 0xC2 && first <= 0xDF)
    return follows(1) ? 2 : 0;
  if (first >= 0xE0 && first <= 0xEF)
  {
    const bool overlong = first == 0xE0 && byte(1) < 0xA0;
    const bool surrogate = first == 0xED && byte(1) > 0x9F;
    return follows(1) && follows(2) && !overlong && !surrogate ? 3 : 0;
  }
  if (first >= 0xF0 && first <= 0xF4)
  {
    const bool overlong = first == 0xF0 && byte(1) < 0x90;
    const bool beyond = first == 0xF4 && byte(1) > 0x8F;
    return follows(1) && follows(2) && follows(3) && !overlong && !beyond ? 4 : 0;
  }
  return 0;
}

bool isControl(std::string_view sequence)
{
  if (sequence.size() == 1)
    return static_cast<unsigned char>(sequence[0]) < 0x20 || sequence[0] == 0x7F;
  return std::any_of(std::begin(kControls), std::end(kControls),
                     [&](const auto& range) { return range.first <= sequence && sequence <= range.second; });
}

std::string printable(const std::string& text, std::string_view kept)
{
  constexpr char kHex[] = "0123456789ABCDEF";
  std::string shown;
  shown.reserve(text.size());
  for (std::size_t at = 0; at < text.size();)
  {
    const std::size_t length = utf8Length(text, at);
    const std::string_view sequence = std::string_view(text).substr(at, std::max<std::size_t>(length, 1));
    const bool isC1 = length == 0 && static_cast<unsigned char>(sequence[0]) < 0xA0;
    if (isC1 || (length > 0 && isControl(sequence) && kept.find(sequence) == std::string_view::npos))
      for (const char c : sequence)
        shown.append("\\x").append(1, kHex[static_cast<unsigned char>(c) >> 4U]).append(1, kHex[c & 0xF]);
    else
      shown += sequence;
    at += sequence.size();
  }
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
