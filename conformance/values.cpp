// Values of elements of any maker, whatever VR they have.
#include "conformance/values.h"

#include "base/text.h"
#include "dicom/values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

namespace tarn::conformance
{
namespace
{

/// PS3.5 6.2: DS and IS, without the blanks that pad them. Neither knows infinity.
std::optional<double> numberIn(std::string_view text)
{
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  text.remove_suffix(text.size() - (text.find_last_not_of(' ') + 1));
  double number = 0;
  const char* start = text.data() + (base::startsWith(text, "+") ? 1 : 0);
  const auto [end, failure] = std::from_chars(start, text.data() + text.size(), number);
  if (text.empty() || failure != std::errc() || end != text.data() + text.size() || !std::isfinite(number))
    return std::nullopt;
  return number;
}

std::optional<double> valueAt(DcmElement& element, unsigned long i)
{
  switch (element.ident())
  {
  case EVR_FL:
  {
    Float32 value = 0;
    return element.getFloat32(value, i).good() ? std::make_optional<double>(value) : std::nullopt;
  }
  case EVR_FD:
  {
    Float64 value = 0;
    return element.getFloat64(value, i).good() ? std::make_optional<double>(value) : std::nullopt;
  }
  case EVR_SL:
  {
    Sint32 value = 0;
    return element.getSint32(value, i).good() ? std::make_optional<double>(value) : std::nullopt;
  }
  case EVR_SS:
  {
    Sint16 value = 0;
    return element.getSint16(value, i).good() ? std::make_optional<double>(value) : std::nullopt;
  }
  case EVR_UL:
  {
    Uint32 value = 0;
    return element.getUint32(value, i).good() ? std::make_optional<double>(value) : std::nullopt;
  }
  case EVR_US:
  {
    Uint16 value = 0;
    return element.getUint16(value, i).good() ? std::make_optional<double>(value) : std::nullopt;
  }
  default:
    return std::nullopt;
  }
}

bool areDigits(const std::string& text, std::size_t start, std::size_t count)
{
  return std::all_of(text.begin() + static_cast<std::ptrdiff_t>(start),
                     text.begin() + static_cast<std::ptrdiff_t>(start + count),
                     [](char letter) { return letter >= '0' && letter <= '9'; });
}

/// Whether a value is what most are of its VR; the toolkit, which knows all forms, takes its time.
bool isOrdinary(const std::string& value, DcmEVR vr)
{
  constexpr std::size_t kShortNumber = 9;
  const auto isPart = [&value](std::size_t start, const char* least, const char* most)
  { return value.compare(start, 2, least) >= 0 && value.compare(start, 2, most) <= 0; };
  switch (vr)
  {
  case EVR_DA:
    return value.size() == 8 && areDigits(value, 0, 8) && isPart(4, "01", "12") && isPart(6, "01", "28");
  case EVR_TM:
    return value.size() == 6 && areDigits(value, 0, 6) && isPart(0, "00", "23") && isPart(2, "00", "59") &&
           isPart(4, "00", "59");
  case EVR_CS:
    return isCode(value);
  case EVR_IS:
    return !value.empty() && value.size() <= kShortNumber && areDigits(value, 0, value.size());
  default:
    return false;
  }
}

} // namespace

std::vector<std::string> valuesIn(const std::string& text)
{
  std::vector<std::string> values;
  base::split3<std::vector<std::string>, '\\'>(text, values);
  for (std::string& value : values)
    value = base::trimmed(value);
  return values;
}

std::optional<std::vector<double>> numbersIn(DcmElement& element, const std::string& text)
{
  if (element.getLengthField() == 0)
    return std::nullopt;
  const bool isText = element.ident() == EVR_DS || element.ident() == EVR_IS;
  std::vector<std::string_view> texts;
  if (isText)
    base::split3<std::vector<std::string_view>, '\\'>(text, texts);
  const unsigned long count = isText ? texts.size() : element.getVM();
  std::vector<double> numbers;
  numbers.reserve(count);
  for (unsigned long i = 0; i < count; ++i)
  {
    const std::optional<double> number = isText ? numberIn(texts[i]) : valueAt(element, i);
    if (!number)
      return std::nullopt;
    numbers.push_back(*number);
  }
  return numbers.empty() ? std::nullopt : std::make_optional(std::move(numbers));
}

std::vector<Float32> coordinatesIn(DcmElement& element)
{
  const DcmEVR vr = element.ident();
  std::vector<Float32> values;
  std::string bytes;
  if ((vr != EVR_FL && vr != EVR_UN && vr != EVR_OF) || dicom::readBytes(element, bytes).bad() || bytes.empty() ||
      bytes.size() % sizeof(Float32) != 0)
    return values;
  swapIfNecessary(gLocalByteOrder, EBO_LittleEndian, bytes.data(), static_cast<Uint32>(bytes.size()), sizeof(Float32));
  values.resize(bytes.size() / sizeof(Float32));
  std::memcpy(values.data(), bytes.data(), bytes.size());
  return values;
}

bool isCode(const std::string& text)
{
  constexpr std::size_t kMostLetters = 16;
  constexpr char kAllowed[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 _";
  return text.size() <= kMostLetters && text.find_first_not_of(kAllowed) == std::string::npos;
}

bool fits(const std::string& value, DcmEVR vr)
{
  if (isOrdinary(value, vr))
    return true;
  switch (vr)
  {
  case EVR_DA:
    return DcmDate::checkStringValue(value.c_str(), "1").good();
  case EVR_TM:
    return DcmTime::checkStringValue(value.c_str(), "1").good();
  case EVR_CS:
    return DcmCodeString::checkStringValue(value.c_str(), "1").good();
  case EVR_IS:
    return DcmIntegerString::checkStringValue(value.c_str(), "1").good();
  default:
    return true;
  }
}

} // namespace tarn::conformance
