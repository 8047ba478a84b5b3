// Names and texts of any bytes in JSON, which knows none but UTF-8.
#include "archive/journal/textJson.h"

#include "base/text.h"

#include <algorithm>

namespace tarn::archive
{
namespace
{

constexpr char kHex[] = "0123456789ABCDEF";

/// Bytes of the UTF-8 sequence (RFC 3629) that begins at `at`; 0 where none does.
std::size_t sequenceLength(std::string_view text, std::size_t at)
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

std::string inHex(std::string_view bytes)
{
  std::string digits;
  for (const char c : bytes)
    digits.append(1, kHex[static_cast<unsigned char>(c) >> 4U]).append(1, kHex[static_cast<unsigned char>(c) & 0xFU]);
  return digits;
}

} // namespace

std::string fromHex(std::string_view digits)
{
  std::string bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
    bytes += static_cast<char>(base::hexValue(digits[i]) * 16 + base::hexValue(digits[i + 1]));
  return bytes;
}

std::string readable(std::string_view bytes)
{
  std::string text;
  text.reserve(bytes.size());
  for (std::size_t at = 0; at < bytes.size();)
  {
    const std::size_t length = sequenceLength(bytes, at);
    if (length == 0)
      text.append("\\x").append(inHex(bytes.substr(at, 1)));
    else
      text.append(bytes, at, length);
    at += std::max<std::size_t>(length, 1);
  }
  return text;
}

void putInput(JsonLine& line, const std::string& path)
{
  const std::string shown = readable(path);
  line.put("input", shown);
  if (shown != path)
    line.put("input_hex", inHex(path));
}

std::string inputOf(const Json& json)
{
  return json.contains("input_hex") ? fromHex(json.at("input_hex").get<std::string>())
                                    : json.at("input").get<std::string>();
}

} // namespace tarn::archive
