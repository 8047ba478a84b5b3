#pragma once

#include "conformance/Contents.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tarn::conformance
{

/// The path of the item, empty for the data set itself.
std::string placeOf(const Placed& where);
/// The path of an element of the item: "DisplayedAreaSelectionSequence[0].PresentationSizeMode".
std::string placeOf(const Placed& where, const DcmTagKey& tag);

/// The element; null where the item has none.
DcmElement* elementOf(const Placed& where, const DcmTagKey& tag);
/// All elements of the item, in their order.
std::pmr::vector<Contents::Entry>& elementsOf(const Placed& where);
/// The same for a rule that judges each element, or each text, by itself: it need not look again when one has gone.
std::pmr::vector<Contents::Entry>& eachElementOf(const Placed& where);
/// The items of a sequence; none where there is no such sequence, or something else has its tag.
const std::vector<Placed>& itemsOf(const Placed& where, const DcmTagKey& sequence);
const std::vector<Placed>& itemsOf(const Placed& where, Contents::Entry& entry);

/// Whether the item has the element, with a value or not.
bool has(const Placed& where, const DcmTagKey& tag);
/// Whether the item has the element with a value, or a sequence with an item.
bool hasValue(const Placed& where, const DcmTagKey& tag);

/// The value as text, without blanks at its ends; empty where there is none. Several values stand with backslashes.
const std::string& textOf(const Placed& where, const DcmTagKey& tag);
/// The values of a text element that has several, each without blanks at its ends.
std::vector<std::string> textsOf(const Placed& where, const DcmTagKey& tag);
/// The values of an element as numbers, of a binary VR or of DS and IS; nothing where there are none, or one is no
/// number. FL and FD may be infinite or no numbers.
const std::optional<std::vector<double>>& numbersOf(const Placed& where, const DcmTagKey& tag);
/// The one value of an element as a number.
std::optional<double> numberOf(const Placed& where, const DcmTagKey& tag);
/// The values of an element of the VR FL, or of one whose bytes are those of that VR: UN and OF. None where there is
/// none, or it has another VR or a length that does not fit.
const std::vector<Float32>& coordinatesOf(const Placed& where, const DcmTagKey& tag);

// Remedies change items by these functions, or say with Contents::change() what they changed.

/// Puts a text in place of what is there. The VR is said here: the toolkit's dictionary is not asked.
void putText(const Placed& where, const DcmTagKey& tag, DcmEVR vr, const std::string& text);
/// The same for coordinates (FL) and for numbers (US).
void putCoordinates(const Placed& where, const DcmTagKey& tag, const std::vector<Float32>& values);
void putNumbers(const Placed& where, const DcmTagKey& tag, const std::vector<Uint16>& values);
void putNumber(const Placed& where, const DcmTagKey& tag, Uint16 value);
void putBytes(const Placed& where, DcmElement& element, const std::string& bytes);
void remove(const Placed& where, const DcmTagKey& tag);
/// The same, put off.
std::function<void()> puttingText(const Placed& where, const DcmTagKey& tag, DcmEVR vr, const std::string& text);
std::function<void()> removing(const Placed& where, const DcmTagKey& tag);
/// A new item at the end of a sequence, which is made where there is none.
Placed appendItem(const Placed& where, const DcmTagKey& sequence);
/// Takes items out of a sequence, and the sequence with the last of them.
void removeItems(const Placed& where, const DcmTagKey& sequence, const std::vector<Placed>& items);

/// Whether the text is a UID as PS3.5 9.1 has it: the first of its components is 0, 1 or 2, and none is empty
/// or begins with a needless 0.
bool isStrictUid(const std::string& text);
/// Whether the value is a whole number in the range.
bool isWhole(std::optional<double> value, double least, double most);

} // namespace tarn::conformance
