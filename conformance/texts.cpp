// Texts and their character sets.
#include "conformance/texts.h"

#include "base/text.h"
#include "dicom/contents.h"
#include "dicom/values.h"

#include <algorithm>
#include <array>
#include <map>

namespace tarn::conformance
{
namespace
{

constexpr char kEscape = '\x1b';
constexpr unsigned char kFirstC1 = 0x80;
constexpr unsigned char kLastC1 = 0x9F;

// PS3.3 C.12.1.1.2. Those of single bytes are "ISO_IR" alone, and "ISO 2022 IR" with code extensions.
constexpr std::array<const char*, 13> kSingleByte{"100", "101", "109", "110", "144", "127", "126",
                                                  "138", "148", "203", "13",  "166", "6"};
constexpr std::array<const char*, 4> kMultiByte{"87", "159", "149", "58"};
constexpr std::array<const char*, 3> kWhole{"ISO_IR 192", "GB18030", "GBK"};

template <class Table>
bool contains(const Table& table, const std::string& text)
{
  return std::find(table.begin(), table.end(), text) != table.end();
}

std::string after(const std::string& start, const std::string& term)
{
  return base::startsWith(term, start) ? term.substr(start.size()) : "";
}

bool isAlone(const std::string& term)
{
  const std::string number = after("ISO_IR ", term);
  return term.empty() || contains(kWhole, term) || (number != "6" && contains(kSingleByte, number));
}

bool isExtension(const std::string& term, bool isFirst)
{
  const std::string number = after("ISO 2022 IR ", term);
  return (isFirst && term.empty()) || contains(kSingleByte, number) || (!isFirst && contains(kMultiByte, number));
}

bool isC1(unsigned char byte)
{
  return byte >= kFirstC1 && byte <= kLastC1;
}

/// U+0080 to U+009F are C2 80 to C2 9F.
bool hasC1(const std::string& utf8)
{
  for (std::size_t i = 0; i + 1 < utf8.size(); ++i)
    if (utf8[i] == '\xC2' && isC1(static_cast<unsigned char>(utf8[i + 1])))
      return true;
  return false;
}

/// The bytes that the character begins with `first` has; 0 where none begins so.
std::size_t lengthFrom(unsigned char first)
{
  if (first < 0x80)
    return 1;
  if (first >= 0xC2 && first <= 0xDF)
    return 2;
  if (first >= 0xE0 && first <= 0xEF)
    return 3;
  return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

std::string latin1ToUtf8(const std::string& bytes)
{
  std::string text;
  for (const char byte : bytes)
    if (const auto value = static_cast<unsigned char>(byte); value < kFirstC1)
      text += byte;
    else if (!isC1(value))
    {
      text += static_cast<char>(0xC0 | (value >> 6));
      text += static_cast<char>(0x80 | (value & 0x3F));
    }
  return text;
}

std::optional<std::string> inUtf8(const Text& text, const CharacterSet& set)
{
  if (auto decoded = set.decode(text.bytes, text.delimiters()))
    return decoded;
  const bool isEscaped = text.bytes.find(kEscape) != std::string::npos;
  if (!isEscaped && isUtf8(text.bytes))
    return text.bytes;
  return set.isDecodable() && !isEscaped ? std::make_optional(latin1ToUtf8(text.bytes)) : std::nullopt;
}

bool isText(DcmEVR vr)
{
  constexpr std::array<DcmEVR, 7> kTexts{EVR_SH, EVR_LO, EVR_ST, EVR_LT, EVR_PN, EVR_UC, EVR_UT};
  return std::find(kTexts.begin(), kTexts.end(), vr) != kTexts.end();
}

void collect(const Placed& item, const std::string& inherited, std::vector<Text>& texts)
{
  const std::string& terms = has(item, DCM_SpecificCharacterSet) ? textOf(item, DCM_SpecificCharacterSet) : inherited;
  for (Contents::Entry& entry : eachElementOf(item))
    if (entry.sequence)
      for (const Placed& nested : itemsOf(item, entry))
        collect(nested, terms, texts);
    else if (isText(entry.vr))
      if (const std::string& bytes = item.contents.bytesOf(entry); !bytes.empty())
        texts.push_back({item, *entry.element, terms, bytes, isPlain(bytes)});
}

} // namespace

CharacterSet::CharacterSet(const std::string& terms)
{
  std::vector<std::string> values;
  base::split3<std::vector<std::string>, '\\'>(terms, values);
  std::transform(values.begin(), values.end(), values.begin(),
                 [](const std::string& value) { return base::trimmed(value); });
  utf8 = terms == "ISO_IR 192";
  extended = values.size() > 1 || !after("ISO 2022 IR ", terms).empty();
  singleByte = !contains(kWhole, terms);
  for (std::size_t i = 0; i < values.size(); ++i)
  {
    known = known && (extended ? isExtension(values[i], i == 0) : isAlone(values[i]));
    singleByte = singleByte && !contains(kMultiByte, after("ISO 2022 IR ", values[i]));
  }
  // The toolkit knows a single term without code extensions alone, and would warn of an unknown one.
  selected = extended && values.size() == 1 ? "ISO_IR " + after("ISO 2022 IR ", terms) : terms;
  if (selected == "ISO_IR 6")
    selected.clear();
}

bool CharacterSet::isDecodable() const
{
  if (!decodable)
    decodable = known && converter.selectCharacterSet(selected.c_str()).good();
  return *decodable;
}

std::optional<std::string> CharacterSet::decode(const std::string& bytes, const char* delimiters) const
{
  if (isPlain(bytes))
    return bytes;
  const auto isControl = [](char byte) { return isC1(static_cast<unsigned char>(byte)); };
  const bool hasControls = singleByte || extended;
  OFString decoded;
  if (!isDecodable() || (hasControls && std::any_of(bytes.begin(), bytes.end(), isControl)) ||
      converter.convertString(bytes.data(), bytes.size(), decoded, delimiters).bad())
    return std::nullopt;
  std::string text(decoded.data(), decoded.size());
  return hasC1(text) ? std::nullopt : std::make_optional(std::move(text));
}

bool isPlain(const std::string& bytes)
{
  return std::none_of(bytes.begin(), bytes.end(),
                      [](char byte) { return static_cast<unsigned char>(byte) >= kFirstC1 || byte == kEscape; });
}

/// Unicode table 3-7: no overlong forms, no surrogates, nothing above U+10FFFF.
bool isUtf8(const std::string& bytes)
{
  for (std::size_t i = 0; i < bytes.size();)
  {
    const auto at = [&](std::size_t place) { return static_cast<unsigned char>(bytes[place]); };
    const unsigned char first = at(i);
    const std::size_t length = lengthFrom(first);
    if (length == 0 || length > bytes.size() - i)
      return false;
    for (std::size_t k = i + 1; k < i + length; ++k)
      if ((at(k) & 0xC0) != 0x80)
        return false;
    if (length > 1)
    {
      const unsigned char second = at(i + 1);
      if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) || (first == 0xF0 && second < 0x90) ||
          (first == 0xF4 && second > 0x8F))
        return false;
    }
    i += length;
  }
  return !hasC1(bytes);
}

