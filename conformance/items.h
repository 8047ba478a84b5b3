#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::conformance
{

class ItemCache;

/// Where a sequence stands: its tag, and the place of the item that holds it.
struct SequencePlace
{
  DcmTagKey tag;
  std::shared_ptr<const SequencePlace> holder;
  std::size_t index;
};

/// An item and its place in the data set, which is spelled out only where something is found.
struct Placed
{
  DcmItem& item;
  std::shared_ptr<const SequencePlace> sequence = {}; ///< null for the data set itself
  std::size_t index = 0;                              ///< of the item in the sequence
  ItemCache* cache = nullptr;                         ///< of the examination; null for an item that a remedy made
};

/// The path of the item, empty for the data set itself.
std::string placeOf(const Placed& where);
/// The path of an element of the item: "DisplayedAreaSelectionSequence[0].PresentationSizeMode".
std::string placeOf(const Placed& where, const DcmTagKey& tag);

/// The items of a sequence; none where there is no such sequence, or something else has its tag.
std::vector<Placed> itemsOf(const Placed& where, const DcmTagKey& sequence);
std::vector<Placed> itemsOf(const Placed& where, DcmSequenceOfItems& sequence);

/// The element as a sequence; null where it is none, or is null. It costs less than to ask for the type of every leaf.
inline DcmSequenceOfItems* sequenceIn(DcmElement* element)
{
  return element && !element->isLeaf() ? dynamic_cast<DcmSequenceOfItems*>(element) : nullptr;
}

/// The elements of the item, in their order.
std::vector<DcmElement*> elementsOf(const Placed& where);

/// Whether the item has the element, with a value or not.
bool has(const Placed& where, const DcmTagKey& tag);
/// Whether the item has the element with a value, or a sequence with an item.
bool hasValue(const Placed& where, const DcmTagKey& tag);

/// The value as text, without blanks at its ends; empty where there is none. Several values stand with backslashes.
std::string textOf(const Placed& where, const DcmTagKey& tag);
/// The values of a text element that has several, each without blanks at its ends.
std::vector<std::string> textsOf(const Placed& where, const DcmTagKey& tag);
/// The values of an element as numbers, of a binary VR or of DS and IS; nothing where there are none, or one is no
/// number. FL and FD may be infinite or no numbers.
std::optional<std::vector<double>> numbersOf(const Placed& where, const DcmTagKey& tag);
/// The one value of an element as a number.
std::optional<double> numberOf(const Placed& where, const DcmTagKey& tag);

/// Puts a text in place of what is there. The VR is said here: the toolkit's dictionary is not asked.
void putText(const Placed& where, const DcmTagKey& tag, DcmEVR vr, const std::string& text);
/// The same for coordinates (FL) and for a number (US).
void putCoordinates(const Placed& where, const DcmTagKey& tag, const std::vector<Float32>& values);
void putNumber(const Placed& where, const DcmTagKey& tag, Uint16 value);
void remove(const Placed& where, const DcmTagKey& tag);
/// The same, put off.
std::function<void()> puttingText(const Placed& where, const DcmTagKey& tag, DcmEVR vr, const std::string& text);
std::function<void()> removing(const Placed& where, const DcmTagKey& tag);
/// A new item at the end of a sequence, which is made where there is none.
DcmItem& appendItem(const Placed& where, const DcmTagKey& sequence);
/// Takes items out of a sequence, and the sequence with the last of them.
void removeItems(const Placed& where, const DcmTagKey& sequence, const std::vector<Placed>& items);

/// Whether the text is a UID as PS3.5 9.1 has it: the first of its components is 0, 1 or 2, and none is empty
/// or begins with a needless 0.
bool isStrictUid(const std::string& text);
/// Whether the value is a whole number in the range.
bool isWhole(std::optional<double> value, double least, double most);

} // namespace tarn::conformance
