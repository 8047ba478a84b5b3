#pragma once

#include "conformance/items.h"

#include <dcmtk/dcmdata/dcspchrs.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Texts in the character sets of PS3.3 C.12.1.1.2.
namespace tarn::conformance
{

/// Decodes the texts of one Specific Character Set.
class CharacterSet
{
public:
  /// `terms` is the value of Specific Character Set, empty where there is none.
  explicit CharacterSet(const std::string& terms);

  /// Whether all terms are defined ones, and may stand together.
  bool isKnown() const { return known; }
  /// Whether the toolkit can decode the set: without ISO 2022 IR 87 and 159 where iconv does not know them.
  bool isDecodable() const;
  bool hasCodeExtensions() const { return extended; }
  /// Whether each character is one byte, or, with `utf8`, the bytes of UTF-8: such a text can be cut.
  bool isSingleByte() const { return singleByte; }
  bool isUtf8() const { return utf8; }

  /// The text in UTF-8; nothing where it does not fit the set. Graphic characters alone: control characters of the
  /// upper half (C1) never fit (PS3.5 6.1.3).
  std::optional<std::string> decode(const std::string& bytes, const char* delimiters) const;

private:
  bool known = true;
  bool extended = false;
  bool singleByte = true;
  bool utf8 = false;
  std::string selected; ///< of the toolkit, when something is to be decoded
  mutable std::optional<bool> decodable;
  mutable DcmSpecificCharacterSet converter;
};

/// Whether the text means the same in every character set: ASCII without escape sequences.
bool isPlain(const std::string& bytes);
/// Whether the bytes are UTF-8, without C1 characters.
bool isUtf8(const std::string& bytes);
std::size_t countCharacters(const std::string& utf8);

/// A text element (SH, LO, ST, LT, PN, UC, UT) of an item.
struct Text
{
  Placed where;
  DcmElement& element;
  const std::string& terms; ///< of its character set: the item's own, or that of the nearest around it
  const std::string& bytes;
  bool isPlain;

  DcmTagKey tag() const { return element.getTag(); }
  /// The characters that divide its value into parts.
  const char* delimiters() const;
};

/// The text elements of the item and of all items in it that have a value. `terms`, which have to stay, are the
/// character set of an item that declares none.
std::vector<Text> textsIn(const Placed& item);
std::vector<Text> textsIn(const Placed& item, const std::string& terms);

/// What makes a data set ISO_IR 192.
struct Utf8Texts
{
  std::vector<std::pair<Text, std::string>> changed;

  void putInto(const Placed& root) const;
};

/// The texts of the data set in UTF-8. One that does not fit its declared set is taken for UTF-8 where it is valid,
/// else for Latin-1, whose C1 bytes are dropped. Nothing where a text's set is not known, and the text is no UTF-8, or
/// cannot be decoded.
std::optional<Utf8Texts> utf8TextsOf(const std::vector<Text>& texts);

} // namespace tarn::conformance