std::size_t countCharacters(const std::string& utf8)
{
  return static_cast<std::size_t>(std::count_if(
      utf8.begin(), utf8.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}

const char* Text::delimiters() const
{
  switch (element.ident())
  {
  case EVR_PN:
    return "\\^=";
  case EVR_SH:
  case EVR_LO:
  case EVR_UC:
    return "\\";
  default:
    return "";
  }
}

std::vector<Text> textsIn(const Placed& item)
{
  static const std::string kNone;
  return textsIn(item, kNone);
}

std::vector<Text> textsIn(const Placed& item, const std::string& terms)
{
  std::vector<Text> texts;
  collect(item, terms, texts);
  return texts;
}

std::optional<Utf8Texts> utf8TextsOf(const std::vector<Text>& texts)
{
  std::map<std::string, CharacterSet> sets;
  Utf8Texts utf8;
  for (const Text& text : texts)
    if (!text.isPlain)
    {
      auto converted = inUtf8(text, sets.try_emplace(text.terms, text.terms).first->second);
      if (!converted)
        return std::nullopt;
      if (*converted != text.bytes)
        utf8.changed.emplace_back(text, std::move(*converted));
    }
  return utf8;
}

void Utf8Texts::putInto(const Placed& root) const
{
  for (const auto& [text, utf8] : changed)
    putBytes(text.where, text.element, utf8);
  root.item.findAndDeleteElement(DCM_SpecificCharacterSet, OFTrue, OFTrue);
  root.contents.state.changeEverywhere(DCM_SpecificCharacterSet);
  putText(root, DCM_SpecificCharacterSet, EVR_CS, "ISO_IR 192");
}

} // namespace tarn::conformance
