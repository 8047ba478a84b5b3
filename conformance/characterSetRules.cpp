// Texts of the whole data set, whatever module they belong to.
#include "conformance/characterSetRules.h"

#include "conformance/BecomeUtf8.h"

#include "base/text.h"
#include "dicom/contents.h"

#include <algorithm>
#include <cstdint>
#include <map>

namespace tarn::conformance
{
namespace
{

constexpr Uint16 kPresentationGroup = 0x0070;

/// The sets of a data set, each opened once.
class CharacterSets
{
public:
  const CharacterSet& operator[](const std::string& terms) { return sets.try_emplace(terms, terms).first->second; }

private:
  std::map<std::string, CharacterSet> sets;
};

void visitItems(const Placed& item, const std::function<void(const Placed&)>& visit)
{
  visit(item);
  for (Contents::Entry& entry : eachElementOf(item))
    for (const Placed& nested : itemsOf(item, entry))
      visitItems(nested, visit);
}

/// What PS3.5 6.1.3 and 6.2 allow: none in values that stand in one line, no format control in what C.10.5 lets stand
/// in several.
std::string allowedControls(const Text& text, const CharacterSet& set)
{
  std::string allowed = set.hasCodeExtensions() ? "\x1b" : "";
  const DcmEVR vr = text.element.ident();
  if (vr == EVR_ST || vr == EVR_LT || vr == EVR_UT)
    allowed += text.tag() == DCM_UnformattedTextValue ? "\r\n" : "\r\n\f\t";
  return allowed;
}

bool isControl(char byte)
{
  constexpr char kDelete = '\x7f';
  return (byte >= 0 && byte < ' ') || byte == kDelete;
}

/// The text without control characters that are not allowed; a tab becomes a blank.
std::string withoutControls(const std::string& text, const std::string& allowed)
{
  std::string kept;
  for (const char byte : text)
    if (!isControl(byte) || allowed.find(byte) != std::string::npos)
      kept += byte;
    else if (byte == '\t')
      kept += ' ';
  return kept;
}

struct Limit
{
  DcmEVR vr;
  std::size_t characters; ///< of a value; of a component group in PN
};

// PS3.5 table 6.2-1. A text object above its 1,024 has a rule of its own.
constexpr Limit kLimits[] = {{EVR_SH, 16}, {EVR_LO, 64}, {EVR_PN, 64}, {EVR_ST, 1024}, {EVR_LT, 10240}};

std::size_t limitOf(const Text& text)
{
  if (text.tag() == DCM_UnformattedTextValue)
    return SIZE_MAX;
  for (const Limit& limit : kLimits)
    if (limit.vr == text.element.ident())
      return limit.characters;
  return SIZE_MAX;
}

bool isTooLong(const std::string& utf8, const Text& text, std::size_t limit)
{
  const char* const ends = text.element.ident() == EVR_PN ? "\\=" : text.delimiters();
  for (std::size_t start = 0; start <= utf8.size();)
  {
    const std::size_t end = std::min(utf8.find_first_of(ends, start), utf8.size());
    if (countCharacters(base::trimmed(utf8.substr(start, end - start))) > limit)
      return true;
    start = end + 1;
  }
  return false;
}

void examineLengths(Examination& state, bool isOwn)
{
  CharacterSets sets{};
  for (const Text& text : state.texts())
  {
    const std::size_t limit = limitOf(text);
    if ((text.tag().getGroup() == kPresentationGroup) != isOwn || text.bytes.size() <= limit)
      continue;
    const auto utf8 = sets[text.terms].decode(text.bytes, text.delimiters());
    if (utf8 && isTooLong(*utf8, text, limit))
      state.find(text.where, text.tag(), "it has more than " + std::to_string(limit) + " characters");
  }
}

} // namespace

void examineCharacterSets(Examination& state)
{
  BecomeUtf8 utf8(state);
  const auto examine = [&](const Placed& item)
  {
    const std::string& terms = textOf(item, DCM_SpecificCharacterSet);
    if (!terms.empty() && !CharacterSet(terms).isKnown())
      state.find(item, DCM_SpecificCharacterSet, "'" + terms + "' is no character set", utf8.remedy());
  };
  visitItems(state.root(), examine);
}

void examineTextCharacters(Examination& state)
{
  CharacterSets sets;
  BecomeUtf8 utf8(state);
  for (const Text& text : state.texts())
  {
    if (text.isPlain)
      continue;
    const CharacterSet& set = sets[text.terms];
    if (set.isDecodable() && !set.decode(text.bytes, text.delimiters()))
      state.find(text.where, text.tag(), "its bytes are no text of the declared character set", utf8.remedy());
  }
}

void examineTextsLikeUtf8(Examination& state)
{
  CharacterSets sets;
  for (const Text& text : state.texts())
  {
    if (text.isPlain || !isUtf8(text.bytes))
      continue;
    const CharacterSet& set = sets[text.terms];
    if (set.isSingleByte() && set.isDecodable() && set.decode(text.bytes, text.delimiters()))
      state.find(text.where, text.tag(), "its bytes are UTF-8 too, which is not declared");
  }
}

void examineControlCharacters(Examination& state)
{
  CharacterSets sets;
  for (const Text& text : state.texts())
  {
    if (std::none_of(text.bytes.begin(), text.bytes.end(), isControl))
      continue;
    std::string kept = withoutControls(text.bytes, allowedControls(text, sets[text.terms]));
    if (kept != text.bytes)
      state.find(text.where, text.tag(), "it has control characters",
                 [where = text.where, &element = text.element, kept = std::move(kept)]
                 { putBytes(where, element, kept); });
  }
}

void examineTextLengths(Examination& state)
{
  examineLengths(state, true);
}

void examineOtherTextLengths(Examination& state)
{
  examineLengths(state, false);
}

} // namespace tarn::conformance
