#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <string>
#include <string_view>
#include <vector>

namespace impsconverter
{

/// A run of "put an element, check, report" on one item. The first step that fails writes its message and the
/// toolkit's text as one line and turns the steps after it into no-ops; what was written before stays. An element that
/// exists already is replaced, except by `newPair`. A step without a message fails silently.
///
/// Each step says the VR that its element gets; the toolkit's dictionary is not asked.
class ElementWriter
{
public:
  /// `item` is borrowed.
  explicit ElementWriter(DcmItem& item) : item(&item) {}

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

  /// FL values. Reports rejected values and a failed insertion with different messages.
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

/// Returns whether `status` is good; otherwise writes `message` and the condition's text as one line.
bool isGood(const OFCondition& status, std::string_view message);

} // namespace impsconverter
