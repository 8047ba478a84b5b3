// A look at the first bytes of a file, for whoever passes over millions that are not what he seeks.
#include "dicom/firstBytes.h"

#include <cstdint>

namespace tarn::dicom
{
namespace
{

constexpr std::size_t kPreamble = 128;
constexpr char kPrefix[] = "DICM";
constexpr std::size_t kStart = kPreamble + sizeof kPrefix - 1;

constexpr std::uint32_t kMediaStorageSopClass = 0x00020002;
constexpr std::uint32_t kTransferSyntax = 0x00020010;
constexpr std::uint32_t kSopClass = 0x00080016;
constexpr char kDeflated[] = "1.2.840.10008.1.2.1.99";

/// The header of an element (PS3.5 7.1) and its value, as far as it is there.
struct Element
{
  std::uint32_t tag = 0;
  std::string_view value;
  bool whole = false;
};

/// Reads elements one after the other, in one of the three encodings of PS3.5 10.
class Elements
{
public:
  Elements(std::string_view bytes, bool bigEndian, bool explicitVr)
    : rest(bytes), bigEndian(bigEndian), explicitVr(explicitVr)
  {
  }

  /// The next element; nothing where no whole header is left.
  std::optional<Element> next();
  std::string_view left() const { return rest; }

private:
  std::uint32_t number(std::size_t at, std::size_t length) const;
  static bool hasLongLength(std::string_view vr);

  std::string_view rest;
  bool bigEndian;
  bool explicitVr;
};

std::uint32_t Elements::number(std::size_t at, std::size_t length) const
{
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < length; ++i)
    value = value << 8U | static_cast<unsigned char>(rest[at + (bigEndian ? i : length - 1 - i)]);
  return value;
}

/// PS3.5 7.1.2: these have a length of four bytes after two that are reserved.
bool Elements::hasLongLength(std::string_view vr)
{
  for (const std::string_view longOne : {"OB", "OD", "OF", "OL", "OV", "OW", "SQ", "SV", "UC", "UN", "UR", "UT", "UV"})
    if (vr == longOne)
      return true;
  return false;
}

std::optional<Element> Elements::next()
{
  constexpr std::size_t kShortHeader = 8;
  constexpr std::size_t kLongHeader = 12;
  if (rest.size() < kShortHeader)
    return std::nullopt;
  const bool isLong = explicitVr && hasLongLength(rest.substr(4, 2));
  const std::size_t header = isLong ? kLongHeader : kShortHeader;
  if (rest.size() < header)
    return std::nullopt;
  Element element;
  element.tag = number(0, 2) << 16U | number(2, 2);
  const std::size_t length = isLong ? number(8, 4) : explicitVr ? number(6, 2) : number(4, 4);
  rest.remove_prefix(header);
  element.value = rest.substr(0, length);
  element.whole = element.value.size() == length;
  rest.remove_prefix(element.value.size());
  return element;
}

/// A UID less what pads it (PS3.5 6.2).
std::string uidOf(std::string_view value)
{
  const std::size_t last = value.find_last_not_of(std::string_view("\0 ", 2));
  return std::string(value.substr(0, last == std::string_view::npos ? 0 : last + 1));
}

bool isVr(std::string_view bytes)
{
  return bytes.size() == 2 && bytes[0] >= 'A' && bytes[0] <= 'Z' && bytes[1] >= 'A' && bytes[1] <= 'Z';
}

/// A data set begins with group 0008 or, in old files, with a group length below.
std::optional<std::string> fromDataSet(std::string_view bytes)
{
  if (bytes.size() < 8)
    return std::nullopt;
  const bool bigEndian = bytes[0] == 0 && bytes[1] != 0;
  Elements elements(bytes, bigEndian, isVr(bytes.substr(4, 2)));
  while (const std::optional<Element> element = elements.next())
  {
    if (element->tag == kSopClass && element->whole)
      return uidOf(element->value);
    if (element->tag >= kSopClass || !element->whole)
      break;
  }
  return std::nullopt;
}

} // namespace

std::optional<std::string> sopClassIn(std::string_view bytes)
{
  const bool hasPrefix = bytes.size() >= kStart && bytes.substr(kPreamble, sizeof kPrefix - 1) == kPrefix;
  std::string_view rest = hasPrefix ? bytes.substr(kStart) : bytes;
  Elements meta(rest, false, true); // PS3.10 7.1
  while (const std::optional<Element> element = meta.next())
  {
    if (element->tag >> 16U != 2 || !element->whole)
      break;
    if (element->tag == kMediaStorageSopClass)
      return uidOf(element->value);
    if (element->tag == kTransferSyntax && uidOf(element->value) == kDeflated)
      return std::nullopt;
    rest = meta.left();
  }
  return fromDataSet(rest);
}

} // namespace tarn::dicom
