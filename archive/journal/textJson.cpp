// Names and texts of any bytes in JSON, which knows none but UTF-8.
#include "archive/journal/textJson.h"

#include "base/text.h"

#include <algorithm>

namespace tarn::archive
{
namespace
{

constexpr char kHex[] = "0123456789ABCDEF";

std::string inHex(std::string_view bytes)
{
  std::string digits;
  for (const char c : bytes)
    digits.append(1, kHex[static_cast<unsigned char>(c) >> 4U]).append(1, kHex[static_cast<unsigned char>(c) & 0xFU]);
  return digits;
}

/// Four digits for a sequence of one to three bytes.
std::string codeUnitInHex(std::string_view sequence)
{
  constexpr unsigned kFirst[] = {0x7F, 0x1F, 0x0F};
  unsigned unit = static_cast<unsigned char>(sequence[0]) & kFirst[sequence.size() - 1];
  for (const char c : sequence.substr(1))
    unit = unit << 6U | (static_cast<unsigned char>(c) & 0x3FU);
  const char bytes[] = {static_cast<char>(unit >> 8U), static_cast<char>(unit & 0xFFU)};
  return inHex({bytes, sizeof bytes});
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
    const std::size_t length = base::utf8Length(bytes, at);
    if (length == 0)
      text.append("\\x").append(inHex(bytes.substr(at, 1)));
    else
      text.append(bytes, at, length);
    at += std::max<std::size_t>(length, 1);
  }
  return text;
}

std::string shownJson(const std::string& json)
{
  std::string text;
  text.reserve(json.size());
  for (std::size_t at = 0; at < json.size();)
  {
    const std::size_t length = std::max<std::size_t>(base::utf8Length(json, at), 1);
    const std::string_view sequence = std::string_view(json).substr(at, length);
    if (base::isControl(sequence))
      text.append("\\u").append(codeUnitInHex(sequence));
    else
      text += sequence;
    at += length;
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
