// Texts that are longer than one text object may be.
#include "conformance/textObjectRules.h"

#include "conformance/annotations.h"
#include "conformance/BecomeUtf8.h"

#include <algorithm>

namespace tarn::conformance
{
namespace
{

constexpr std::size_t kMostCharacters = 1024; // PS3.5 6.2, ST
constexpr std::size_t kCutWithin = 100;       // characters before that, in which a good place is looked for
constexpr float kLineHeight = 20.0F;          // pixels, where no box says it
constexpr char kDisplay[] = "DISPLAY";

bool isStart(char byte, bool isUtf8)
{
  return !isUtf8 || (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

/// The place after `characters` characters from `start`; no more than the text has.
std::size_t skip(const std::string& text, std::size_t start, std::size_t characters, bool isUtf8)
{
  std::size_t place = start;
  for (; place < text.size(); ++place)
    if (isStart(text[place], isUtf8) && characters-- == 0)
      break;
  return place;
}

bool isBreak(char byte)
{
  return byte == '\n' || byte == '\r';
}

/// Whether a text may well be cut before `place`: after a line break, or before the first of some blanks, since blanks
/// at the end of a text are taken for padding.
bool isGoodCut(const std::string& text, std::size_t place)
{
  const char before = text[place - 1];
  const char next = text[place];
  return (isBreak(before) && !isBreak(next) && next != ' ') || (next == ' ' && before != ' ');
}

std::size_t cutBetween(const std::string& text, std::size_t earliest, std::size_t latest)
{
  for (std::size_t place = latest; place > earliest; --place)
    if (isGoodCut(text, place))
      return place;
  return latest;
}

std::vector<std::string> piecesOf(const std::string& text, bool isUtf8)
{
  std::vector<std::string> pieces;
  for (std::size_t start = 0; start < text.size();)
  {
    const std::size_t earliest = skip(text, start, kMostCharacters - kCutWithin, isUtf8);
    const std::size_t latest = skip(text, start, kMostCharacters, isUtf8);
    const std::size_t end = latest < text.size() ? cutBetween(text, earliest, latest) : latest;
    pieces.push_back(text.substr(start, end - start));
    start = end;
  }
  return pieces;
}

/// A line break at the end begins no line; CR LF is one line break.
float linesOf(const std::string& text)
{
  const char ending = text.find('\n') == std::string::npos ? '\r' : '\n';
  const std::size_t last = text.find_last_not_of("\r\n");
  const auto end = text.begin() + static_cast<std::ptrdiff_t>(last == std::string::npos ? 0 : last + 1);
  return 1.0F + static_cast<float>(std::count(text.begin(), end, ending));
}

/// Moves the box and the anchor of a piece of a text down by the lines before it.
class Below
{
public:
  Below(const Placed& text, const Placed& root, const std::string& whole, const std::vector<std::string>& pieces)
    : first(coordinatesOf(text, DCM_BoundingBoxTopLeftHandCorner)),
      last(coordinatesOf(text, DCM_BoundingBoxBottomRightHandCorner)), anchor(coordinatesOf(text, DCM_AnchorPoint))
  {
    const double rotation = numberOf(root, DCM_ImageRotation).value_or(0);
    axis = rotation == 90 || rotation == 270 ? 0 : 1; // C.10.5.1.1: the box is turned with the image
    hasBox = first.size() == 2 && last.size() == 2;
    float lines = linesOf(whole);
    if (hasBox && textOf(text, DCM_BoundingBoxAnnotationUnits) == kDisplay) // no room outside 0 to 1
    {
      lines = 0;
      for (const std::string& piece : pieces)
        lines += linesOf(piece);
    }
    height = hasBox ? (last[axis] - first[axis]) / lines : kLineHeight;
    movesAnchor = !hasBox && anchor.size() == 2 && textOf(text, DCM_AnchorPointAnnotationUnits) != kDisplay;
  }

  void place(const Placed& piece, const std::string& text)
  {
    if (hasBox)
    {
      std::vector<Float32> top = first;
      std::vector<Float32> bottom = last;
      top[axis] = first[axis] + height * before;
      bottom[axis] = top[axis] + height * linesOf(text);
      putCoordinates(piece, DCM_BoundingBoxTopLeftHandCorner, top);
      putCoordinates(piece, DCM_BoundingBoxBottomRightHandCorner, bottom);
    }
    if (movesAnchor)
      putCoordinates(piece, DCM_AnchorPoint, {anchor[0], anchor[1] + height * before});
    before += linesOf(text);
  }

private:
  std::vector<Float32> first, last, anchor;
  std::size_t axis = 1;
  bool hasBox = false;
  bool movesAnchor = false;
  float height = 0;
  float before = 0; ///< lines
};

Replacements::Items split(const Placed& text, const Placed& root, const std::string& whole, bool isUtf8)
{
  const std::vector<std::string> pieces = piecesOf(whole, isUtf8);
  Below below(text, root, whole, pieces);
  remove(text, DCM_UnformattedTextValue); // it would be copied with each piece
  Replacements::Items items;
  for (const std::string& piece : pieces)
  {
    items.push_back(std::make_unique<DcmItem>(text.item));
    const Placed place = text.contents.state.apart(*items.back());
    putText(place, DCM_UnformattedTextValue, EVR_ST, piece);
    below.place(place, piece);
  }
  return items;
}

/// Without the blanks at the end, which mean nothing (PS3.5 6.2).
std::string unpadded(const std::string& bytes)
{
  return bytes.substr(0, bytes.find_last_not_of(std::string(" \0", 2)) + 1);
}

} // namespace

/// A text is cut as it stands where each byte is a character; others become UTF-8, with the data set.
void examineLongTexts(Examination& state)
{
  BecomeUtf8 becomeUtf8(state);
  const auto replaced = Replacements::make();
  const auto examine = [&](const Text& text)
  {
    const std::string value = unpadded(text.bytes);
    if (text.tag() != DCM_UnformattedTextValue || value.size() <= kMostCharacters)
      return;
    const CharacterSet set(text.terms);
    const auto utf8 = set.decode(value, "");
    if (!utf8 || countCharacters(*utf8) <= kMostCharacters)
      return;
    const bool isCut = isPlain(value) || set.isUtf8() || (set.isSingleByte() && !set.hasCodeExtensions());
    const bool isUtf8 = !isCut || set.isUtf8();
    const Examination::Remedy decode = isCut ? Examination::Remedy([] {}) : becomeUtf8.remedy();
    const auto become = [=, where = text.where, root = state.root(), whole = isUtf8 ? *utf8 : value]
    {
      decode();
      return split(where, root, whole, isUtf8);
    };
    state.find(text.where, text.tag(), "it has more than 1024 characters",
               decode ? replaced->remedy(text.where, become) : Examination::Remedy());
  };
  for (const Placed& annotation : annotationsOf(state))
    for (const Placed& object : itemsOf(annotation, DCM_TextObjectSequence))
      for (const Text& text : textsIn(object, textOf(state.root(), DCM_SpecificCharacterSet)))
        examine(text);
}

} // namespace tarn::conformance
