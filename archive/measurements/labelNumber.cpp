// Numbers and units in the texts of viewers.
#include "archive/measurements/labelNumber.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>

namespace tarn::archive
{
namespace
{

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kNumber = "0123456789.,";
constexpr std::string_view kSeparators = ".,";
constexpr std::string_view kBlankBytes = " \t\xC2\xA0\xE2\x80\xAF\x89"; ///< of blanks and of spaces without a break
constexpr std::size_t kGroup = 3;                                       ///< digits between separators of thousands

struct Unit
{
  const char* text; ///< in small letters
  Quantity quantity;
  double factor;
  bool mayGoOn = false; ///< other letters may follow: degrees, Grad, grados, gradi, graus
};

// Signs of one byte are those of Latin-1. The first that fits counts.
constexpr std::array kUnits{Unit{"mm2", Quantity::area, 1},          Unit{"mm^2", Quantity::area, 1},
                            Unit{"mm\xB2", Quantity::area, 1},       Unit{"mm\xC2\xB2", Quantity::area, 1},
                            Unit{"qmm", Quantity::area, 1},          Unit{"cm2", Quantity::area, 100},
                            Unit{"cm^2", Quantity::area, 100},       Unit{"cm\xB2", Quantity::area, 100},
                            Unit{"cm\xC2\xB2", Quantity::area, 100}, Unit{"qcm", Quantity::area, 100},
                            Unit{"mm", Quantity::length, 1},         Unit{"cm", Quantity::length, 10},
                            Unit{"\xB0", Quantity::angle, 1},        Unit{"\xC2\xB0", Quantity::angle, 1},
                            Unit{"deg", Quantity::angle, 1, true},   Unit{"gra", Quantity::angle, 1, true}};

bool isLetter(char c)
{
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || static_cast<unsigned char>(c) >= 0x80;
}

bool isDigit(char c)
{
  return kDigits.find(c) != std::string_view::npos;
}

/// The text from the first that is no blank; no-break and thin spaces are blanks.
std::string_view withoutBlanks(std::string_view text)
{
  for (const std::string_view blank : {" ", "\t", "\xC2\xA0", "\xA0", "\xE2\x80\xAF", "\xE2\x80\x89"})
    if (text.substr(0, blank.size()) == blank)
      return withoutBlanks(text.substr(blank.size()));
  return text;
}

bool beginsWith(std::string_view text, std::string_view small)
{
  const auto isSame = [](char letter, char c) { return letter == (c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); };
  return text.size() >= small.size() && std::equal(small.begin(), small.end(), text.begin(), isSame);
}

/// The unit that the text begins with, as a whole word: none of "mm3", "cm/s", "degC".
const Unit* unitAt(std::string_view text)
{
  const auto* const unit = std::find_if(kUnits.begin(), kUnits.end(),
                                        [text](const Unit& candidate) { return beginsWith(text, candidate.text); });
  if (unit == kUnits.end())
    return nullptr;
  text.remove_prefix(std::string_view(unit->text).size());
  while (unit->mayGoOn && !text.empty() && isLetter(text.front()))
    text.remove_prefix(1);
  const bool isWhole = text.empty() || !(isLetter(text.front()) || isDigit(text.front()) ||
                                         std::string_view("^/*").find(text.front()) != std::string_view::npos);
  return isWhole ? unit : nullptr;
}

/// Whether what stands before a number makes it a part of something else: "T8", "1'000", the thousands of "1 234".
bool belongsTo(std::string_view before, std::size_t digits)
{
  if (!before.empty() && (before.back() == '\'' || before.back() == '_' ||
                          (isLetter(before.back()) && static_cast<unsigned char>(before.back()) < 0x80)))
    return true;
  const std::size_t last = before.find_last_not_of(kBlankBytes);
  return digits == kGroup && last != std::string_view::npos && isDigit(before[last]);
}

/// Whether a minus stands before a number, which is no range: "5-7".
bool isNegative(std::string_view before)
{
  return !before.empty() && before.back() == '-' && (before.size() == 1 || !isDigit(before[before.size() - 2]));
}

/// The number, and one in its last digit; nothing where separators leave open what it is. Of two different ones the
/// last is the decimal point, of one alone too.
std::optional<std::pair<double, double>> valueOf(std::string_view text)
{
  const std::size_t point = text.find_last_of(kSeparators);
  std::string digits(text.substr(0, point));
  const std::size_t other = digits.find_first_of(kSeparators);
  if (other != std::string::npos)
  {
    const char group = digits[other];
    if (group == text[point] || digits.find(text[point]) != std::string::npos)
      return std::nullopt;
    digits.erase(std::remove(digits.begin(), digits.end(), group), digits.end());
  }
  const std::string_view decimals = point == std::string_view::npos ? std::string_view() : text.substr(point + 1);
  digits.append(".").append(decimals);
  double value = 0.0;
  const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (failure != std::errc())
    return std::nullopt;
  return std::pair{value, std::pow(10.0, -static_cast<double>(decimals.size()))};
}

} // namespace

std::optional<LabelNumber> numberIn(std::string_view label, const std::vector<Quantity>& quantities)
{
  for (std::size_t start = label.find_first_of(kNumber); start != std::string_view::npos;)
  {
    const std::size_t end = std::min(label.find_first_not_of(kNumber, start), label.size());
    const std::string_view before = label.substr(0, start);
    const std::string_view text = label.substr(start, end - start);
    const Unit* const unit = unitAt(withoutBlanks(label.substr(end)));
    const std::size_t digits = std::min(text.find_first_not_of(kDigits), text.size());
    const auto value = belongsTo(before, digits) ? std::nullopt : valueOf(text);
    if (unit && value && std::find(quantities.begin(), quantities.end(), unit->quantity) != quantities.end())
      return LabelNumber{unit->quantity, (isNegative(before) ? -1 : 1) * value->first * unit->factor,
                         value->second * unit->factor};
    start = label.find_first_of(kNumber, end);
  }
  return std::nullopt;
}

} // namespace tarn::archive
