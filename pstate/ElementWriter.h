#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <memory>
#include <string>
#include <vector>

namespace impsconverter
{

/// A run of "put an element, check, report" on one item. The first step that fails writes its message and the
/// toolkit's text as one line and turns the steps after it into no-ops; what was written before stays. An element
/// already there is replaced, except by `newPair`. A step without a message fails silently.
///
/// Each step says the VR that its element gets; the toolkit's dictionary is not asked.
class ElementWriter
{
public:
  explicit ElementWriter(DcmItem& target) : item(&target) {}

  /// A text as it stands, of a VR whose values are texts (PS3.5 6.2).
  ElementWriter& text(const DcmTagKey& tag, DcmEVR vr, const std::string& value, const char* message);
  /// A US value.
  ElementWriter& number(const DcmTagKey& tag, Uint16 value, const char* message);
  /// A UL value.
  ElementWriter& number(const DcmTagKey& tag, Uint32 value, const char* message);
  /// An FL value.
  ElementWriter& real(const DcmTagKey& tag, Float32 value, const char* message);
  /// An FD value.
  ElementWriter& real(const DcmTagKey& tag, Float64 value, const char* message);

  /// FL values; a value that the element takes not and an element that the item takes not have messages of their own.
  ElementWriter& floats(const DcmTagKey& tag, const std::vector<Float32>& values, const char* valueMessage,
                        const char* insertMessage);
  /// Two SL values, inserted only where the item has no such element.
  ElementWriter& newPair(const DcmTagKey& tag, Sint32 first, Sint32 second, const char* valueMessage,
                         const char* insertMessage);

  /// The first item of a sequence, made when absent.
  ElementWriter& firstItem(const DcmTagKey& sequence, DcmItem*& found, const char* message);
  /// A new item at the end of a sequence, which is made when absent.
  ElementWriter& appendItem(const DcmTagKey& sequence, DcmItem*& created, const char* message);

  [[nodiscard]] bool ok() const { return good; }

private:
  template <class Put>
  ElementWriter& step(const char* message, Put put);

  DcmItem* item;
  bool good = true;
};

/// Writes `message` and the condition's text as one line.
void reportCondition(const std::string& message, const OFCondition& status);

/// Inserts an element into an item, which owns it afterwards; on failure it is discarded.
OFCondition insertOwned(DcmItem& item, std::unique_ptr<DcmElement> element, bool replace);
/// The same for an item at the end of a sequence.
OFCondition insertOwned(DcmSequenceOfItems& sequence, std::unique_ptr<DcmItem> item);

} // namespace impsconverter
