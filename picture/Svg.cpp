// SVG 1.1 that browsers, viewers of images and librsvg show alike.
#include "picture/Svg.h"

#include "base/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace tarn::picture
{
namespace
{

constexpr double kFarthest = 1e5; ///< picture pixels; renderers calculate in single precision
constexpr double kFarthestInput = 1e9;

/// Yellow with a dark halo is seen on black, on white and on every grey between them.
constexpr char kInk[] = "#ffd800";
constexpr char kHalo[] = "#000";
constexpr double kLine = 1.5;
constexpr double kHaloLine = 3.5;
constexpr double kCaptionHeight = 10; ///< of letters, picture pixels

double bounded(double value, double most)
{
  return std::isnan(value) ? 0 : std::clamp(value, -most, most);
}

bool isAllowed(unsigned char byte)
{
  return byte >= 0x20 || byte == '\t' || byte == '\n';
}

/// U+FFFE and U+FFFF, which end in BE and BF after EF BF.
bool isNoCharacter(std::string_view rest)
{
  return rest.size() >= 3 && rest[0] == '\xEF' && rest[1] == '\xBF' && (rest[2] == '\xBE' || rest[2] == '\xBF');
}

std::string caption(const std::string& text, unsigned width, double baseline)
{
  const double fitting = width / (0.55 * static_cast<double>(text.size())); // letters are about half as wide as high
  return base::joined("<text x=\"2\" y=\"", svgNumber(baseline), "\" font-size=\"",
                      svgNumber(std::min(kCaptionHeight, fitting)), "\">", svgText(text), "</text>\n");
}

} // namespace

std::string svgNumber(double value)
{
  std::array<char, 16> digits; // NOLINT(*-member-init): filled by to_chars
  const auto [end, failure] = std::to_chars(digits.data(), digits.data() + digits.size(), bounded(value, kFarthest),
                                            std::chars_format::fixed, 2);
  std::string text(digits.data(), failure == std::errc() ? end : digits.data());
  text.erase(text.find_last_not_of('0') + 1);
  if (!text.empty() && text.back() == '.')
    text.pop_back();
  return text == "-0" ? "0" : text;
}

std::string svgPoint(Point point)
{
  return svgNumber(point.x) + " " + svgNumber(point.y);
}

Point mapped(const Affine& matrix, double x, double y)
{
  const Point point = matrix({bounded(x, kFarthestInput), bounded(y, kFarthestInput)});
  return {bounded(point.x, kFarthest), bounded(point.y, kFarthest)};
}

std::string svgText(std::string_view utf8)
{
  std::string text;
  for (std::size_t i = 0; i < utf8.size(); ++i)
    if (utf8[i] == '&')
      text += "&amp;";
    else if (utf8[i] == '<')
      text += "&lt;";
    else if (utf8[i] == '>')
      text += "&gt;";
    else if (isNoCharacter(utf8.substr(i)))
      i += 2;
    else if (isAllowed(static_cast<unsigned char>(utf8[i])))
      text += utf8[i];
  return text;
}

std::string base64(std::string_view bytes)
{
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3)
  {
    const auto at = [&](std::size_t place) -> std::uint32_t
    { return place < bytes.size() ? static_cast<unsigned char>(bytes[place]) : 0; };
    const std::uint32_t three = at(i) << 16U | at(i + 1) << 8U | at(i + 2);
    for (unsigned digit = 0; digit < 4; ++digit)
      text += i + digit <= bytes.size() ? kDigits[three >> (18 - 6 * digit) & 63U] : '=';
  }
  return text;
}

std::string Svg::document() const
{
  const double lineHeight = kCaptionHeight + 3;
  const double whole = height + lineHeight * static_cast<double>(captions.size()) + 3;
  std::string text =
      base::joined("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
                   "xmlns:xlink=\"http://www.w3.org/1999/xlink\" width=\"",
                   width, "\" height=\"", svgNumber(whole), "\" viewBox=\"0 0 ", width, " ", svgNumber(whole),
                   "\">\n<rect width=\"100%\" height=\"100%\"/>\n<svg width=\"", width, "\" height=\"", height,
                   "\">\n<defs><g id=\"shapes\" stroke-linecap=\"round\" stroke-linejoin=\"round\">\n");
  text += shapes;
  text += "</g></defs>\n";
  text += pixels;
  text += base::joined("<use xlink:href=\"#shapes\" fill=\"none\" stroke=\"", kHalo, "\" stroke-width=\"", kHaloLine,
                       "\"/>\n<use xlink:href=\"#shapes\" fill=\"", kInk, "\" stroke=\"", kInk, "\" stroke-width=\"",
                       kLine, "\"/>\n<g fill=\"", kInk, "\" stroke=\"", kHalo,
                       "\" stroke-width=\"2.5\" stroke-linejoin=\"round\" paint-order=\"stroke\" "
                       "font-family=\"sans-serif\" font-size=\"",
                       svgNumber(textHeight), "\">\n");
  text += texts;
  text += "</g>\n</svg>\n<g fill=\"#bbb\" font-family=\"sans-serif\">\n";
  for (std::size_t i = 0; i < captions.size(); ++i)
    text += caption(captions[i], width, height + lineHeight * static_cast<double>(i + 1));
  return text + "</g>\n</svg>\n";
}

} // namespace tarn::picture
